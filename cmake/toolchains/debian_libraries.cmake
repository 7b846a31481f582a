# The libraries of Debian's native packages for a system that it has none for: their headers do for the
# header-only ones, the others come as static libraries or are built here.

# Not the folder of all headers: those of the building machine's own system must stay out of sight.
set(cross_headers ${CMAKE_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${cross_headers})

# Has find_package(name) succeed with nothing but these targets, which bring the headers in `folder`.
function(header_only name folder)
  file(CREATE_LINK /usr/include/${folder} ${cross_headers}/${folder} SYMBOLIC)
  foreach(target IN LISTS ARGN)
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} SYSTEM INTERFACE ${cross_headers})
  endforeach()
  file(WRITE ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/${name}Config.cmake "")
  file(WRITE ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/${name}ConfigVersion.cmake
       "set(PACKAGE_VERSION_COMPATIBLE TRUE)\n")
endfunction()

header_only(Boost boost Boost::headers)
header_only(fmt fmt fmt::fmt fmt::fmt-header-only)
header_only(nlohmann_json nlohmann nlohmann_json::nlohmann_json)
header_only(CLI11 CLI CLI11::CLI11)
target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)
target_compile_definitions(fmt::fmt-header-only INTERFACE FMT_HEADER_ONLY)

# Debian ships GoogleTest's sources beside its libraries.
set(INSTALL_GTEST OFF)
file(WRITE ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/GTestConfig.cmake
     "add_subdirectory(/usr/src/googletest \${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)\n")

# A program that is copied to another machine must find everything it needs in the system there.
add_link_options(-static)
set(OPENSSL_USE_STATIC_LIBS ON)
set(ZLIB_USE_STATIC_LIBS ON)

execute_process(COMMAND ${PROJECT_SOURCE_DIR}/tools/windows/openssl.sh
                OUTPUT_VARIABLE OPENSSL_ROOT_DIR OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
list(APPEND CMAKE_FIND_ROOT_PATH ${OPENSSL_ROOT_DIR})
