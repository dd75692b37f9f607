# Fuzz targets: their sources are compiled anew, so that the fuzzer sees their branches.
if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
  message(FATAL_ERROR "GNX_BUILD_FUZZ needs clang; configure with -DCMAKE_CXX_COMPILER=clang++")
endif()

# gnx_fuzz_target(name sources...): tests/fuzz/NAME.cpp and what it needs.
function(gnx_fuzz_target name)
  add_executable(${name} tests/fuzz/${name}.cpp ${ARGN})
  target_include_directories(${name} PRIVATE include gnx common streams host)
  target_compile_definitions(${name} PRIVATE GNX_VERSION="${PROJECT_VERSION}")
  target_link_libraries(${name} PRIVATE gnx_flags PkgConfig::JSONCPP)
  target_compile_options(${name} PRIVATE -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer,address,undefined)
endfunction()

file(GLOB RTCM_SOURCES CONFIGURE_DEPENDS gnx/rtcm/*.cpp)
gnx_fuzz_target(rtcm_fuzz ${RTCM_SOURCES} gnx/values/time.cpp gnx/values/signal.cpp gnx/values/leap_seconds.cpp
  gnx/formats/ssr_writer.cpp common/text/printed.cpp)
gnx_fuzz_target(ntrip_fuzz streams/ntrip/protocol.cpp)
gnx_fuzz_target(live_config_fuzz host/live/live_options.cpp streams/link/stream_url.cpp common/text/fields.cpp)
gnx_fuzz_target(http_fuzz streams/http/request.cpp)
