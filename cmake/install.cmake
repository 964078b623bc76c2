# What a user gets: the library, its headers, and two ways to find them (find_package and pkg-config). Component `runtime`
# is what programs need to run, `development` what is needed to build them, `examples` the source of the examples.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvex)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)

# Before 1.0 a minor version may break what was built with another; the version file says the same.
set(ORVEX_SOVERSION ${PROJECT_VERSION_MAJOR})
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(ORVEX_SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
endif()

# Gives a library its version and installs it.
function(install_library target)
  set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${ORVEX_SOVERSION})
  install(TARGETS ${target} EXPORT orvexTargets
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
endfunction()

install_library(orvex)
install(DIRECTORY include/orvex DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN *.h)
install(EXPORT orvexTargets NAMESPACE orvex:: DESTINATION ${package_dir})

configure_package_config_file(cmake/orvexConfig.cmake.in orvexConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(orvexConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/orvexConfig.cmake ${PROJECT_BINARY_DIR}/orvexConfigVersion.cmake
  DESTINATION ${package_dir})

# The prefix is told relative to the .pc file, so that an installed tree may be moved.
file(RELATIVE_PATH prefix_from_pc ${CMAKE_INSTALL_PREFIX}/${pkgconfig_dir} ${CMAKE_INSTALL_PREFIX})
if(NOT BUILD_SHARED_LIBS)
  set(static_cflags " -DORVEX_STATIC")
  set(static_requires "\nRequires: tbb")
endif()
configure_file(cmake/orvex.pc.in orvex.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvex.pc DESTINATION ${pkgconfig_dir})

install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/orvex/examples COMPONENT examples
  EXCLUDE_FROM_ALL)
