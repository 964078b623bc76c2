# Debian packages of the installed components: cpack, in a build tree that is configured for the prefix /usr.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME liborvex)
set(CPACK_PACKAGE_CONTACT "The liborvex developers <liborvex@localhost>" CACHE STRING "Maintainer of the packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(text "Numbers of a signed or unsigned fixed-point type of any word length, with every mode of\n\
rounding and overflow, computed bit for bit as hardware would, and a client that hears of each\n\
overflow.\n.\n")
set(exactly_this "(= ${PROJECT_VERSION})")

set(runtime_package liborvex${ORVEX_SOVERSION})
set(CPACK_COMPONENTS_ALL development examples)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libboost-dev")
if(BUILD_SHARED_LIBS)
  list(PREPEND CPACK_COMPONENTS_ALL runtime)
  string(PREPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} ${exactly_this}, ")
else()
  string(APPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ", libtbb-dev")
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${text}This package has what programs need to run.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborvex-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "orvex-examples, pkg-config, cmake")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
  "${text}This package has the headers, and what find_package and pkg-config need.")

set(CPACK_DEBIAN_EXAMPLES_PACKAGE_NAME orvex-examples)
set(CPACK_DEBIAN_EXAMPLES_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_EXAMPLES_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_EXAMPLES_PACKAGE_DEPENDS
  "liborvex-dev (>= ${PROJECT_VERSION}), cmake, libcli11-dev, libsndfile1-dev, pkg-config")
set(CPACK_DEBIAN_EXAMPLES_PACKAGE_RECOMMENDS "gnuplot-nox, alsa-utils")
set(CPACK_DEBIAN_EXAMPLES_DESCRIPTION
  "${text}This package has programs to start from, in source: cmake -S /usr/share/orvex/examples -B build")
include(CPack)
