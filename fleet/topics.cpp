#include "topics.h"

#include <cstdint>
#include <cstdio>
#include <random>

namespace vlm::fleet {

namespace {

constexpr char kRoot[] = "vlm/1/";
constexpr char kClients[] = "vlm/1/client/";
constexpr char kReply[] = "/rep";
constexpr char kNobody[] = "-";

}  // namespace

CameraTopics::CameraTopics(const bus::BrokerAddress& address) {
  const std::string camera = kRoot + address.site + '/' + address.camera;
  request = camera + "/req";
  service_request = camera + "/req/service";
  rtsp = camera + "/rtsp";
  event = camera + "/event";
  stray = camera + "/stray";
  presence = camera + "/presence";
  info = camera + "/info";
}

std::string reply_topic(const std::string& user, const std::string& id) {
  return kClients + (user.empty() ? kNobody : user) + '/' + id + kReply;
}

bool is_reply_topic(const std::string& topic) {
  const std::string beginning = kClients;
  const std::string end = kReply;
  if (topic.size() < beginning.size() + end.size() || topic.rfind(beginning, 0) != 0) return false;
  if (topic.compare(topic.size() - end.size(), end.size(), end) != 0) return false;
  const std::string client =
      topic.substr(beginning.size(), topic.size() - beginning.size() - end.size());
  const auto slash = client.find('/');
  return slash != std::string::npos && bus::is_topic_name(client.substr(0, slash)) &&
         bus::is_topic_name(client.substr(slash + 1));
}

std::string fresh_id() {
  std::random_device random;
  char digits[2 * sizeof(std::uint64_t) + 1];
  std::snprintf(digits, sizeof digits, "%08x%08x", random(), random());
  return digits;
}

}  // namespace vlm::fleet
