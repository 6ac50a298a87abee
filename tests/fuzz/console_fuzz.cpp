// The console's command line and prompt: its `main`, with the bus answering every request.
//
// Input: a byte; when it is odd, the rest is typed at the prompt, else it is the command line, its
// arguments each ended by a zero byte. The camera answers with the input's own bytes, and with an
// error when the byte's second bit is set.
#include <ctime>

#include "fuzz_bus.h"
#include "fuzz_input.h"
#include "lcm_request.h"
#include "lcm_request_peer.h"
#include "vlm_test.h"

// The console's entry, compiled under another name.
int console_main(int argc, char** argv);

// Nothing has to be waited for: the bus answers the engine directly.
void no_listener() {}
extern "C" int __wrap_nanosleep(const timespec*, timespec*) { return 0; }
extern "C" int __wrap_clock_nanosleep(clockid_t, int, const timespec*, timespec*) { return 0; }

namespace {

void run(std::vector<std::string> words) {
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  console_main(static_cast<int>(words.size()), argv.data());
}

void type(std::vector<u8> text) {
  text.push_back('\n');
  std::FILE* const keyboard = fmemopen(text.data(), text.size(), "r");
  must(keyboard != nullptr, "a keyboard can be made");
  std::FILE* const own = stdin;
  stdin = keyboard;
  run({"vlm_test"});
  stdin = own;
  std::fclose(keyboard);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  be_quiet();
  std::snprintf(g_OTA_DirList[0], sizeof g_OTA_DirList[0], "/nonexistent");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzInput input(bytes, size);
  const u8 how = input.byte();
  ctrlcmd = {};
  FuzzBus::instance().answer(
      answer_with({bytes, bytes + size}, (how & 2) != 0 ? u16{VLM_ERR_FAILED} : u16{0}));
  if ((how & 1) != 0) {
    type(input.rest());
  } else {
    std::vector<std::string> words = {"vlm_test"};
    while (!input.empty()) words.push_back(input.text('\0'));
    // The test client has a fuzzer of its own; without words the prompt would read our input.
    if (words.size() > 1 && words[1] != "udp") run(words);
  }
  FuzzBus::instance().settle();
  must(LcmRequestPeer::state(lcm_request) == LcmRequest::IDLE, "the engine is idle again");
  return 0;
}
