#include "site_presence.h"

#include <cctype>
#include <utility>

#include "topics.h"

namespace vlm::fleet {

namespace {

constexpr char kEnd[] = "/presence";

bool is_digit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

/// The number that stands in `text` from `place` on, without zeros before it; moves behind it.
std::string take_number(const std::string& text, std::size_t& place) {
  const std::size_t start = place;
  while (place < text.size() && is_digit(text[place])) ++place;
  const std::size_t first = text.find_first_not_of('0', start);
  return first < place ? text.substr(first, place - first) : std::string();
}

}  // namespace

bool ByNumber::operator()(const std::string& a, const std::string& b) const {
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < a.size() && j < b.size()) {
    if (is_digit(a[i]) && is_digit(b[j])) {
      const std::string left = take_number(a, i);
      const std::string right = take_number(b, j);
      if (left.size() != right.size()) return left.size() < right.size();
      if (left != right) return left < right;
    } else if (a[i] != b[j]) {
      return a[i] < b[j];
    } else {
      ++i;
      ++j;
    }
  }
  const std::size_t left = a.size() - i;
  const std::size_t right = b.size() - j;
  return left != right ? left < right : a < b;  // "a01" and "a1" are two
}

bool SitePresence::ask(bus::BrokerLoop& loop, const bus::BrokerAddress& site,
                       std::chrono::milliseconds limit, SiteCameras& cameras, std::string& error) {
  SitePresence presence(site.site);
  bus::BrokerPlan plan;
  plan.address = site;
  plan.files = bus::broker_files_of_environment();
  plan.client_id = "vlm-" + fresh_id();
  std::unique_lock<std::mutex> lock(presence._mutex);  // it may connect before this returns
  presence._connection = loop.connect(plan, presence, error);
  if (!presence._connection) return false;
  const auto deadline = std::chrono::steady_clock::now() + limit;
  presence._changed.wait_until(lock, deadline, [&] { return presence._ended; });
  const bool known = presence._ended && presence._trouble.empty();
  if (!known) {
    error = "cannot reach " + text_of(site) + ": " +
            (presence._ended ? presence._trouble : "the broker does not answer");
  }
  cameras = presence._cameras;
  const auto connection = std::move(presence._connection);
  lock.unlock();  // the connection's end waits for callbacks
  return known;
}

SitePresence::SitePresence(const std::string& site) : _beginning("vlm/1/" + site + '/') {}

// On the loop's thread.

/// With QoS 0 all that the broker keeps comes before the mark: nothing waits for an acknowledgement.
void SitePresence::on_connected() {
  const std::lock_guard<std::mutex> guard(_mutex);
  if (!_connection) return;
  _subscribed = _connection->subscribe(_beginning + '+' + kEnd, false, 0);
  _marked = _connection->mark();
}

void SitePresence::on_lost(const std::string& why) {
  const std::lock_guard<std::mutex> guard(_mutex);
  _trouble = why;
  _ended = true;
  _changed.notify_all();
}

void SitePresence::on_message(const bus::BrokerMessage& message) {
  const std::size_t around = _beginning.size() + sizeof kEnd - 1;
  if (message.topic.size() <= around || message.topic.rfind(_beginning, 0) != 0) return;
  const std::string name = message.topic.substr(_beginning.size(), message.topic.size() - around);
  if (!bus::is_topic_name(name) || message.payload.empty()) return;
  const std::lock_guard<std::mutex> guard(_mutex);
  _cameras[name] = message.payload;
}

void SitePresence::on_acknowledged(int ticket, bool granted) {
  const std::lock_guard<std::mutex> guard(_mutex);
  if (ticket == _subscribed && !granted) {
    _trouble = "the broker does not let this user read who is present";
    _ended = true;
  }
  if (ticket == _marked) _ended = true;
  _changed.notify_all();
}

}  // namespace vlm::fleet
