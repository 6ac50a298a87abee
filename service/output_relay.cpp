#include "output_relay.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "threads.h"

namespace vlm::service {

namespace {

constexpr std::chrono::milliseconds kMoment{1};

ssize_t append_to_relay(void* relay, const char* text, std::size_t size) {
  static_cast<OutputRelay*>(relay)->append(text, size);
  return static_cast<ssize_t>(size);
}

unsigned long lines(const char* text, std::size_t size) {
  return static_cast<unsigned long>(std::count(text, text + size, '\n'));
}

/// The relays of this process, until its end: threads print while it exits.
std::array<OutputRelay*, 2> g_relays{};

bool relay(std::FILE*& stream, OutputRelay*& relay, int descriptor, int buffering,
           const char* program) {
  relay = new OutputRelay(descriptor, program);
  if (!relay->start()) return false;
  std::FILE* const replacement = relay->open_stream(buffering);
  if (replacement == nullptr) return false;
  std::fflush(stream);
  stream = replacement;
  return true;
}

}  // namespace

OutputRelay::OutputRelay(int descriptor, std::string program)
    : _descriptor(descriptor), _program(std::move(program)) {
  // The two are swapped, and never grow: to print takes no memory.
  _stored.reserve(kCapacity);
  _taken.reserve(kCapacity);
}

bool OutputRelay::start() {
  return start_thread("OUTPUT", [this] { run(); });
}

std::FILE* OutputRelay::open_stream(int buffering) {
  cookie_io_functions_t functions{};
  functions.write = append_to_relay;
  std::FILE* const stream = fopencookie(this, "w", functions);
  if (stream != nullptr) std::setvbuf(stream, nullptr, buffering, BUFSIZ);
  return stream;
}

void OutputRelay::append(const char* text, std::size_t size) {
  const std::lock_guard<std::mutex> guard(_mutex);
  const bool first = _stored.empty();
  while (size > 0) {
    const void* const newline = std::memchr(text, '\n', size);
    const std::size_t piece =
        newline == nullptr ? size
                           : static_cast<std::size_t>(static_cast<const char*>(newline) - text) + 1;
    store(text, piece);
    text += piece;
    size -= piece;
  }
  if (first || is_urgent()) _printed.notify_one();
}

/// Stores a line, or a part of one. Once a line was dropped, all that follow are, until what stands
/// before the gap has been taken: the note about it belongs there.
void OutputRelay::store(const char* piece, std::size_t size) {
  const bool whole = piece[size - 1] == '\n';
  if (!_cut && _lost == 0 && _stored.size() + size <= kCapacity) {
    _stored.append(piece, size);
    return;
  }
  _stored.erase(_stored.rfind('\n') + 1);  // what it holds of this line; no newline: all
  _cut = !whole;
  if (whole) ++_lost;
}

bool OutputRelay::is_urgent() const { return _draining || _stored.size() > kCapacity / 2; }

/// What is printed in a moment is written together: a thread that woke for each line would take the
/// processor from those that print.
void OutputRelay::run() {
  std::unique_lock<std::mutex> lock(_mutex);
  for (;;) {
    _printed.wait(lock, [this] { return !_stored.empty() || _lost > 0; });
    _printed.wait_until(lock, std::chrono::steady_clock::now() + kMoment,
                        [this] { return is_urgent(); });
    std::swap(_stored, _taken);
    const unsigned long lost = std::exchange(_lost, 0);
    _writing = true;
    lock.unlock();
    write_out(lost);
    _taken.clear();
    lock.lock();
    _writing = false;
    _written.notify_all();
  }
}

/// Writes what was taken, and says what is missing before and behind it.
void OutputRelay::write_out(unsigned long lost_behind) {
  std::size_t done = 0;
  if (_untold == 0 || write_note()) done = write_all(_taken.data(), _taken.size());
  if (done > 0) _mid_line = _taken[done - 1] != '\n';
  _untold += lines(_taken.data() + done, _taken.size() - done) + lost_behind;
  if (_untold > 0 && done == _taken.size()) write_note();
}

bool OutputRelay::write_note() {
  const std::string note = (_mid_line ? "\n" : "") + _program + ": " + std::to_string(_untold) +
                           " lines of output were dropped: nobody took them\n";
  if (write_all(note.data(), note.size()) < note.size()) return false;
  _untold = 0;
  _mid_line = false;
  return true;
}

/// Returns how much was written before an error.
std::size_t OutputRelay::write_all(const char* text, std::size_t size) const {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t count = write(_descriptor, text + done, size - done);
    if (count > 0) {
      done += static_cast<std::size_t>(count);
    } else if (count < 0 && errno == EAGAIN) {  // others may have made it non-blocking
      pollfd ready{_descriptor, POLLOUT, 0};
      poll(&ready, 1, -1);
    } else if (count == 0 || errno != EINTR) {
      break;
    }
  }
  return done;
}

void OutputRelay::drain(std::chrono::milliseconds limit) {
  std::unique_lock<std::mutex> lock(_mutex);
  _draining = true;
  _printed.notify_one();
  _written.wait_until(lock, std::chrono::steady_clock::now() + limit,
                      [this] { return _stored.empty() && _lost == 0 && !_writing; });
}

bool relay_standard_output(const char* program) {
  // The service shows its output itself, once it has printed all lines of a step.
  return relay(stdout, g_relays[0], STDOUT_FILENO, _IOFBF, program) &&
         relay(stderr, g_relays[1], STDERR_FILENO, _IOLBF, program);
}

void drain_standard_output(std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  std::fflush(stdout);
  std::fflush(stderr);
  for (OutputRelay* const one : g_relays) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (one != nullptr) one->drain(std::max(left, std::chrono::milliseconds(0)));
  }
}

}  // namespace vlm::service
