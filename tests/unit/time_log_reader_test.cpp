#include "time_log_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "temporary_directory.h"
#include "velmar_log.h"

namespace {

using namespace vlm::time_report;

// --- One line ---

constexpr std::int64_t kLine42 = 1'709'622'489'012'345;  // 07:08:09.012345 on 5 March 2024

void expect_line(const std::string& text, int number, std::int64_t time_us) {
  const auto line = parse_time_line(text);
  ASSERT_TRUE(line) << text;
  EXPECT_EQ(line->number, number) << text;
  EXPECT_EQ(line->time_us, time_us) << text;
}

TEST(ParseTimeLine, TakesMonthsOfTwoDigitsAndOfOne) {
  expect_line("0042-2024-03-05-07:08:09-012345", 42, kLine42);
  expect_line("0042-2024-3-05-07:08:09-012345", 42, kLine42);
  expect_line("9999-2024-12-31-23:59:59-999999", 9999, 1'735'689'599'999'999);
}

TEST(ParseTimeLine, KnowsTheCalendar) {
  expect_line("0001-1970-01-01-00:00:00-000000", 1, 0);
  expect_line("0001-1969-12-31-23:59:59-999999", 1, -1);
  expect_line("0001-2000-02-29-00:00:00-000000", 1, 951'782'400'000'000);
  expect_line("0001-2000-03-01-00:00:00-000000", 1, 951'868'800'000'000);
  expect_line("0001-2024-02-29-12:00:00-000000", 1, 1'709'208'000'000'000);
  expect_line("0001-2100-03-01-00:00:00-000000", 1, 4'107'542'400'000'000);
  expect_line("0001-9999-12-31-23:59:59-000000", 1, 253'402'300'799'000'000);
}

TEST(ParseTimeLine, ReadsWhatTheLoggerWritesOnEachDayOfFourCenturies) {
  for (std::int64_t day = 0; day < 146'097; ++day) {
    timeval now{};
    now.tv_sec = static_cast<time_t>(day * 86'400 + day % 86'400);
    now.tv_usec = static_cast<suseconds_t>(day);
    char text[kTimeLineSize] = {};
    format_time_line(1 + static_cast<int>(day % 9999), now, text);
    const auto line = parse_time_line(std::string(text, std::strlen(text) - 2));
    ASSERT_TRUE(line) << text;
    ASSERT_EQ(line->time_us, std::int64_t{now.tv_sec} * 1'000'000 + now.tv_usec) << text;
  }
}

TEST(ParseTimeLine, RefusesEverythingElse) {
  for (const auto* text : {
           "",
           "garbage",
           "0000-2024-03-05-07:08:09-012345",    // numbers begin at 1
           "042-2024-03-05-07:08:09-012345",     // and have four digits
           "00042-2024-03-05-07:08:09-012345",   //
           "-042-2024-03-05-07:08:09-012345",    //
           "0042-0000-03-05-07:08:09-012345",    //
           "0042-24-03-05-07:08:09-012345",      //
           "0042-2024-00-05-07:08:09-012345",    //
           "0042-2024-13-05-07:08:09-012345",    //
           "0042-2024-003-05-07:08:09-012345",   //
           "0042-2024--05-07:08:09-012345",      //
           "0042-2024-03-5-07:08:09-012345",     //
           "0042-2024-03-00-07:08:09-012345",    //
           "0042-2024-04-31-07:08:09-012345",    //
           "0042-2023-02-29-07:08:09-012345",    //
           "0042-2100-02-29-07:08:09-012345",    //
           "0042-2024-03-05-24:08:09-012345",    //
           "0042-2024-03-05-07:60:09-012345",    //
           "0042-2024-03-05-07:08:61-012345",    //
           "0042-2024-03-05-07:08:09-12345",     //
           "0042-2024-03-05-07:08:09-0123456",   //
           "0042-2024-03-05-07:08:09-",          //
           "0042-2024-03-05-07:08:09-012345 ",   //
           " 0042-2024-03-05-07:08:09-012345",   //
           "0042-2024-03-05 07:08:09-012345",    //
           "0042-2024-03-05-07:08:09-01234x",    //
           "0042-2024-03-05-07:08:09-01234\xb2"  //
       }) {
    EXPECT_FALSE(parse_time_line(text)) << text;
  }
  EXPECT_FALSE(parse_time_line(std::string(31, '\0')));
}

// --- A directory ---

/// Writes down what it receives.
struct Recorder : TimeLogSink {
  std::string text;

  void begin_file(const TimeLogFile& file) override { text += "file " + file.name + "\n"; }
  void line(std::uint64_t position, const TimeLine& line) override {
    text += std::to_string(position) + ": " + std::to_string(line.number) + "\n";
  }
  void garbage_line() override { text += "garbage\n"; }
  void torn_line() override { text += "torn\n"; }
  void unreadable(const TimeLogFile& file, const std::string& reason) override {
    text += "unreadable " + file.name + ": " + reason + "\n";
  }
};

class TimeLogDirectory : public testing::Test {
 protected:
  std::string read() {
    TimeLogListing listing;
    std::string error;
    EXPECT_TRUE(list_time_log(_dir.path(), listing, error)) << error;
    Recorder recorder;
    read_time_log(_dir.path(), listing, recorder, [&](auto bytes) { _progress.push_back(bytes); });
    return recorder.text;
  }
  std::string read_file(const std::string& text) {
    _dir.write("log_time_file_0001.log", text);
    const auto all = read();
    return all.substr(all.find('\n') + 1);
  }
  static std::string line(int number, const std::string& end = "\r\n") {
    char text[64];
    std::snprintf(text, sizeof text, "%04d-2024-03-05-07:08:09-012345", number);
    return text + end;
  }

  TemporaryDirectory _dir;
  std::vector<std::uint64_t> _progress;
};

TEST_F(TimeLogDirectory, IsReadInTheOrderOfTheSerials) {
  _dir.write("log_time_file_0010.log", line(3));
  _dir.write("log_time_file_0002.log", line(1) + line(2));
  _dir.write("log_time_file_12345.log", line(5));
  _dir.write("log_time_file_9.log", line(4));
  EXPECT_EQ(read(),
            "file log_time_file_0002.log\n1: 1\n2: 2\n"
            "file log_time_file_9.log\n1: 4\n"
            "file log_time_file_0010.log\n1: 3\n"
            "file log_time_file_12345.log\n1: 5\n");
}

TEST_F(TimeLogDirectory, MayHaveTwoFilesWithOneSerial) {
  _dir.write("log_time_file_7.log", line(2));
  _dir.write("log_time_file_0007.log", line(1));
  EXPECT_EQ(read(), "file log_time_file_0007.log\n1: 1\nfile log_time_file_7.log\n1: 2\n");
}

TEST_F(TimeLogDirectory, MayBeEmpty) { EXPECT_EQ(read(), ""); }

TEST_F(TimeLogDirectory, PassesOverForeignEntries) {
  for (const auto* name :
       {"log_time_file_0001.txt", "log_time_file_.log", "log_time_file_01x.log", "readme",
        "log_time_file_0001.log.gz", "my_log_time_file_0001.log", "log_time_file_1234567890.log"}) {
    _dir.write(name, line(1));
  }
  EXPECT_EQ(read(), "");
}

TEST_F(TimeLogDirectory, TellsWhatBearsALogFilesNameAndIsNoFile) {
  _dir.make_dir("log_time_file_0002.log");
  std::filesystem::create_symlink("nowhere", _dir / "log_time_file_0003.log");
  _dir.write("log_time_file_0001.log", line(1));
  _dir.write("log_time_file_0004.log", line(2));
  EXPECT_EQ(read(),
            "file log_time_file_0001.log\n1: 1\n"
            "unreadable log_time_file_0002.log: Not a regular file\n"
            "unreadable log_time_file_0003.log: No such file or directory\n"
            "file log_time_file_0004.log\n1: 2\n");
}

TEST_F(TimeLogDirectory, TellsOfAFileThatWentAwayMeanwhile) {
  _dir.write("log_time_file_0001.log", line(1));
  TimeLogListing listing;
  std::string error;
  ASSERT_TRUE(list_time_log(_dir.path(), listing, error));
  std::filesystem::remove(_dir / "log_time_file_0001.log");
  Recorder recorder;
  read_time_log(_dir.path(), listing, recorder, [](auto) {});
  EXPECT_EQ(recorder.text, "unreadable log_time_file_0001.log: No such file or directory\n");
}

TEST_F(TimeLogDirectory, TellsOfAReadThatFails) {
  // A process may not read its memory at address 0.
  std::filesystem::create_symlink("/proc/self/mem", _dir / "log_time_file_0001.log");
  EXPECT_EQ(read(),
            "file log_time_file_0001.log\n"
            "unreadable log_time_file_0001.log: Input/output error\n");
}

TEST_F(TimeLogDirectory, TellsWhyItCannotBeListed) {
  TimeLogListing listing;
  std::string error;
  EXPECT_FALSE(list_time_log(_dir / "missing", listing, error));
  EXPECT_EQ(error, "No such file or directory");
  _dir.write("file");
  EXPECT_FALSE(list_time_log(_dir / "file", listing, error));
  EXPECT_EQ(error, "Not a directory");
}

TEST_F(TimeLogDirectory, KnowsItsBytesAndItsProgress) {
  _dir.write("log_time_file_0001.log", line(1));
  _dir.write("log_time_file_0002.log", line(1) + line(2));
  TimeLogListing listing;
  std::string error;
  ASSERT_TRUE(list_time_log(_dir.path(), listing, error));
  EXPECT_EQ(listing.bytes, 99U);
  read();
  EXPECT_EQ(_progress, (std::vector<std::uint64_t>{33, 99}));
}

// --- One file ---

TEST_F(TimeLogDirectory, FileMayBeEmpty) { EXPECT_EQ(read_file(""), ""); }

TEST_F(TimeLogDirectory, FileMayHaveUnixLineEnds) {
  EXPECT_EQ(read_file(line(1, "\n") + line(2, "\n")), "1: 1\n2: 2\n");
}

TEST_F(TimeLogDirectory, FileMayEndInATornLine) {
  const auto torn = line(2);
  for (std::size_t size = 1; size < 31; ++size) {
    EXPECT_EQ(read_file(line(1) + torn.substr(0, size)), "1: 1\ntorn\n") << size;
  }
}

TEST_F(TimeLogDirectory, LastLineIsWholeWithItsLastDigit) {
  EXPECT_EQ(read_file(line(1) + line(2, "")), "1: 1\n2: 2\n");
  EXPECT_EQ(read_file(line(1) + line(2, "\r")), "1: 1\n2: 2\n");
}

TEST_F(TimeLogDirectory, FileMayEndInZeros) {
  EXPECT_EQ(read_file(line(1) + std::string(4096, '\0')), "1: 1\ntorn\n");
}

TEST_F(TimeLogDirectory, GarbageIsCountedLineByLine) {
  EXPECT_EQ(read_file(line(1) + "x\r\n\n" + line(2) + "\xff\xfe\n" + line(3)),
            "1: 1\ngarbage\ngarbage\n4: 2\ngarbage\n6: 3\n");
}

TEST_F(TimeLogDirectory, ALineThatIsTooLongIsOneGarbageLine) {
  for (const std::size_t size : {64U, 65U, 65'535U, 65'536U, 65'537U, 200'000U}) {
    EXPECT_EQ(read_file(line(1) + std::string(size, 'x') + "\n" + line(2)), "1: 1\ngarbage\n3: 2\n")
        << size;
  }
}

TEST_F(TimeLogDirectory, ALongLineDoesNotBecomeALineByItsEnd) {
  EXPECT_EQ(read_file(std::string(65'536, 'x') + line(1) + line(2)), "garbage\n2: 2\n");
}

TEST_F(TimeLogDirectory, LinesAreWholeAcrossReads) {
  std::string text;
  std::string expected;
  for (int number = 1; number <= 9999; ++number) {
    text += line(number);
    expected += std::to_string(number) + ": " + std::to_string(number) + "\n";
  }
  EXPECT_EQ(read_file(text), expected);
  EXPECT_GT(_progress.size(), 1U);
}

}  // namespace
