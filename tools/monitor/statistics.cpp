#include "statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "json_writer.h"
#include "line.h"

namespace vlm::monitor {

namespace {

constexpr int kPerOctave = 16;

std::size_t bucket_of(std::int64_t ns) {
  const double octaves = std::log2(static_cast<double>(std::max<std::int64_t>(ns, 1)));
  return static_cast<std::size_t>(octaves * kPerOctave);
}

std::int64_t middle_of(std::size_t bucket) {
  return std::llround(std::exp2((static_cast<double>(bucket) + 0.5) / kPerOctave));
}

template <typename... Values>
std::string formatted(const char* format, Values... values) {
  char text[256];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

unsigned long long wide(std::uint64_t value) { return value; }

}  // namespace

void DurationHistogram::add(std::int64_t ns) {
  _min = _count == 0 ? ns : std::min(_min, ns);
  _max = _count == 0 ? ns : std::max(_max, ns);
  ++_count;
  ++_buckets[bucket_of(ns)];
}

std::int64_t DurationHistogram::quantile(double share) const {
  const auto rank = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(_count)));
  std::uint64_t seen = 0;
  for (const auto& [bucket, count] : _buckets) {
    seen += count;
    if (seen >= rank) return std::clamp(middle_of(bucket), _min, _max);
  }
  return 0;
}

void Statistics::add(const Observation& observation) {
  _last_ns = std::max(_last_ns, observation.since_ns);
  const Finding& finding = observation.finding;
  const Decoded& decoded = observation.decoded;
  _dropped += finding.dropped;
  _unasked += finding.mark == Mark::kUnasked ? 1 : 0;
  _crossed += finding.mark == Mark::kCrossed ? 1 : 0;
  if (observation.number == 0) {
    ++_unanswered;
    ++_commands[decoded.name].unanswered;
    return;
  }
  if (decoded.kind == Kind::kNote) return;
  ++_packets;
  if (decoded.kind == Kind::kRequest || decoded.kind == Kind::kSideRequest) {
    ++_commands[decoded.name].requests;
  }
  if (decoded.kind == Kind::kReply) {
    Command& command = _commands[decoded.name];
    if (decoded.result != 0) ++command.errors;
    if (finding.round_trip_ns) command.round_trips.add(*finding.round_trip_ns);
  }
}

double Statistics::duration_s() const { return static_cast<double>(_last_ns) / 1e9; }

double Statistics::rate() const {
  return _last_ns == 0 ? 0 : static_cast<double>(_packets) / duration_s();
}

std::string Statistics::text() const {
  std::string text = formatted("%-32s %9s %7s %9s %10s %10s %10s %10s\n", "command", "requests",
                               "errors", "no answer", "min ms", "median ms", "p99 ms", "max ms");
  for (const auto& [name, command] : _commands) {
    text += formatted("%-32s %9llu %7llu %9llu", name.c_str(), wide(command.requests),
                      wide(command.errors), wide(command.unanswered));
    const DurationHistogram& trips = command.round_trips;
    if (trips.count() != 0) {
      text +=
          formatted(" %10s %10s %10s %10s", milliseconds(trips.min()).c_str(),
                    milliseconds(trips.quantile(0.5)).c_str(),
                    milliseconds(trips.quantile(0.99)).c_str(), milliseconds(trips.max()).c_str());
    }
    text += '\n';
  }
  return text + formatted(
                    "%llu packets in %.3f s, %.1f a second; no answer %llu, unasked %llu, "
                    "crossed %llu, dropped %llu\n",
                    wide(_packets), duration_s(), rate(), wide(_unanswered), wide(_unasked),
                    wide(_crossed), wide(_dropped));
}

std::string Statistics::json() const {
  auto commands = host::json_object();
  for (const auto& [name, command] : _commands) {
    const DurationHistogram& trips = command.round_trips;
    auto row = host::json_object();
    row.number("requests", command.requests)
        .number("errors", command.errors)
        .number("no_answer", command.unanswered)
        .number("answers", trips.count());
    if (trips.count() != 0) {
      row.member("min_ms", milliseconds(trips.min()))
          .member("median_ms", milliseconds(trips.quantile(0.5)))
          .member("p99_ms", milliseconds(trips.quantile(0.99)))
          .member("max_ms", milliseconds(trips.max()));
    }
    commands.member(name.c_str(), row.str());
  }
  return host::json_object()
             .number("packets", _packets)
             .member("seconds", formatted("%.3f", duration_s()))
             .member("per_second", formatted("%.1f", rate()))
             .number("no_answer", _unanswered)
             .number("unasked", _unasked)
             .number("crossed", _crossed)
             .number("dropped", _dropped)
             .member("commands", commands.str())
             .str() +
         '\n';
}

}  // namespace vlm::monitor
