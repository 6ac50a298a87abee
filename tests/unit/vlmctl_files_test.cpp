// Files of vlmctl: settings that it saves, restores and compares, and scripts that it runs.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "temporary_directory.h"
#include "vlmctl_fixture.h"

namespace {

using vlm::client::Outcome;

// save, restore, diff

class VlmctlFiles : public Vlmctl {
 protected:
  std::string file(const std::string& name) const { return directory / name; }
  void write(const std::string& lines) { directory.write("file", "# vlm-settings 1\n" + lines); }

  TemporaryDirectory directory;
};

TEST_F(VlmctlFiles, SavesWhatCanBeReadBackAndNamesTheRest) {
  EXPECT_EQ(run("save " + file("all")), 0);
  const std::string text = directory.read("all");
  EXPECT_EQ(text.rfind("# vlm-settings 1\n# camera ", 0), 0U);
  EXPECT_NE(text.find("\nvideo = 1920x1080@30\n"), std::string::npos);
  EXPECT_NE(text.find("\n# wifi.name cannot be read back\n"), std::string::npos);
  EXPECT_EQ(text.find("camera.status"), std::string::npos);
  EXPECT_EQ(run("diff " + file("all")), 0);
  EXPECT_EQ(out, "");
}

TEST_F(VlmctlFiles, SavesThroughLinksAndIntoPipes) {
  ASSERT_EQ(symlink(file("all").c_str(), file("link").c_str()), 0);
  EXPECT_EQ(run("save " + file("link")), 0) << err;
  EXPECT_EQ(run("diff " + file("all")), 0);
  struct stat there {};
  EXPECT_EQ(lstat(file("link").c_str(), &there), 0);
  EXPECT_TRUE(S_ISLNK(there.st_mode));

  ASSERT_EQ(mkfifo(file("pipe").c_str(), 0600), 0);
  const int pipe = open(file("pipe").c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
  EXPECT_EQ(run("save " + file("pipe")), 0) << err;
  std::string text(64U << 10, '\0');
  const ssize_t size = read(pipe, text.data(), text.size());
  close(pipe);
  ASSERT_GT(size, 0);
  text.resize(static_cast<std::size_t>(size));
  EXPECT_EQ(text, directory.read("all"));
}

TEST_F(VlmctlFiles, SavesBesideTheFilesOfOthersAndLeavesNothing) {
  directory.write("all.part", "another's");
  EXPECT_EQ(run("save " + file("all")), 0);
  EXPECT_EQ(directory.read("all.part"), "another's");
  const std::filesystem::directory_iterator files(directory.path());
  EXPECT_EQ(std::distance(begin(files), end(files)), 2);
}

TEST_F(VlmctlFiles, EndsWith9WhenAFileCannotBeWritten) {
  EXPECT_EQ(run("save " + file("nowhere/all")), 9);
  EXPECT_EQ(err, "vlmctl: " + file("nowhere/all") + ": No such file or directory\n");
  EXPECT_EQ(run("save " + directory.path()), 9);
  EXPECT_EQ(err, "vlmctl: " + directory.path() + ": Is a directory\n");
}

TEST_F(VlmctlFiles, RestoresWhatDiffersAndReportsEachLine) {
  write("camera.country = DE\nlens.zoom = 1\n");
  EXPECT_EQ(run("restore " + file("file")), 0);
  EXPECT_EQ(out, "camera.country = DE (was US)\nlens.zoom = 1 x (unchanged)\n");
  EXPECT_EQ(camera.requests, (Requests{"get 69", "set 70 4445", "get 82"}));
}

TEST_F(VlmctlFiles, TakesWhatASettingNeedsForAsLongAsItTakes) {
  write("white_balance.custom = 40\n");
  EXPECT_EQ(run("restore " + file("file")), 0);
  EXPECT_EQ(camera.requests, (Requests{"get 57", "get 13", "set 14 64", "set 58 28", "set 14"}));
}

TEST_F(VlmctlFiles, TriesWhatWasRefusedAgainAfterTheRest) {
  write("video.encoding = h265\nvideo = 1280x720@25\n");
  camera.fails(43, Outcome::kRefused, VLM_ERR_VIDEO_FMT_IN_H265);
  EXPECT_EQ(run("restore " + file("file")), 0);
  EXPECT_EQ(err, "");
  EXPECT_EQ(run("diff " + file("file")), 0);
}

TEST_F(VlmctlFiles, GivesUpOnWhatIsRefusedForGood) {
  write("video.encoding = h265\nlens.zoom = 2\n");
  for (int i = 0; i < 3; ++i) camera.fails(43, Outcome::kRefused, VLM_ERR_VIDEO_FMT_IN_H265);
  EXPECT_EQ(run("restore " + file("file")), 9);
  EXPECT_NE(err.find("video.encoding: the camera refused"), std::string::npos) << err;
  EXPECT_EQ(camera.outcomes[43].size(), 1U);  // it was asked twice
}

TEST_F(VlmctlFiles, StopsAtALineWithoutAnAnswerUnlessToldToGoOn) {
  write("camera.country = DE\nlens.zoom = 2\n");
  camera.fails(70, Outcome::kNoAnswer);
  EXPECT_EQ(run("restore " + file("file")), 3);
  EXPECT_EQ(camera.requests.size(), 2U);
  camera.fails(70, Outcome::kNoAnswer);
  EXPECT_EQ(run("restore --keep-going " + file("file")), 9);
  EXPECT_EQ(out, "lens.zoom = 2 x (was 1 x)\n");
}

// Ctrl-C at each request of a line that borrows a mode.
TEST_F(VlmctlFiles, EndsARestoreBetweenTwoLinesWhenInterrupted) {
  write("white_balance.custom = 40\ncamera.country = DE\n");
  const Requests line{"get 57", "get 13", "set 14 64", "set 58 28", "set 14"};
  for (const std::string& request : line) {
    camera = {};
    camera.on_request = [&request](const std::string& now) {
      if (now == request) std::raise(SIGINT);
    };
    EXPECT_EQ(run("restore " + file("file")), 9) << request;
    EXPECT_EQ(camera.requests, line) << request;
    EXPECT_EQ(out.rfind("white_balance.custom = 40 ", 0), 0U) << out;
    EXPECT_EQ(err, "vlmctl: camera.country: interrupted, not restored\n");
    camera.on_request = [](const std::string&) {};
    EXPECT_EQ(run("diff " + file("file")), 10);
    EXPECT_EQ(out, "camera.country: DE | US\n");
    EXPECT_EQ(run("restore " + file("file")), 0);
    EXPECT_EQ(run("diff " + file("file")), 0);
  }
}

TEST_F(VlmctlFiles, WritesNothingInADryRun) {
  write("camera.country = DE\n");
  EXPECT_EQ(run("restore --dry-run " + file("file")), 0);
  EXPECT_EQ(out, "camera.country = DE (was US)\n");
  EXPECT_EQ(camera.requests, (Requests{"get 69"}));
}

TEST_F(VlmctlFiles, ChecksTheWholeFileBeforeAnythingIsSent) {
  write("camera.country = DE\nvideo = 1\nvidoe = 2\n# all right\nnonsense\n");
  EXPECT_EQ(run("restore " + file("file")), 5);
  EXPECT_NE(err.find("line 3: video: "), std::string::npos) << err;
  EXPECT_NE(err.find("line 4: vidoe: no such name, did you mean video?"), std::string::npos) << err;
  EXPECT_NE(err.find("line 6: nonsense: name = value is wanted"), std::string::npos) << err;
  EXPECT_TRUE(camera.requests.empty());
  directory.write("other", "lens.zoom = 1\n");
  EXPECT_EQ(run("restore " + file("other")), 5);
  EXPECT_EQ(run("restore " + file("missing")), 2);
}

TEST_F(VlmctlFiles, TellsWhereFileAndCameraDiffer) {
  write("camera.country = DE\nlens.zoom = 1\n");
  EXPECT_EQ(run("diff " + file("file")), 10);
  EXPECT_EQ(out, "camera.country: DE | US\n");
  directory.write("other", "# vlm-settings 1\nlens.zoom = 2\nimage.osd = on\n");
  EXPECT_EQ(run("diff " + file("file") + " " + file("other")), 10);
  EXPECT_EQ(out, "camera.country: DE | (none)\nlens.zoom: 1 x | 2 x\nimage.osd: (none) | on\n");
}

TEST_F(VlmctlFiles, KeepsTextsThatWouldNotSurviveALine) {
  const std::string text = " a\"\\\n\x01";
  camera.payloads[69] = {};
  std::copy(text.begin(), text.end(), camera.payloads[69].begin());
  EXPECT_EQ(run("save " + file("all")), 0);
  EXPECT_NE(directory.read("all").find(R"(camera.country = " a\"\\\x0a\x01")"), std::string::npos);
  camera.payloads[69] = {};
  camera.payloads[69][0] = 'B';
  EXPECT_EQ(run("restore " + file("all")), 0);
  EXPECT_EQ(std::string(camera.payloads[69].begin(), camera.payloads[69].begin() + 6), text);
}

// batch

class VlmctlBatch : public VlmctlFiles {
 protected:
  int batch(const std::string& script, const std::string& options = "") {
    directory.write("script", script);
    return run("batch " + options + " " + file("script"));
  }
};

TEST_F(VlmctlBatch, RunsLineByLine) {
  EXPECT_EQ(batch("# a comment\n\n  set lens.zoom=2 # two\nget lens.zoom\nexpect lens.zoom=2\n"),
            0);
  EXPECT_EQ(out, "lens.zoom = 2 x\nlens.zoom = 2 x\n");
  EXPECT_EQ(err, "");
}

TEST_F(VlmctlBatch, KeepsQuotedWordsTogether) {
  EXPECT_EQ(batch("set \"wifi.name=my net\" wifi.name='a#b'\n"), 0);
  EXPECT_EQ(out, "wifi.name = my net\nwifi.name = a#b\n");
}

TEST_F(VlmctlBatch, StopsAtTheFirstFailureWithItsStatus) {
  camera.fails(2, Outcome::kRefused, VLM_ERR_FAILED);
  EXPECT_EQ(batch("set camera.mode=photo\nget lens.zoom\n"), 1);
  EXPECT_EQ(out, "");
  EXPECT_EQ(err,
            "vlmctl: camera.mode: the camera refused (needs camera.mode_lock=off): VLM failed (3)\n"
            "vlmctl: line 1 ended with 1: set camera.mode=photo\n");
}

TEST_F(VlmctlBatch, GoesOnWhenToldTo) {
  EXPECT_EQ(batch("expect lens.zoom=9\nget lens.zoom\n", "--keep-going"), 9);
  EXPECT_EQ(out, "lens.zoom = 1 x\n");
  EXPECT_EQ(batch("expect lens.zoom=9\n"), 8);
}

TEST_F(VlmctlBatch, RepeatsBlocks) {
  EXPECT_EQ(batch("repeat 2\n get lens.zoom\n repeat 3\n  get image.osd\n end\nend\n"), 0);
  EXPECT_EQ(camera.requests.size(), 8U);
}

TEST_F(VlmctlBatch, RefusesAFileThatIsNoScript) {
  for (const char* const script : {"repeat 2\nget lens.zoom\n", "end\n", "repeat 0\nend\n",
                                   "repeat x\nend\n", "get \"lens.zoom\n"}) {
    EXPECT_EQ(batch(script), 2) << script;
    EXPECT_EQ(err.rfind("vlmctl: line 1: ", 0), 0U) << err;
  }
  EXPECT_TRUE(camera.requests.empty());
}

TEST_F(VlmctlBatch, ExpectsWithinATime) {
  camera.fails(1, Outcome::kNoAnswer);
  EXPECT_EQ(batch("within 1m expect camera.mode=video\nwithin 1m get lens.zoom\n"), 0);
  EXPECT_EQ(batch("within 1ms expect camera.mode=photo\n"), 8);
}

// Each would go on for an hour.
TEST_F(VlmctlBatch, StopsACommandWhoseTimeIsOver) {
  for (const std::string command :
       {"sleep 1h", "watch lens.zoom --every 1h", "events", "within 1h sleep 1h",
        "wait camera.mode=photo --for 1h", "ping --count 2 --interval 1h"}) {
    EXPECT_EQ(batch("within 20ms " + command + "\nget image.osd\n"), 11) << command;
    EXPECT_NE(err.find("vlmctl: not done within 20ms\n"), std::string::npos) << err;
    EXPECT_EQ(out.find("image.osd"), std::string::npos);
  }
  EXPECT_EQ(batch("within 20ms sleep 1h\nget image.osd\n", "--keep-going"), 9);
  EXPECT_EQ(out, "image.osd = off\n");  // the limit is for one line
  EXPECT_EQ(batch("within 1h get nothing\n"), 5);
}

TEST_F(VlmctlBatch, ChecksEveryLineAndSendsNothing) {
  EXPECT_EQ(batch("set lens.zoom=2\nrepeat 2\nget camera.mode\nsleep 1h\nend\nsave " +
                      file("never") + "\nwithin 1s run photo.take --wait\nevents\nping\n",
                  "--check"),
            0)
      << err;
  EXPECT_TRUE(camera.requests.empty());
  EXPECT_FALSE(directory.has("never"));
  EXPECT_EQ(batch("set lens.zoom=99\nget nothing\nget lens.zoom\n", "--check"), 5);
  EXPECT_EQ(err,
            "vlmctl: line 1: lens.zoom: 99 is not allowed: 1 to 30 x\n"
            "vlmctl: line 2: nothing: no such name\n");
  EXPECT_EQ(batch("set lens.zoom=99\nnonsense\n", "--check"), 9);
  EXPECT_EQ(batch("sleep\n", "--check"), 2);
  EXPECT_EQ(batch("batch x\n", "--check"), 2);
  EXPECT_TRUE(camera.requests.empty());
}

std::string without_times(std::string text) {
  for (std::size_t place = 0; (place = text.find(" # ", place)) != std::string::npos;) {
    text.erase(place, text.find(" ms", place) + 3 - place);
  }
  return text;
}

TEST_F(VlmctlBatch, IsTakenAtItsWord) {
  consents = false;
  EXPECT_EQ(batch("run camera.reboot\n"), 0);
  EXPECT_EQ(camera.requests, (Requests{"run 45"}));
  EXPECT_TRUE(questions.empty());
}

TEST_F(VlmctlBatch, ReportsStepsAsTap) {
  EXPECT_EQ(batch("expect lens.zoom=1\nexpect lens.zoom=2\n", "--tap --keep-going"), 9);
  EXPECT_EQ(without_times(out),
            "ok 1 - expect lens.zoom=1\n"
            "not ok 2 - expect lens.zoom=2\n  ---\n  status: 8\n  message: >-\n"
            "    lens.zoom: it is 1 x\n  ...\n1..2\n");
}

TEST_F(VlmctlBatch, ReportsStepsAsJUnit) {
  EXPECT_EQ(batch("expect lens.zoom=1\nset \"camera.country=<&\"\nexpect lens.zoom=2\n",
                  "--junit " + file("result.xml")),
            8);
  const std::string xml = directory.read("result.xml");
  EXPECT_NE(xml.find("tests=\"3\" failures=\"1\""), std::string::npos) << xml;
  EXPECT_NE(xml.find("name=\"set &quot;camera.country=&lt;&amp;&quot;\""), std::string::npos);
  EXPECT_NE(xml.find("<failure type=\"8\" message=\"lens.zoom: it is 1 x\"/>"), std::string::npos);
}

TEST_F(VlmctlBatch, WritesXmlWhateverTheStepsAreCalled) {
  EXPECT_EQ(batch("expect camera.country=\xff\x01\xc3\xa4\n", "--junit " + file("result.xml")), 8);
  EXPECT_NE(directory.read("result.xml")
                .find("name=\"expect camera.country=\xEF\xBF\xBD\xEF\xBF\xBD\xc3\xa4\""),
            std::string::npos);
}

}  // namespace
