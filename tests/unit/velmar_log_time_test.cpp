#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "file_size_limit.h"
#include "pattern.h"
#include "scripted_bus.h"
#include "sync_watch.h"
#include "temporary_directory.h"
#include "transcript.h"
#include "velmar_log.h"

namespace {

// --- The line ---

timeval at(time_t seconds, suseconds_t micros) {
  timeval reading{};
  reading.tv_sec = seconds;
  reading.tv_usec = micros;
  return reading;
}

std::string line_of(int number, const timeval& reading) {
  char text[kTimeLineSize] = {};
  format_time_line(number, reading, text);
  return text;
}

TEST(TimeLine, HasNumberDateTimeAndMicroseconds) {
  EXPECT_EQ(line_of(42, at(1'709'622'489, 12'345)), "0042-2024-03-05-07:08:09-012345\r\n");
}

TEST(TimeLine, KeepsTwoDigitsForLateMonths) {
  EXPECT_EQ(line_of(9999, at(1'735'689'599, 999'999)), "9999-2024-12-31-23:59:59-999999\r\n");
}

TEST(TimeLine, BeginsAtTheEpoch) {
  EXPECT_EQ(line_of(1, at(0, 0)), "0001-1970-01-01-00:00:00-000000\r\n");
}

TEST(TimeLine, KnowsTheLeapDay) {
  EXPECT_EQ(line_of(1, at(1'709'164'800, 0)), "0001-2024-02-29-00:00:00-000000\r\n");
}

TEST(TimeLine, RepeatsThePreviousTextForAReadingWithoutADate) {
  static_assert(sizeof(time_t) == 8, "otherwise every reading has a date");
  char text[kTimeLineSize] = {};
  format_time_line(1, at(std::numeric_limits<time_t>::max(), 0), text);
  EXPECT_STREQ(text, "");
  format_time_line(1, at(0, 0), text);
  format_time_line(2, at(std::numeric_limits<time_t>::max(), 0), text);
  EXPECT_STREQ(text, "0001-1970-01-01-00:00:00-000000\r\n");
}

TEST(TimeLine, FitsItsBufferWithTheLargestNumbers) {
  // The last second of the last year that a broken-down time can hold.
  const auto text = line_of(std::numeric_limits<int>::max(), at(67'768'036'191'676'799, 999'999));
  EXPECT_LT(text.size(), kTimeLineSize);
  EXPECT_EQ(text, "2147483647-2147485547-12-31-23:59:59-999999\r\n");
}

// --- The next serial ---

class NextSerial : public testing::Test {
 protected:
  int next() const { return get_max_file_sn(_dir.path().c_str()); }
  int next_with(const std::string& name) const {
    _dir.write(name);
    const int serial = next();
    std::filesystem::remove(_dir / name);
    return serial;
  }
  TemporaryDirectory _dir;
};

TEST_F(NextSerial, IsOneWithoutADirectory) { EXPECT_EQ(get_max_file_sn(nullptr), 1); }

TEST_F(NextSerial, IsOneForADirectoryThatCannotBeOpened) {
  const Transcript errors(STDERR_FILENO);
  EXPECT_EQ(get_max_file_sn((_dir / "missing").c_str()), 1);
  EXPECT_EQ(errors.text(), "opendir fail: No such file or directory\n");
}

TEST_F(NextSerial, IsOneForAnEmptyDirectory) { EXPECT_EQ(next(), 1); }

TEST_F(NextSerial, FollowsTheLargestLogFile) {
  _dir.write("log_time_file_0012.log");
  _dir.write("log_time_file_0007.log");
  _dir.write("log_time_file_0009.log");
  EXPECT_EQ(next(), 13);
}

TEST_F(NextSerial, PassesOverOtherExtensionsAndDirectories) {
  _dir.write("log_time_file_0007.log");
  _dir.write("log_time_file_0012.txt");
  _dir.make_dir("log_time_file_0099.log");
  EXPECT_EQ(next(), 8);
}

TEST_F(NextSerial, PassesOverLinks) {
  std::filesystem::create_symlink("/dev/null", _dir / "log_time_file_0050.log");
  EXPECT_EQ(next(), 1);
}

TEST_F(NextSerial, ReadsEachNameByItsForm) {
  EXPECT_EQ(next_with("log_time_file_5.log"), 6);
  EXPECT_EQ(next_with("log_time_file_00005.log"), 6);
  EXPECT_EQ(next_with("log_time_file_12345.log"), 12'346);
  EXPECT_EQ(next_with("log_time_file_0000.log"), 1);
  EXPECT_EQ(next_with("log_time_file_-003.log"), 1);
  EXPECT_EQ(next_with("log_time_file_0005"), 1);
  EXPECT_EQ(next_with("log_time_file_0005."), 1);
  EXPECT_EQ(next_with("log_time_file_.log"), 1);
  EXPECT_EQ(next_with("log_time_file_abcd.log"), 1);
  EXPECT_EQ(next_with("log_time_file_0005.logs"), 1);
  EXPECT_EQ(next_with("log_time_file_0005.log.gz"), 1);
  EXPECT_EQ(next_with("log_time_file_0005.LOG"), 1);
  EXPECT_EQ(next_with("log_time_file_0005." + std::string(100, 'g')), 1);
  EXPECT_EQ(next_with("log_file_0005.log"), 1);
  EXPECT_EQ(next_with("old_log_time_file_0005.log"), 1);
}

TEST_F(NextSerial, ReachesTheLargestInt) {
  EXPECT_EQ(next_with("log_time_file_2147483646.log"), 2'147'483'647);
}

TEST_F(NextSerial, PassesOverSerialsThatLeaveNoNext) {
  EXPECT_EQ(next_with("log_time_file_2147483647.log"), 1);
  EXPECT_EQ(next_with("log_time_file_4294967301.log"), 1);
  EXPECT_EQ(next_with("log_time_file_99999999999999999999999.log"), 1);
}

// --- The thread ---

constexpr u8 kReady = 2;

std::vector<u8> storage_with(u8 status) { return {0, 0, status, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}; }

class TimeLog : public testing::Test {
 protected:
  TimeLog() {
    _bus.reset();
    card_is(kReady);
    g_time_log_settings.marker = _marker.c_str();
    g_time_log_settings.dir = _log_dir.c_str();
    g_time_log_settings.file_stem = _stem.c_str();
    g_time_log_settings.card_poll = std::chrono::milliseconds(1);
    g_time_log_settings.line_interval = std::chrono::milliseconds(0);
    g_time_log_settings.lines_per_file = 3;
  }
  ~TimeLog() override { g_time_log_settings = TimeLogSettings{}; }

  void card_is(u8 status) { _bus.answer(storage_with(status)); }
  void enable() { _dir.write("log_time"); }
  void make_log_dir() { _dir.make_dir("log_time_dir"); }

  static std::string file(int serial) {
    char name[64];
    std::snprintf(name, sizeof name, "log_time_dir/log_time_file_%04d.log", serial);
    return name;
  }
  /// Ends the thread: a socket cannot be opened.
  void block_file(int serial) {
    make_log_dir();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = _dir / file(serial);
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    const int blocking = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(blocking, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    close(blocking);
  }

  /// Runs the thread's body to its end; what it prints.
  static std::string run() {
    return transcript_of([] { EXPECT_EQ(log_time_thread(nullptr), nullptr); });
  }
  /// The same from the card's readiness on: before it the engine prints of its requests.
  static std::string run_after_card() {
    const auto text = run();
    const auto start = text.find("SD card is OK\n");
    EXPECT_NE(start, std::string::npos) << text;
    return text.substr(start == std::string::npos ? 0 : start);
  }

  std::vector<std::string> lines(int serial) const {
    std::vector<std::string> all;
    std::istringstream text(_dir.read(file(serial)));
    for (std::string line; std::getline(text, line);) all.push_back(line + "\n");
    return all;
  }

  ScriptedBus& _bus = ScriptedBus::instance();
  TemporaryDirectory _dir;
  std::string _marker = _dir / "log_time";
  std::string _log_dir = _dir / "log_time_dir";
  std::string _stem = _log_dir + "/log_time_file";
};

TEST(TimeLogDefaults, AreThoseOfTheBoard) {
  EXPECT_STREQ(g_time_log_settings.marker, "/sdcard/log_time");
  EXPECT_STREQ(g_time_log_settings.dir, "/sdcard/log_time_dir");
  EXPECT_STREQ(g_time_log_settings.file_stem, "/sdcard/log_time_dir/log_time_file");
  EXPECT_EQ(g_time_log_settings.card_poll, std::chrono::seconds(10));
  EXPECT_EQ(g_time_log_settings.line_interval, std::chrono::milliseconds(10));
  EXPECT_EQ(g_time_log_settings.lines_per_file, 9999);
}

TEST_F(TimeLog, SaysThatItStarts) { EXPECT_EQ(run().substr(0, 22), "[log_time_thread:190]\n"); }

TEST_F(TimeLog, AsksForTheFirstStorageOfTheCamera) {
  run();
  const auto request = _bus.only_record();
  EXPECT_EQ(request.cmd_type, 30);
  EXPECT_EQ(request.cmd_params[0], 0);
}

TEST_F(TimeLog, AsksUntilTheCardIsReady) {
  _bus.answer([asked = 0](const udp_ctrl_cam_t& request) mutable {
    switch (++asked) {
      case 1: return camera_record(request.cmd_type, storage_with(0));
      case 2: return camera_record(request.cmd_type, storage_with(1));
      case 3: return camera_record(request.cmd_type, storage_with(kReady), 1);
      case 4: return camera_record(request.cmd_type, storage_with(3));
      default: return camera_record(request.cmd_type, storage_with(kReady));
    }
  });
  EXPECT_EQ(run_after_card(), "SD card is OK\nNo need to log time, exit...\n");
  EXPECT_EQ(_bus.published().size(), 5U);
}

TEST_F(TimeLog, WithoutTheMarkerWaitsForTheCardAndEnds) {
  EXPECT_EQ(run_after_card(), "SD card is OK\nNo need to log time, exit...\n");
  EXPECT_FALSE(_dir.has("log_time_dir"));
}

TEST_F(TimeLog, MakesItsDirectoryForEverybody) {
  enable();
  g_time_log_settings.file_stem = "/dev/null/log_time_file";
  const mode_t mask = umask(0);
  const auto text = run_after_card();
  umask(mask);
  EXPECT_EQ(text, "SD card is OK\nmax_sn is 1\nOpen logfile fail\n");
  EXPECT_EQ(std::filesystem::status(_log_dir).permissions(),
            static_cast<std::filesystem::perms>(0777));
}

TEST_F(TimeLog, EndsWhenItsDirectoryCannotBeMade) {
  enable();
  g_time_log_settings.dir = "/dev/null/log_time_dir";
  const Transcript errors(STDERR_FILENO);
  EXPECT_EQ(run_after_card(), "SD card is OK\n");
  EXPECT_EQ(errors.text(), "mkdir log dir error: Not a directory\n");
}

TEST_F(TimeLog, EndsWhenAFileNameIsTooLong) {
  enable();
  const std::string stem = _dir / std::string(40, 'x');  // with "_0001.log" 64 bytes at least
  g_time_log_settings.file_stem = stem.c_str();
  EXPECT_EQ(run_after_card(), "SD card is OK\nmax_sn is 1\nOpen logfile fail\n");
}

TEST_F(TimeLog, WritesFileAfterFileUntilAnOpenFails) {
  enable();
  block_file(4);
  EXPECT_EQ(run_after_card(),
            "SD card is OK\nmax_sn is 1\nAmazing, it should not happen!\nOpen logfile fail\n");
  constexpr char kLine[] =
      "[0-9]{4}-[0-9]{4}-[0-9]{2}-[0-9]{2}-[0-9]{2}:[0-9]{2}:[0-9]{2}-[0-9]{6}\r\n";
  for (int serial = 1; serial <= 3; ++serial) {
    const auto all = lines(serial);
    ASSERT_EQ(all.size(), 3U);
    for (const auto& text : all) EXPECT_TRUE(is_like(text, kLine)) << text;
    EXPECT_EQ(all[0].substr(0, 5), "0001-");
    EXPECT_EQ(all[1].substr(0, 5), "0002-");
    EXPECT_EQ(all[2].substr(0, 5), "0003-");
  }
}

TEST_F(TimeLog, FillsAFileWith9999Lines) {
  enable();
  block_file(2);
  g_time_log_settings.lines_per_file = TimeLogSettings{}.lines_per_file;
  run();
  const auto all = lines(1);
  ASSERT_EQ(all.size(), 9999U);
  EXPECT_EQ(all.front().substr(0, 5), "0001-");
  EXPECT_EQ(all.back().substr(0, 5), "9999-");
}

TEST_F(TimeLog, StampsEachLineWithTheTimeOfItsWriting) {
  enable();
  block_file(2);
  timeval before{};
  gettimeofday(&before, nullptr);
  run();
  timeval after{};
  gettimeofday(&after, nullptr);
  const auto all = lines(1);
  ASSERT_EQ(all.size(), 3U);
  EXPECT_LE(line_of(1, before), all[0]);
  EXPECT_LE(all[0].substr(4), all[1].substr(4));
  EXPECT_LE(all[1].substr(4), all[2].substr(4));
  EXPECT_LE(all[2], line_of(3, after));
}

TEST_F(TimeLog, SleepsAfterEachLine) {
  enable();
  block_file(2);
  g_time_log_settings.line_interval = std::chrono::milliseconds(5);
  const auto before = std::chrono::steady_clock::now();
  run();
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(15));
}

TEST_F(TimeLog, GoesOnAfterTheLargestSerial) {
  enable();
  make_log_dir();
  _dir.write(file(7));
  _dir.write("log_time_dir/log_time_file_0012.txt");
  block_file(99);
  block_file(9);
  EXPECT_EQ(run_after_card(),
            "SD card is OK\nmax_sn is 8\nAmazing, it should not happen!\nOpen logfile fail\n");
  EXPECT_EQ(lines(7).size(), 0U);
  EXPECT_EQ(lines(8).size(), 3U);
}

TEST_F(TimeLog, AppendsToAFileThatShouldNotBeThere) {
  enable();
  make_log_dir();
  _dir.write(file(1), "kept\n");
  block_file(2);
  // The serials are counted elsewhere, where there is none.
  const std::string empty = _dir / "empty";
  _dir.make_dir("empty");
  g_time_log_settings.dir = empty.c_str();
  EXPECT_EQ(run_after_card(),
            "SD card is OK\nmax_sn is 1\nAmazing, it should not happen!\n"
            "Amazing, it should not happen!\nOpen logfile fail\n");
  const auto all = lines(1);
  ASSERT_EQ(all.size(), 4U);
  EXPECT_EQ(all[0], "kept\n");
  EXPECT_EQ(all[1].substr(0, 5), "0001-");
}

TEST_F(TimeLog, GoesOnBehindADirectoryThatBearsAFilesName) {
  enable();
  make_log_dir();
  _dir.make_dir(file(1));
  _dir.make_dir(file(3));
  block_file(5);
  EXPECT_EQ(run_after_card(),
            "SD card is OK\nmax_sn is 1\nAmazing, it should not happen!\n"
            "Amazing, it should not happen!\nAmazing, it should not happen!\nOpen logfile fail\n");
  EXPECT_EQ(lines(2).size(), 3U);
  EXPECT_EQ(lines(4).size(), 3U);
  EXPECT_TRUE(std::filesystem::is_empty(_dir / file(1)));
}

TEST_F(TimeLog, GoesOnBehindALinkAndWritesNothingThroughIt) {
  enable();
  make_log_dir();
  _dir.write("elsewhere", "kept\n");
  std::filesystem::create_symlink(_dir / "elsewhere", _dir / file(1));
  std::filesystem::create_symlink(_dir / "nowhere", _dir / file(2));
  std::filesystem::create_symlink(_dir / file(3), _dir / file(3));  // leads to itself
  block_file(5);
  EXPECT_EQ(run_after_card(),
            "SD card is OK\nmax_sn is 1\nAmazing, it should not happen!\n"
            "Amazing, it should not happen!\nAmazing, it should not happen!\n"
            "Amazing, it should not happen!\nOpen logfile fail\n");
  EXPECT_EQ(lines(4).size(), 3U);
  EXPECT_EQ(_dir.read("elsewhere"), "kept\n");
  EXPECT_FALSE(_dir.has("nowhere"));
}

TEST_F(TimeLog, MakesFilesWithMode0644) {
  enable();
  block_file(2);
  const mode_t mask = umask(0);
  run();
  umask(mask);
  EXPECT_EQ(std::filesystem::status(_dir / file(1)).permissions(),
            static_cast<std::filesystem::perms>(0644));
}

TEST_F(TimeLog, SaysWhenTheCardTakesNoMoreLinesAndWhenItDoesAgain) {
  enable();
  block_file(4);
  // A line has 33 bytes: files end in the middle of the 63rd.
  g_time_log_settings.lines_per_file = 65;
  const Transcript errors(STDERR_FILENO);
  const FileSizeLimit full(62 * 33 + 10);
  EXPECT_EQ(run_after_card(),
            "SD card is OK\nmax_sn is 1\nwrite logfile OK\nwrite logfile OK\n"
            "Amazing, it should not happen!\nOpen logfile fail\n");
  EXPECT_EQ(errors.text(),
            "write logfile fail: File too large\nwrite logfile fail: File too large\n"
            "write logfile fail: File too large\n");
  for (int serial = 1; serial <= 3; ++serial) {
    const auto all = lines(serial);
    ASSERT_EQ(all.size(), 63U);
    EXPECT_EQ(all[61].substr(0, 5), "0062-");
    EXPECT_EQ(all[61].size(), 33U);
  }
}

TEST_F(TimeLog, BringsEachLineToTheCardAtOnce) {
  enable();
  block_file(3);
  const SyncWatch watch;
  run();
  ASSERT_EQ(watch.syncs().size(), 6U);
  for (std::size_t i = 0; i < 6; ++i) {
    const Sync& sync = watch.syncs()[i];
    EXPECT_EQ(sync.path, _dir / file(i < 3 ? 1 : 2)) << i;
    EXPECT_EQ(sync.size, static_cast<off_t>(33 * (i % 3 + 1))) << i;
    EXPECT_TRUE(sync.writes_synced) << i;
  }
}

TEST_F(TimeLog, SaysNothingOfWritingWhileTheCardTakesEveryLine) {
  enable();
  block_file(3);
  const Transcript errors(STDERR_FILENO);
  EXPECT_EQ(run_after_card(),
            "SD card is OK\nmax_sn is 1\nAmazing, it should not happen!\nOpen logfile fail\n");
  EXPECT_EQ(errors.text(), "");
}

}  // namespace
