#include "commands.h"
#include "reading.h"
#include "tally.h"
#include "writing.h"

namespace vlm::ctl {

namespace {

std::vector<Assignment> parse_all(const Words& words) {
  if (words.empty()) fail(kUsage, "", "set takes NAME=VALUE");
  std::vector<Assignment> assignments;
  assignments.reserve(words.size());
  for (const std::string& word : words) assignments.push_back(parse_assignment(word));
  return assignments;
}

void require_readable(Session& session, const std::vector<Write>& writes) {
  for (const Write& write : writes) {
    if (session.camera().can_get(*write.row)) continue;
    fail(kNotOffered, write.row->name(), "it cannot be read back, so not verified");
  }
}

/// What was, or would be, set.
void show(Session& session, const Write& write, const char* extra) {
  for (const Assignment& part : write.parts) {
    session.console().value(part.item, part.value, [&](host::JsonBlock& json) {
      if (extra != nullptr) json.member(extra, "true");
    });
  }
}

std::optional<Failure> set_one(Session& session, const Write& write, bool verified) {
  auto failure = perform(session, write);
  if (!failure && verified) failure = verify(session, write);
  return failure;
}

/// Stops at the first failure: what follows may depend on it.
int set_all(Session& session, const std::vector<Write>& writes, bool verified) {
  Tally tally;
  for (const Write& write : writes) {
    if (const auto failure = set_one(session, write, verified)) {
      session.console().failure(*failure);
      tally.failed(failure->status);
      break;
    }
    show(session, write, verified ? "verified" : nullptr);
    tally.succeeded();
  }
  return tally.status();
}

}  // namespace

int run_set(Session& session, const Arguments& arguments) {
  const auto assignments = parse_all(arguments.words);
  const bool verified = arguments.has("--verify");
  const auto writes = plan_writes(session, assignments);
  if (verified) require_readable(session, writes);
  if (!arguments.has("--dry-run")) return set_all(session, writes, verified);
  for (const Write& write : writes) show(session, write, "dry_run");
  return kDone;
}

}  // namespace vlm::ctl
