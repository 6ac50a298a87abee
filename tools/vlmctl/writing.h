// Writing settings: fields of one group that follow each other are written together.
#ifndef VLMCTL_WRITING_H
#define VLMCTL_WRITING_H

#include <optional>
#include <vector>

#include "assignment.h"
#include "session.h"

namespace vlm::ctl {

/// One request's worth of assignments, all of the same row.
struct Write {
  const catalogue::Row* row;
  std::vector<Assignment> parts;  // the whole row, or fields of its group
};

/// Checks that all can be written, and puts together what goes together. Throws Failure before
/// anything is sent.
std::vector<Write> plan_writes(Session& session, const std::vector<Assignment>& assignments);

/// Reads the group first where only some of its fields are given. Returns why it failed.
std::optional<Failure> perform(Session& session, const Write& write);

/// Reads back and compares.
std::optional<Failure> verify(Session& session, const Write& write);

}  // namespace vlm::ctl

#endif  // VLMCTL_WRITING_H
