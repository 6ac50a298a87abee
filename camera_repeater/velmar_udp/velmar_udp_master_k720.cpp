#include "velmar_udp_master_k720.h"

#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <new>
#include <thread>
#include <utility>
#include <vector>

#include "velmar_output.h"

namespace {

using Clock = std::chrono::steady_clock;

/// How long a host may hold the mutex before a datagram that arrives meanwhile is refused.
constexpr std::chrono::milliseconds kHostsTime{5};

/// How the receiving thread waits for the mutex: a thread that is about to release it gets the
/// processor at once; for one that is not, it is looked at now and then.
constexpr int kYields = 20;
constexpr std::chrono::microseconds kPause{50};

/// Says that a system call failed, and keeps its error number.
int failed(const SourcePlace& place, const char* message) {
  const int error = errno;
  udp_say_text(place, message);
  errno = error;
  return -1;
}

/// Answers `msg` without executing it.
void refuse(UdpMasterK720& service, const camctrl_msg_t& msg, vlm_err_t err,
            const SourcePlace& place, const char* line) {
  service.error_info_to_apps(msg, err);
  udp_say_text(place, line);
}

/// The services of this process. They are never freed, and neither is this list, whose purpose is
/// to keep those reachable whose initialisation failed.
std::vector<UdpMasterK720*>& services() {
  static auto& list = *new std::vector<UdpMasterK720*>;
  return list;
}

sockaddr* generic(sockaddr_in& address) { return reinterpret_cast<sockaddr*>(&address); }

}  // namespace

int vlm_udp_master_k720_init(int port) { return vlm_udp_master_k720_init(port, {}); }

int vlm_udp_master_k720_init(int port, UdpRestrictions restrictions) {
  auto* service = new (std::nothrow) UdpMasterK720(std::move(restrictions));
  if (service == nullptr) return -1;
  services().push_back(service);
  return service->master_initialization(port);
}

int vlm_udp_master_k720_port() {
  return services().empty() ? 0 : services().back()->m_udp_server_port;
}

UdpMasterK720::UdpMasterK720(UdpRestrictions restrictions)
    : m_restrictions(std::move(restrictions)) {
  pthread_mutex_init(&m_mutex, nullptr);
  pthread_cond_init(&m_cond, nullptr);
}

UdpMasterK720::~UdpMasterK720() {
  pthread_cond_destroy(&m_cond);
  pthread_mutex_destroy(&m_mutex);
}

int UdpMasterK720::master_initialization(int port) {
  m_udp_server_port = port;
  if (init_udp_server() < 0) return -1;
  const int error = threads_initialization();
  if (error != 0) errno = error;
  return error == 0 ? 0 : -1;
}

int UdpMasterK720::init_udp_server() {
  m_udp_server_fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  if (m_udp_server_fd < 0) return failed(udp_here(), "socket failed.\n");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr = m_restrictions.address;
  address.sin_port = htons(static_cast<u16>(m_udp_server_port));
  if (bind(m_udp_server_fd, generic(address), sizeof address) < 0) {
    return failed(udp_here(), "bind error.\n");
  }
  socklen_t size = sizeof address;  // port 0 has become a free one
  if (getsockname(m_udp_server_fd, generic(address), &size) == 0) {
    m_udp_server_port = ntohs(address.sin_port);
  }
  return 0;
}

int UdpMasterK720::threads_initialization() {
  int error = udp_create_detach_pthread(receive_commands_from_apps, this, "RCVCMD");
  if (error != 0) {
    udp_say(udp_here(), "To create pthread--\"RCVCMD\" failed.\n");
    return error;
  }
  error = udp_create_detach_pthread(process_commands_from_apps, this, "PCCMD");
  if (error != 0) udp_say(udp_here(), "To create pthread--\"PCCMD\" failed.\n");
  return error;
}

int UdpMasterK720::udp_create_detach_pthread(void* (*start_routine)(void*), void* arg,
                                             const char* name) {
  pthread_attr_t attributes;
  int error = pthread_attr_init(&attributes);
  if (error != 0) return error;
  error = pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread;
  if (error == 0 && pthread_create(&thread, &attributes, start_routine, arg) == 0) {
    pthread_setname_np(thread, name);
  }
  pthread_attr_destroy(&attributes);
  return error;
}

int UdpMasterK720::udp_lock() {
  const int error = pthread_mutex_lock(&m_mutex);
  if (error == 0) m_locked_by_host = true;
  return error;
}

int UdpMasterK720::udp_trylock() {
  if (pthread_mutex_trylock(&m_mutex) != 0) return -1;
  m_locked_by_host = true;
  return 0;
}

int UdpMasterK720::udp_unlock() {
  m_locked_by_host = false;
  return pthread_mutex_unlock(&m_mutex);
}

int UdpMasterK720::udp_produce() {
  if (m_count == kMostWaiting) return -1;
  m_waiting[static_cast<std::size_t>((m_first + m_count) % kMostWaiting)] = message();
  m_unanswered = ++m_count;
  return 0;
}

void UdpMasterK720::udp_consume() {
  if (m_count == 0) return;
  m_first = (m_first + 1) % kMostWaiting;
  --m_count;
}

void UdpMasterK720::udp_waitsignal() {
  while (m_count == 0) {
    show_output();
    pthread_cond_wait(&m_cond, &m_mutex);
  }
}

void* UdpMasterK720::receive_commands_from_apps(void* arg) {
  auto& service = *static_cast<UdpMasterK720*>(arg);
  const camctrl_msg_t& msg = service.received();
  for (bool handed_over = false;;) {
    // Behind a command the processing thread prints more, and shows all of it together.
    const std::size_t size = handed_over ? service.receive_message(0) : service.next_of_many();
    handed_over = false;
    if (size == 0) continue;
    udp_say_number(udp_here(), "Received msg:rev_len = ", static_cast<unsigned>(size));
    udp_print_bytes("", reinterpret_cast<const u8*>(&msg), size);
    if (service.take_mutex() != 0) {
      refuse(service, msg, VLM_ERR_BUSY, udp_here(), "VLM_ERR_BUSY\n");
      continue;
    }
    if (check_msg_from_apps(msg) != 0) {
      refuse(service, msg, VLM_ERR_PROTOCOL, udp_here(), "VLM_ERR_PROTOCOL(CRC error)\n");
    } else if (service.udp_produce() != 0) {
      refuse(service, msg, VLM_ERR_BUSY, udp_here(), "VLM_ERR_BUSY\n");
    } else {
      handed_over = true;
    }
    pthread_mutex_unlock(&service.m_mutex);
    // The woken thread needs the mutex at once: it has been given back.
    if (handed_over) service.udp_sendsignal();
  }
}

void* UdpMasterK720::process_commands_from_apps(void* arg) {
  auto& service = *static_cast<UdpMasterK720*>(arg);
  for (;;) {
    pthread_mutex_lock(&service.m_mutex);
    service.udp_waitsignal();
    const Reply reply = service.process_camera_functions();
    service.udp_consume();
    pthread_mutex_unlock(&service.m_mutex);
    // Whoever has the reply may send the next command at once, and finds the mutex free.
    service.send_to_client(reply.msg, reply.size);
    if (service.m_unanswered == 0) show_output();
  }
}

/// Receives a datagram that is there already. Where there is none, the thread has to wait, and shows
/// what it has printed: many that are refused are shown together.
std::size_t UdpMasterK720::next_of_many() {
  const std::size_t size = receive_message(MSG_DONTWAIT);
  if (size > 0) return size;
  show_output();
  return receive_message(0);
}

/// Receives one datagram into the slot: a longer one than the record is cut, and behind a shorter
/// one stands what the slot held before. Replies go to its sender, even when it is empty. Returns its
/// size; 0 when there is nothing to act on.
std::size_t UdpMasterK720::receive_message(int flags) {
  u8 bytes[sizeof m_camctr_msg];
  sockaddr_in sender{};
  socklen_t sender_size = sizeof sender;
  const ssize_t count =
      recvfrom(m_udp_server_fd, bytes, sizeof bytes, flags, generic(sender), &sender_size);
  if (count < 0) return 0;
  if (m_restrictions.admits && !m_restrictions.admits(sender)) return 0;
  const auto size = static_cast<std::size_t>(count);
  const MutexLock lock(m_slot_mutex);
  std::memcpy(&m_camctr_msg, bytes, size);
  m_peer_client_addr = sender;
  return size;
}

/// Takes the mutex; -1 while a command waits or is executed, and when a host keeps it. A sender that
/// has its reply is not refused: the processing thread has only to release the mutex, which it does
/// without delay.
int UdpMasterK720::take_mutex() {
  if (pthread_mutex_trylock(&m_mutex) == 0) return 0;
  const auto limit = Clock::now() + kHostsTime;
  for (int tries = 0; pthread_mutex_trylock(&m_mutex) != 0; ++tries) {
    if (m_unanswered > 0 || (m_locked_by_host && Clock::now() > limit)) return -1;
    if (tries < kYields) {
      std::this_thread::yield();
    } else {
      show_output();
      std::this_thread::sleep_for(kPause);
    }
  }
  return 0;
}

camctrl_msg_t UdpMasterK720::message() {
  const MutexLock lock(m_slot_mutex);
  return m_camctr_msg;
}

/// What is to be executed; the mutex is held.
camctrl_msg_t UdpMasterK720::next_message() {
  return m_count > 0 ? m_waiting[static_cast<std::size_t>(m_first)] : message();
}

void UdpMasterK720::send_to_client(const camctrl_msg_t& msg, std::size_t size) {
  sockaddr_in client;
  {
    const MutexLock lock(m_slot_mutex);
    client = m_peer_client_addr;
  }
  sendto(m_udp_server_fd, &msg, size, 0, generic(client), sizeof client);
}
