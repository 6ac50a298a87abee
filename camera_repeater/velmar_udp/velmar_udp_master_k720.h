// The UDP camera-control service: applications drive the camera with camctrl packets.
//
// One thread receives and validates datagrams, a second executes them one at a time through the
// request engine and replies. What passed the check is what is executed: a valid datagram is copied
// out of the message slot into a short queue, executed exactly once and answered. Every other one is
// refused, as wrong or "busy", and never executed.
//
// There is one message slot, in which a short datagram is completed with the bytes before it, and
// one reply address: a datagram that arrives while a command runs is answered "busy", yet its sender
// becomes the one that the running command's reply goes to. The service serves one application at a
// time. Messages go to standard output, prefixed with source file, function and line.
#ifndef VELMAR_UDP_MASTER_K720_H
#define VELMAR_UDP_MASTER_K720_H

#include <netinet/in.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <functional>

#include "velmar_mutex.h"
#include "velmar_udp_master_k720_crc.h"
#include "velmar_udp_master_k720_print.h"
#include "vlm_camera_codes.h"
#include "vlm_udp_camctrl_defines.h"

/// Starts the service of this process on `port`, of all the machine's addresses; 0 takes a free
/// port. Returns 0, or -1 after a message when the port cannot be served, with the reason in errno.
/// The service lives as long as the process.
int vlm_udp_master_k720_init(int port);

/// What a host may restrict the service to. As it stands: nothing.
struct UdpRestrictions {
  in_addr address{INADDR_ANY};  // the one of this machine that is served, in network byte order
  /// Whether a datagram of `sender` is to be taken, asked on the receiving thread for each one that
  /// is not empty; empty: all are. What is not taken leaves no trace: it is neither printed nor
  /// answered, and slot and reply address stay as they were.
  std::function<bool(const sockaddr_in& sender)> admits;
};

/// The same for a service that serves less than everybody.
int vlm_udp_master_k720_init(int port, UdpRestrictions restrictions);

/// The port that the last service started here is bound to; 0 when there is none.
int vlm_udp_master_k720_port();

class UdpMasterK720 {
 public:
  explicit UdpMasterK720(UdpRestrictions restrictions = {});
  ~UdpMasterK720();
  UdpMasterK720(const UdpMasterK720&) = delete;
  UdpMasterK720& operator=(const UdpMasterK720&) = delete;

  /// Binds `port` and starts both threads, after which the object must live as long as the process.
  /// Returns 0 or -1.
  int master_initialization(int port);

  /// Opens and binds the socket; 0, or -1 after a message, with the reason in errno. A socket that
  /// could not be bound stays open.
  int init_udp_server();

  /// Starts "RCVCMD", then "PCCMD". 0, or an error number after a message.
  int threads_initialization();

  /// Starts a detached thread named `name` (at most 15 characters). `start_routine` runs as long as
  /// the process. Returns the error number of preparing it, else 0: whether the thread could be
  /// created is not examined.
  static int udp_create_detach_pthread(void* (*start_routine)(void*), void* arg, const char* name);

  // The hand-over between the threads. The mutex is held while a command is executed, which is what
  // the receiving thread finds "busy". A host may hold it, too: a datagram that arrives meanwhile is
  // answered "busy" after 5 ms.
  int udp_lock();
  /// 0 when the mutex was taken, else -1.
  int udp_trylock();
  int udp_unlock();
  /// Hands the message in the slot over, as a copy; the mutex is held. 0, or -1 when kMostWaiting
  /// wait already.
  int udp_produce();
  /// Forgets the command that was handed over first; the mutex is held.
  void udp_consume();
  void udp_sendsignal() { pthread_cond_signal(&m_cond); }
  /// Blocks until a command waits; the mutex, which the caller holds, is released meanwhile.
  void udp_waitsignal();

  /// Thread bodies; `arg` is the object.
  static void* receive_commands_from_apps(void* arg);
  static void* process_commands_from_apps(void* arg);

  // Commands and replies (velmar_udp_master_k720_commands.cpp).

  /// 0 when the length and the CRC of `msg` are right, else -1 after a message.
  static int check_msg_from_apps(const camctrl_msg_t& msg);

  static void feedback_initial(camctrl_msg_t& reply, u8 len, u16 cmd);
  static void feedback_fill_crc(camctrl_msg_t& reply, u16 len);

  /// Sends the 264-byte error reply to `request` to the latest sender.
  void error_info_to_apps(const camctrl_msg_t& request, vlm_err_t err);

  /// Executes the command that was handed over first, or the one in the slot when none was, and
  /// replies to the latest sender; the mutex is held. Returns 0.
  int process_camera_functions_and_reply();

 private:
  struct Reply {
    camctrl_msg_t msg;
    std::size_t size;  // of what is sent
  };

  friend int vlm_udp_master_k720_port();
  friend struct UdpMasterK720Peer;  // lets tests look at the socket

  /// How many commands may wait at a time. They come in while the processing thread is waking, which
  /// takes it far less than eight datagrams take to arrive. More would only age: of a camera that is
  /// silent, each costs the next one 3 s.
  static constexpr int kMostWaiting = 8;

  std::size_t next_of_many();
  std::size_t receive_message(int flags);
  /// The slot, for the receiving thread: only it writes the slot, so it may read it without the lock.
  const camctrl_msg_t& received() const VLM_UNCHECKED { return m_camctr_msg; }
  int take_mutex();
  camctrl_msg_t message();
  camctrl_msg_t next_message();
  Reply process_camera_functions();
  void send_to_client(const camctrl_msg_t& msg, std::size_t size);

  const UdpRestrictions m_restrictions;
  int m_udp_server_port = 0;
  int m_udp_server_fd = 0;
  pthread_mutex_t m_mutex;  // guards m_count, m_first and m_waiting
  pthread_cond_t m_cond;    // a command waits
  int m_count = 0;          // validated commands not yet executed
  int m_first = 0;          // the place of the first of them
  std::array<camctrl_msg_t, kMostWaiting> m_waiting{};
  std::atomic<int> m_unanswered{0};           // those of m_count that have no reply yet
  std::atomic<bool> m_locked_by_host{false};  // the mutex was taken by udp_lock or udp_trylock
  // Overwritten while a command runs.
  Mutex m_slot_mutex;
  camctrl_msg_t m_camctr_msg VLM_GUARDED_BY(m_slot_mutex){};
  sockaddr_in m_peer_client_addr VLM_GUARDED_BY(m_slot_mutex){};
};

#endif  // VELMAR_UDP_MASTER_K720_H
