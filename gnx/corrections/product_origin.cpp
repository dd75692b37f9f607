// Tells centres and campaigns of products by file names and headers.

#include "corrections/product_origin.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>

#include "text/fields.h"

namespace gnx {

namespace {

bool isUpperOrDigit(char c) {
  return std::isupper(static_cast<unsigned char>(c)) != 0 || std::isdigit(static_cast<unsigned char>(c)) != 0;
}

/// AAAVPPPTTT_YYYYDDDHHMM_...: centre, version, campaign, type, and eleven digits of time.
bool isLongName(const std::string& name) {
  constexpr std::size_t kHead = 10, kTime = 11;
  if (name.size() < kHead + 1 + kTime || name[kHead] != '_') return false;
  return std::all_of(name.begin(), name.begin() + kHead, isUpperOrDigit) &&
         std::all_of(name.begin() + kHead + 1, name.begin() + kHead + 1 + kTime,
                     [](unsigned char c) { return std::isdigit(c) != 0; });
}

/// Agencies sign headers by names of their own; the IGS knows their products by three letters.
std::string centreOf(const std::string& agency) {
  static const std::map<std::string, std::string> centres{
      {"AIUB", "COD"}, {"CODE", "COD"}, {"CNES", "GRG"}, {"GRGS", "GRG"}, {"GRM", "GRG"},
      {"GBM", "GFZ"},  {"WHU", "WUM"},  {"ESOC", "ESA"}, {"SHAO", "SHA"}, {"NRCan", "EMR"}};
  const auto known = centres.find(agency);
  return known == centres.end() ? agency : known->second;
}

std::string described(const ProductOrigin& o) {
  return o.kind + " of " + o.centre + (o.series.empty() ? "" : " (series " + o.series + ")") +
         (o.file.empty() ? "" : " in " + o.file);
}

}  // namespace

ProductOrigin productOrigin(const std::string& path, const std::string& kind, const std::string& agency) {
  ProductOrigin origin{std::filesystem::path(path).filename().string(), kind, "", ""};
  if (isLongName(origin.file)) {
    origin.centre = origin.file.substr(0, 3);
    origin.series = origin.file.substr(3, 4);
  } else {
    origin.centre = centreOf(std::string(trim(agency)));
  }
  return origin;
}

std::string mixedOrigins(const std::vector<ProductOrigin>& origins) {
  const auto differ = [](const std::string& a, const std::string& b) {
    return !a.empty() && !b.empty() && a != b;
  };
  for (const ProductOrigin& a : origins)
    for (const ProductOrigin& b : origins) {
      if (!differ(a.centre, b.centre) && !differ(a.series, b.series)) continue;
      return described(a) + " and " + described(b) + " belong to different solutions";
    }
  return "";
}

}  // namespace gnx
