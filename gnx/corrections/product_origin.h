#pragma once
/// \file product_origin.h
/// Which centre and which series of products a file comes from.
///
/// Satellite clocks keep ambiguities integer only together with the phase biases of the same solution: a
/// clock datum, a choice of reference satellites and of integers is each centre's own, and each campaign's.

#include <string>
#include <vector>

namespace gnx {

struct ProductOrigin {
  std::string file;    ///< without folders
  std::string kind;    ///< "orbits", "clocks", "phase biases"
  std::string centre;  ///< three letters of the analysis centre, "" when nothing tells
  std::string series;  ///< version and campaign, "0MGX", from a long file name; "" when nothing tells
};

/// From the file's name (IGS long names, "GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz") and the agency that its
/// header names; a long name goes before the header, which gives agencies their own names.
ProductOrigin productOrigin(const std::string& path, const std::string& kind, const std::string& agency);

/// A sentence about the first two files that belong to different centres or campaigns; "" when all agree as
/// far as they tell.
std::string mixedOrigins(const std::vector<ProductOrigin>& origins);

}  // namespace gnx
