# What is installed, in components: the library, what it takes to build against it, the documentation, the
# Python package, and the two programs.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(library ${PROJECT_SOURCE_DIR}/sdk/libs/broker_client)
set(docs ${PROJECT_SOURCE_DIR}/docs)

install(TARGETS broker_client EXPORT broker_client
        RUNTIME COMPONENT library
        LIBRARY COMPONENT library NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# For those who build against it.
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/broker_client)
set(pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
write_basic_package_version_file(broker_client-config-version.cmake COMPATIBILITY SameMajorVersion)
file(RELATIVE_PATH prefix_from_here /${pkgconfig} /)
string(REGEX REPLACE "/$" "" prefix_from_here ${prefix_from_here})
set(private_libraries "-lssl -lcrypto -lz -licui18n -licuuc -licudata -lstdc++ -lm -lpthread -ldl")
if(WIN32)
  set(private_libraries "-lssl -lcrypto -lz -lstdc++ -lbcrypt -lcrypt32 -liphlpapi -lmswsock -lsecur32 -lwinhttp -lws2_32")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/broker_client.pc.in broker_client.pc @ONLY)

install(FILES ${library}/kavro_broker.h ${library}/kavro_broker_extras.h ${library}/kavro_broker.hpp
              ${library}/kavro_broker_records.hpp ${library}/kavro_broker_async.hpp
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT broker_client FILE broker_client-shared.cmake NAMESPACE broker_client::
        DESTINATION ${package} COMPONENT development)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/broker_client-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/broker_client-config-version.cmake
        DESTINATION ${package} COMPONENT development)
if(KAVRO_BUILD_STATIC)
  install(TARGETS broker_client_static EXPORT broker_client_static
          ARCHIVE COMPONENT development INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT broker_client_static FILE broker_client-static.cmake NAMESPACE broker_client::
          DESTINATION ${package} COMPONENT development)
endif()
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/broker_client.pc
        DESTINATION ${pkgconfig} COMPONENT development)

# All pages, because they lead to each other. What is beside their folder in the sources is among them here.
file(GLOB pages CONFIGURE_DEPENDS ${docs}/*.md ${docs}/*.png ${docs}/*.svg)
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation PATTERN __pycache__ EXCLUDE)

# Where Debian's Python looks; others take the wheel.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/kavro_broker DESTINATION lib/python3/dist-packages
        COMPONENT python EXCLUDE_FROM_ALL PATTERN __pycache__ EXCLUDE)

# For those who run the programs.
if(KAVRO_BUILD_TOOLS)
  install(TARGETS kavro-broker kavro-broker-sim RUNTIME COMPONENT tools)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/tools/broker-sim/scenarios
          DESTINATION ${CMAKE_INSTALL_DATADIR}/kavro-broker COMPONENT tools)
  set_target_properties(kavro-broker PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  if(NOT CMAKE_CROSSCOMPILING)
    set(manual ${PROJECT_BINARY_DIR}/tools/manual)
    install(FILES ${manual}/kavro-broker.1 ${manual}/kavro-broker-sim.1
            DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
    foreach(place IN ITEMS bash:bash-completion/completions zsh:zsh/vendor-completions
                           fish:fish/vendor_completions.d)
      string(REPLACE ":" ";" place ${place})
      list(GET place 0 shell)
      list(GET place 1 folder)
      install(DIRECTORY ${manual}/completions/${shell}/
              DESTINATION ${CMAKE_INSTALL_DATADIR}/${folder} COMPONENT tools)
    endforeach()
  endif()
endif()

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT licence)

if(WIN32)
  # What is linked into the library and the programs, in the words of those who made it.
  foreach(library IN ITEMS libssl-dev libboost1.81-dev libfmt-dev zlib1g-dev libcli11-dev
                           nlohmann-json3-dev gcc-mingw-w64-base mingw-w64-common)
    install(FILES /usr/share/doc/${library}/copyright DESTINATION licences
            RENAME ${library}.txt COMPONENT licence)
  endforeach()

  # Other linkers use an import library of their own, or make one from the list of names.
  set(built $<TARGET_PROPERTY:broker_client,BINARY_DIR>)
  install(FILES ${built}/broker_client.def DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
  if(MINGW)
    install(FILES ${built}/broker_client.lib DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
    install(FILES ${built}/broker_client.dll.debug DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT development)
  endif()
  install(FILES ${docs}/windows.md DESTINATION . COMPONENT development)
endif()
