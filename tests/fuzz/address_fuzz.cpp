// Networks as an administrator writes them, and senders of datagrams into the admission of the service.
//
// Input: networks, a line each, and an empty one; the rate; then for each datagram its address (4
// bytes) and the tenths of a second behind the one before.
#include <arpa/inet.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "admission.h"
#include "fuzz_input.h"

using namespace vlm::service;

namespace {

unsigned bits_of(std::uint32_t mask) { return static_cast<unsigned>(__builtin_popcount(mask)); }

std::string text_of(const Network& network) {
  in_addr address{htonl(network.address)};
  char text[INET_ADDRSTRLEN] = "";
  inet_ntop(AF_INET, &address, text, sizeof text);
  return text + ("/" + std::to_string(bits_of(network.mask)));
}

void check(const Network& network) {
  must((network.address & ~network.mask) == 0, "a network has no bits behind its prefix");
  must(network.mask == 0 || network.mask == ~std::uint32_t{0} << (32 - bits_of(network.mask)),
       "a prefix is in one piece");
  const auto again = parse_network(text_of(network));
  must(again && again->address == network.address && again->mask == network.mask,
       "a network is read back");
}

std::vector<Network> networks_in(FuzzInput& input) {
  std::vector<Network> networks;
  for (std::string line = input.text('\n'); !line.empty(); line = input.text('\n')) {
    line = line.c_str();  // a word of the command line ends with its first NUL
    const auto network = parse_network(line);
    in_addr address{};
    must(network || !parse_address(line, address), "each address is a network of its own");
    if (!network) continue;
    check(*network);
    networks.push_back(*network);
  }
  return networks;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzInput input(bytes, size);
  const std::vector<Network> networks = networks_in(input);
  const unsigned rate = input.byte();
  std::size_t lines = 0;
  Admission admission({networks, rate}, [&](const std::string& line) {
    must(line.find('\n') == line.npos, "what is told is a line");
    ++lines;
  });
  Admission::Clock::time_point now{};
  std::map<std::uint32_t, double> served;
  while (!input.empty()) {
    const std::uint32_t host = std::uint32_t{input.word()} << 16 | input.word();
    now += std::chrono::milliseconds(100 * input.byte());
    sockaddr_in sender{};
    sender.sin_addr.s_addr = htonl(host);
    const bool allowed =
        networks.empty() ||
        std::any_of(networks.begin(), networks.end(), [&](auto& each) { return each.holds(host); });
    const bool admitted = admission.admits(sender, now);
    must(!admitted || allowed, "who is not allowed is not served");
    must(admitted || !allowed || rate != 0, "without a rate all that are allowed are served");
    if (admitted) ++served[host];
  }
  admission.tell_rest();
  const double seconds = std::chrono::duration<double>(now.time_since_epoch()).count();
  must(static_cast<double>(lines) <= seconds / 10 + 2, "a flood is told of every ten seconds");
  if (rate == 0 || served.size() >= Admission::kMostSenders) return 0;
  for (const auto& [host, count] : served) {
    must(count <= rate * (seconds + 1), "nobody is served more often than the rate says");
  }
  return 0;
}
