# The tests that do not run under emulation, each with its reason. ctest reads this file when it knows
# all other tests; it lists the first two as disabled.
set_tests_properties(
  bus_round_trip_runs     # a benchmark: the emulator's speed; it starts its camera by itself
  time_report_bench_runs  # a benchmark: the emulator's speed and memory
  PROPERTIES DISABLED TRUE)
# The emulator keeps ended children all the same.
set_tests_properties(vlm_test_udp_test PROPERTIES
  ENVIRONMENT GTEST_FILTER=-UdpClientShell.ReportsACommandWhoseEndItCannotSee)
