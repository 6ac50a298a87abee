#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "process.h"
#include "temporary_directory.h"
#include "time_log_writer.h"

namespace {

constexpr std::int64_t kMs = 1'000;
constexpr std::int64_t kHour = 3'600'000 * kMs;

struct Outcome {
  int status;
  std::string output;
  std::string errors;
};

Outcome run_program(const std::vector<std::string>& arguments) {
  Process process(arguments);
  process.close_input();
  auto output = process.read_all();
  const int status = process.wait();
  return {status, std::move(output), process.errors()};
}

std::string text_of_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The program in a directory that holds a log in "log_time_dir".
class TimeReportProgram : public testing::Test {
 protected:
  TimeReportProgram() { _dir.make_dir("log_time_dir"); }

  std::string log_dir() const { return _dir / "log_time_dir"; }

  Outcome report(std::vector<std::string> options = {}) const {
    options.insert(options.begin(), {program("vlm_time_report"), log_dir()});
    return run_program(options);
  }
  /// Runs a line of shell in our directory; "report" stands for the program.
  Outcome shell(const std::string& line) const {
    return run_program({"/bin/sh", "-c",
                        "cd " + _dir.path() + " && report() { " +
                            program_in_shell("vlm_time_report") + "\"$@\"; } && " + line});
  }
  static void expect_failure(const Outcome& outcome, int status, const std::string& errors) {
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, errors);
  }

  TemporaryDirectory _dir;
};

// --- Reports ---

TEST_F(TimeReportProgram, EndsWith0ForACleanLog) {
  TimeLogWriter(log_dir()).lines(12'000);
  const auto outcome = report();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output,
            "clean: 0 jumps back, 0 jumps forward, 0 stalls\n"
            "log       " +
                log_dir() +
                ": 2 files, 12000 lines\n"
                "from      2024-03-05 07:08:09.000000 UTC\n"
                "to        2024-03-05 07:10:10.189900 UTC\n"
                "interval  10.100 ms min, 10.100 ms median, 10.100 ms p99, 10.100 ms max\n"
                "lines     0 lost, 0 doubled, 0 out of order, 0 garbage, 0 torn\n");
  EXPECT_EQ(outcome.errors, "");
}

TEST_F(TimeReportProgram, EndsWith3ForAStall) {
  TimeLogWriter(log_dir()).lines(100).clock_moves(200 * kMs).lines(100);
  EXPECT_EQ(report().status, 3);
  EXPECT_EQ(report({"--stall", "211"}).status, 0);
}

TEST_F(TimeReportProgram, EndsWith3ForAJumpBack) {
  TimeLogWriter(log_dir()).lines(100).clock_moves(-kHour).lines(100);
  EXPECT_EQ(report().status, 3);
}

TEST_F(TimeReportProgram, EndsWith3ForAJumpForward) {
  TimeLogWriter(log_dir()).lines(100).clock_moves(kHour).lines(100);
  const auto outcome = report();
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.output.substr(0, outcome.output.find('\n')),
            "FAULTY: 0 jumps back, 1 jump forward, 0 stalls");
}

TEST_F(TimeReportProgram, EndsWith0ForALogOfSeveralRuns) {
  TimeLogWriter(log_dir(), 7)
      .lines(500)
      .raw("0501-2024-03-0")
      .clock_moves(kHour)
      .next_file()
      .lines(100)
      .clock_moves(kHour)
      .next_file(3)
      .lines(100);
  const auto outcome = report();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output.substr(outcome.output.find("lines  ")),
            "lines     0 lost, 0 doubled, 0 out of order, 0 garbage, 1 torn\n"
            "broken    2 times: the logger did not run, or files are gone\n"
            "missing   3 files between the first and the last\n"
            "\n"
            "log_time_file_0008.log:1      2024-03-05 08:08:14.050000  interruption      "
            "+1:00:00.010\n"
            "log_time_file_0012.log:1      2024-03-05 09:08:15.060000  interruption      "
            "+1:00:00.010\n");
}

TEST_F(TimeReportProgram, CountsWhatIsWrongWithTheLines) {
  TimeLogWriter(log_dir())
      .lines(10)
      .lose(5)
      .lines(10)
      .raw("\x01\xffgarbage\r\n")
      .raw("0026-2024-03-05-07:08:09-000")
      .raw("\r\n")
      .lines(10)
      .line(3)
      .raw("00");
  const auto outcome = report();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(
      outcome.output.find("\nlines     5 lost, 1 doubled, 0 out of order, 2 garbage, 1 torn\n"),
      std::string::npos)
      << outcome.output;
}

TEST_F(TimeReportProgram, PassesOverWhatIsNoLogFile) {
  TimeLogWriter(log_dir()).lines(10);
  _dir.write("log_time_dir/readme.txt", "x");
  _dir.write("log_time_dir/log_time_file_0002.txt", "x");
  EXPECT_NE(report().output.find(": 1 file, 10 lines\n"), std::string::npos);
  EXPECT_EQ(report().errors, "");
}

TEST_F(TimeReportProgram, TellsWhatItCouldNotReadAndReportsTheRest) {
  TimeLogWriter(log_dir()).lines(10);
  _dir.make_dir("log_time_dir/log_time_file_0002.log");
  std::filesystem::create_symlink("nowhere", log_dir() + "/log_time_file_0003.log");
  const auto outcome = report();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(outcome.output.find("\nunread    2 files could not be read\n"), std::string::npos);
  EXPECT_EQ(outcome.errors,
            "vlm_time_report: log_time_file_0002.log: Not a regular file\n"
            "vlm_time_report: log_time_file_0003.log: No such file or directory\n");
}

TEST_F(TimeReportProgram, PrintsJsonThatAScriptCanRead) {
  TimeLogWriter(log_dir()).lines(100).clock_moves(200 * kMs).lines(100).clock_moves(-kHour).lines(
      9);
  const auto outcome = shell(
      "report log_time_dir --json | python3 -c '"
      "import json, sys\n"
      "report = json.load(sys.stdin)\n"
      "print(report[\"directory\"], report[\"clean\"], report[\"lines\"], report[\"stalls\"])\n"
      "for event in report[\"events\"]: print(event[\"kind\"], event[\"line\"], "
      "event[\"size_us\"])'");
  EXPECT_EQ(outcome.output,
            "log_time_dir False 209 1\nstall 101 210100\njump back 201 -3599989900\n");
  EXPECT_EQ(report({"--json"}).status, 3);
}

TEST_F(TimeReportProgram, DrawsAPictureBesideTheReport) {
  TimeLogWriter(log_dir()).lines(100);
  const auto outcome = report({"--svg", _dir / "picture.svg"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.output.substr(0, 7), "clean: ");
  const auto svg = _dir.read("picture.svg");
  EXPECT_EQ(svg.substr(0, 40), "<svg xmlns=\"http://www.w3.org/2000/svg\" ");
  EXPECT_EQ(svg.substr(svg.size() - 7), "</svg>\n");
}

// The page on the time log shows a log with one stall and one clock set back: the picture and the
// report are what the program makes of it. After a change of either, copy them from the message.
TEST_F(TimeReportProgram, MakesThePictureAndTheReportOfTheManual) {
  TimeLogWriter(log_dir())
      .intervals(card_intervals())
      .lines(12'000)
      .clock_moves(2'300 * kMs)
      .lines(9'000)
      .clock_moves(-kHour)
      .lines(7'000);
  const auto outcome = shell("report log_time_dir --svg picture.svg");
  EXPECT_EQ(outcome.status, 3);
  const std::string docs = VLM_DOCS_DIR;
  const auto svg = _dir.read("picture.svg");
  EXPECT_TRUE(svg == text_of_file(docs + "/time_log.svg")) << svg;
  EXPECT_NE(text_of_file(docs + "/time_log.md").find(outcome.output), std::string::npos)
      << outcome.output;
}

// --- Failures ---

TEST_F(TimeReportProgram, EndsWith1WhenThereIsNothingToReport) {
  expect_failure(report(), 1, "vlm_time_report: " + log_dir() + ": no line of a time log\n");
  _dir.write("log_time_dir/log_time_file_0001.log");
  expect_failure(report(), 1, "vlm_time_report: " + log_dir() + ": no line of a time log\n");
  _dir.write("log_time_dir/log_time_file_0002.log", "nonsense\n");
  expect_failure(report(), 1, "vlm_time_report: " + log_dir() + ": no line of a time log\n");
}

TEST_F(TimeReportProgram, EndsWith1WhenTheDirectoryCannotBeRead) {
  expect_failure(shell("report missing"), 1,
                 "vlm_time_report: missing: No such file or directory\n");
  expect_failure(shell("echo > file; report file"), 1, "vlm_time_report: file: Not a directory\n");
}

TEST_F(TimeReportProgram, EndsWith1WhenItsOutputCannotBeWritten) {
  TimeLogWriter(log_dir()).lines(10);
  expect_failure(shell("report log_time_dir > /dev/full"), 1,
                 "vlm_time_report: standard output: No space left on device\n");
  expect_failure(report({"--svg", "/dev/full"}), 1,
                 "vlm_time_report: /dev/full: No space left on device\n");
  expect_failure(report({"--svg", "/dev/null/x.svg"}), 1,
                 "vlm_time_report: /dev/null/x.svg: Not a directory\n");
}

TEST_F(TimeReportProgram, EndsWith2OnWrongUsage) {
  const std::string hint = "Try vlm_time_report --help.\n";
  expect_failure(shell("report"), 2, "vlm_time_report: no directory given\n" + hint);
  expect_failure(shell("report --odd log_time_dir"), 2,
                 "vlm_time_report: unknown option --odd\n" + hint);
  expect_failure(report({"--stall", "soon"}), 2,
                 "vlm_time_report: bad value for --stall: soon\n" + hint);
}

TEST_F(TimeReportProgram, PrintsItsHelpAndItsVersion) {
  const auto help = shell("report --help");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.output.substr(0, 45), "usage: vlm_time_report [OPTIONS] DIRECTORY\nRe");
  EXPECT_EQ(help.errors, "");
  const auto version = shell("report --version");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.output, "vlm_time_report 1.0.0\n");
}

// --- Progress ---

TEST_F(TimeReportProgram, ShowsItsProgressThroughALargeLogOnATerminal) {
  TimeLogWriter(log_dir()).lines(10);
  std::filesystem::resize_file(log_dir() + "/log_time_file_0001.log", 20U << 20);
  Process process({"/bin/sh", "-c", program_in_shell("vlm_time_report") + log_dir() + " 2>&1"}, {},
                  Process::kPty);
  const auto output = process.read_all();
  EXPECT_EQ(process.wait(), 0);
  EXPECT_EQ(output.substr(0, 48), "\rvlm_time_report: 0 %\rvlm_time_report: 1 %\rvlm_t");
  const auto end = output.find("\rvlm_time_report: 100 %\r\033[Kclean: ");
  EXPECT_NE(end, std::string::npos) << output;
}

TEST_F(TimeReportProgram, ShowsNoProgressThroughASmallLog) {
  TimeLogWriter(log_dir()).lines(10);
  Process process({"/bin/sh", "-c", program_in_shell("vlm_time_report") + log_dir() + " 2>&1"}, {},
                  Process::kPty);
  EXPECT_EQ(process.read_all().substr(0, 7), "clean: ");
}

TEST_F(TimeReportProgram, ShowsNoProgressAwayFromATerminal) {
  TimeLogWriter(log_dir()).lines(10);
  std::filesystem::resize_file(log_dir() + "/log_time_file_0001.log", 20U << 20);
  EXPECT_EQ(report().errors, "");
}

}  // namespace
