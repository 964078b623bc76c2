# What a user gets: the library, its headers, and two ways to find them (find_package and pkg-config).
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvex)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS orvex EXPORT orvexTargets)
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
endif()
configure_file(cmake/orvex.pc.in orvex.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvex.pc DESTINATION ${pkgconfig_dir})
