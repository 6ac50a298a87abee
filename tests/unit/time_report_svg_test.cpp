#include "time_report_svg.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "pattern.h"

namespace {

using namespace vlm::time_report;

constexpr std::int64_t kStart = 1'709'622'489'012'345;

/// A report on lines of 10 ms, and the `gaps` between blocks of `lines` of them.
TimeReport report_with(const std::vector<std::int64_t>& gaps, int lines = 10) {
  TimeReport report{TimeThresholds{}};
  report.begin_file({1, "log_time_file_0001.log", ""});
  std::int64_t clock = kStart;
  std::uint64_t position = 0;
  const auto block = [&] {
    for (int i = 0; i < lines; ++i) {
      ++position;
      report.line(position, {static_cast<int>(position), clock += 10'000});
    }
  };
  block();
  for (const auto gap : gaps) {
    clock += gap;
    block();
  }
  report.finish();
  return report;
}

std::size_t count(const std::string& text, const std::string& part) {
  std::size_t found = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
  return found;
}

/// All elements are closed, attributes quoted, and no bare < or & is in a text.
bool is_well_formed(const std::string& svg) {
  constexpr char kPiece[] =
      "<(/?)([a-z]+)((?: [a-zA-Z0-9-]+=\"[^\"<&]*\")*)(/?)>|[^<&>]+|&(?:lt|gt|amp);";
  std::vector<std::string> open;
  std::string pieces;
  for (const Match& piece : matches_in(svg, kPiece)) {
    pieces += piece[0];
    const bool is_element = !piece[2].empty();
    if (!is_element || piece[4] == "/") continue;
    if (piece[1] == "/") {
      if (open.empty() || open.back() != piece[2]) return false;
      open.pop_back();
    } else {
      open.push_back(piece[2]);
    }
  }
  return pieces == svg && open.empty();
}

TEST(TimeReportSvg, IsWellFormedWithAndWithoutFaults) {
  EXPECT_TRUE(is_well_formed(time_report_svg(report_with({}), "dir")));
  EXPECT_TRUE(is_well_formed(time_report_svg(report_with({-1'000'000, 200'000}), "dir")));
}

TEST(TimeReportSvg, EscapesAndShortensTheDirectory) {
  const auto svg = time_report_svg(report_with({}), "a<b>&\"c\"\x01\xff");
  EXPECT_TRUE(is_well_formed(svg));
  EXPECT_NE(svg.find(">a&lt;b&gt;&amp;\"c\"\xEF\xBF\xBD\xEF\xBF\xBD: 10 lines in 1 file, "),
            std::string::npos);
  const auto long_name = time_report_svg(report_with({}), std::string(100, 'x') + "end");
  EXPECT_NE(long_name.find(">..." + std::string(57, 'x') + "end: 10 lines"), std::string::npos);
}

TEST(TimeReportSvg, OfACleanLogSaysSo) {
  const auto svg = time_report_svg(report_with({}), "dir");
  EXPECT_NE(svg.find(">Time log: no faults<"), std::string::npos);
  EXPECT_NE(svg.find(">dir: 10 lines in 1 file, 2024-03-05 07:08:09 to 2024-03-05 07:08:09 UTC<"),
            std::string::npos);
}

TEST(TimeReportSvg, NamesItsAxesWithUnits) {
  const auto svg = time_report_svg(report_with({}), "dir");
  for (const auto* text :
       {">time between lines (log scale)<", ">1 ms<", ">10 ms<", ">100 ms<", ">1 s<",
        ">logging time since the first line (clock jumps and interruptions left out)<", ">0<",
        ">500 ms<", ">stall above 100 ms<"}) {
    EXPECT_GE(count(svg, text), 1U) << text;
  }
}

TEST(TimeReportSvg, MarksAndLabelsEveryFault) {
  const auto svg =
      time_report_svg(report_with({2'300'000, -3'600'000'000, 3'600'000'000}, 900), "dir");
  EXPECT_NE(svg.find(">Time log: 1 jump back, 1 jump forward, 1 stall<"), std::string::npos);
  EXPECT_EQ(count(svg, ">stall +2.310 s<"), 1U);
  EXPECT_EQ(count(svg, ">jump back -0:59:59.990<"), 1U);
  EXPECT_EQ(count(svg, ">jump forward +1:00:00.010<"), 1U);
  EXPECT_EQ(count(svg, ">log_time_file_0001.log:901<"), 1U);
  EXPECT_EQ(count(svg, ">log_time_file_0001.log:1801<"), 1U);
  EXPECT_EQ(count(svg, ">log_time_file_0001.log:2701<"), 1U);
  EXPECT_EQ(count(svg, "have room for a label"), 0U);
}

TEST(TimeReportSvg, SaysWhenLabelsAreLeftOut) {
  const auto svg = time_report_svg(report_with(std::vector<std::int64_t>(60, 200'000)), "dir");
  EXPECT_FALSE(matches_in(svg, ">[0-9]+ of 60 marks have room for a label<").empty());
  EXPECT_EQ(count(svg, "<rect"), 60U + 2U + 2U);  // the page, the plot and two in the legend
}

TEST(TimeReportSvg, StretchesTheScaleToTheLongestInterval) {
  EXPECT_EQ(count(time_report_svg(report_with({}), "dir"), ">10 s<"), 0U);
  EXPECT_EQ(count(time_report_svg(report_with({5'000'000}), "dir"), ">10 s<"), 1U);
}

TEST(TimeReportSvg, ShowsIntervalsBelowAMillisecond) {
  EXPECT_EQ(count(time_report_svg(report_with({-9'500}), "dir"), ">0.1 ms<"), 1U);
  EXPECT_EQ(count(time_report_svg(report_with({-10'000}), "dir"), ">0.1 ms<"), 1U);
}

TEST(TimeReportSvg, OfOneLineHasAnEmptyPlot) {
  TimeReport report{TimeThresholds{}};
  report.begin_file({1, "log_time_file_0001.log", ""});
  report.line(1, {1, kStart});
  report.finish();
  EXPECT_TRUE(is_well_formed(time_report_svg(report, "dir")));
}

TEST(TimeReportSvg, HasRoundTicksForEveryLengthOfALog) {
  struct Case {
    int seconds;
    const char* last_tick;
  };
  // One stall makes the whole length.
  for (const auto& [seconds, last_tick] :
       {Case{3, ">3000 ms<"}, Case{50, ">50 s<"}, Case{700, ">10 min<"}, Case{5'000, ">80 min<"},
        Case{40'000, ">10 h<"}, Case{400'000, ">108 h<"}}) {
    TimeReport report{{100'000, 1'000'000'000'000}};
    report.begin_file({1, "log_time_file_0001.log", ""});
    report.line(1, {1, kStart});
    report.line(2, {2, kStart + seconds * std::int64_t{1'000'000}});
    report.finish();
    const auto svg = time_report_svg(report, "dir");
    EXPECT_EQ(count(svg, last_tick), 1U) << seconds;
  }
}

}  // namespace
