# What needs sockets: against a scripted peer on the loopback interface.
add_executable(test_transport_io
  io_addresses.cpp
  io_answers.cpp
  io_deadlines.cpp
  io_handshake.cpp)
target_link_libraries(test_transport_io PRIVATE
  broker_client_internals test_support GTest::gtest_main)
discover_tests(test_transport_io)

# Those in which a second thread has a say; also run under the thread sanitizer.
add_executable(test_transport_threads
  io_cancel.cpp
  io_lookups.cpp)
target_link_libraries(test_transport_threads PRIVATE
  broker_client_internals test_support GTest::gtest_main)
discover_tests(test_transport_threads PROPERTIES LABELS threads)
