// Prints the numbers that the console refuses, and its two lists of commands: its completion and its
// manual page are made from them.
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "lcm_request.h"
#include "vlm_test.h"

namespace {
std::vector<std::thread> replies;
}

// The bus, with a camera on it that refuses everything, at once.
int send_msg_to_lcm(const userlcm_packet_t* packet, unsigned /*length*/, const char* /*to*/) {
  udp_ctrl_cam_t reply;
  std::memcpy(&reply, packet->msg_buf + offsetof(msg_from_rep_t, msg_data), sizeof reply);
  reply.err_code = VLM_ERR_UNSUPPORTED_COMMAND;
  replies.emplace_back([reply] { lcm_request.receive_msg(reply); });
  return 0;
}

void* register_lcm_message(Receive_msg_t* /*subscription*/) { return nullptr; }

namespace {

/// What the console prints for a line, at most `kSize` bytes of it.
std::string answer_to(std::string line) {
  constexpr std::size_t kSize = 4096;
  std::FILE* const file = std::tmpfile();
  std::fflush(stdout);
  const int terminal = dup(STDOUT_FILENO);
  dup2(fileno(file), STDOUT_FILENO);
  send_cmd_to_lcm(line.data());
  for (auto& reply : replies) reply.join();
  replies.clear();
  std::fflush(stdout);
  dup2(terminal, STDOUT_FILENO);
  close(terminal);

  std::string answer(kSize, '\0');
  std::rewind(file);
  answer.resize(std::fread(answer.data(), 1, answer.size(), file));
  std::fclose(file);
  return answer;
}

bool refused(int number) {
  return answer_to(std::to_string(number)).find("unsupported command type") != std::string::npos;
}

}  // namespace

int main() {
  // Command 33 looks for firmware, and would remove what lies beside it.
  std::strcpy(g_OTA_DirList[0], "/nonexistent");
  for (int number = 0; number < 1000; ++number) {
    if (refused(number)) std::printf("refused: %d\n", number);
  }
  print_usage();
  print_test_udp_usage();
}
