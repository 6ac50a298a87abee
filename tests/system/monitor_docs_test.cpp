// Every line of shell in docs/monitor.md is run, in its order, and prints what stands below it.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "bus_recording_fixture.h"

namespace {

struct Example {
  std::string commands;
  std::string output;
};

/// The blocks of shell, each with the text that follows it before the next one.
std::vector<Example> examples() {
  std::ifstream file(VLM_DOCS_DIR "/monitor.md");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::regex block("```(sh|text)\n([^`]*)```");
  std::vector<Example> all;
  for (std::sregex_iterator found(text.begin(), text.end(), block), end; found != end; ++found) {
    if ((*found)[1] == "sh") all.push_back({(*found)[2], ""});
    if ((*found)[1] == "text") all.back().output += (*found)[2];
  }
  return all;
}

/// Times are other ones each time; the columns stay.
std::string without_times(const std::string& text) {
  return std::regex_replace(text, std::regex(" *[0-9]+\\.[0-9]{3,}| [0-9]+\\.[0-9] a second"),
                            " T");
}

class MonitorDocsTest : public BusRecordingFixture {};

TEST_F(MonitorDocsTest, EveryCommandPrintsWhatIsSaid) {
  const auto all = examples();
  ASSERT_EQ(all.size(), 8U);
  _folder.make_dir("home");
  shell("mkdir -p home/.local/lib/wireshark/plugins && cp " VLM_LUA
        " home/.local/lib/wireshark/plugins/vlm.lua");
  // The programs by their names, the first example against a camera that works, the second against
  // one that does not.
  std::string script = "export HOME=$PWD/home PATH=$PWD/bin:$PATH; exec 2>errors\n";
  _folder.make_dir("bin");
  for (const std::string name : {"vlm_bus_monitor", "vlm_bus_replay", "vlm_test"}) {
    _folder.write("bin/" + name, "#!/bin/sh\nexec " + program_in_shell(name) + " \"$@\"\n");
  }
  shell("chmod +x bin/*");
  const auto start_camera = [](const std::string& options) {
    return program_in_shell("camera_sim") + ' ' + options + " </dev/null >camera & camera=$!\n" +
           "until grep -q ready camera; do sleep 0.01; done\n";
  };
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (i == 0) script += start_camera("");
    if (i == 1) script += "kill $camera; wait $camera\n" + start_camera("--fail 83=75");
    script += all[i].commands + "echo '@@'\n";
  }
  _folder.write("script", script + "kill $camera\nwait $camera\n");
  const Outcome outcome = shell("bash script");
  std::string expected;
  for (const Example& example : all) expected += example.output + "@@\n";
  EXPECT_EQ(without_times(outcome.output), without_times(expected)) << _folder.read("errors");
}

}  // namespace
