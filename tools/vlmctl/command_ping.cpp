#include "commands.h"
#include "format.h"
#include "interruption.h"
#include "latency.h"

namespace vlm::ctl {

using Clock = std::chrono::steady_clock;

namespace {

constexpr unsigned kDefaultCount = 10;
constexpr std::chrono::milliseconds kDefaultInterval{100};
constexpr std::size_t kBarWidth = 40;

struct Statistic {
  const char* name;
  double part;
};

constexpr Statistic kStatistics[] = {{"min", 0}, {"median", 0.5}, {"p99", 0.99}, {"max", 1}};

host::JsonBlock result_json(unsigned sent, const Latency& latency) {
  host::JsonBlock json = host::json_object();
  json.number("sent", sent);
  json.number("answered", static_cast<long long>(latency.count()));
  if (latency.count() == 0) return json;
  for (const auto& [name, part] : kStatistics) {
    json.member((std::string(name) + "_ms").c_str(), milliseconds(latency.quantile(part)));
  }
  host::JsonBlock bins = host::json_array();
  for (const auto& bin : latency.histogram()) {
    host::JsonBlock one = host::json_object();
    one.member("above_ms", milliseconds(bin.above)).member("up_to_ms", milliseconds(bin.up_to));
    bins.element(one.number("count", bin.count).str());
  }
  return json.member("histogram", bins.str());
}

std::string bar(unsigned count, std::size_t all) {
  return std::string(count == 0 ? 0 : std::max<std::size_t>(1, count * kBarWidth / all), '#');
}

void show_text(const Console& console, unsigned sent, const Latency& latency) {
  console.line(host::format("%zu of %u answered", latency.count(), sent));
  if (latency.count() == 0) return;
  std::string line;
  for (const auto& [name, part] : kStatistics) {
    line += (line.empty() ? "" : ", ") + std::string(name) + " " +
            milliseconds(latency.quantile(part)) + " ms";
  }
  console.line(line);
  for (const auto& bin : latency.histogram()) {
    char row[64] = {};
    std::snprintf(row, sizeof row, "%10s to %10s ms %8u  ", milliseconds(bin.above).c_str(),
                  milliseconds(bin.up_to).c_str(), bin.count);
    std::string text = row + bar(bin.count, latency.count());
    while (text.back() == ' ') text.pop_back();
    console.line(text);
  }
}

int status_of(unsigned sent, const Latency& latency) {
  if (latency.count() == sent) return kDone;
  return latency.count() == 0 ? kNoAnswer : kPartly;
}

}  // namespace

int run_ping(Session& session, const Arguments& arguments) {
  const unsigned count = arguments.number("--count", 1).value_or(kDefaultCount);
  const auto interval = arguments.duration("--interval").value_or(kDefaultInterval);
  if (!arguments.words.empty()) fail(kUsage, "", "ping takes no words");
  const catalogue::Row& status = *find_item("camera.status").row;
  CameraLink& camera = session.camera();
  if (!camera.can_get(status)) {
    fail(kNotOffered, status.name(), "it cannot be read over " + camera.name());
  }
  Latency latency;
  unsigned sent = 0;
  for (auto next = Clock::now(); sent < count && pause_until(next); next += interval) {
    ++sent;
    // A refusal is an answer, too.
    const client::Answer answer = camera.get(status, {});
    const bool answered = answer.done() || answer.error != 0;
    if (answered) latency.add(answer.round_trip);
  }
  if (session.console().json) {
    session.console().object(result_json(sent, latency));
  } else {
    show_text(session.console(), sent, latency);
  }
  return status_of(sent, latency);
}

}  // namespace vlm::ctl
