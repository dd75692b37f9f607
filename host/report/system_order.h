#pragma once
/// \file system_order.h
/// The order in which tables, legends and rows of a page have the systems.

#include <string_view>
#include <utility>

#include "gnx/satellite.h"

namespace gnx {

/// As in the account of observations; satellites of a system by their names.
struct SystemOrder {
  bool operator()(char a, char b) const { return std::pair(rank(a), a) < std::pair(rank(b), b); }
  bool operator()(const SatName& a, const SatName& b) const {
    return a[0] == b[0] ? a < b : (*this)(a[0], b[0]);
  }

 private:
  static std::size_t rank(char system) { return std::string_view("GRECBJS").find(system); }
};

}  // namespace gnx
