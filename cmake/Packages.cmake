# What cpack makes of the installed files: one archive of everything for Windows.
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
string(TOLOWER ${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR} system)
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-${system})
set(CPACK_GENERATOR ZIP)
set(CPACK_STRIP_FILES ON)
include(CPack)
