# What is left out where the tests run on Windows, or here under Wine, and why.

# Single tests, named as they are chosen with --gtest_filter.
set(left_out_tests
  # A short form of an address is an address there as well, and no name.
  Conversation.NamesBothEndsAndItself
  # No adapter can be compared with /sys, no zone be set through TZ.
  LocalMacAddress.AgreesWithWhatTheSystemSaysOfEachInterface
  TimezoneWindows.NamesTheZoneOfTheSystem
  # A variable that is set to nothing is not set.
  CertStoreCacheTest.FileIsWhereHomeSays
  # A handle reads all of the system's anchors there: thousands of allocations to fail in turn.
  FailingAllocations.OfANewHandle
  # Libraries that stand in the place of the system's are found in another way there.
  ProxyTickets.AreTheSystems
  # Wine replaces no file that is open, and these readers leave it open nearly all the time.
  SafeFile.ReadersSeeOldOrNewWhoeverWrites
  # Where a reset is asked for, Wine ends the stream in order.
  Wire.EndingsCutTheAnswerOrTheHandshake)

# Source files of programs that are otherwise the same.
set(left_out_sources
  transport/io_libraries_posix.cpp         # found in another way there
  transport/io_process_posix.cpp           # fork, signals, descriptors
  trust/test_safe_file_posix.cpp)          # links, pipes and access rights

# Whole folders and programs, where these names are looked for:
#   signing              tokens are reached through p11-kit, which serves POSIX systems only
#   cli_terminal         drives the command-line client through a pseudo-terminal
#   cli_handoff, cli_manual  shells, manual pages and completion of POSIX systems
#   test_wiped_memory, test_soak  read the process's memory by what Linux tells of it
