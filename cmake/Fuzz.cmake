# Fuzz targets: what they need of the tree is compiled anew, so that the fuzzer sees its branches.
if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
  message(FATAL_ERROR "GNX_BUILD_FUZZ needs clang; configure with -DCMAKE_CXX_COMPILER=clang++")
endif()
find_package(GTest REQUIRED)  # files of the tests' support include it

# Readers of the library, the text below them and what the engine is configured by, once for all targets.
file(GLOB FUZZED_SOURCES CONFIGURE_DEPENDS common/text/*.cpp gnx/formats/*.cpp gnx/values/*.cpp gnx/rtcm/*.cpp
  src/Config/*.cpp src/Common/*.cpp src/Records/*.cpp companion/*.cpp)
add_library(gnx_fuzzed STATIC ${FUZZED_SOURCES} gnx/deployment/antex_file.cpp gnx/results/account.cpp
  host/batch/batch_table.cpp host/run/diagnostics.cpp host/live/live_options.cpp
  host/run/run_files.cpp host/run/run_plan.cpp host/run/solution.cpp host/run/solution_files.cpp host/run/nmea.cpp
  streams/link/stream_url.cpp streams/ntrip/protocol.cpp streams/http/request.cpp)
gnx_embed_files(gnx_fuzzed builtInFiles deploy=)
target_include_directories(gnx_fuzzed PUBLIC include gnx common streams host src tests)
target_compile_definitions(gnx_fuzzed PUBLIC GNX_VERSION="${PROJECT_VERSION}" GNX_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
target_compile_options(gnx_fuzzed PUBLIC -O1 -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all)
target_link_libraries(gnx_fuzzed PUBLIC gnx_flags PkgConfig::JSONCPP ZLIB::ZLIB PkgConfig::LIBARCHIVE
  ${ERFA_LIBRARY} Threads::Threads)

# A target for every tests/fuzz/NAME_fuzz.cpp.
file(GLOB FUZZERS CONFIGURE_DEPENDS tests/fuzz/*_fuzz.cpp)
foreach(fuzzer ${FUZZERS})
  get_filename_component(name ${fuzzer} NAME_WE)
  add_executable(${name} ${fuzzer})
  target_link_libraries(${name} PRIVATE gnx_fuzzed)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer,address,undefined)
endforeach()
target_sources(configuration_fuzz PRIVATE tests/support/places.cpp)
target_compile_definitions(configuration_fuzz PRIVATE GNX_DATA_DIR="" GNX_TEST_DATA="" GNX_PROGRAM="" GNX_EXAMPLES="")
target_link_libraries(configuration_fuzz PRIVATE GTest::gtest)
target_link_options(configuration_fuzz PRIVATE LINKER:--wrap=exit)
