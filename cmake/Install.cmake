include(CMakePackageConfigHelpers)
install(TARGETS GNX_SDK GNX_IO gnx_lib EXPORT gnxTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS gnx RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES include/GNX_SDK.h include/GNX_SDK_ext.h include/GNX_IO.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY deploy/ DESTINATION ${CMAKE_INSTALL_DATADIR}/gnx)
install(FILES examples/minimal_host.cpp DESTINATION ${CMAKE_INSTALL_DATADIR}/gnx/examples OPTIONAL)
install(EXPORT gnxTargets NAMESPACE gnx:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/gnx)
configure_package_config_file(cmake/gnxConfig.cmake.in ${CMAKE_BINARY_DIR}/gnxConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/gnx)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/gnxConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/gnxConfig.cmake ${CMAKE_BINARY_DIR}/gnxConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/gnx)
# relative to itself, so that the tree may be installed and moved anywhere
file(RELATIVE_PATH GNX_PC_TO_PREFIX /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
configure_file(cmake/gnx.pc.in ${CMAKE_BINARY_DIR}/gnx.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/gnx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
