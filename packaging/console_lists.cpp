// Prints the numbers that the console runs and its two lists of commands; its completion and its
// manual page are made from them.
#include <cstdint>
#include <cstdio>

#include "vlm_test.h"

int main() {
  std::printf("runnable:");
  for (int number = 0; number <= UINT16_MAX; ++number) {
    if (runs_command(number)) std::printf(" %d", number);
  }
  std::printf("\n");
  print_usage();
  print_test_udp_usage();
}
