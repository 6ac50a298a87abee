// The console's list of commands: complete, in order, and with what an operator must know.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "command_contract.h"
#include "operation_catalogue.h"
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

// Listed twice, with two descriptions.
const std::set<int> kZooms{UDP_CTRL_CAM_GET_DIGITAL_ZOOM, UDP_CTRL_CAM_SET_DIGITAL_ZOOM,
                           UDP_CTRL_CAM_GET_ZOOM, UDP_CTRL_CAM_SET_ZOOM};

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
  std::set<int> expected;
  for (const CommandContract& row : command_contract()) {
    if (row.console.listed) expected.insert(row.code);
  }
  std::set<int> listed;
  for (const std::string& line : usage_lines()) listed.insert(number_of(line));
  EXPECT_EQ(listed, expected);
}

TEST(TheUsage, ListsEachCommandOnceButTheZoomsTwice) {
  std::map<int, int> times;
  for (const std::string& line : usage_lines()) ++times[number_of(line)];
  for (const auto& [number, count] : times) {
    EXPECT_EQ(count, kZooms.count(number) != 0 ? 2 : 1) << number;
  }
}

TEST(TheUsage, DescribesTheZoomsInTwoWays) {
  for (const int number : kZooms) {
    const auto lines = lines_of(number);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_NE(lines[0], lines[1]);
  }
}

TEST(TheUsage, AscendsButFor54Behind44) {
  std::vector<int> numbers;
  for (const std::string& line : usage_lines()) numbers.push_back(number_of(line));
  const auto ssid = std::find(numbers.begin(), numbers.end(), UDP_CTRL_CAM_SET_WIFI_SSID);
  ASSERT_NE(ssid, numbers.end());
  ASSERT_NE(ssid, numbers.begin());
  EXPECT_EQ(*(ssid - 1), UDP_CTRL_CAM_SET_WIFI_PASSWORD);
  numbers.erase(ssid);
  EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
}

TEST(TheUsage, HoldsTheLinesThatOperatorsKnow) {
  const std::pair<int, const char*> beginnings[] = {
      {UDP_CTRL_CAM_SET_PARAMS_EV, "10:set_EV [ev_num:int8_t] [ev_dem:uint8_t]"},
      {UDP_CTRL_CAM_SET_WIFI_PASSWORD, "44:set_wifi_password"},
      {UDP_CTRL_CAM_SET_WIFI_SSID, "54:set_wifi_ssid"},
      {UDP_CTRL_CAM_SET_CUSTOM_WB, "58:set_custom_wb [custom_wb:u16(3000~8000)]"},
      {UDP_CTRL_CAM_SET_ISO, "60: send_iso_cmd"},
      {UDP_CTRL_CAM_GET_COUNTRY_CODE, "69:get_country_code(Not implemented)"},
      {UDP_CTRL_CAM_SEND_RC_BOARD_ID, "72:set_remote_board_id"},
      {UDP_CTRL_CAM_GET_SURVEY_MODE_FLAG, "86:store the RTSP flow control status"},
      {UDP_CTRL_CAM_SET_SURVEY_MODE_FLAG, "87:read the RTSP flow control"},
      {UDP_CTRL_CAM_AUTO_FOCUS, "204:set_auto_focus"},
      {UDP_CTRL_CAM_GET_ISO, "210:get_iso_cmd"},
  };
  for (const auto& [number, beginning] : beginnings) {
    const auto lines = lines_of(number);
    ASSERT_EQ(lines.size(), 1U) << number;
    EXPECT_TRUE(begins_with(lines.front(), beginning)) << lines.front();
  }
}

TEST(TheUsage, NamesTheThermalCommands) {
  std::set<int> thermal;
  for (const Operation& operation : thermal_operations()) thermal.insert(operation.code);
  for (const std::string& line : usage_lines()) {
    const bool named = line.find(":ir_") != std::string::npos;
    EXPECT_EQ(named, thermal.count(number_of(line)) == 1) << line;
  }
}

TEST(TheUsage, GivesTheLimitsOfProperties) {
  const std::string get = lines_of(UDP_CTRL_CAM_GET_PROPERTY).at(0);
  EXPECT_NE(get.find("1~16 characters"), std::string::npos) << get;
  const std::string set = lines_of(UDP_CTRL_CAM_SET_PROPERTY).at(0);
  for (const char* fact : {"name=value", "1~16", "1~46 characters", "empty value", "unset"}) {
    EXPECT_NE(set.find(fact), std::string::npos) << fact;
  }
}

TEST(TheUsage, GivesTheMeaningOfValuesWhereTheyAreTyped) {
  const std::vector<std::pair<int, std::vector<const char*>>> meanings{
      {UDP_CTRL_CAM_SET_CAMERA_MODE, {"1:video", "2:photo"}},
      {UDP_CTRL_CAM_GET_CAMERA_STATUS, {"0:idle", "1:recording", "2:capturing"}},
      {UDP_CTRL_CAM_SET_AE_MODE, {"0:auto", "1:manual"}},
      {UDP_CTRL_CAM_SET_PARAMS_SHUTTER_ISO, {"sht_num/sht_dem s"}},
      {UDP_CTRL_CAM_SET_PARAMS_WB,
       {"0:auto", "1:incandescent", "2:sunrise", "3:sunset", "4:sunny", "5:cloudy", "7:fluorescent",
        "99:lock", "100:custom"}},
      {UDP_CTRL_CAM_SET_METER_MODE, {"0:center", "1:average", "2:spot"}},
      {UDP_CTRL_CAM_SET_FLICKER_MODE, {"0:off", "1:on"}},
      {UDP_CTRL_CAM_SET_COLOR_MODE, {"0:nature", "1:saturation", "2:raw", "3:night", "5:vivid"}},
      {UDP_CTRL_CAM_SET_IMAGE_QUALITY, {"0:low", "1:medium", "2:high", "3:ultra_high"}},
      {UDP_CTRL_CAM_SET_IMAGE_FORMAT, {"1:jpg", "130:dng", "T63", "131:jpg+dng"}},
      {UDP_CTRL_CAM_FORMAT_SDCARD, {"0:first external", "3:first internal", "7:all"}},
      {UDP_CTRL_CAM_SET_SYS_TIME, {"seconds"}},
      {UDP_CTRL_CAM_SET_MEDIA_FOLDER, {"101~999"}},
      {UDP_CTRL_CAM_SET_SPOT_METERING_COORDS, {"[x:u8(0~100 percent)]", "[y:u8(0~100 percent)]"}},
      {UDP_CTRL_CAM_SET_SYSTEM_MODE, {"0:NTSC", "1:PAL"}},
      {UDP_CTRL_CAM_SET_VIDEO_ENCODE_MODE, {"1:H.264", "3:H.265"}},
      {UDP_CTRL_CAM_SET_PHOTO_RATIO, {"2:4:3", "3:16:9"}},
      {UDP_CTRL_CAM_SET_FILE_FORMAT, {"0:MOV", "1:MP4"}},
      {UDP_CTRL_CAM_SET_PHOTO_MODE,
       {"0:single", "3:burst", "4:AEB", "5:horizontal", "6:hemispherical", "panorama"}},
      {UDP_CTRL_CAM_SET_IMAGE_FLIP, {"0:0", "1:90", "2:180", "3:270", "degree"}},
      {UDP_CTRL_CAM_SET_LOWDELAY_STREAM, {"0:disable", "17:enable"}},  // typed as decimals: 0x11
      {UDP_CTRL_CAM_SET_CUSTOM_WB, {"3000~8000"}},
      {UDP_CTRL_CAM_SET_IMAGE_DEWARP, {"0:off", "1:on"}},
      {UDP_CTRL_CAM_SEND_WIFI_STATUS, {"0:not ready", "1:ready"}},
      {UDP_CTRL_CAM_SET_DIGITAL_ZOOM, {"10~80"}},
      {UDP_CTRL_CAM_SET_ZOOM, {"1.0~30.0"}},
      {UDP_CTRL_CAM_SET_MEDIA_FILENUM_OPTION, {"0:auto-reset", "1:sequential"}},
      {UDP_CTRL_CAM_START_TIMED_TAKE_PHOTO, {"seconds"}},
      {UDP_CTRL_CAM_SET_LOCK_RANGE_STATE, {"0:unlocked", "1:locked"}},
      {UDP_CTRL_CAM_SET_RUN_FFC_MODE, {"0:manual", "1:auto", "2:external"}},
      {UDP_CTRL_CAM_SET_GAIN_MODE, {"0:high", "1:low", "2:auto"}},
      {UDP_CTRL_CAM_SET_ACE, {"hundredths"}},
      {UDP_CTRL_CAM_SET_DDE, {"hundredths"}},
      {UDP_CTRL_CAM_SET_TH_ENV_TEMP, {"tenths of a degree"}},
      {UDP_CTRL_CAM_ZOOM_TELE_WIDE_STOP, {"1:tele", "2:wide", "3:stop"}},
      {UDP_CTRL_CAM_DZOOM_TELE_WIDE_STOP, {"1:tele", "2:wide", "3:stop"}},
      {UDP_CTRL_CAM_DZOOM_ONOFF, {"2:on", "3:off"}},
      {UDP_CTRL_CAM_SET_FOCUS, {"4096:far end~61440:near end"}},
      {UDP_CTRL_CAM_SET_IRIS,
       {"0:closed", "5:F14", "6:F11", "7:F9.6", "8:F8,", "9:F6.8", "10:F5.6", "11:F4.8", "F1.6"}},
      {UDP_CTRL_CAM_SET_FOCUS_MODE, {"2:auto", "3:manual", "4:one-shot trigger", "5:infinity"}},
      {UDP_CTRL_CAM_SET_FOCUS_LIMITE, {"4096~61440"}},
      {UDP_CTRL_CAM_SET_DEFOG_ONOFF, {"2:on", "3:off"}},
      {UDP_CTRL_CAM_SET_DEFOG_LEVEL, {"1:low", "2:middle", "3:high"}},
      {UDP_CTRL_CAM_SET_OSD_STATUS, {"0:off", "1:on"}},
  };
  for (const auto& [number, facts] : meanings) {
    const auto lines = lines_of(number);
    ASSERT_FALSE(lines.empty()) << number;
    for (const char* fact : facts) {
      EXPECT_NE(lines.front().find(fact), std::string::npos) << lines.front() << ": " << fact;
    }
  }
}
