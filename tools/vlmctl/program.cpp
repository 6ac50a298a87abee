#include "program.h"

#include <cstdlib>
#include <iterator>

#include "broker_files.h"
#include "commands.h"
#include "completion.h"

namespace vlm::ctl {

namespace {

constexpr Option naming(const bus::BrokerFileName& file) {
  return {file.option, "FILE", file.help};
}

static_assert(std::size(bus::kBrokerFileNames) == 4, "each has its row below");
constexpr Option kProgramOptions[] = {
    {"--camera", "CAMERA",
     "local, the default: the bus of this machine; a path with a slash: the bus in that directory; "
     "mqtts://[USER@]HOST[:PORT]/SITE/NAME: the camera NAME behind a broker, mqtt:// without TLS; "
     "udp://HOST[:PORT]: the UDP service there (port 9528), for what it offers"},
    {"--site", "SITE",
     "all cameras of a site: mqtts://[USER@]HOST[:PORT]/SITE, or SITE where VLM_BUS names the "
     "broker"},
    {"--all-cameras", nullptr, "run the command with each camera of the site"},
    naming(bus::kBrokerFileNames[0]),
    naming(bus::kBrokerFileNames[1]),
    naming(bus::kBrokerFileNames[2]),
    naming(bus::kBrokerFileNames[3]),
    {"--json", nullptr, "print objects of JSON, one a line; also behind the command"},
    {"--timeout", "TIME",
     "wait that long for each answer (3s; 500ms for the camera's status; 4s over UDP): 500ms, 2s, "
     "1m"},
    {"--retries", "N", "ask again up to N times where there is no answer, or a busy one (0)"},
    {"-v", nullptr, "tell each request and the time it took on standard error"},
    {"--help", nullptr, "print this, or behind a command its own help, and exit"},
    {"--version", nullptr, "print the version and exit"},
};

constexpr char kEnd[] =
    "\nA VALUE is the name of a choice or a number in the unit that list tells; raw:N is the "
    "number\n"
    "on the wire.\n"
    "\nExit status: 0 done, 1 the camera refused, 2 usage, 3 no answer, 4 busy, 5 unknown name or\n"
    "value not allowed, 6 cannot be read or written, 7 no bus or no camera, 8 read back "
    "differently,\n"
    "9 part of several failed, or output was lost, 10 diff found differences, 11 what was waited\n"
    "for did not come.\n";

std::string program_help() {
  std::string text =
      "Usage: vlmctl [OPTION]... COMMAND [ARGUMENT]...\n"
      "       vlmctl --site SITE [--all-cameras] COMMAND [ARGUMENT]...\n"
      "Reads and writes the camera's settings by name.\n\n";
  text += options_help(kProgramOptions) + '\n';
  for (const Command& command : commands()) {
    text += help_row(std::string(command.name) + " " + command.arguments, command.help, 20);
  }
  text += kEnd;
  text.pop_back();
  return text;
}

Settings settings_of(const Arguments& arguments) {
  Settings settings;
  settings.camera = arguments.text("--camera").value_or(settings.camera);
  settings.timeout = arguments.duration("--timeout");
  if (settings.timeout && settings.timeout->count() == 0) {
    fail(kUsage, "", "--timeout must not be 0");
  }
  settings.retries = arguments.number("--retries", 0).value_or(0);
  settings.verbose = arguments.has("-v");
  return settings;
}

/// Hands the files to those who connect to brokers, other processes of this program included.
void name_broker_files(const Arguments& arguments) {
  for (const auto& file : bus::kBrokerFileNames) {
    const auto path = arguments.text(file.option);
    if (!path) continue;
    if (path->empty()) fail(kUsage, "", std::string(file.option) + " needs a value, FILE");
    setenv(file.variable, path->c_str(), 1);
  }
}

int run_or_throw(const Words& line, Console& console, const Ways& ways,
                 const std::string& version) {
  // For shells, not for people: no part of the help.
  if (!line.empty() && line[0] == "__complete") {
    for (const auto& each : completions(Words(line.begin() + 1, line.end()), kProgramOptions)) {
      console.line(each);
    }
    return kDone;
  }
  std::size_t place = 0;
  console.json = asks_for_json(line, 0);
  const Arguments arguments = parse_arguments(kProgramOptions, line, place, true);
  if (arguments.has("--help") || arguments.has("--version")) {
    console.line(arguments.has("--help") ? program_help() : "vlmctl " + version);
    return kDone;
  }
  Session session(console, settings_of(arguments), ways.open, ways.search);
  if (place == line.size()) fail(kUsage, "", "no command given, vlmctl --help lists them");
  name_broker_files(arguments);
  if (arguments.has("--site")) return ways.run_on_site(line, place);
  if (arguments.has("--all-cameras")) fail(kUsage, "", "--all-cameras needs --site");
  return run_command(session, Words(line.begin() + static_cast<long>(place), line.end()));
}

}  // namespace

int run_program(const Words& line, Console& console, const Ways& ways, const std::string& version) {
  try {
    return run_or_throw(line, console, ways, version);
  } catch (const Failure& failure) {
    console.failure(failure);
    return failure.status;
  }
}

}  // namespace vlm::ctl
