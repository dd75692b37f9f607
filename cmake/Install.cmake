# What `make install` installs, by component: runtime (libraries), development (headers, CMake and pkg-config
# files, static form, examples), program (gnx and its data),
# python (the module gnx).
include(CMakePackageConfigHelpers)
get_property(GNX_INSTALLED_LIBRARIES GLOBAL PROPERTY GNX_LIBRARIES)
install(TARGETS ${GNX_INSTALLED_LIBRARIES} EXPORT gnxTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(FILES include/GNX_SDK.h include/GNX_SDK_ext.h include/GNX_IO.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
set(GNX_PKGCONFIG gnx-sdk gnx-io)
if(GNX_BUILD_LIBGNX)
  # Engines run in processes of their own, which the library starts from here.
  set_target_properties(gnx_worker PROPERTIES INSTALL_RPATH "$ORIGIN/../../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS gnx_worker RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/gnx COMPONENT runtime)
  install(FILES include/gnx.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
  install(DIRECTORY include/gnx DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
  list(APPEND GNX_PKGCONFIG gnx)
endif()
if(GNX_BUILD_STATIC)
  install(TARGETS gnx_static EXPORT gnxTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
endif()
if(GNX_BUILD_PROGRAM)
  install(TARGETS gnx RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
  install(DIRECTORY deploy/ DESTINATION ${CMAKE_INSTALL_DATADIR}/gnx COMPONENT program)
  # Manual pages and completions come from the program's own tables of options.
  set(GNX_MANUAL ${CMAKE_BINARY_DIR}/manual)
  add_custom_command(OUTPUT ${GNX_MANUAL}/man1/gnx.1 COMMAND gnx manual ${GNX_MANUAL} DEPENDS gnx
    COMMENT "manual pages and completions")
  add_custom_target(gnx_manual ALL DEPENDS ${GNX_MANUAL}/man1/gnx.1)
  install(DIRECTORY ${GNX_MANUAL}/man1 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT program)
  install(FILES ${GNX_MANUAL}/bash/gnx DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT program)
  install(FILES ${GNX_MANUAL}/zsh/_gnx DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT program)
  foreach(service gnx-live@ gnx-fleet)
    configure_file(packaging/${service}.service.in ${CMAKE_BINARY_DIR}/${service}.service @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/${service}.service DESTINATION lib/systemd/system COMPONENT program)
  endforeach()
endif()
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)

set(GNX_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/gnx)
install(EXPORT gnxTargets NAMESPACE gnx:: DESTINATION ${GNX_CMAKE_DIR} COMPONENT development)
configure_package_config_file(cmake/gnxConfig.cmake.in ${CMAKE_BINARY_DIR}/gnxConfig.cmake
  INSTALL_DESTINATION ${GNX_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/gnxConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/gnxConfig.cmake ${CMAKE_BINARY_DIR}/gnxConfigVersion.cmake
  DESTINATION ${GNX_CMAKE_DIR} COMPONENT development)

# relative to itself, so that the tree may be installed and moved anywhere
file(RELATIVE_PATH GNX_PC_TO_PREFIX /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
foreach(name ${GNX_PKGCONFIG})
  configure_file(cmake/${name}.pc.in ${CMAKE_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/${name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()
