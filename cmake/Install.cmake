# What is installed, and packed into an archive by cpack: the library with what it takes to build against
# it, and the two programs.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(library ${PROJECT_SOURCE_DIR}/sdk/libs/broker_client)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/broker_client)

install(TARGETS broker_client EXPORT broker_client INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${library}/kavro_broker.h ${library}/kavro_broker_extras.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT broker_client FILE broker_client-config.cmake DESTINATION ${package})
write_basic_package_version_file(broker_client-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/broker_client-config-version.cmake DESTINATION ${package})

if(KAVRO_BUILD_TOOLS)
  install(TARGETS kavro-broker kavro-broker-sim)
  set_target_properties(kavro-broker PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endif()
if(WIN32)
  # Other linkers make an import library of their own from the list of names.
  install(FILES $<TARGET_PROPERTY:broker_client,BINARY_DIR>/broker_client.def
          DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/docs/windows.md DESTINATION .)
endif()

set(CPACK_GENERATOR ZIP)
set(CPACK_STRIP_FILES ON)
string(TOLOWER ${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR} system)
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-${system})
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
include(CPack)
