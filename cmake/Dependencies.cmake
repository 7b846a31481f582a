# The libraries this project stands on, all of them Debian packages.
find_package(Threads REQUIRED)
find_package(Boost 1.76 REQUIRED)
find_package(OpenSSL 1.1.1 REQUIRED)
find_package(fmt REQUIRED)
find_package(ZLIB REQUIRED)
if(NOT WIN32)
  find_package(ICU REQUIRED COMPONENTS i18n uc)
endif()

# Asio is compiled once, for the library and the tools alike.
add_library(broker_client_asio STATIC ${CMAKE_CURRENT_LIST_DIR}/asio.cpp)
target_compile_definitions(broker_client_asio PUBLIC
  BOOST_ASIO_SEPARATE_COMPILATION BOOST_ASIO_NO_DEPRECATED)
target_link_libraries(broker_client_asio PUBLIC Boost::headers OpenSSL::SSL OpenSSL::Crypto Threads::Threads)
if(WIN32)
  # What Asio and OpenSSL ask of the system. The headers offer what Windows 10 has.
  target_compile_definitions(broker_client_asio PUBLIC _WIN32_WINNT=0x0A00 WIN32_LEAN_AND_MEAN NOMINMAX)
  target_link_libraries(broker_client_asio PUBLIC ws2_32 mswsock crypt32 bcrypt)
endif()
