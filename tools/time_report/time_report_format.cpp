#include "time_report_format.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace vlm::time_report {

namespace {

constexpr std::int64_t kMicrosPerSecond = 1'000'000;

}  // namespace

std::string utc_text(std::int64_t time_us) {
  std::int64_t seconds = time_us / kMicrosPerSecond;
  std::int64_t micros = time_us % kMicrosPerSecond;
  if (micros < 0) {
    micros += kMicrosPerSecond;
    --seconds;
  }
  const auto time = static_cast<time_t>(seconds);
  tm utc{};
  gmtime_r(&time, &utc);
  return format("%04d-%02d-%02d %02d:%02d:%02d.%06lld", utc.tm_year + 1900, utc.tm_mon + 1,
                utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, static_cast<long long>(micros));
}

std::string span_text(std::int64_t span_us) {
  const char sign = span_us < 0 ? '-' : '+';
  const long long ms = (std::llabs(span_us) + 500) / 1000;
  const long long seconds = ms / 1000;
  if (seconds < 60) return format("%c%lld.%03lld s", sign, seconds, ms % 1000);
  const long long hours = seconds / 3600;
  const auto clock = [&](long long h) {
    return format("%lld:%02lld:%02lld.%03lld", h, seconds / 60 % 60, seconds % 60, ms % 1000);
  };
  if (hours < 24) return sign + clock(hours);
  return format("%c%lld d ", sign, hours / 24) + clock(hours % 24);
}

const char* kind_text(TimeEventKind kind) {
  switch (kind) {
    case TimeEventKind::kJumpBack: return "jump back";
    case TimeEventKind::kJumpForward: return "jump forward";
    case TimeEventKind::kStall: return "stall";
    case TimeEventKind::kInterruption: return "interruption";
  }
  return "";
}

std::string count_text(std::uint64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string faults_text(const TimeReport& report) {
  return count_text(report.count(TimeEventKind::kJumpBack), "jump") + " back, " +
         count_text(report.count(TimeEventKind::kJumpForward), "jump") + " forward, " +
         count_text(report.count(TimeEventKind::kStall), "stall");
}

}  // namespace vlm::time_report
