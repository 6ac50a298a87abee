// ZeroMQ over ipc, which is a stream socket of the system.
//
// A pair of sockets, the least of its patterns: request and reply, or publishing and subscribing, wrap
// the same in more frames. Every ZeroMQ socket has a thread of the library behind it; the caller blocks in zmq_recv(),
// which waits for that thread.
#include <zmq.h>

#include "peers.h"

namespace vlm::bench {
namespace {

class ZeroMq : public Contender {
 public:
  explicit ZeroMq(const std::string& directory) : _endpoint("ipc://" + directory + "/zeromq") {
    start_peer([this] { echo(); });
  }

  const char* name() const override { return "zeromq"; }

  void start() override {
    _socket = pair_socket();
    if (zmq_connect(_socket, _endpoint.c_str()) != 0) give_up("zmq_connect");
    round_trip();
  }

  void round_trip() override {
    userlcm_packet_t answer;
    if (zmq_send(_socket, &_request, kPacketSize, 0) < 0) give_up("zmq_send");
    if (zmq_recv(_socket, &answer, sizeof answer, 0) != kPacketSize) give_up("zmq_recv");
  }

 private:
  static void* pair_socket() { return zmq_socket(zmq_ctx_new(), ZMQ_PAIR); }

  void echo() const {
    void* const socket = pair_socket();
    if (zmq_bind(socket, _endpoint.c_str()) != 0) give_up("zmq_bind");
    userlcm_packet_t packet;
    for (;;) {
      const int size = zmq_recv(socket, &packet, sizeof packet, 0);
      if (size < 0 || zmq_send(socket, &packet, static_cast<std::size_t>(size), 0) < 0) return;
    }
  }

  const std::string _endpoint;
  const userlcm_packet_t _request{};
  void* _socket = nullptr;
};

}  // namespace

Contender* zeromq_peer(const std::string& directory) { return new ZeroMq(directory); }

}  // namespace vlm::bench
