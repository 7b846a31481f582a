# What cpack makes of the installed files: Debian's packages, one for each component, or one archive of
# everything for Windows.
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
set(CPACK_PACKAGE_CONTACT "broker_client developers <broker_client@example.invalid>")
set(CPACK_STRIP_FILES ON)

string(TOLOWER ${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR} system)
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-${system})
set(CPACK_GENERATOR DEB)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
endif()

set(runtime libbroker-client${PROJECT_VERSION_MAJOR})
set(CPACK_COMPONENTS_ALL library development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The programs' own library is packed as well, but not installed while their dependencies are looked up.
get_target_property(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS broker_client BINARY_DIR)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${runtime})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION
"Speaks to a connection broker over TLS: logs a user in, lists the desktops,
powers them up and down and allocates one. This package has the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libbroker-client-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"This package has what it takes to build against the library: headers for C and
C++, files for CMake and pkg-config, and examples.")

list(APPEND CPACK_COMPONENTS_ALL python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-kavro-broker)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.9), ${runtime} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION
"This package has the module kavro_broker for Python.")

if(KAVRO_BUILD_TOOLS)
  list(APPEND CPACK_COMPONENTS_ALL tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME broker-client-tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION net)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime} (>= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_TOOLS_DESCRIPTION
"This package has two programs. kavro-broker looks for brokers, lists and
powers the desktops that they offer, and asks for the way to one.
kavro-broker-sim is a simulated broker for those who have none.")
endif()
include(CPack)
