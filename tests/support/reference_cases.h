#pragma once
/// Published and independently computed cases, in files.

#include <json/json.h>

#include <fstream>
#include <string>

#include "support/places.h"

namespace gnx_test {

inline Json::Value referenceCases(const std::string& name) {
  std::ifstream in(support::kTestData + "/" + name);
  Json::Value root;
  in >> root;
  return root;
}

}  // namespace gnx_test
