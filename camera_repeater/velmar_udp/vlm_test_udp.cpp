// The UDP test client: sends the request of one word command and prints the reply.

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "velmar_err.h"
#include "velmar_output.h"
#include "velmar_udp_master_k720_print.h"
#include "vlm_test.h"
#include "vlm_test_udp_words.h"

namespace {

constexpr u16 kServicePort = 9528;
constexpr std::size_t kHeaderSize = offsetof(camctrl_msg_t, payload.params);

/// The data bytes that have arrived, of those that the reply says it holds.
std::size_t data_size(const camctrl_msg_t& reply, std::size_t size) {
  constexpr std::size_t kCrcSize = 2;
  if (size < kHeaderSize || reply.header.len < kCrcSize) return 0;
  return std::min(size - kHeaderSize, reply.header.len - kCrcSize);
}

void print_reply(const camctrl_msg_t& reply, std::size_t size) {
  udp_print_bytes("Received msg:\n", reinterpret_cast<const u8*>(&reply), size);
  const u16 result = camctrl_be16(reply.header.vb);
  std::printf("send msg reply:%s\n", vlm_strerr(result));
  if (result == VLM_ERR_NONE) print_test_udp_answer(reply, data_size(reply, size));
}

void send_request(int client, const camctrl_msg_t& request) {
  sockaddr_in service{};
  service.sin_family = AF_INET;
  service.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  service.sin_port = htons(kServicePort);
  sendto(client, &request, request.header.len + kHeaderSize, 0,
         reinterpret_cast<const sockaddr*>(&service), sizeof service);
  std::puts("send msg ok.");
}

/// While it lives, ended children are kept to be waited for, also in a program whose parent has
/// handed down that they are to be ignored.
class ChildrenWaitedFor {
 public:
  ChildrenWaitedFor() {
    sigaction(SIGCHLD, nullptr, &_before);
    if (_before.sa_handler != SIG_IGN) return;
    struct sigaction kept {};
    kept.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &kept, nullptr);
  }
  ~ChildrenWaitedFor() { sigaction(SIGCHLD, &_before, nullptr); }
  ChildrenWaitedFor(const ChildrenWaitedFor&) = delete;
  ChildrenWaitedFor& operator=(const ChildrenWaitedFor&) = delete;

 private:
  struct sigaction _before {};
};

}  // namespace

int my_test_system(const char* command, char* output) {
  if (command == nullptr) {
    std::puts("my_system cmd is NULL!");
    return -1;
  }
  show_output();
  const ChildrenWaitedFor waited_for;
  std::FILE* pipe = popen(command, "r");  // NOLINT(cert-env33-c): a shell is what is asked for
  if (pipe == nullptr) {
    const int error = errno;
    std::perror("popen");
    std::printf("popen error: %s/n", std::strerror(error));
    return -1;
  }
  char line[1024] = {};
  while (std::fgets(line, sizeof line, pipe) != nullptr) std::memcpy(output, line, 255);
  const int status = pclose(pipe);
  if (status == -1) {
    std::puts("close popen file pointer fp error!");
  } else {
    std::printf("popen res is :%d;return value = %d\n", status, WEXITSTATUS(status));
  }
  return status;
}

void process_test_udp(int argc, char** argv) {
  if (argc < 3) {
    print_test_udp_invalid_use();
    std::exit(1);
  }
  const int client = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  if (client < 0) {
    std::puts("csock < 0");
    std::exit(1);
  }
  camctrl_msg_t request;
  if (!build_test_udp_request(argc, argv, request)) std::exit(1);
  send_request(client, request);
  show_output();
  camctrl_msg_t reply{};
  const ssize_t size = recv(client, &reply, sizeof reply, 0);
  if (size < 1) {
    std::puts("no reply.");
  } else {
    print_reply(reply, static_cast<std::size_t>(size));
  }
  close(client);
}
