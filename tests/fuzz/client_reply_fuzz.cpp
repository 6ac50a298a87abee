// Replies of the service into the test client. The client's socket calls end here: what it sends is
// swallowed, and what it receives is the input.
//
// Input: the datagram.
#include <sys/socket.h>

#include <cstring>

#include "fuzz_input.h"
#include "vlm_test.h"

namespace {

std::vector<std::uint8_t> reply;

}  // namespace

extern "C" ssize_t __wrap_sendto(int, const void*, std::size_t size, int, const sockaddr*,
                                 socklen_t) {
  return static_cast<ssize_t>(size);
}

extern "C" ssize_t __wrap_recv(int, void* room, std::size_t size, int) {
  const std::size_t taken = std::min(size, reply.size());
  if (taken > 0) std::memcpy(room, reply.data(), taken);
  return static_cast<ssize_t>(taken);
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  be_quiet();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  reply = FuzzInput(bytes, size).rest();
  char program[] = "vlm_test";
  char client[] = "udp";
  char word[] = "getver";
  char* argv[] = {program, client, word, nullptr};
  process_test_udp(3, argv);
  return 0;
}
