// vlmctl: the camera's settings by name, for people and for programs.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <new>
#include <system_error>

#include "open_camera.h"
#include "program.h"

namespace {

using namespace vlm::ctl;

int g_output_error;  // errno of the first line that was lost; 0: none was

/// Each line is visible at once.
void write_to(std::FILE* file, const std::string& text) {
  const bool written =
      std::fwrite(text.data(), 1, text.size(), file) == text.size() && std::fflush(file) == 0;
  if (!written && file == stdout && g_output_error == 0) g_output_error = errno;
}

/// Asks at the terminal; a script is taken at its word.
bool confirm(const std::string& question) {
  if (isatty(STDIN_FILENO) == 0) return true;
  std::fprintf(stderr, "%s [y/N] ", question.c_str());
  std::fflush(stderr);
  char answer[16] = {};
  return std::fgets(answer, sizeof answer, stdin) != nullptr &&
         (answer[0] == 'y' || answer[0] == 'Y');
}

/// `status`, unless the results did not reach their reader.
int with_output(int status) {
  if (g_output_error == 0) return status;
  std::fprintf(stderr, "vlmctl: standard output: %s\n",
               std::system_category().message(g_output_error).c_str());
  return status == kDone ? kPartly : status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Console console([](const std::string& text) { write_to(stdout, text); },
                    [](const std::string& text) { write_to(stderr, text); },
                    std::chrono::system_clock::now);
    console.confirm = confirm;
    return with_output(
        run_program(Words(argv + 1, argv + argc), console, open_camera, VLM_VERSION));
  } catch (const std::bad_alloc&) {
    std::fputs("vlmctl: out of memory\n", stderr);
    return kPartly;
  }
}
