// The receiving side of the bus: one subscription and its socket.
#ifndef SUBSCRIPTION_H
#define SUBSCRIPTION_H

#include <cstddef>
#include <optional>
#include <string>

#include "bus_directory.h"
#include "report.h"
#include "unique_fd.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::bus {

/// Serves one Receive_msg_t on the calling thread. Its socket leaves the directory with the object,
/// or with the process when that exits.
class Subscription {
 public:
  explicit Subscription(const Receive_msg_t& client);
  ~Subscription();
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;

  /// Makes the subscription known on the bus. False, with a message, when that fails.
  bool announce();

  /// Runs the client's callback for each packet, as long as the process lives. A failure to receive is
  /// told once.
  [[noreturn]] void serve();

  /// Takes the socket out of the directory.
  void withdraw();

 private:
  bool take_place(std::string& error);
  bool is_announced() const;
  void recover();
  void deliver(userlcm_packet_t& packet, std::size_t size);

  const Receive_msg_t& _client;
  const std::string _channel;
  std::optional<BusDirectory> _directory;
  std::string _name;  // of the socket in the directory
  UniqueFd _socket;
  Complaint _complaint;
  Complaint _receiving;
  bool _failed = false;  // the last time that it received
};

}  // namespace vlm::bus

#endif  // SUBSCRIPTION_H
