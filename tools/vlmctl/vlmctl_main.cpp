// vlmctl: the camera's settings by name, for people and for programs.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <new>
#include <optional>
#include <system_error>

#include "broker_object.h"
#include "camera_search.h"
#include "format.h"
#include "interruption.h"
#include "open_camera.h"
#include "program.h"
#include "progress.h"
#include "site_part.h"

namespace {

using namespace vlm::ctl;

int g_output_error;  // errno of the first line that was lost; 0: none was

/// Each line is visible at once.
void write_to(std::FILE* file, const std::string& text) {
  const bool written =
      std::fwrite(text.data(), 1, text.size(), file) == text.size() && std::fflush(file) == 0;
  if (!written && file == stdout && g_output_error == 0) g_output_error = errno;
}

/// The line that is typed at the terminal. None: Ctrl-C came first, or the input has ended.
std::optional<std::string> read_answer() {
  std::string line;
  pollfd input{STDIN_FILENO, POLLIN, 0};
  while (!interrupted()) {
    if (poll(&input, 1, static_cast<int>(kLookInterval.count())) <= 0 || interrupted()) continue;
    char letter = 0;
    if (read(STDIN_FILENO, &letter, 1) != 1) return std::nullopt;
    if (letter == '\n') return line;
    line += letter;
  }
  write_to(stderr, "\n");
  return std::nullopt;
}

/// Asks at the terminal; a script is taken at its word.
bool confirm(const std::string& question) {
  if (isatty(STDIN_FILENO) == 0) return true;
  std::fprintf(stderr, "%s [y/N] ", question.c_str());
  std::fflush(stderr);
  const auto answer = read_answer();
  return answer && !answer->empty() && ((*answer)[0] == 'y' || (*answer)[0] == 'Y');
}

/// Each camera of a site a vlmctl of its own asks.
int run_on_site(const Words& line, std::size_t command) {
  const void* const part = vlm::bus::from_broker_object("vlm_site_part");
  if (part != nullptr) return static_cast<const vlm::client::SitePart*>(part)->run(line, command);
  fail(kNoCamera, "",
       vlm::host::format(vlm::bus::kNoBrokerObject, vlm::bus::broker_object_fault()));
}

/// `status`, unless the results did not reach their reader.
int with_output(int status) {
  if (g_output_error == 0) return status;
  std::fprintf(stderr, "vlmctl: standard output: %s\n",
               std::system_category().message(g_output_error).c_str());
  return status == kDone ? kPartly : status;
}

/// No socket is to get the number of a stream that was closed. For reading alone: so what is written
/// to it is known to be lost.
void fill_closed_streams() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(fd, F_GETFD) == -1 && open("/dev/null", O_RDONLY) == -1) return;
  }
}

}  // namespace

int main(int argc, char** argv) {
  fill_closed_streams();
  try {
    Console console([](const std::string& text) { write_to(stdout, text); },
                    [](const std::string& text) { write_to(stderr, text); },
                    std::chrono::system_clock::now);
    console.confirm = confirm;
    if (has_live_line()) console.live = show_live_line;
    return with_output(run_program(Words(argv + 1, argv + argc), console,
                                   {open_camera, find_cameras, run_on_site}, VLM_VERSION));
  } catch (const std::bad_alloc&) {
    std::fputs("vlmctl: out of memory\n", stderr);
    return kPartly;
  } catch (const std::system_error& fault) {
    std::fprintf(stderr, "vlmctl: a thread cannot be made: %s\n", fault.what());
    return kNoCamera;
  }
}
