// vlmctl: the camera's settings by name, for people and for programs.
#include <cstdio>
#include <new>

#include "open_camera.h"
#include "program.h"

namespace {

using namespace vlm::ctl;

void write_to(std::FILE* file, const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), file);
  std::fflush(file);
}

/// `status`, unless the results did not reach their reader.
int with_output(int status) {
  const bool lost = std::fflush(stdout) != 0 || std::ferror(stdout) != 0;
  if (!lost) return status;
  std::fputs("vlmctl: the output could not be written\n", stderr);
  return status == kDone ? kPartly : status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Console console([](const std::string& text) { write_to(stdout, text); },
                    [](const std::string& text) { write_to(stderr, text); },
                    std::chrono::system_clock::now);
    return with_output(
        run_program(Words(argv + 1, argv + argc), console, open_camera, VLM_VERSION));
  } catch (const std::bad_alloc&) {
    std::fputs("vlmctl: out of memory\n", stderr);
    return kPartly;
  }
}
