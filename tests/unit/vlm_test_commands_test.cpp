// The console's numbered commands: every number against every outcome, and every way to write a
// parameter. The operations themselves are rows of the operation catalogue; here stands what the
// console makes of them.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <initializer_list>
#include <limits>
#include <set>

#include "command_contract.h"
#include "console_commands.h"
#include "operation_matrix.h"
#include "vlm_test.h"

namespace {

class Console : public ::testing::Test {
 protected:
  Console() {
    bus.reset();
    LcmRequestPeer::set_data(lcm_request, {});
    set_reply_timeout(lcm_request, std::chrono::hours(1));
    ctrlcmd = {};
    char directory[] = "/tmp/vlm_cardXXXXXX";
    if (mkdtemp(directory) == nullptr) throw std::runtime_error("mkdtemp");
    _card = directory;
    _default_card = g_OTA_DirList[0];
    look_for_firmware_in(_card);
    put_on_card("firmware.bin");
  }

  ~Console() override {
    bus.reset();
    look_for_firmware_in(_default_card);
    for (const char* name : {"firmware.bin", "._firmware.bin"}) unlink(on_card(name).c_str());
    rmdir(_card.c_str());
  }

  static void look_for_firmware_in(const std::string& directory) {
    std::snprintf(g_OTA_DirList[0], sizeof g_OTA_DirList[0], "%s", directory.c_str());
  }
  std::string on_card(const std::string& name) const { return _card + "/" + name; }
  void put_on_card(const std::string& name) const { std::ofstream(on_card(name)) << "x"; }

  /// What one line shows; durations left out.
  static std::string shown_by(std::string line) {
    return without_durations(transcript_of([&] { send_cmd_to_lcm(line.data()); }));
  }

  /// The camera answers each operation of `command` as that expects.
  void answer(const Command& command, udp_ctrl_cam_t (Operation::*reply)() const) {
    bus.answer([steps = command.steps, reply](const udp_ctrl_cam_t& request) {
      for (const Step& step : steps) {
        if (step.operation.code == request.cmd_type) return (step.operation.*reply)();
      }
      return camera_record(request.cmd_type, {}, VLM_ERR_UNSUPPORTED_COMMAND);
    });
  }

  void give_up_at_once() {
    bus.stay_silent();
    set_reply_timeout(lcm_request, std::chrono::milliseconds(1));
  }

  std::vector<Bytes> requests() const {
    std::vector<Bytes> requests;
    for (const Published& published : bus.published()) {
      requests.push_back(bytes_of(published.record()));
    }
    return requests;
  }

  static std::vector<Bytes> requests_of(const Command& command) {
    std::vector<Bytes> requests;
    for (const Step& step : command.steps) requests.push_back(step.operation.request());
    return requests;
  }

  /// The transcript of `command` when each of its operations ends with `result`.
  static std::string transcript(const Command& command, std::string (Operation::*operation)() const,
                                int result) {
    std::string text;
    for (const Step& step : command.steps) {
      const auto code = static_cast<unsigned>(result);
      text += step.before + (step.operation.*operation)() +
              (result == 0 ? step.done : formatted(step.failed, code));
    }
    return text + "\n";
  }

  /// Runs the line with a camera that answers; holds every byte sent and shown.
  void expect_success(const Command& command) {
    SCOPED_TRACE("\"" + command.line + "\"");
    bus.reset();
    answer(command, &Operation::success_reply);
    EXPECT_EQ(shown_by(command.line), transcript(command, &Operation::success_transcript, 0));
    EXPECT_EQ(requests(), requests_of(command));
  }

  void expect_successes(std::initializer_list<Command> commands) {
    for (const Command& command : commands) expect_success(command);
  }

  ScriptedBus& bus = ScriptedBus::instance();

 private:
  std::string _card;
  std::string _default_card;
};

}  // namespace

// --- Every command against every outcome ---

TEST_F(Console, HasACommandForEveryNumberButTheUnsupportedOnes) {
  std::set<int> expected;
  for (const CommandContract& row : command_contract()) {
    if (console_runs(row.code)) expected.insert(row.code);
  }
  std::set<int> numbers{UDP_CTRL_CAM_GET_SURVEY_MODE_FLAG};  // asks no camera: tested on its own
  for (const Command& command : every_command()) numbers.insert(number_of(command));
  EXPECT_EQ(numbers, expected);
}

TEST_F(Console, ShowsWhatTheCameraAnswers) {
  for (const Command& command : every_command()) expect_success(command);
}

TEST_F(Console, ShowsTheErrorsOfTheCamera) {
  for (const Command& command : every_command()) {
    SCOPED_TRACE(command.line);
    bus.reset();
    LcmRequestPeer::set_data(lcm_request, {});
    answer(command, &Operation::error_reply);
    EXPECT_EQ(shown_by(command.line),
              transcript(command, &Operation::error_transcript, kCameraError));
    EXPECT_EQ(requests(), requests_of(command));
  }
}

TEST_F(Console, ShowsThatTheCameraStaysSilent) {
  give_up_at_once();
  for (const Command& command : every_command()) {
    SCOPED_TRACE(command.line);
    bus.reset();
    bus.stay_silent();
    EXPECT_EQ(shown_by(command.line),
              transcript(command, &Operation::time_out_transcript, kTimeOut));
    EXPECT_EQ(requests(), requests_of(command));
  }
}

TEST_F(Console, ShowsThatAnotherRequestIsPending) {
  bus.stay_silent();
  PendingRequest pending(lcm_request);
  const auto pending_request = requests();
  for (const Command& command : every_command()) {
    SCOPED_TRACE(command.line);
    EXPECT_EQ(shown_by(command.line), transcript(command, &Operation::busy_transcript, kBusy));
    EXPECT_EQ(requests(), pending_request);
  }
  EXPECT_TRUE(pending.finish());
}

TEST_F(Console, SaysWhichNumbersItRuns) {
  for (int number = -1; number <= 65536; ++number) {
    EXPECT_EQ(runs_command(number), console_runs(number)) << number;
  }
}

TEST_F(Console, RefusesEveryOtherNumber) {
  for (const int number : unsupported_numbers()) {
    EXPECT_EQ(shown_by(std::to_string(number) + " 1 2 3"), "unsupported command type\n\n");
  }
  EXPECT_TRUE(bus.published().empty());
}

// --- The command number ---

TEST_F(Console, ReadsTheNumberInAnySpelling) {
  const Command command{"", {step("send_stop_video_cmd")}};
  for (const char* line : {"5", "5\n", "5 ", "05", "00005", "+5", "  5", "\t5", "\n5", "5abc",
                           "5.9", "5,6", "5\t6", "5-", "5 -1", "5 abc def", "5 6 7 8 9"}) {
    expect_success({line, command.steps});
  }
}

TEST_F(Console, TakesFiveCharactersForTheNumber) {
  for (const char* line : {"000056", "+00056", "000051 7"}) {
    expect_success({line, {step("send_stop_video_cmd")}});
  }
}

TEST_F(Console, TakesSixteenBitsOfTheNumber) {
  expect_success({"65541", {step("send_stop_video_cmd")}});
  for (const char* line : {"65535", "65778", "99999", "-65531"}) {
    EXPECT_EQ(shown_by(line), "unsupported command type\n\n");
  }
}

TEST_F(Console, RepeatsThePreviousCommandForALineWithoutANumber) {
  const Step all = step("get_all_request_list", plain_commands().front().steps.front().done);
  expect_success({"abc", {all}});
  expect_success({"5", {step("send_stop_video_cmd")}});
  for (const char* line : {"abc", "", "\n", " ", "-", "+", "x5", "abc 4"}) {
    expect_success({line, {step("send_stop_video_cmd")}});
  }
}

TEST_F(Console, GivesARepeatedCommandTheParametersOfItsOwnLine) {
  expect_success(set_spot("37 1 2", 1, 2));
  expect_success(set_spot("again 3 4", 3, 4));
}

TEST_F(Console, RepeatsAnUnsupportedNumberAsSuch) {
  EXPECT_EQ(shown_by("999"), "unsupported command type\n\n");
  EXPECT_EQ(ctrlcmd.cmd_type, 999);
  EXPECT_EQ(shown_by("abc"), "unsupported command type\n\n");
  EXPECT_EQ(shown_by("-1"), "unsupported command type\n\n");
  EXPECT_EQ(ctrlcmd.cmd_type, 0xFFFF);
  EXPECT_EQ(shown_by("abc"), "unsupported command type\n\n");
}

TEST_F(Console, KeepsTheNumberOfAChainedLine) {
  expect_success(set_focus_control("202 4096", 4096, 409));
  EXPECT_EQ(ctrlcmd.cmd_type, 202);
}

// --- Parameters ---

namespace {

/// How a conversion reads a text behind the number.
struct Reading {
  const char* text;
  u64 value;
};

// Readings that all numeric conversions share.
const Reading kCommon[] = {
    {"", 0},      {" ", 0},      {"\n", 0},     {" \n", 0},    {"\t7", 0},  // no blank: no
    {"\n7", 0},   {" 7", 7},     {" 7\n", 7},   {"  7", 7},    {" \t7", 7},
    {" \n7", 7},  {" 7\t8", 7},  {" 7 8 9", 7}, {" 7abc", 7},  {" 7.9", 7},
    {" 7,8", 7},  {" +7", 7},    {" 007", 7},   {" 000", 0},   {" abc", 0},
    {" x7", 0},   {" -", 0},     {" +", 0},     {" --7", 0},   {" - 7", 0},
    {" 0x1F", 0}, {" \"7\"", 0}, {"x 7", 7},    {"\t\t 7", 7}, {"x\t7 8", 8},
};

/// A text that the conversions read differently.
struct Readings {
  const char* conversion;
  std::vector<Reading> readings;
};

constexpr u64 kAllOnes = ~u64{0};

/// What the C library makes of a number that an int does not hold: a long decides.
u64 beyond_int(const char* digits) { return static_cast<u32>(std::strtol(digits, nullptr, 10)); }

const std::vector<Readings>& readings() {
  static const std::vector<Reading> byte{
      {" 255", 255},  {" 256", 0},
      {" 300", 44},   {" 999", 231},
      {" 1000", 100}, {" 2559", 255},
      {" 0001", 0},   {" -1", 255},
      {" -7", 249},   {" -100", 246},
      {" -99", 157},  {" +100", 10},
      {" 128", 128},  {" 99999999999999999999", 231},
  };
  static const std::vector<Readings> rows{
      {"%3hhd", byte},
      {"%3hhu", byte},
      {"%3hu",
       {{" 255", 255},
        {" 256", 256},
        {" 999", 999},
        {" 1000", 100},
        {" 4096", 409},
        {" 0001", 0},
        {" -1", 0xFFFF},
        {" -100", 65536 - 10},
        {" +100", 10},
        {" 99999999999999999999", 999}}},
      {"%5hd",
       {{" 32767", 32767},
        {" 32768", 32768},
        {" 65535", 65535},
        {" 65536", 0},
        {" 99999", 34463},
        {" 123456", 12345},
        {" 000012", 1},
        {" -1", 0xFFFF},
        {" -32768", 65536 - 3276},
        {" +12345", 1234},
        {" 99999999999999999999", 34463}}},
      {"%5hu",
       {{" 1234", 1234},
        {" 65535", 65535},
        {" 65536", 0},
        {" 99999", 34463},
        {" 123456", 12345},
        {" 000012", 1},
        {" -1", 0xFFFF},
        {" -12345", 65536 - 1234},
        {" +12345", 1234},
        {" 99999999999999999999", 34463}}},
      {"%hd",
       {{" 32767", 32767},
        {" 32768", 32768},
        {" 65536", 0},
        {" 70000", 4464},
        {" 000012", 12},
        {" -1", 0xFFFF},
        {" -32768", 0x8000},
        {" -32769", 0x7FFF},
        {" 99999999999999999999", 0xFFFF},  // the greatest long
        {" -99999999999999999999", 0}}},    // the least
      {"%10d",
       {{" 2147483647", 2147483647},
        {" 12345678901", 1234567890},
        {" 00000000012", 1},
        {" 0000000012", 12},
        {" -1", 0xFFFFFFFF},
        {" -305419896", 0xEDCBA988},
        {" -3054198961", 0xEDCBA988},
        {" +305419896", 305419896},
        {" 4294967295", beyond_int("4294967295")},
        {" 9999999999", beyond_int("9999999999")},
        {" 99999999999999999999", beyond_int("9999999999")}}},
      {"%20llu",
       {{" 1700000000", 1700000000},
        {" 18446744073709551615", kAllOnes},
        {" 18446744073709551616", kAllOnes},
        {" 99999999999999999999", kAllOnes},
        {" 123456789012345678901", 12345678901234567890ULL},
        {" 000000000000000000012", 1},
        {" -1", kAllOnes},
        {" -1700000000", kAllOnes - 1699999999}}},
  };
  return rows;
}

}  // namespace

TEST_F(Console, ReadsEachParameterAsItsConversionSays) {
  for (const Setting& setting : settings()) {
    for (const Reading& reading : kCommon) {
      expect_success(setting.command(reading.text, reading.value));
    }
    for (const Readings& of_conversion : readings()) {
      if (of_conversion.conversion != setting.conversion) continue;
      for (const Reading& reading : of_conversion.readings) {
        expect_success(setting.command(reading.text, reading.value));
      }
    }
  }
}

TEST_F(Console, ReadsNoParameterBehindALeadingBlank) {
  for (const Setting& setting : settings()) {
    Command command = setting.command("", 0);
    command.line = " " + command.line + " 7";
    expect_success(command);
  }
}

TEST_F(Console, IgnoresMoreParametersThanNeeded) {
  for (Command command : every_command()) {
    command.line += " 7 -8 nine 1e9";
    expect_success(command);
  }
}

TEST_F(Console, TakesNoParameterFromALineThatNeedsNone) {
  for (const Command& command : plain_commands()) {
    for (const char* rest :
         {"\n", " \n", " 5", " -1", " abc", "\t5", "x", " 99999999999999999999"}) {
      expect_success({command.line + rest, command.steps});
    }
  }
}

TEST_F(Console, ReadsAShutterAndAnIso) {
  expect_successes(
      {set_shutter_iso("12", 0, 0, 0), set_shutter_iso("12\t1 2 3", 2, 3, 0),
       set_shutter_iso("12 1", 1, 0, 0), set_shutter_iso("12 1 100", 1, 100, 0),
       set_shutter_iso("12 1 100 200\n", 1, 100, 200),
       set_shutter_iso("12 1\t100\n200", 1, 100, 200), set_shutter_iso("12 1 x 200", 1, 0, 0),
       set_shutter_iso("12 -1 -2 -3", 65535, 65534, -3),
       set_shutter_iso("12 65536 99999 99999", 0, 34463, 99999),
       set_shutter_iso("12 123456 7", 12345, 6, 7),  // the sixth digit is the next number
       set_shutter_iso("12 1 100 -12345", 1, 100, -1234), set_shutter_iso("12 1,2,3", 1, 0, 0),
       set_shutter_iso("12 1 100 200 300", 1, 100, 200)});
}

TEST_F(Console, ReadsAVideoSetting) {
  expect_successes(
      {set_video("16", 0, 0, 0), set_video("16\t1 2 3", 2, 3, 0), set_video("16 1920", 1920, 0, 0),
       set_video("16 1920 1080", 1920, 1080, 0), set_video("16 1920 1080 1000", 1920, 1080, 100),
       set_video("16 1920x1080 60", 1920, 0, 0), set_video("16 -1 65536 300", 65535, 0, 44),
       set_video("16 123456 60", 12345, 6, 60), set_video("16 3840\t2160\t30\n", 3840, 2160, 30),
       set_video("16 abc 1080 60", 0, 0, 0)});
}

TEST_F(Console, ReadsASpot) {
  expect_successes({set_spot("37", 0, 0), set_spot("37\t1 2", 2, 0), set_spot("37 50", 50, 0),
                    set_spot("37 1000 7", 100, 0), set_spot("37 -1 300", 255, 44),
                    set_spot("37 50% 50%", 50, 0), set_spot("37 50\t50", 50, 50),
                    set_spot("37 x 50", 0, 0)});
}

TEST_F(Console, ReadsACaptureMode) {
  expect_successes({set_photos("51", {0, 0, 0, 0, 0}), set_photos("51\t1 2", {2, 0, 0, 0, 0}),
                    set_photos("51 3", {3, 0, 0, 0, 0}), set_photos("51 3 7", {3, 7, 0, 0, 0}),
                    set_photos("51 4 5 -1", {4, 5, 0, 0xFF, 0}),
                    set_photos("51 4 5 -1 3\n", {4, 5, 0, 0xFF, 3}),
                    set_photos("51 1000 7", {100, 0, 0, 7, 0}),
                    set_photos("51 -1 65536 300 -1", {255, 0, 0, 44, 255}),
                    set_photos("51 x 5 1 3", {0, 0, 0, 0, 0}),
                    set_photos("51 4 99999 127 128", {4, 0x9F, 0x86, 127, 128})});
}

TEST_F(Console, ReadsAResolution) {
  expect_successes(
      {set_resolution("90", 0, 0), set_resolution("90\t1 2", 2, 0),
       set_resolution("90 1280", 1280, 0), set_resolution("90 1280 720\n", 1280, 720),
       set_resolution("90 1280*720", 1280, 0), set_resolution("90 -1 -2", 0xFFFFFFFF, 0xFFFFFFFE),
       set_resolution("90 12345678901 7", 1234567890, 1), set_resolution("90 x 720", 0, 0)});
}

TEST_F(Console, ReadsAFolderPrefixAsANumber) {
  expect_successes({set_folder("35", "0"), set_folder("35\t101", "0"), set_folder("35 abc", "0"),
                    set_folder("35 7", "7"), set_folder("35 007", "7"), set_folder("35 0007", "0"),
                    set_folder("35 999\n", "999"), set_folder("35 1000", "100"),
                    set_folder("35 -5", "-5"), set_folder("35 -100", "-10"),
                    set_folder("35 +42", "42"), set_folder("35 101 102", "101"),
                    set_folder("35 0x65", "0"), set_folder("35 1.5", "1")});
}

TEST_F(Console, ReadsAZoomFactor) {
  const float infinite = std::numeric_limits<float>::infinity();
  expect_successes({set_zoom("83", 0),
                    set_zoom("83\t2", 0),
                    set_zoom("83 abc", 0),
                    set_zoom("83 30", 30),
                    set_zoom("83 2.5\n", 2.5F),
                    set_zoom("83 -2.5", -2.5F),
                    set_zoom("83 +2.5", 2.5F),
                    set_zoom("83 .5", 0.5F),
                    set_zoom("83 5.", 5),
                    set_zoom("83 1e1", 10),
                    set_zoom("83 0x10", 16),
                    set_zoom("83 2,5", 2),
                    set_zoom("83 2.5.5", 2.5F),
                    set_zoom("83 1.0 2.0", 1),
                    set_zoom("83 0.1", 0.1F),
                    set_zoom("83 1e99", infinite),
                    set_zoom("83 -inf", -infinite),
                    set_zoom("83 123456789012345678901234567890", 1.2345679e29F),
                    set_zoom("83 -", 0),
                    set_zoom("83 1e-99", 0)});
}

TEST_F(Console, ReadsAPasswordAndANetworkOfUpTo19Characters) {
  const std::pair<const char*, const char*> texts[] = {
      {"", ""},
      {" ", ""},
      {"\tsecret", ""},
      {" secret\n", "secret"},
      {" two words", "two"},
      {" two\twords", "two"},
      {" -1", "-1"},
      {" a", "a"},
      {" 123456789012345678", "123456789012345678"},
      {" 1234567890123456789", "1234567890123456789"},
      {" 12345678901234567890", "1234567890123456789"},
      {" 12345678901234567890123", "1234567890123456789"},
      {" 100%d%s", "100%d%s"}};
  for (const auto& [rest, text] : texts) {
    expect_success(set_password(std::string("44") + rest, text));
    expect_success(set_network(std::string("54") + rest, text));
  }
}

TEST_F(Console, ReadsACountryCodeAndABoardOfUpTo10Characters) {
  const std::pair<const char*, const char*> texts[] = {
      {"", ""},
      {"\tDE", ""},
      {" DE\n", "DE"},
      {" DE FR", "DE"},
      {" -1", "-1"},
      {" 123456789", "123456789"},
      {" 1234567890", "1234567890"},
      {" 12345678901", "1234567890"},
      {" 123456789012345678901234567890", "1234567890"}};
  for (const auto& [rest, text] : texts) {
    expect_success(set_country(std::string("70") + rest, text));
    expect_success(set_board(std::string("72") + rest, text));
  }
}

TEST_F(Console, GoesOnFromFocusToIrisWithTheSameParameter) {
  expect_successes(
      {set_focus_control("202 4096", 4096, 409), set_focus_control("202", 0, 0),
       set_focus_control("202\t3", 0, 0), set_focus_control("202 3\n", 3, 3),
       set_focus_control("202 1 2", 1, 1), set_focus_control("202 -1", 0xFFFFFFFF, 0xFFFF),
       set_focus_control("202 -100", 0xFFFFFF9C, 65536 - 10), set_focus_control("202 abc", 0, 0),
       set_focus_control("202 12345678901", 1234567890, 123)});
}

TEST_F(Console, GoesOnWithTheNextCommandWhateverTheFirstReturned) {
  for (const Command& command : every_command()) {
    if (command.steps.size() == 1) continue;
    SCOPED_TRACE(command.line);
    const Step& first = command.steps[0];
    const Step& next = command.steps[1];
    bus.answer([&](const udp_ctrl_cam_t& request) {
      return request.cmd_type == first.operation.code ? first.operation.error_reply()
                                                      : next.operation.success_reply();
    });
    EXPECT_EQ(shown_by(command.line), first.before + first.operation.error_transcript() +
                                          next.before + next.operation.success_transcript() +
                                          next.done + "\n");
  }
}

// --- Properties ---

TEST_F(Console, ReadsAPropertyNameOfUpTo128Characters) {
  for (const std::size_t size : {1U, 16U, 17U, 127U, 128U, 129U, 300U}) {
    expect_success(get_property("84 " + letters(size), letters(std::min<std::size_t>(size, 128))));
  }
}

TEST_F(Console, ReadsAPropertyAssignmentOfUpTo127Characters) {
  for (const std::size_t size : {1U, 11U, 58U, 122U, 123U, 124U, 300U}) {
    const std::string text = "name=" + letters(size);
    expect_success(set_property("85 " + text, text.substr(0, 127)));
  }
}

TEST_F(Console, UnsetsAPropertyWithAnEmptyValue) {
  expect_success(set_property("85 name=", "name="));
}

TEST_F(Console, RefusesBadProperties) {
  EXPECT_EQ(shown_by("84"), "LcmRequest::get_property bad prop: \nproperty  is not found.\n\n");
  EXPECT_EQ(shown_by("84\tname"),
            "LcmRequest::get_property bad prop: \nproperty  is not found.\n\n");
  EXPECT_EQ(shown_by("84 name=value\n"),
            "LcmRequest::get_property bad prop: name=value\nproperty name=value is not found.\n\n");
  EXPECT_EQ(shown_by("85"),
            "set property string: \nLcmRequest::set_property bad prop: \nset property failed.\n\n");
  EXPECT_EQ(shown_by("85 name value=1\n"),
            "set property string: name\nLcmRequest::set_property bad prop: name\n"
            "set property failed.\n\n");
  EXPECT_TRUE(bus.published().empty());
}

TEST_F(Console, ShowsAPropertyThatFillsTheRecordBounded) {
  bus.answer(bytes_of_text(letters(128)));
  const std::string got = shown_by("84 exposure");
  EXPECT_EQ(got.substr(got.find("Ack OK\n")),
            "Ack OK\nget property:" + letters(128) + "\nproperty: " + letters(128) + "\n\n");
  const std::string set = shown_by("85 exposure=long");
  EXPECT_EQ(set.substr(set.find("\nset property to: ")),
            "\nset property to: exposure=long.\n the previous value: " + letters(128) + "\n\n");
}

// --- Answers that fill their fields ---

TEST_F(Console, ShowsTextsThatFillTheirFieldsBounded) {
  bus.answer(joined({1}, bytes_of_text(letters(64) + "behind")));
  EXPECT_NE(shown_by("34").find("folder_name=" + letters(64) + "\n\n"), std::string::npos);

  bus.answer(bytes_of_text("VLMCAM63\1\2\3r"));
  EXPECT_NE(shown_by("31").find("\ncamera_version: VLMCAM63_1.2.3_r\n\n"), std::string::npos);

  LcmRequest::Data data{};
  std::memcpy(data.country_code, "0123456789", sizeof data.country_code);
  LcmRequestPeer::set_data(lcm_request, data);
  EXPECT_NE(shown_by("69").find("\ncountry_code = 0123456789\n\n"), std::string::npos);
}

TEST_F(Console, ShowsTheLargestValuesOfTheSnapshot) {
  udp_ctrl_cam_request_list_t list{};
  std::memset(&list, 0xFF, sizeof list);
  list.camera_status = 2;
  bus.answer(bytes_of(list));
  const std::string shown = shown_by("0");
  EXPECT_EQ(shown.substr(shown.find("cam_mode")),
            "cam_mode = 255\nwb = 255\nae_mode = 255\nx_ratio = 255, y_ratio = 255\n"
            "fps = 255, video_resolution_h = 65535,video_resolution_v = 65535\n"
            "recording_time_s = -1 s\navailable_mib = 4194304.00 MB\ncamera_status = 2\n\n");
}

TEST_F(Console, ShowsAZoomWithoutANewlineOfItsOwn) {
  bus.answer(bytes_of(1.0F));
  const std::string shown = shown_by("82");
  EXPECT_EQ(shown.substr(shown.rfind("zoom = ")), "zoom = 1.0\n");
}

TEST_F(Console, ShowsTheSurveyModeFlagWithoutAskingTheCamera) {
  EXPECT_EQ(shown_by("86 7"),
            "get_survey_mode_flag(),L2552 survey_flag is not the real value, reserved it for "
            "future\nsurvey mode flag = 0\n\n");
  EXPECT_TRUE(bus.published().empty());
}

// --- Firmware upgrade ---

TEST_F(Console, UpgradesOnlyWithAFirmwareFile) {
  unlink(on_card("firmware.bin").c_str());
  put_on_card("._firmware.bin");
  EXPECT_EQ(shown_by("33"), "No camera firmware in sdcard\n\n");
  EXPECT_TRUE(bus.published().empty());
  EXPECT_TRUE(file_exists(on_card("._firmware.bin").c_str()));
}

TEST_F(Console, RemovesTheMarkerBeforeTheUpgrade) {
  put_on_card("._firmware.bin");
  bool marker_at_request = true;
  bus.answer([&](const udp_ctrl_cam_t& request) {
    marker_at_request = file_exists(on_card("._firmware.bin").c_str());
    return camera_record(request.cmd_type);
  });
  EXPECT_EQ(shown_by("33"), camera_operation("upgrade_camera").success_transcript() + "\n");
  EXPECT_FALSE(marker_at_request);
  EXPECT_TRUE(file_exists(on_card("firmware.bin").c_str()));
}

TEST(TheFirmware, IsLookedForOnTheCard) { EXPECT_STREQ(g_OTA_DirList[0], "/sdcard"); }

TEST(AFile, ExistsWhenItCanBeStatted) {
  EXPECT_TRUE(file_exists("/"));
  EXPECT_TRUE(file_exists("/dev/null"));
  EXPECT_FALSE(file_exists(""));
  EXPECT_FALSE(file_exists("/dev/null/nothing"));
}
