#include "commands.h"

namespace vlm::ctl {

namespace {

constexpr Option kJson = {"--json", nullptr, "print objects of JSON, one a line"};
constexpr Option kHelp = {"--help", nullptr, "print this and exit"};

constexpr Option kCommon[] = {kJson, kHelp};
constexpr Option kListOptions[] = {
    {"--long", nullptr, "with help, range and flags, and the fields of groups"},
    {"--cameras", nullptr,
     "the cameras that answer on the buses of this machine, as --camera takes them"},
    kJson,
    kHelp};
constexpr Option kGetOptions[] = {
    {"--all", nullptr, "everything that can be read and that the camera has"}, kJson, kHelp};
constexpr Option kSetOptions[] = {
    {"--verify", nullptr, "read back what was set; exit status 8 when it differs"},
    {"--dry-run", nullptr, "check names and values, and send nothing"},
    kJson,
    kHelp};

constexpr Option kRunOptions[] = {
    {"--wait", nullptr, "until the camera is idle again; tells its states on standard error"},
    {"--for", "TIME", "the longest that --wait waits (10m); exit status 11 when it is over"},
    {"--yes", nullptr,
     "do not ask at the terminal before what loses data or interrupts the camera"},
    kJson,
    kHelp};
constexpr Option kWatchOptions[] = {
    {"--every", "TIME", "read that often (1s)"},
    {"--count", "N", "read N times; without it, until interrupted"},
    {"--changes", nullptr, "show a value only when it is another than before"},
    kJson,
    kHelp};
constexpr Option kEventsOptions[] = {
    {"--count", "N", "end after N events"}, {"--for", "TIME", "end after that time"}, kJson, kHelp};
constexpr Option kWaitOptions[] = {
    {"--for", "TIME", "the longest wait (10s); exit status 11 when it is over"}, kJson, kHelp};
constexpr Option kPingOptions[] = {{"--count", "N", "ask N times (10)"},
                                   {"--interval", "TIME", "ask that often (100ms)"},
                                   kJson,
                                   kHelp};

constexpr Option kRestoreOptions[] = {
    {"--dry-run", nullptr, "read the camera and tell what would be changed; write nothing"},
    {"--keep-going", nullptr, "go on after a failure"},
    kJson,
    kHelp};

constexpr Option kBatchOptions[] = {
    {"--check", nullptr, "check every line, and send nothing"},
    {"--keep-going", nullptr, "go on after a failed line; exit status 9 in the end"},
    {"--tap", nullptr, "print a line of TAP for each step"},
    {"--junit", "FILE", "write the steps as test cases into FILE"},
    kJson,
    kHelp};

constexpr Command kCommands[] = {
    {"list", "[PATTERN]",
     "settings, readings and actions whose name or help holds PATTERN, or whose name matches it",
     kListOptions, run_list},
    {"describe", "[NAME...]", "all that is known of them, or of everything", kCommon, run_describe},
    {"get", "NAME...", "read settings and readings", kGetOptions, run_get},
    {"set", "NAME=VALUE...", "write settings, in the order given, up to the first that fails",
     kSetOptions, run_set},
    {"run", "ACTION [NAME=VALUE...]", "run an action", kRunOptions, run_run},
    {"watch", "NAME...", "read again and again, with time stamps", kWatchOptions, run_watch},
    {"wait", "NAME=VALUE", "wait until it reads so", kWaitOptions, run_wait},
    {"events", "", "tell what the camera says unasked: cards, pictures, changes of its mode",
     kEventsOptions, run_events},
    {"save", "[FILE]", "write all settings that can be read back into a file", kCommon, run_save},
    {"restore", "FILE",
     "set what differs from a saved file; what is refused is tried again after the rest",
     kRestoreOptions, run_restore},
    {"diff", "FILE [FILE]",
     "compare a saved file with the camera, or with another; exit status 10 when they differ",
     kCommon, run_diff},
    {"batch", "FILE|-",
     "run the commands of a file, one a line, up to the first that fails; also sleep TIME, expect "
     "NAME=VALUE, within TIME COMMAND, repeat N ... end",
     kBatchOptions, run_batch},
    {"shell", "",
     "run commands typed at a prompt, with completion; exit or the end of input leaves", kCommon,
     run_shell},
    {"ping", "", "measure how fast the camera tells its status", kPingOptions, run_ping},
    {"send", "CODE [HEX | NAME=VALUE...]", "send any code of the table, and decode the answer",
     kCommon, run_send},
};

const Command& known_command(const std::string& name) {
  if (const Command* const found = find_command(name)) return *found;
  std::vector<std::string> names;
  for (const Command& command : kCommands) names.emplace_back(command.name);
  const std::string like = catalogue::nearest(name, names);
  fail(kUsage, "",
       "unknown command " + name + (like.empty() ? "" : ", did you mean " + like + "?"));
}

std::string command_help(const Command& command) {
  std::string text = std::string("Usage: vlmctl [OPTION]... ") + command.name + " [OPTION]... " +
                     command.arguments + "\n" + command.help + ".\n\n" +
                     options_help(command.options);
  text.pop_back();
  return text;
}

int run_or_throw(Session& session, const Words& line) {
  if (asks_for_json(line, 1)) session.console().json = true;
  const Command& command = known_command(line.at(0));
  std::size_t place = 1;
  const Arguments arguments = parse_arguments(command.options, line, place, false);
  if (arguments.has("--help")) {
    session.console().line(command_help(command));
    return kDone;
  }
  return command.run(session, arguments);
}

}  // namespace

catalogue::List<Command> commands() { return kCommands; }

const Command* find_command(const std::string& name) {
  for (const Command& command : kCommands) {
    if (name == command.name) return &command;
  }
  return nullptr;
}

int run_command(Session& session, const Words& line) {
  Console& console = session.console();
  const bool json = console.json;
  int status = kDone;
  try {
    status = run_or_throw(session, line);
  } catch (const Failure& failure) {
    console.failure(failure);
    status = failure.status;
  }
  console.json = json;
  return status;
}

}  // namespace vlm::ctl
