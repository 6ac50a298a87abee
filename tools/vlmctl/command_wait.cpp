#include "assignment.h"
#include "commands.h"
#include "interruption.h"
#include "reading.h"

namespace vlm::ctl {

using Clock = std::chrono::steady_clock;

namespace {

constexpr std::chrono::seconds kDefaultLimit{10};
constexpr std::chrono::milliseconds kPollInterval{100};

/// What the camera has, if it told.
std::string now_text(const catalogue::Item& item, const Read& read) {
  if (const auto* failure = std::get_if<Failure>(&read)) return failure->message;
  return "it is " + shown(*item.field, std::get<catalogue::Value>(read));
}

/// A camera that restarts says nothing, or that it is not ready. What it never has ends the wait.
bool is_final(const Read& read) {
  const auto* const failure = std::get_if<Failure>(&read);
  return failure != nullptr &&
         (failure->status == kNoCamera || failure->code == VLM_ERR_UNSUPPORTED_COMMAND);
}

}  // namespace

int run_wait(Session& session, const Arguments& arguments) {
  const auto limit = arguments.duration("--for").value_or(kDefaultLimit);
  if (arguments.words.size() != 1) fail(kUsage, "", "wait takes one NAME=VALUE");
  const Assignment wanted = parse_assignment(arguments.words[0]);
  const auto item = readable_items(session, {wanted.item.name()}).at(0);
  const auto deadline = Clock::now() + limit;
  for (auto next = Clock::now();;) {
    const Read read = Reader(session).read(item);
    const auto* const value = std::get_if<catalogue::Value>(&read);
    if (value != nullptr && is_same(*item.field, wanted.value, *value)) {
      session.console().value(item, *value);
      return kDone;
    }
    if (is_final(read)) throw Failure(std::get<Failure>(read));
    next = std::max(next + kPollInterval, Clock::now());
    const bool over = next > deadline;
    if (over || !pause_until(next)) {
      const std::string why = over ? "the time is over, " : "interrupted, ";
      fail(kRanOut, item.name(), why + now_text(item, read));
    }
  }
}

}  // namespace vlm::ctl
