#include "capture.h"

#include <poll.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "line.h"

namespace vlm::monitor {

namespace {

constexpr std::int64_t kMs = 1'000'000;

// A recording that is killed has lost no more than this and what it takes to write it.
constexpr timespec kGather{0, 5 * kMs};
// A request that is not answered shows when its time runs out, packets or not.
constexpr timespec kIdle{0, 50 * kMs};
// What differs by less is a clock that is steered.
constexpr std::int64_t kClockStep = 20 * kMs;
constexpr std::int64_t kInspection = 1000 * kMs;

template <typename Clock>
std::int64_t now_of() {
  const auto now = Clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

std::int64_t steady_ns() { return now_of<std::chrono::steady_clock>(); }

/// How far the wall clock is ahead of the steady one; read twice where this thread was interrupted
/// in between.
std::int64_t clock_offset() {
  for (;;) {
    const std::int64_t before = steady_ns();
    const std::int64_t wall = now_of<std::chrono::system_clock>();
    const std::int64_t after = steady_ns();
    if (after - before < kMs) return wall - before;
  }
}

}  // namespace

Capture::Capture(bus::Tap tap)
    : _tap(std::move(tap)), _offset_ns(clock_offset()), _clock_offset_ns(_offset_ns) {}

std::optional<Capture> Capture::open(std::string& error) {
  auto tap = bus::Tap::open(error);
  if (!tap) return std::nullopt;
  return Capture(std::move(*tap));
}

bool Capture::take(std::vector<Entry>& entries, std::string& error) {
  _taken_until_ns = steady_ns() + _offset_ns;
  note_clock_step(entries);
  _copies.clear();
  _more = _tap.take(_copies);
  for (bus::TapCopy& copy : _copies) {
    Entry& entry = entries.emplace_back();
    entry.time_ns = static_cast<std::int64_t>(copy.time_ns) + _offset_ns;
    const bool is_packet = copy.lost == 0 && copy.note.empty();
    entry.channel = is_packet ? std::move(copy.channel) : kNotesChannel;
    entry.packet = std::move(copy.packet);
    entry.comment = copy.lost != 0 ? loss_comment(copy.lost) : std::move(copy.note);
  }
  return inspect(error);
}

void Capture::note_clock_step(std::vector<Entry>& entries) {
  const std::int64_t offset = clock_offset();
  const std::int64_t step = offset - _clock_offset_ns;
  _clock_offset_ns = offset;
  if (std::abs(step) < kClockStep) return;
  entries.push_back({_taken_until_ns,
                     kNotesChannel,
                     {},
                     std::string("the wall clock was set by ") + (step > 0 ? "+" : "") +
                         seconds(step, 6) + " s"});
}

/// Once a second: a tap whose socket has been taken away gets nothing from new publishers.
bool Capture::inspect(std::string& error) {
  const std::int64_t now = steady_ns();
  if (now - _inspected_ns < kInspection) return true;
  _inspected_ns = now;
  return _tap.renew(error);
}

void Capture::wait(bool is_busy, const sigset_t& mask) const {
  std::vector<pollfd> readable;
  const bool gathers = is_busy || _more;
  if (!gathers) {
    for (const int descriptor : _tap.descriptors()) readable.push_back({descriptor, POLLIN, 0});
  }
  ppoll(readable.data(), static_cast<nfds_t>(readable.size()), gathers ? &kGather : &kIdle, &mask);
}

}  // namespace vlm::monitor
