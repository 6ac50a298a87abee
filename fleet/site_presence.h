// Which cameras of a site a broker knows.
#ifndef FLEET_SITE_PRESENCE_H
#define FLEET_SITE_PRESENCE_H

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "broker.h"

namespace vlm::fleet {

/// "lab-2" stands before "lab-10".
struct ByNumber {
  bool operator()(const std::string& a, const std::string& b) const;
};

/// What the broker keeps about each camera, by its name: "online", "silent" or "offline".
using SiteCameras = std::map<std::string, std::string, ByNumber>;

class SitePresence : private bus::BrokerListener {
 public:
  /// Asks the broker of `site`. False when it does not tell within `limit`: `error` says why.
  static bool ask(bus::BrokerLoop& loop, const bus::BrokerAddress& site,
                  std::chrono::milliseconds limit, SiteCameras& cameras, std::string& error);

 private:
  explicit SitePresence(const std::string& site);

  void on_connected() override;
  void on_lost(const std::string& why) override;
  void on_message(const bus::BrokerMessage& message) override;
  void on_acknowledged(int ticket, bool granted) override;
  void on_due() override {}
  void on_stall(std::chrono::milliseconds) override {}

  const std::string _beginning;  // of the topics of presence

  std::mutex _mutex;  // guards all members below
  std::condition_variable _changed;
  SiteCameras _cameras;
  int _subscribed = -1;
  int _marked = -1;
  bool _ended = false;
  std::string _trouble;
  std::unique_ptr<bus::BrokerConnection> _connection;
};

}  // namespace vlm::fleet

#endif  // FLEET_SITE_PRESENCE_H
