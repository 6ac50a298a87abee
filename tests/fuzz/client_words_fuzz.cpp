// Words of the test client. A request that is built carries its CRC, and what the shell would run is
// the date tool alone, whatever the words.
//
// Input: the words, each ended by a zero byte.
#include <cstring>

#include "camctrl_app.h"
#include "fuzz_input.h"
#include "vlm_test.h"

// The shell's part: an answer of the date tool, from the words of its command.
extern "C" std::FILE* __wrap_popen(const char* command, const char*) {
  const std::string text = command;
  const std::string begin = "date -d '";
  const std::string end = "' +%s";
  must(text.size() >= begin.size() + end.size(), "the command is whole");
  must(text.compare(0, begin.size(), begin) == 0, "the command begins with the date tool");
  must(text.compare(text.size() - end.size(), end.size(), end) == 0, "and ends its argument");
  const std::string date = text.substr(begin.size(), text.size() - begin.size() - end.size());
  must(date.find('\'') == std::string::npos, "which does not end before");
  std::FILE* const answer = std::tmpfile();
  must(answer != nullptr, "a file can be made");
  std::fprintf(answer, "%s\n", date.c_str());
  std::rewind(answer);
  return answer;
}

extern "C" int __wrap_pclose(std::FILE* answer) { return std::fclose(answer); }

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  be_quiet();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzInput input(bytes, size);
  std::vector<std::string> words = {"vlm_test", "udp"};
  while (!input.empty()) words.push_back(input.text('\0'));
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  camctrl_msg_t request;
  if (!build_test_udp_request(static_cast<int>(words.size()), argv.data(), request)) return 0;
  const u8 len = request.header.len;
  must(len >= 2, "a request has room for its CRC");
  Bytes packet(std::size_t{8} + len);
  std::memcpy(packet.data(), &request, packet.size());
  const u16 crc = camctrl_crc(Bytes(packet.begin() + 1, packet.end() - 2));
  must((packet[len + 6U] << 8 | packet[len + 7U]) == crc, "a request carries its CRC");
  return 0;
}
