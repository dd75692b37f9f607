#pragma once
/// \file built_in_files.h
/// The files of deploy/, which are built into the library, by name.

#include <map>
#include <string>
#include <string_view>

namespace gnx {

const std::map<std::string, std::string_view>& builtInFiles();

}  // namespace gnx
