# gnx_shared_library(target): a library that hosts link. Versioned soname; the map of the same name, where
# there is one, says which of its symbols are whose. Until 1.0 every minor release may change what is behind
# the entry points, so that the soname carries it.
# The engine's own calls stay open to what a host defines in their place (companion functions, the clock).
function(gnx_shared_library target)
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  get_target_property(name ${target} OUTPUT_NAME)
  if(NOT name)
    set(name ${target})
  endif()
  set(map ${CMAKE_SOURCE_DIR}/cmake/symbols/${name}.map)
  if(EXISTS ${map})
    target_link_options(${target} PRIVATE LINKER:--version-script=${map})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
  endif()
  set_property(GLOBAL APPEND PROPERTY GNX_LIBRARIES ${target})
endfunction()
