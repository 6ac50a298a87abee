// Reading several things at once: what shares a command of the camera is asked for once.
#ifndef VLMCTL_READING_H
#define VLMCTL_READING_H

#include <variant>
#include <vector>

#include "session.h"

namespace vlm::ctl {

/// The items of those names, all of which can be read. Throws Failure before anything is sent.
std::vector<catalogue::Item> readable_items(Session& session,
                                            const std::vector<std::string>& names);

/// A value, or why there is none.
using Read = std::variant<catalogue::Value, Failure>;

/// Remembers what the camera said, for as long as it lives.
class Reader {
 public:
  explicit Reader(Session& session) : _session(session) {}

  Read read(const catalogue::Item& item);

 private:
  struct Told {
    const catalogue::Row* row;
    client::Answer answer;
  };

  const client::Answer& answer_for(const catalogue::Row& row);

  Session& _session;
  std::vector<Told> _told;
};

}  // namespace vlm::ctl

#endif  // VLMCTL_READING_H
