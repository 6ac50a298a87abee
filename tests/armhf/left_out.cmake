# What does not run under emulation, each with its reason. ctest reads this file when it knows all
# tests.
set_tests_properties(vlm_test_udp_test PROPERTIES  # the emulator keeps ended children all the same
  ENVIRONMENT GTEST_FILTER=-UdpClientShell.ReportsACommandWhoseEndItCannotSee)
