#include "tap_sender.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "tap_greeting_message.h"

namespace vlm::bus {

namespace {

// A tap that has no room is left alone that long: its copies cost no system call meanwhile.
constexpr std::chrono::milliseconds kRestWhenFull{1};

UniqueFd make_tally_file() {
  UniqueFd file(memfd_create("vlm_tap_tally", MFD_CLOEXEC));
  if (file && ftruncate(file.get(), sizeof(TapTally)) != 0) file = UniqueFd();
  return file;
}

std::uint64_t ns_of(std::chrono::steady_clock::time_point time) {
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count());
}

bool has_hung_up(const UniqueFd& connection) {
  char byte;
  return recv(connection.get(), &byte, sizeof byte, MSG_PEEK | MSG_DONTWAIT) == 0 ||
         (errno != EAGAIN && errno != EINTR);
}

}  // namespace

void TapSender::Unmap::operator()(TapTally* tally) const { munmap(tally, sizeof *tally); }

void TapSender::look(const BusDirectory& directory, unsigned long state) {
  if (_seen == state) return;
  _seen = state;
  const std::vector<std::string> names = directory.taps();
  const auto has_left = [&](const Tap& tap) {
    return std::count(names.begin(), names.end(), tap.name) == 0;
  };
  _taps.erase(std::remove_if(_taps.begin(), _taps.end(), has_left), _taps.end());
  for (const std::string& name : names) {
    const auto is_it = [&](const Tap& tap) { return tap.name == name; };
    if (std::any_of(_taps.begin(), _taps.end(), is_it)) continue;
    // One that cannot be reached has died, or has more publishers waiting for it than it can have.
    Tap tap;
    if (connect(directory, name, tap)) _taps.push_back(std::move(tap));
  }
}

bool TapSender::connect(const BusDirectory& directory, const std::string& name, Tap& tap) {
  tap.name = name;
  tap.connection = directory.connect(name, SOCK_SEQPACKET | SOCK_NONBLOCK);
  if (!tap.connection) return false;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return false;
  tap.reading = UniqueFd(ends[0]);
  tap.writing = UniqueFd(ends[1]);
  fcntl(tap.writing.get(), F_SETPIPE_SZ, kTapPipeSize);  // a smaller one loses more, and counts it
  const UniqueFd file = make_tally_file();
  void* const memory =
      mmap(nullptr, sizeof(TapTally), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
  if (memory == MAP_FAILED) return false;
  tap.tally.reset(static_cast<TapTally*>(memory));
  return greet(tap, file.get());
}

bool TapSender::greet(const Tap& tap, int tally) {
  TapGreetingMessage message({kTapVersion, getpid()});
  const TapGreetingMessage::Descriptors descriptors = {tap.reading.get(), tally};
  cmsghdr* const header = CMSG_FIRSTHDR(&message.header);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof descriptors);
  std::memcpy(CMSG_DATA(header), descriptors, sizeof descriptors);
  return sendmsg(tap.connection.get(), &message.header, MSG_NOSIGNAL | MSG_DONTWAIT) ==
         static_cast<ssize_t>(sizeof message.greeting);
}

void TapSender::note(const std::string& text) {
  const auto now = Clock::now();
  for (Tap& tap : _taps) {
    tap.note = text.substr(0, kTapMaxPacket);
    write_note(tap, now);
  }
}

void TapSender::copy_to_all(std::string_view channel, const void* packet, std::size_t size) {
  const auto now = Clock::now();
  TapRecord record{};
  record.time_ns = ns_of(now);
  record.channel_size = static_cast<std::uint16_t>(channel.size());
  record.packet_size = static_cast<std::uint16_t>(size);
  for (Tap& tap : _taps) copy_to(tap, record, channel, packet, now);
  const auto has_gone = [](const Tap& tap) { return tap.gone; };
  _taps.erase(std::remove_if(_taps.begin(), _taps.end(), has_gone), _taps.end());
}

/// Writes without waiting. False when there is no room, or nobody who reads.
bool TapSender::write_record(Tap& tap, const TapRecord& record, std::string_view channel,
                             const void* packet, Clock::time_point now) {
  if (now < tap.full_until) return false;
  TapRecord head = record;
  const iovec parts[] = {{&head, sizeof head},
                         {const_cast<char*>(channel.data()), channel.size()},
                         {const_cast<void*>(packet), record.packet_size}};
  ssize_t written;
  do {
    written = writev(tap.writing.get(), parts, 3);
  } while (written < 0 && errno == EINTR);
  if (written >= 0) return true;
  tap.full_until = now + kRestWhenFull;
  tap.gone = has_hung_up(tap.connection);
  return false;
}

void TapSender::write_note(Tap& tap, Clock::time_point now) {
  TapRecord record{};
  record.kind = TapRecordKind::kNote;
  record.sequence = tap.sequence;
  record.time_ns = ns_of(now);
  record.packet_size = static_cast<std::uint16_t>(tap.note.size());
  if (write_record(tap, record, {}, tap.note.data(), now)) tap.note.clear();
}

/// The tally grows after the write: what it counts is in the pipe or lost.
void TapSender::copy_to(Tap& tap, const TapRecord& record, std::string_view channel,
                        const void* packet, Clock::time_point now) {
  if (!tap.note.empty()) write_note(tap, now);
  TapRecord numbered = record;
  numbered.sequence = tap.sequence++;
  write_record(tap, numbered, channel, packet, now);
  __atomic_store_n(&tap.tally->offered, tap.sequence, __ATOMIC_RELEASE);
}

}  // namespace vlm::bus
