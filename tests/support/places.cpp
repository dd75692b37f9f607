// The paths of this checkout, given by the build.

#include "support/places.h"

namespace support {

const std::string kSourceDirectory = GNX_SOURCE_DIR;
const std::string kTestData = GNX_TEST_DATA;
const std::string kProgram = GNX_PROGRAM;
const std::string kExamples = GNX_EXAMPLES;
const std::string kDataDirectory = GNX_DATA_DIR;

}  // namespace support
