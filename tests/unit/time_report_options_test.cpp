#include "time_report_options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace vlm::time_report;

struct Parsed {
  bool valid;
  TimeReportOptions options;
  std::string error;
};

Parsed parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "vlm_time_report");
  Parsed parsed{};
  parsed.valid = parse_time_report_options(static_cast<int>(arguments.size()), arguments.data(),
                                           parsed.options, parsed.error);
  return parsed;
}

std::string error_of(const std::vector<const char*>& arguments) {
  const auto parsed = parse(arguments);
  EXPECT_FALSE(parsed.valid);
  return parsed.error;
}

TEST(TimeReportOptions, HaveDefaults) {
  const auto parsed = parse({"dir"});
  ASSERT_TRUE(parsed.valid) << parsed.error;
  EXPECT_EQ(parsed.options.directory, "dir");
  EXPECT_EQ(parsed.options.thresholds.stall_us, 100'000);
  EXPECT_EQ(parsed.options.thresholds.jump_us, 10'000'000);
  EXPECT_FALSE(parsed.options.json);
  EXPECT_EQ(parsed.options.svg_file, "");
}

TEST(TimeReportOptions, StandBeforeAndAfterTheDirectory) {
  const auto parsed =
      parse({"--json", "dir", "--svg", "picture.svg", "--stall=50", "--jump", "900"});
  ASSERT_TRUE(parsed.valid) << parsed.error;
  EXPECT_EQ(parsed.options.directory, "dir");
  EXPECT_TRUE(parsed.options.json);
  EXPECT_EQ(parsed.options.svg_file, "picture.svg");
  EXPECT_EQ(parsed.options.thresholds.stall_us, 50'000);
  EXPECT_EQ(parsed.options.thresholds.jump_us, 900'000);
}

TEST(TimeReportOptions, EndAtTwoDashes) {
  const auto parsed = parse({"--json", "--", "--odd"});
  ASSERT_TRUE(parsed.valid) << parsed.error;
  EXPECT_EQ(parsed.options.directory, "--odd");
}

TEST(TimeReportOptions, HelpAndVersionNeedNoDirectory) {
  EXPECT_TRUE(parse({"--help"}).options.help);
  EXPECT_TRUE(parse({"--help"}).valid);
  EXPECT_TRUE(parse({"--version"}).options.version);
  EXPECT_TRUE(parse({"--version"}).valid);
}

TEST(TimeReportOptions, AreRefusedWithTheReason) {
  EXPECT_EQ(error_of({}), "no directory given");
  EXPECT_EQ(error_of({""}), "the directory has no name");
  EXPECT_EQ(error_of({"a", "b"}), "more than one directory");
  EXPECT_EQ(error_of({"--nothing", "a"}), "unknown option --nothing");
  EXPECT_EQ(error_of({"-x", "a"}), "unknown option -x");
  EXPECT_EQ(error_of({"a", "--stall"}), "--stall needs a value");
  EXPECT_EQ(error_of({"a", "--json=yes"}), "--json takes no value");
  EXPECT_EQ(error_of({"a", "--svg="}), "bad value for --svg: ");
  EXPECT_EQ(error_of({"a", "--stall", "200", "--jump", "199"}), "--jump is below --stall");
}

TEST(TimeReportOptions, TakeWholeMillisecondsFromOneToABillion) {
  EXPECT_TRUE(parse({"a", "--stall", "1"}).valid);
  EXPECT_TRUE(parse({"a", "--jump", "1000000000"}).valid);
  for (const auto* value :
       {"0", "-1", "+1", "1.5", "10ms", "", " 1", "1000000001", "99999999999999999999", "0x10"}) {
    EXPECT_EQ(error_of({"a", "--stall", value}), std::string("bad value for --stall: ") + value);
  }
}

TEST(TimeReportOptions, AreAllInTheHelp) {
  const auto help = time_report_help();
  for (const auto* line :
       {"usage: vlm_time_report [OPTIONS] DIRECTORY\n", "\n  --stall MS ", "\n  --jump MS ",
        "\n  --json ", "\n  --svg FILE ", "\n  --help ", "\n  --version ", "\nExit status: 0 "}) {
    EXPECT_NE(help.find(line), std::string::npos) << line;
  }
}

}  // namespace
