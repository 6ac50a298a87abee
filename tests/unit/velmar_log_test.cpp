#include "velmar_log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "file_size_limit.h"
#include "pattern.h"
#include "sync_watch.h"
#include "temporary_directory.h"
#include "transcript.h"

namespace {

const std::string kBanner = "\n" + std::string(25, '=') + "\n";

/// `text` with every time stamp replaced by T, which stands for six digits or more.
std::string without_stamps(const std::string& text) {
  return replaced(text, ", -?[0-9]{6,}\n", ", T\n");
}

std::string without_addresses(const std::string& text) {
  return replaced(text, "0x[0-9a-f]+", "ADDR");
}

class TraceLog : public testing::Test {
 protected:
  TraceLog() { use(_dir / "test.log"); }

  ~TraceLog() override {
    vlm_camera_log_destroy();
    reset_counters();
    F_PATH = _default_path;
    F_TRIG = _default_trigger;
    F_LOG_TO_CONSOLE = _default_console;
  }

  void use(const std::string& log_path) {
    _log_path = log_path;
    F_PATH = _log_path.c_str();
    F_TRIG = _trigger.c_str();
    F_LOG_TO_CONSOLE = _console.c_str();
  }

  void enable_file() { _dir.write("trigger"); }
  void enable_console() { _dir.write("log_to_console"); }

  static std::string init() {
    return transcript_of([] { vlm_camera_log_init(); });
  }
  void start_file() {
    enable_file();
    ASSERT_EQ(init(), "open logfile OK\n");
  }

  static void reset_counters() {
    g_cmd_num.total_num = 0;
    g_cmd_num.ok_num = 0;
    g_cmd_num.fail_num = 0;
    g_cmd_num.mavlink_num = 0;
  }

  std::string log() const { return _dir.read("test.log"); }
  /// What the file holds after the banner, its stamps as T.
  std::string logged() const {
    const std::string text = log();
    EXPECT_EQ(text.substr(0, kBanner.size()), kBanner);
    return without_stamps(text.substr(kBanner.size()));
  }

  TemporaryDirectory _dir;

 private:
  const char* _default_path = F_PATH;
  const char* _default_trigger = F_TRIG;
  const char* _default_console = F_LOG_TO_CONSOLE;
  std::string _log_path;
  std::string _trigger = _dir / "trigger";
  std::string _console = _dir / "log_to_console";
};

TEST(TraceLogDefaults, AreThePathsOnTheCard) {
  EXPECT_STREQ(F_PATH, "/sdcard/test.log");
  EXPECT_STREQ(F_TRIG, "/sdcard/trigger");
  EXPECT_STREQ(F_LOG_TO_CONSOLE, "/sdcard/log_to_console");
  EXPECT_EQ(g_log_fd, -1);
  EXPECT_FALSE(g_log_to_console);
  EXPECT_EQ(g_cmd_num.total_num, 0);
  EXPECT_EQ(g_cmd_num.ok_num, 0);
  EXPECT_EQ(g_cmd_num.fail_num, 0);
  EXPECT_EQ(g_cmd_num.mavlink_num, 0);
}

// --- Switches ---

TEST_F(TraceLog, WithoutMarkersPrintsNothingAndWritesNothing) {
  EXPECT_EQ(init(), "");
  EXPECT_EQ(transcript_of([] {
              for (int level = -1; level <= 7; ++level) EXPECT_EQ(vlm_log_print(level, "x"), 0);
            }),
            "");
  EXPECT_FALSE(_dir.has("test.log"));
  EXPECT_EQ(g_log_fd, -1);
}

TEST_F(TraceLog, WithBothSwitchesOffLeavesTheCountersAlone) {
  vlm_log_print(0, "Capture");
  EXPECT_EQ(g_cmd_num.total_num, 0);
}

TEST_F(TraceLog, BeginsAFileWithTheBanner) {
  start_file();
  EXPECT_NE(g_log_fd, -1);
  EXPECT_EQ(log(), kBanner);
  EXPECT_EQ(log().size(), 27U);
}

TEST_F(TraceLog, ReplacesAnOldFile) {
  _dir.write("test.log", "an old run\n");
  start_file();
  EXPECT_EQ(log(), kBanner);
}

TEST_F(TraceLog, OpensTheFileForSynchronousAppendingWithMode0644) {
  const mode_t mask = umask(0);
  start_file();
  umask(mask);
  const int flags = fcntl(g_log_fd, F_GETFL);
  EXPECT_EQ(flags & O_ACCMODE, O_RDWR);
  EXPECT_EQ(flags & O_APPEND, O_APPEND);
  EXPECT_EQ(flags & O_SYNC, O_SYNC);
  EXPECT_EQ(std::filesystem::status(_dir / "test.log").permissions(),
            static_cast<std::filesystem::perms>(0644));
}

TEST_F(TraceLog, BringsEachMessageToTheCardAtOnce) {
  start_file();
  const SyncWatch watch;
  for (const std::size_t messages : {1U, 2U, 3U}) {
    vlm_log_print(5, "message %zu", messages);
    ASSERT_EQ(watch.syncs().size(), messages);
    EXPECT_EQ(watch.syncs().back().path, _dir / "test.log");
    EXPECT_EQ(watch.syncs().back().size, static_cast<off_t>(kBanner.size() + 9 * messages));
  }
}

TEST_F(TraceLog, WithTheConsoleMarkerAlonePrintsMessages) {
  enable_console();
  EXPECT_EQ(init(), "");
  EXPECT_TRUE(g_log_to_console);
  const auto text = transcript_of([] { vlm_log_print(4, "SetTimeOK"); });
  EXPECT_EQ(without_stamps(text), "SetTimeOK, T\n");
  EXPECT_FALSE(_dir.has("test.log"));
}

TEST_F(TraceLog, WithBothMarkersWritesTheSameTextToBoth) {
  enable_console();
  start_file();
  const auto text = transcript_of([] { vlm_log_print(4, "SetTimeOK"); });
  EXPECT_EQ(log(), kBanner + text);
}

TEST_F(TraceLog, PrintsPercentSignsOfAMessageAsTheyAre) {
  enable_console();
  init();
  EXPECT_EQ(transcript_of([] { vlm_log_print(7, "%s", "100%d %n"); }), "100%d %n");
}

// --- Failing opens and writes ---

TEST_F(TraceLog, SaysThatTheOpenFailed) {
  use(_dir / "no_such_dir/test.log");
  enable_file();
  EXPECT_EQ(init(), "open logfile fail\n");
  EXPECT_EQ(g_log_fd, -1);
  EXPECT_EQ(transcript_of([] { vlm_log_print(0, "Capture"); }), "");
}

TEST_F(TraceLog, ReadsTheConsoleMarkerAlsoWhenTheOpenFailed) {
  use(_dir / "no_such_dir/test.log");
  enable_file();
  enable_console();
  EXPECT_EQ(init(), "open logfile fail\n");
  EXPECT_EQ(transcript_of([] { vlm_log_print(7, "seen"); }), "seen");
}

TEST_F(TraceLog, IsClosedAfterAnOpenThatFailedOnASecondInit) {
  start_file();
  use(_dir / "no_such_dir/test.log");
  EXPECT_EQ(init(), "open logfile fail\n");
  EXPECT_EQ(g_log_fd, -1);
}

TEST_F(TraceLog, StaysOpenAndGoesOnWhenTheCardIsFull) {
  enable_file();
  EXPECT_EQ(transcript_of([] {
              // What is printed is kept back until there is room again: its capture is a file, too.
              std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
              const FileSizeLimit full(0);
              vlm_camera_log_init();
              EXPECT_EQ(vlm_log_print(0, "Capture"), 0);
            }),
            "open logfile OK\ninit logfile fail\n");
  EXPECT_NE(g_log_fd, -1);
  EXPECT_EQ(g_cmd_num.total_num, 1);
  EXPECT_EQ(log(), "");
  vlm_log_print(7, "room again\n");
  EXPECT_EQ(log(), "room again\n");
}

// --- What may stand in the log's place ---

TEST_F(TraceLog, IsNotWrittenThroughALink) {
  _dir.write("elsewhere", "kept\n");
  std::filesystem::create_symlink(_dir / "elsewhere", _dir / "test.log");
  start_file();
  EXPECT_EQ(_dir.read("elsewhere"), "kept\n");
  EXPECT_EQ(log(), kBanner);
}

TEST_F(TraceLog, IsNotWrittenThroughALinkThatLeadsNowhere) {
  std::filesystem::create_symlink(_dir / "elsewhere", _dir / "test.log");
  start_file();
  EXPECT_FALSE(_dir.has("elsewhere"));
  EXPECT_EQ(log(), kBanner);
}

TEST_F(TraceLog, IsNotWrittenThroughALinkThatCannotBeRemoved) {
  // A name of the system's own: it leads to the open file, and nobody can remove it.
  _dir.write("elsewhere", "kept\n");
  const int elsewhere = open((_dir / "elsewhere").c_str(), O_RDWR);
  ASSERT_NE(elsewhere, -1);
  use("/proc/self/fd/" + std::to_string(elsewhere));
  enable_file();
  EXPECT_EQ(init(), "open logfile fail\n");
  EXPECT_EQ(_dir.read("elsewhere"), "kept\n");
  close(elsewhere);
}

TEST_F(TraceLog, LeavesADirectoryInItsPlaceAndGoesOnWithout) {
  _dir.make_dir("test.log");
  _dir.write("test.log/inside", "kept\n");
  enable_file();
  enable_console();
  EXPECT_EQ(init(), "open logfile fail\n");
  EXPECT_EQ(g_log_fd, -1);
  EXPECT_EQ(transcript_of([] { vlm_log_print(7, "seen"); }), "seen");
  EXPECT_EQ(_dir.read("test.log/inside"), "kept\n");
}

// --- Levels and counters ---

struct Level {
  int level;
  const char* line;
};

void PrintTo(const Level& row, std::ostream* out) { *out << "level" << row.level; }

class TraceLogLevels : public TraceLog, public testing::WithParamInterface<Level> {};

TEST_P(TraceLogLevels, HaveTheirSuffix) {
  start_file();
  vlm_log_print(GetParam().level, "text %d", 12);
  EXPECT_EQ(logged(), GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(All, TraceLogLevels,
                         testing::Values(Level{0, "text 12:[001], T\n"},
                                         Level{1, "text 12:[001], T\n"},
                                         Level{2, "text 12:[001], T\n"},
                                         Level{3, "text 12:[001], T\n"}, Level{4, "text 12, T\n"},
                                         Level{5, "text 12"}, Level{7, "text 12"},
                                         Level{-1, "text 12"}));

TEST_F(TraceLog, CountsEachOfTheFourClassesByItself) {
  start_file();
  vlm_log_print(0, "a");
  vlm_log_print(0, "b");
  vlm_log_print(0, "c");
  vlm_log_print(1, "d");
  vlm_log_print(1, "e");
  vlm_log_print(2, "f");
  vlm_log_print(4, "g");
  vlm_log_print(7, "h\n");
  EXPECT_EQ(logged(),
            "a:[001], T\nb:[002], T\nc:[003], T\nd:[001], T\ne:[002], T\nf:[001], T\ng, T\nh\n");
  EXPECT_EQ(g_cmd_num.total_num, 3);
  EXPECT_EQ(g_cmd_num.ok_num, 2);
  EXPECT_EQ(g_cmd_num.fail_num, 1);
  EXPECT_EQ(g_cmd_num.mavlink_num, 0);
}

TEST_F(TraceLog, CountsFromOneAgainAfterEachInit) {
  start_file();
  for (int level = 0; level < 4; ++level) vlm_log_print(level, "before");
  init();
  EXPECT_EQ(log(), kBanner);
  for (int level = 0; level < 4; ++level) vlm_log_print(level, "after");
  EXPECT_EQ(logged(), "after:[001], T\nafter:[001], T\nafter:[001], T\nafter:[001], T\n");
}

TEST_F(TraceLog, ClosesTheFileBeforeOnASecondInit) {
  start_file();
  const int before = g_log_fd;
  init();
  EXPECT_NE(g_log_fd, before);
  EXPECT_EQ(fcntl(before, F_GETFD), -1);
}

TEST_F(TraceLog, WidensTheCounterBeyondThreeDigits) {
  start_file();
  g_cmd_num.ok_num = 999;
  vlm_log_print(1, "OK");
  EXPECT_EQ(logged(), "OK:[1000], T\n");
}

// --- Length ---

struct Length {
  int level;
  int characters;
  bool suffixed;
};

void PrintTo(const Length& row, std::ostream* out) {
  *out << "level" << row.level << "with" << row.characters << "characters";
}

class TraceLogLengths : public TraceLog, public testing::WithParamInterface<Length> {};

TEST_P(TraceLogLengths, KeepTheSuffixWhereItHasRoom) {
  start_file();
  const std::string message(static_cast<std::size_t>(GetParam().characters), 'm');
  const auto console =
      transcript_of([&] { vlm_log_print(GetParam().level, "%s", message.c_str()); });
  const std::string suffix = GetParam().level == 4 ? ", T\n" : ":[001], T\n";
  const std::string kept = message.substr(0, 127);
  EXPECT_EQ(logged(), GetParam().suffixed ? kept + suffix : kept);
  const std::string complaint =
      "Error: buf is ADDR, free length is " + std::to_string(128 - GetParam().characters) + "\n";
  EXPECT_EQ(without_addresses(console), GetParam().suffixed ? "" : complaint);
  EXPECT_EQ(g_cmd_num.total_num, GetParam().level == 0 ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    All, TraceLogLengths,
    testing::Values(Length{0, 0, true}, Length{0, 107, true}, Length{0, 108, true},
                    Length{0, 109, false}, Length{0, 116, false}, Length{0, 117, false},
                    Length{0, 127, false}, Length{0, 128, false}, Length{0, 500, false},
                    Length{4, 0, true}, Length{4, 108, true}, Length{4, 109, true},
                    Length{4, 116, true}, Length{4, 117, false}, Length{4, 127, false},
                    Length{4, 128, false}, Length{4, 500, false}));

TEST_F(TraceLog, CutsAMessageWithoutSuffixTo127Characters) {
  start_file();
  EXPECT_EQ(transcript_of([] { vlm_log_print(7, "%0500d", 0); }), "");
  EXPECT_EQ(logged(), std::string(127, '0'));
}

// --- The suffixes by themselves ---

TEST(TraceLogSuffix, CountedHasTheCounterAndTheTick) {
  char text[64] = {};
  append_num_timestamp(text, sizeof text, 7);
  EXPECT_TRUE(is_like(text, ":\\[007\\], -?[0-9]{6,}\n")) << text;
}

TEST(TraceLogSuffix, PlainHasTheTick) {
  char text[64] = {};
  append_timestamp(text, sizeof text);
  EXPECT_TRUE(is_like(text, ", -?[0-9]{6,}\n")) << text;
}

TEST(TraceLogSuffix, CountedNeeds20Bytes) {
  char text[32] = {};
  const auto complaint = transcript_of([&] { append_num_timestamp(text, 19, 7); });
  EXPECT_EQ(without_addresses(complaint), "Error: buf is ADDR, free length is 19\n");
  EXPECT_STREQ(text, "");
  EXPECT_EQ(transcript_of([&] { append_num_timestamp(text, 20, 7); }), "");
  EXPECT_STRNE(text, "");
}

TEST(TraceLogSuffix, PlainNeeds12Bytes) {
  char text[32] = {};
  const auto complaint = transcript_of([&] { append_timestamp(text, 11); });
  EXPECT_EQ(without_addresses(complaint), "Error: buf is ADDR, free length is 11\n");
  EXPECT_STREQ(text, "");
  EXPECT_EQ(transcript_of([&] { append_timestamp(text, 12); }), "");
  EXPECT_STRNE(text, "");
}

TEST(TraceLogSuffix, NeverWritesBeyondItsRoom) {
  char text[32];
  std::memset(text, '#', sizeof text);
  append_num_timestamp(text, 20, 2'147'483'647);
  EXPECT_EQ(text[19], '\0');
  EXPECT_EQ(std::string(text + 20, 12), std::string(12, '#'));
}

TEST(TraceLogSuffix, ComplainsOfANullBuffer) {
  EXPECT_EQ(transcript_of([] { append_num_timestamp(nullptr, 64, 7); }),
            "Error: buf is (nil), free length is 64\n");
  EXPECT_EQ(transcript_of([] { append_timestamp(nullptr, 64); }),
            "Error: buf is (nil), free length is 64\n");
}

// --- Destroy ---

TEST_F(TraceLog, DestroyClosesTheFileAndSilencesTheConsole) {
  enable_console();
  start_file();
  const int fd = g_log_fd;
  vlm_camera_log_destroy();
  EXPECT_EQ(g_log_fd, -1);
  EXPECT_FALSE(g_log_to_console);
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  EXPECT_EQ(transcript_of([] { vlm_log_print(0, "Capture"); }), "");
  EXPECT_EQ(log(), kBanner);
}

TEST_F(TraceLog, DestroyTwiceIsHarmless) {
  start_file();
  vlm_camera_log_destroy();
  const int other = open("/dev/null", O_RDONLY);  // likely takes the closed descriptor's number
  vlm_camera_log_destroy();
  EXPECT_NE(fcntl(other, F_GETFD), -1);
  close(other);
}

TEST_F(TraceLog, StartsAfreshAfterDestroy) {
  start_file();
  vlm_log_print(7, "before\n");
  vlm_camera_log_destroy();
  init();
  vlm_log_print(7, "after\n");
  EXPECT_EQ(logged(), "after\n");
}

// --- Threads ---

TEST_F(TraceLog, KeepsTheLinesOfManyThreadsApart) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 250;
  start_file();
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < kMessages; ++i) {
        vlm_log_print(t, "%s", std::string(60, static_cast<char>('a' + t)).c_str());
      }
    });
  }
  for (auto& thread : threads) thread.join();

  std::istringstream lines(logged());
  int count = 0;
  for (std::string text; std::getline(lines, text); ++count) {
    EXPECT_TRUE(is_like(text, "([a-d])\\1{59}:\\[[0-9]{3}\\], T")) << text;
  }
  EXPECT_EQ(count, kThreads * kMessages);
  EXPECT_EQ(g_cmd_num.total_num, kMessages);
  EXPECT_EQ(g_cmd_num.mavlink_num, kMessages);
}

}  // namespace
