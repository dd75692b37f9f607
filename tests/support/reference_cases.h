#pragma once
/// Published and independently computed cases, in files.

#include <json/json.h>

#include <fstream>
#include <string>

namespace gnx_test {

inline Json::Value referenceCases(const std::string& name) {
  std::ifstream in(GNX_TEST_DATA "/" + name);
  Json::Value root;
  in >> root;
  return root;
}

}  // namespace gnx_test
