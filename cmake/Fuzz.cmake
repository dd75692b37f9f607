# Fuzz targets: their sources are compiled anew, so that the fuzzer sees their branches.
if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
  message(FATAL_ERROR "GNX_BUILD_FUZZ needs clang; configure with -DCMAKE_CXX_COMPILER=clang++")
endif()

file(GLOB RTCM_SOURCES CONFIGURE_DEPENDS gnx/rtcm/*.cpp)
add_executable(rtcm_fuzz tests/fuzz/rtcm_fuzz.cpp ${RTCM_SOURCES} gnx/values/time.cpp gnx/values/signal.cpp
  gnx/values/leap_seconds.cpp gnx/formats/ssr_writer.cpp common/text/printed.cpp)
target_include_directories(rtcm_fuzz PRIVATE include gnx common)
target_link_libraries(rtcm_fuzz PRIVATE gnx_flags)
target_compile_options(rtcm_fuzz PRIVATE -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all)
target_link_options(rtcm_fuzz PRIVATE -fsanitize=fuzzer,address,undefined)
