// Prints the console's two lists of commands; its completion and its manual page are made from them.
#include "vlm_test.h"

int main() {
  print_usage();
  print_test_udp_usage();
}
