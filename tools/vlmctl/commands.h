// The sub-commands: a table, from which help and completion are made, and a source for each.
#ifndef VLMCTL_COMMANDS_H
#define VLMCTL_COMMANDS_H

#include "arguments.h"
#include "session.h"

namespace vlm::ctl {

struct Command {
  const char* name;
  const char* arguments;  // in the help
  const char* help;
  Options options;
  /// Returns the exit status; throws Failure.
  int (*run)(Session& session, const Arguments& arguments);
};

/// In the order in which the help shows them.
catalogue::List<Command> commands();

/// The sub-command of that name; null: there is none.
const Command* find_command(const std::string& name);

/// Runs the sub-command `line[0]`, reports why it failed, and returns the exit status.
int run_command(Session& session, const Words& line);

int run_list(Session& session, const Arguments& arguments);
int run_describe(Session& session, const Arguments& arguments);
int run_get(Session& session, const Arguments& arguments);
int run_set(Session& session, const Arguments& arguments);
int run_run(Session& session, const Arguments& arguments);
int run_send(Session& session, const Arguments& arguments);
int run_watch(Session& session, const Arguments& arguments);
int run_wait(Session& session, const Arguments& arguments);
int run_events(Session& session, const Arguments& arguments);
int run_ping(Session& session, const Arguments& arguments);
int run_save(Session& session, const Arguments& arguments);
int run_restore(Session& session, const Arguments& arguments);
int run_diff(Session& session, const Arguments& arguments);
int run_batch(Session& session, const Arguments& arguments);
int run_shell(Session& session, const Arguments& arguments);

}  // namespace vlm::ctl

#endif  // VLMCTL_COMMANDS_H
