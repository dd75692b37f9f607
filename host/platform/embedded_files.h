#pragma once
/// \file embedded.h
/// The deployment files that are built into the program, by file name.

#include <map>
#include <string>
#include <string_view>

namespace gnx {

const std::map<std::string, std::string_view>& embeddedFiles();

}  // namespace gnx
