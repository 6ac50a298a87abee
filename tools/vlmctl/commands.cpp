#include "commands.h"

#include <algorithm>

namespace vlm::ctl {

namespace {

constexpr Option kJson = {"--json", nullptr, "print objects of JSON, one a line"};
constexpr Option kHelp = {"--help", nullptr, "print this and exit"};

constexpr Option kCommon[] = {kJson, kHelp};
constexpr Option kListOptions[] = {
    {"--long", nullptr, "with help, range and flags, and the fields of groups"}, kJson, kHelp};
constexpr Option kGetOptions[] = {
    {"--all", nullptr, "everything that can be read and that the camera has"}, kJson, kHelp};
constexpr Option kSetOptions[] = {
    {"--verify", nullptr, "read back what was set; exit status 8 when it differs"},
    {"--dry-run", nullptr, "check names and values, and send nothing"},
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
};

const Command& find_command(const std::string& name) {
  const auto* const found =
      std::find_if(std::begin(kCommands), std::end(kCommands),
                   [&](const Command& command) { return name == command.name; });
  if (found != std::end(kCommands)) return *found;
  std::vector<std::string> names;
  for (const Command& command : kCommands) names.emplace_back(command.name);
  const std::string like = catalogue::nearest(name, names);
  throw Failure{kUsage, "",
                "unknown command " + name + (like.empty() ? "" : ", did you mean " + like + "?")};
}

std::string command_help(const Command& command) {
  std::string text = std::string("Usage: vlmctl [OPTION]... ") + command.name + " [OPTION]... " +
                     command.arguments + "\n" + command.help + ".\n\n" +
                     options_help(command.options);
  text.pop_back();
  return text;
}

int run_or_throw(Session& session, const Words& line) {
  const Command& command = find_command(line.at(0));
  std::size_t place = 1;
  const Arguments arguments = parse_arguments(command.options, line, place, false);
  if (arguments.has("--json")) session.console().json = true;
  if (arguments.has("--help")) {
    session.console().line(command_help(command));
    return kDone;
  }
  return command.run(session, arguments);
}

}  // namespace

catalogue::List<Command> commands() { return kCommands; }

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
