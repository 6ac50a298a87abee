#include "tap.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "reason.h"
#include "tap_greeting_message.h"

namespace vlm::bus {

namespace {

constexpr std::size_t kReadSize = 1 << 16;

std::uint64_t steady_ns() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

std::uint64_t tally_of(const UniqueFd& file) {
  TapTally tally{};
  return pread(file.get(), &tally, sizeof tally, 0) == sizeof tally ? tally.offered : 0;
}

}  // namespace

std::optional<Tap> Tap::open(std::string& error) {
  Tap tap;
  if (!tap.announce(error)) return std::nullopt;
  return tap;
}

Tap::~Tap() { withdraw(); }

void Tap::withdraw() {
  if (_directory && !_name.empty()) _directory->remove(_name);
  _name.clear();
}

bool Tap::announce(std::string& error) {
  auto directory = BusDirectory::open(error);
  if (!directory) return false;
  UniqueFd listener(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  std::string name = listener ? directory->bind_tap(listener) : std::string();
  if (name.empty()) {
    error = "cannot tap the bus: " + host::reason();
    return false;
  }
  _directory = std::move(directory);
  _listener = std::move(listener);
  _name = std::move(name);
  return true;
}

bool Tap::renew(std::string& error) {
  if (_directory->holds(_name) && _directory->is_current()) return true;
  accept_publishers();  // they wait at the old socket, with packets
  withdraw();
  return announce(error);
}

std::vector<int> Tap::descriptors() const {
  std::vector<int> all{_listener.get()};
  for (const Publisher& publisher : _publishers) {
    all.push_back(publisher.pipe ? publisher.pipe.get() : publisher.connection.get());
  }
  return all;
}

/// A packet is copied before it is delivered, so whatever answers a packet from before `now` has a
/// later time; and the copy of a packet that led to one from before `now` is in its pipe by now.
/// Later ones stay for the next call.
bool Tap::take(std::vector<TapCopy>& copies) {
  const auto before = static_cast<std::ptrdiff_t>(copies.size());
  const std::uint64_t now = steady_ns();
  accept_publishers();
  for (Publisher& publisher : _publishers) {
    if (publisher.pipe || receive_greeting(publisher)) drain(publisher, now, copies);
  }
  _publishers.remove_if([](const Publisher& publisher) { return publisher.ended; });
  std::stable_sort(
      copies.begin() + before, copies.end(),
      [](const TapCopy& left, const TapCopy& right) { return left.time_ns < right.time_ns; });
  return std::any_of(_publishers.begin(), _publishers.end(),
                     [](const Publisher& publisher) { return publisher.holds_later; });
}

void Tap::accept_publishers() {
  for (;;) {
    Publisher publisher;
    publisher.connection =
        UniqueFd(accept4(_listener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!publisher.connection) return;
    _publishers.push_back(std::move(publisher));
  }
}

/// A publisher greets after it has connected, and only then publishes. False when it has not done
/// so yet, or is none: then it has ended.
bool Tap::receive_greeting(Publisher& publisher) {
  TapGreetingMessage message({});
  const TapGreeting& greeting = message.greeting;
  TapGreetingMessage::Descriptors descriptors = {-1, -1};
  const ssize_t size = recvmsg(publisher.connection.get(), &message.header, MSG_CMSG_CLOEXEC);
  if (size < 0 && (errno == EAGAIN || errno == EINTR)) return false;
  publisher.ended = true;
  const cmsghdr* const header = CMSG_FIRSTHDR(&message.header);
  if (size < 0 || header == nullptr || header->cmsg_type != SCM_RIGHTS ||
      header->cmsg_len != CMSG_LEN(sizeof descriptors)) {
    return false;
  }
  std::memcpy(descriptors, CMSG_DATA(header), sizeof descriptors);
  publisher.pipe = UniqueFd(descriptors[0]);
  publisher.tally = UniqueFd(descriptors[1]);
  publisher.ended = size != sizeof greeting || greeting.version != kTapVersion;
  return !publisher.ended;
}

void Tap::drain(Publisher& publisher, std::uint64_t now, std::vector<TapCopy>& copies) {
  const std::uint64_t offered = tally_of(publisher.tally);  // in the pipe by now, or lost
  for (;;) {
    if (!take_records(publisher, now, copies)) return;
    if (!read_more(publisher)) break;
  }
  if (publisher.unread.size() == publisher.begin || publisher.ended) {
    note_loss(publisher, publisher.ended ? tally_of(publisher.tally) : offered, now, copies);
  }
}

/// False when the pipe is empty; `ended` tells whether for good.
bool Tap::read_more(Publisher& publisher) {
  auto& unread = publisher.unread;
  unread.erase(unread.begin(), unread.begin() + static_cast<std::ptrdiff_t>(publisher.begin));
  publisher.begin = 0;
  unsigned char more[kReadSize];  // in place of room in `unread`, which would be cleared first
  ssize_t size;
  do {
    size = read(publisher.pipe.get(), more, sizeof more);
  } while (size < 0 && errno == EINTR);
  if (size > 0) unread.insert(unread.end(), more, more + size);
  if (size == 0 || (size < 0 && errno != EAGAIN)) publisher.ended = true;
  return size > 0;
}

/// Takes whole records up to the time `now`. False when one that is later has been met, or one that
/// no publisher writes: nothing behind that can be trusted.
bool Tap::take_records(Publisher& publisher, std::uint64_t now, std::vector<TapCopy>& copies) {
  auto& begin = publisher.begin;
  const auto& unread = publisher.unread;
  publisher.holds_later = false;
  while (unread.size() - begin >= sizeof(TapRecord)) {
    TapRecord record{};
    std::memcpy(&record, unread.data() + begin, sizeof record);
    if (record.channel_size > kTapMaxChannel || record.packet_size > kTapMaxPacket ||
        record.kind > TapRecordKind::kNote) {
      publisher.ended = true;
      return false;
    }
    const std::size_t size = sizeof record + record.channel_size + record.packet_size;
    if (unread.size() - begin < size) return true;
    publisher.holds_later = record.time_ns > now;
    if (publisher.holds_later) return false;
    take_record(publisher, record, unread.data() + begin + sizeof record, copies);
    begin += size;
  }
  return true;
}

void Tap::take_record(Publisher& publisher, const TapRecord& record, const unsigned char* content,
                      std::vector<TapCopy>& copies) {
  note_loss(publisher, record.sequence, record.time_ns, copies);
  const unsigned char* const packet = content + record.channel_size;
  const unsigned char* const end = packet + record.packet_size;
  if (record.kind == TapRecordKind::kNote) {
    copies.push_back({record.time_ns, 0, {}, {}, {packet, end}});
    return;
  }
  publisher.expected = std::max(publisher.expected, record.sequence + 1);
  copies.push_back({record.time_ns, 0, {content, packet}, {packet, end}, {}});
}

/// Notes what is missing before the record `reached`.
void Tap::note_loss(Publisher& publisher, std::uint64_t reached, std::uint64_t time,
                    std::vector<TapCopy>& copies) {
  if (reached <= publisher.expected) return;
  copies.push_back({time, reached - publisher.expected, {}, {}, {}});
  publisher.expected = reached;
}

}  // namespace vlm::bus
