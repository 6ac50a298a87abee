# The tests that do not run under emulation, each with its reason. ctest lists them as disabled; it
# reads this file when it knows all other tests.
foreach(test
    Memory.OfTheIdlePromptIsAtMostHalfAsMuchAgainAsThatOfAProgramThatDoesNothing  # the emulator's
    UdpClientShell.ReportsACommandWhoseEndItCannotSee  # the emulator keeps ended children all the same
    Memory.TooShortForAListenerLeavesTheConsoleRunning  # the emulator itself does not start then
)
  set_tests_properties(${test} PROPERTIES DISABLED TRUE)
endforeach()
