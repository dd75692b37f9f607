#pragma once
/// \file places.h
/// Where the tests find the tree, the program and the real data. Only one file of a test program is compiled
/// with these paths, so that a compiler's cache serves checkouts at other places.

#include <string>

namespace support {

extern const std::string kSourceDirectory;  ///< of the tree
extern const std::string kTestData;         ///< small files of the tests
extern const std::string kProgram;          ///< gnx
extern const std::string kExamples;         ///< directory of the example programs
extern const std::string kDataDirectory;    ///< real data, may be absent

}  // namespace support
