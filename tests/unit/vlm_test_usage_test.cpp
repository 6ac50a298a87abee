// The console's list of commands: complete, in order, and with what an operator must know.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "transcript.h"
#include "vlm_test.h"

namespace {

std::vector<std::string> usage_lines() {
  std::istringstream usage(transcript_of([] { print_usage(); }));
  std::vector<std::string> lines;
  for (std::string line; std::getline(usage, line);) lines.push_back(line);
  return lines;
}

/// The number before the colon, -1 without one.
int number_of(const std::string& line) {
  const auto colon = line.find(':');
  const bool numbered =
      colon != std::string::npos && colon > 0 && line.find_first_not_of("0123456789") == colon;
  return numbered ? std::atoi(line.c_str()) : -1;
}

std::vector<std::string> lines_of(int number) {
  std::vector<std::string> lines;
  for (const std::string& line : usage_lines()) {
    if (number_of(line) == number) lines.push_back(line);
  }
  return lines;
}

bool begins_with(const std::string& line, const std::string& text) {
  return line.compare(0, text.size(), text) == 0;
}

std::set<int> numbers_in(const std::vector<std::pair<int, int>>& ranges) {
  std::set<int> numbers;
  for (const auto& [first, last] : ranges) {
    for (int number = first; number <= last; ++number) numbers.insert(number);
  }
  return numbers;
}

// What the console runs, but for 202.
const std::vector<std::pair<int, int>> kCommands{{0, 58},    {60, 62},   {65, 73},   {78, 87},
                                                 {90, 94},   {97, 97},   {200, 201}, {203, 203},
                                                 {205, 208}, {210, 210}, {216, 220}, {235, 241}};

// What only programs that link the library run.
const std::vector<std::pair<int, int>> kThermal{{100, 118}, {121, 122}, {125, 139}};
const std::vector<std::pair<int, int>> kOthers{{140, 141}, {204, 204}, {901, 905}};

}  // namespace

TEST(TheUsage, ListsOneNumberedCommandALine) {
  for (const std::string& line : usage_lines()) {
    EXPECT_GE(number_of(line), 0) << line;
    EXPECT_GT(line.size(), line.find(':') + 3) << line;
  }
}

TEST(TheUsage, EndsEveryLine) {
  const std::string usage = transcript_of([] { print_usage(); });
  ASSERT_FALSE(usage.empty());
  EXPECT_EQ(usage.back(), '\n');
  EXPECT_EQ(usage.find("\n\n"), std::string::npos);
}

TEST(TheUsage, ListsEveryCommandBut202) {
  std::set<int> expected = numbers_in(kCommands);
  for (const auto& ranges : {kThermal, kOthers}) {
    const std::set<int> more = numbers_in(ranges);
    expected.insert(more.begin(), more.end());
  }
  std::set<int> listed;
  for (const std::string& line : usage_lines()) listed.insert(number_of(line));
  EXPECT_EQ(listed, expected);
}

TEST(TheUsage, ListsEachCommandOnceButTheZoomsTwice) {
  std::map<int, int> times;
  for (const std::string& line : usage_lines()) ++times[number_of(line)];
  for (const auto& [number, count] : times) {
    EXPECT_EQ(count, number >= 80 && number <= 83 ? 2 : 1) << number;
  }
}

TEST(TheUsage, DescribesTheZoomsInTwoWays) {
  for (const int number : {80, 81, 82, 83}) {
    const auto lines = lines_of(number);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_NE(lines[0], lines[1]);
  }
}

TEST(TheUsage, AscendsButFor54Behind44) {
  std::vector<int> numbers;
  for (const std::string& line : usage_lines()) numbers.push_back(number_of(line));
  const auto ssid = std::find(numbers.begin(), numbers.end(), 54);
  ASSERT_NE(ssid, numbers.end());
  ASSERT_NE(ssid, numbers.begin());
  EXPECT_EQ(*(ssid - 1), 44);
  numbers.erase(ssid);
  EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
}

TEST(TheUsage, HoldsTheLinesThatOperatorsKnow) {
  const std::pair<int, const char*> beginnings[] = {
      {10, "10:set_EV [ev_num:int8_t] [ev_dem:uint8_t]"},
      {44, "44:set_wifi_password"},
      {54, "54:set_wifi_ssid"},
      {58, "58:set_custom_wb [custom_wb:u16(3000~8000)]"},
      {60, "60: send_iso_cmd"},
      {69, "69:get_country_code(Not implemented)"},
      {72, "72:set_remote_board_id"},
      {86, "86:store the RTSP flow control status"},
      {87, "87:read the RTSP flow control"},
      {204, "204:set_auto_focus"},
      {210, "210:get_iso_cmd"},
  };
  for (const auto& [number, beginning] : beginnings) {
    const auto lines = lines_of(number);
    ASSERT_EQ(lines.size(), 1U) << number;
    EXPECT_TRUE(begins_with(lines.front(), beginning)) << lines.front();
  }
}

TEST(TheUsage, NamesTheThermalCommands) {
  std::set<int> thermal = numbers_in(kThermal);
  for (const int number : {901, 902, 903, 904, 905}) thermal.insert(number);
  for (const std::string& line : usage_lines()) {
    const bool named = line.find(":ir_") != std::string::npos;
    EXPECT_EQ(named, thermal.count(number_of(line)) == 1) << line;
  }
}

TEST(TheUsage, GivesTheLimitsOfProperties) {
  const std::string get = lines_of(84).at(0);
  EXPECT_NE(get.find("1~16 characters"), std::string::npos) << get;
  const std::string set = lines_of(85).at(0);
  for (const char* fact : {"name=value", "1~16", "1~46 characters", "empty value", "unset"}) {
    EXPECT_NE(set.find(fact), std::string::npos) << fact;
  }
}

TEST(TheUsage, GivesTheMeaningOfValuesWhereTheyAreTyped) {
  const std::vector<std::pair<int, std::vector<const char*>>> meanings{
      {2, {"1:video", "2:photo"}},
      {6, {"0:idle", "1:recording", "2:capturing"}},
      {8, {"0:auto", "1:manual"}},
      {12, {"sht_num/sht_dem s"}},
      {14,
       {"0:auto", "1:incandescent", "2:sunrise", "3:sunset", "4:sunny", "5:cloudy", "7:fluorescent",
        "99:lock", "100:custom"}},
      {18, {"0:center", "1:average", "2:spot"}},
      {20, {"0:off", "1:on"}},
      {22, {"0:nature", "1:saturation", "2:raw", "3:night", "5:vivid"}},
      {24, {"0:low", "1:medium", "2:high", "3:ultra_high"}},
      {26, {"1:jpg", "130:dng", "T63", "131:jpg+dng"}},
      {27, {"0:first external", "3:first internal", "7:all"}},
      {32, {"seconds"}},
      {35, {"101~999"}},
      {37, {"[x:u8(0~100 percent)]", "[y:u8(0~100 percent)]"}},
      {41, {"0:NTSC", "1:PAL"}},
      {43, {"1:H.264", "3:H.265"}},
      {47, {"2:4:3", "3:16:9"}},
      {49, {"0:MOV", "1:MP4"}},
      {51, {"0:single", "3:burst", "4:AEB", "5:horizontal", "6:hemispherical", "panorama"}},
      {53, {"0:0", "1:90", "2:180", "3:270", "degree"}},
      {56, {"0:disable", "17:enable"}},  // typed as decimals: 0x11
      {58, {"3000~8000"}},
      {68, {"0:off", "1:on"}},
      {71, {"0:not ready", "1:ready"}},
      {81, {"10~80"}},
      {83, {"1.0~30.0"}},
      {93, {"0:auto-reset", "1:sequential"}},
      {102, {"seconds"}},
      {109, {"0:unlocked", "1:locked"}},
      {111, {"0:manual", "1:auto", "2:external"}},
      {122, {"0:high", "1:low", "2:auto"}},
      {128, {"hundredths"}},
      {130, {"hundredths"}},
      {136, {"tenths of a degree"}},
      {200, {"1:tele", "2:wide", "3:stop"}},
      {201, {"1:tele", "2:wide", "3:stop"}},
      {203, {"2:on", "3:off"}},
      {205, {"4096:far end~61440:near end"}},
      {207,
       {"0:closed", "5:F14", "6:F11", "7:F9.6", "8:F8,", "9:F6.8", "10:F5.6", "11:F4.8", "F1.6"}},
      {216, {"2:auto", "3:manual", "4:one-shot trigger", "5:infinity"}},
      {217, {"4096~61440"}},
      {218, {"2:on", "3:off"}},
      {219, {"1:low", "2:middle", "3:high"}},
      {239, {"0:off", "1:on"}},
  };
  for (const auto& [number, facts] : meanings) {
    const auto lines = lines_of(number);
    ASSERT_FALSE(lines.empty()) << number;
    for (const char* fact : facts) {
      EXPECT_NE(lines.front().find(fact), std::string::npos) << lines.front() << ": " << fact;
    }
  }
}
