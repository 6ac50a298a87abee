// The topics of a camera and of its clients. They carry the version of what travels on them.
//
//   vlm/1/SITE/CAMERA/req          requests                                    clients -> bridge
//   vlm/1/SITE/CAMERA/req/service  requests that need the right to serve       clients -> bridge
//   vlm/1/SITE/CAMERA/rtsp         requests to the streaming process           clients -> bridge
//   vlm/1/client/USER/ID/rep       answers                                     bridge -> one client
//   vlm/1/SITE/CAMERA/event        notifications                               bridge -> all
//   vlm/1/SITE/CAMERA/stray        answers that nobody here asked for          bridge -> monitors
//   vlm/1/SITE/CAMERA/presence     online, silent, offline; retained           bridge -> all
//   vlm/1/SITE/CAMERA/info         what the camera is; retained                bridge -> all
#ifndef FLEET_TOPICS_H
#define FLEET_TOPICS_H

#include <string>

#include "bus_address.h"

namespace vlm::fleet {

/// Names of properties of messages.
constexpr char kChannelProperty[] = "channel";    // of an answer: where the bus carried it
constexpr char kSequenceProperty[] = "sequence";  // of an event: counts from 1
constexpr char kViaProperty[] = "via";            // the bridge that it passed
constexpr char kRefusedProperty[] = "refused";    // of an answer: why the bridge gave it itself

constexpr char kOnline[] = "online";
constexpr char kSilent[] = "silent";  // the bridge is up, the camera does not answer
constexpr char kOffline[] = "offline";

struct CameraTopics {
  explicit CameraTopics(const bus::BrokerAddress& address);

  std::string request;
  std::string service_request;
  std::string rtsp;
  std::string event;
  std::string stray;
  std::string presence;
  std::string info;
};

/// Where answers reach the client `id` of `user`, which may be empty.
std::string reply_topic(const std::string& user, const std::string& id);

/// Whether `topic` is a client's, and so may be answered.
bool is_reply_topic(const std::string& topic);

/// Digits that no other connection has.
std::string fresh_id();

}  // namespace vlm::fleet

#endif  // FLEET_TOPICS_H
