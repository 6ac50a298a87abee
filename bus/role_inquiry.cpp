#include "role_inquiry.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace vlm::bus {

namespace {

/// No message of the system has this type.
constexpr char kInquiryType = '\xFE';
constexpr std::size_t kTextOffset = offsetof(userlcm_packet_t, msg_buf);

/// The message as a text, up to its terminator.
std::string text_of(const void* packet, unsigned int length) {
  if (length <= kTextOffset) return {};
  const char* text = static_cast<const char*>(packet) + kTextOffset;
  return std::string(text, strnlen(text, length - kTextOffset));
}

/// The number behind `beginning`; 0 when `text` is another.
long number_behind(const std::string& beginning, const std::string& text) {
  if (text.compare(0, beginning.size(), beginning) != 0) return 0;
  return std::strtol(text.c_str() + beginning.size(), nullptr, 10);
}

}  // namespace

RoleInquiry::RoleInquiry(const std::string& role, std::string channel, long id, Publish publish)
    : _question(kInquiryType + role + ": who serves? asks process "),
      _answer(kInquiryType + role + ": served by process "),
      _sender(role),
      _channel(std::move(channel)),
      _id(id),
      _publish(std::move(publish)) {}

bool RoleInquiry::receive(const void* packet, unsigned int length) {
  const std::string text = text_of(packet, length);
  const long asking = number_behind(_question, text);
  const long serving = number_behind(_answer, text);
  bool answer = false;
  std::unique_lock<std::mutex> lock(_mutex);
  if (asking == 0 && serving == 0) return _state != State::kServing;
  if (asking != 0 && asking != _id) {
    answer = _state == State::kServing || (_state == State::kAsking && _id < asking);
    if (!answer) _other = asking;
  }
  if (serving != 0 && serving != _id) _other = serving;
  lock.unlock();
  _changed.notify_all();
  if (answer) publish(_answer);
  return true;
}

long RoleInquiry::ask(std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  std::unique_lock<std::mutex> lock(_mutex);
  if (_other != 0) return _other;  // asking it would make it give way in its turn
  _state = State::kAsking;
  lock.unlock();
  publish(_question);
  lock.lock();
  _changed.wait_until(lock, deadline, [this] { return _other != 0; });
  if (_other == 0) _state = State::kServing;
  return _other;
}

void RoleInquiry::serve() {
  const std::lock_guard<std::mutex> guard(_mutex);
  _state = State::kServing;
}

void RoleInquiry::publish(const std::string& text) const {
  const std::string message = text + std::to_string(_id);
  userlcm_packet_t packet{};
  std::strncpy(packet.channel, _sender.c_str(), sizeof packet.channel - 1);
  std::memcpy(packet.msg_buf, message.c_str(), message.size() + 1);
  _publish(&packet, static_cast<unsigned int>(message.size() + 1), _channel.c_str());
}

}  // namespace vlm::bus
