// Every line of shell in docs/monitor.md is run, in its order, and prints what stands below it. Five of
// them lead to the failing test.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "bus_recording_fixture.h"
#include "pattern.h"

namespace {

struct Example {
  std::string commands;
  std::string output;
};

std::string page() {
  std::ifstream file(VLM_DOCS_DIR "/monitor.md");
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The blocks of shell, each with the text that follows it before the next one.
std::vector<Example> examples(const std::string& text) {
  std::vector<Example> all;
  for (const Match& block : matches_in(text, "```(sh|text)\n([^`]*)```")) {
    if (block[1] == "sh") all.push_back({block[2], ""});
    if (block[1] == "text") all.back().output += block[2];
  }
  return all;
}

bool is_replay_as_console(const Example& example) {
  return example.commands.rfind("vlm_bus_replay", 0) == 0;
}

/// The section under the heading that begins so.
std::string section(const std::string& text, const std::string& heading) {
  const auto begin = text.find("\n## " + heading);
  return text.substr(begin, text.find("\n## ", begin + 1) - begin);
}

/// Times are other ones each time; the columns stay.
std::string without_times(const std::string& text) {
  return replaced(text, " *[0-9]+\\.[0-9]{3,}| [0-9]+\\.[0-9] a second", " T");
}

class MonitorDocsTest : public BusRecordingFixture {};

TEST(MonitorDocs, FiveCommandsLeadToTheFailingTest) {
  const auto way = examples(section(page(), "From \"something is wrong\" to a failing test"));
  ASSERT_GE(way.size(), 5U);
  for (std::size_t i = 0; i < 5; ++i) {
    const std::string& commands = way[i].commands;
    EXPECT_EQ(std::count(commands.begin(), commands.end(), '\n'), 1) << commands;
    EXPECT_EQ(is_replay_as_console(way[i]), i == 4) << commands;
  }
  EXPECT_NE(way[4].output.find("\ndiffers: "), std::string::npos);
}

TEST_F(MonitorDocsTest, EveryCommandPrintsWhatIsSaid) {
  const auto all = examples(page());
  ASSERT_EQ(all.size(), 12U);
  _folder.make_dir("home");
  shell("mkdir -p home/.local/lib/wireshark/plugins && cp " VLM_LUA
        " home/.local/lib/wireshark/plugins/vlm.lua");
  // The programs by their names, the recording of a camera that works, the first replay to one that
  // does not.
  std::string script = "export HOME=$PWD/home PATH=$PWD/bin:$PATH; exec 2>errors\n";
  _folder.make_dir("bin");
  for (const std::string name : {"vlm_bus_monitor", "vlm_bus_replay", "vlm_test"}) {
    _folder.write("bin/" + name, "#!/bin/sh\nexec " + program_in_shell(name) + " \"$@\"\n");
  }
  shell("chmod +x bin/*");
  const auto start_camera = [](const std::string& options) {
    return "rm -f camera\n" + program_in_shell("camera_sim") + ' ' + options +
           " </dev/null >camera & camera=$!\n" +
           "until grep -qs ready camera; do sleep 0.01; done\n";
  };
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (i == 0) script += start_camera("");
    const bool is_test = is_replay_as_console(all[i]);
    if (is_test) script += "kill $camera; wait $camera\n" + start_camera("--fail 83=75");
    script += all[i].commands + (is_test ? "echo status $?\n" : "") + "echo '@@'\n";
  }
  _folder.write("script", script + "kill $camera\nwait $camera\n");
  const Outcome outcome = shell("bash script");
  std::string expected;
  for (const Example& example : all) {
    expected += example.output + (is_replay_as_console(example) ? "status 1\n" : "") + "@@\n";
  }
  EXPECT_EQ(without_times(outcome.output), without_times(expected)) << _folder.read("errors");
}

}  // namespace
