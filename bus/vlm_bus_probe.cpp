// Tells whether a channel of the embedded bus has a live subscriber, so that scripts can wait until
// a program is ready. Subscribers do not notice.
//
//   vlm_bus_probe CHANNEL [--wait MS]     --wait: look for up to MS milliseconds
//
// Exit status: 0 there is one, 1 there is none, 2 usage fault.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

#include "bus_directory.h"
#include "standard_output.h"
#include "vlm_bus.h"

namespace vlm::bus {

namespace {

constexpr char kUsage[] =
    "Usage: vlm_bus_probe CHANNEL [--wait MS]\n"
    "Tells by its exit status whether CHANNEL has a live subscriber on the bus.\n"
    "\n"
    "  --wait MS    look for up to MS milliseconds (default 0)\n"
    "  --help       show this text\n"
    "  --version    show the version\n"
    "\n"
    "Exit status: 0 there is a subscriber, 1 there is none, 2 wrong usage.\n";

struct Request {
  const char* channel = nullptr;
  int wait_ms = 0;
};

std::optional<int> milliseconds_from(const char* text) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  constexpr long kDay = 24L * 60 * 60 * 1000;
  if (end == text || *end != '\0' || value < 0 || value > kDay) return std::nullopt;
  return static_cast<int>(value);
}

std::optional<Request> request_from(int argc, char** argv) {
  Request request;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--wait") == 0) {
      const auto wait = i + 1 < argc ? milliseconds_from(argv[++i]) : std::nullopt;
      if (!wait) return std::nullopt;
      request.wait_ms = *wait;
    } else if (argv[i][0] != '-' && !request.channel && is_channel_name(argv[i])) {
      request.channel = argv[i];
    } else {
      return std::nullopt;
    }
  }
  return request.channel ? std::optional(request) : std::nullopt;
}

int run(int argc, char** argv) {
  const std::string_view only = argc == 2 ? argv[1] : "";
  if (only == "--help") return host::show("vlm_bus_probe", kUsage);
  if (only == "--version") {
    return host::show("vlm_bus_probe", "vlm_bus_probe " VLM_VERSION "\n");
  }
  const auto request = request_from(argc, argv);
  if (!request) {
    std::fprintf(stderr, "vlm_bus_probe: wrong usage\n%s", kUsage);
    return 2;
  }
  return bus_has_subscriber(request->channel, request->wait_ms) ? 0 : 1;
}

}  // namespace

}  // namespace vlm::bus

int main(int argc, char** argv) { return vlm::bus::run(argc, argv); }
