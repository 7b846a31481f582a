# The version stands in the public header, where callers can test it; everything else takes it from there.
set(header ${CMAKE_CURRENT_LIST_DIR}/../sdk/libs/broker_client/kavro_broker.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
file(STRINGS ${header} KAVRO_VERSION REGEX "^#define KAVRO_BROKER_VERSION_(MAJOR|MINOR|PATCH) [0-9]+$")
list(TRANSFORM KAVRO_VERSION REPLACE ".* " "")
list(JOIN KAVRO_VERSION "." KAVRO_VERSION)
if(NOT KAVRO_VERSION MATCHES "^[0-9]+\\.[0-9]+\\.[0-9]+$")
  message(FATAL_ERROR "${header} does not tell its major, minor and patch version, in this order")
endif()
