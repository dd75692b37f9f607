#pragma once
/// \file embedded_files.h
/// The files that are built into the program, by name: those of deploy/ and, as "page/NAME", of the page.

#include <map>
#include <string>
#include <string_view>

namespace gnx {

const std::map<std::string, std::string_view>& embeddedFiles();

}  // namespace gnx
