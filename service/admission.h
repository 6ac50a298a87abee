// Who is served: networks that are allowed, and how often each sender may ask. What is dropped is
// counted, and told at most once in ten seconds however much comes.
#ifndef SERVICE_ADMISSION_H
#define SERVICE_ADMISSION_H

#include <netinet/in.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vlm::service {

/// IPv4 addresses that begin with the same bits; in host byte order.
struct Network {
  std::uint32_t address = 0;
  std::uint32_t mask = 0;

  bool holds(std::uint32_t one) const { return (one & mask) == address; }
};

/// "10.0.0.7" or "10.0.0.0/8". None when it is neither, or has bits behind its prefix.
std::optional<Network> parse_network(const std::string& text);

/// "10.0.0.7"; `address` is in network byte order.
bool parse_address(const std::string& text, in_addr& address);

struct AdmissionRules {
  std::vector<Network> allowed;  // empty: everybody
  unsigned rate = 0;  // datagrams a second of one address; as many may come at once. 0: any
};

class Admission {
 public:
  using Clock = std::chrono::steady_clock;
  /// Takes one line without its end.
  using Tell = std::function<void(const std::string&)>;

  /// Of how many senders it is known when they asked; the one that has been silent for longest gives
  /// way to a new one.
  static constexpr std::size_t kMostSenders = 256;
  static constexpr std::chrono::seconds kBetweenLines{10};

  Admission(AdmissionRules rules, Tell tell);

  /// Whether a datagram of `sender` is to be served. Any thread.
  bool admits(const sockaddr_in& sender, Clock::time_point now = Clock::now());
  /// Tells what was dropped and not told of yet. Any thread.
  void tell_rest();

 private:
  /// What a sender may still send: `left` datagrams at `since`, more as time goes by.
  struct Allowance {
    double left;
    Clock::time_point since;
  };

  bool is_allowed(std::uint32_t address) const;
  bool is_slow_enough(std::uint32_t address, Clock::time_point now);
  Allowance& allowance_of(std::uint32_t address, Clock::time_point now);
  void drop(const in_addr& sender, Clock::time_point now);
  void tell(const std::string& beginning);

  const AdmissionRules _rules;
  const Tell _tell;
  std::mutex _mutex;  // guards all members below
  std::map<std::uint32_t, Allowance> _senders;
  unsigned long long _foreign = 0;  // dropped: not allowed
  unsigned long long _hasty = 0;    // dropped: too many
  unsigned long long _told = 0;     // of both
  std::string _last;                // whose datagram was dropped last
  std::optional<Clock::time_point> _last_line;
};

}  // namespace vlm::service

#endif  // SERVICE_ADMISSION_H
