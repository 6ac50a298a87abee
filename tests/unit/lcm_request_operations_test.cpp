// The camera operations against every outcome, and what is special about some of them.

#include <algorithm>
#include <array>
#include <functional>
#include <set>
#include <thread>

#include "command_contract.h"
#include "operation_matrix.h"
#include "pattern.h"
#include "velmar_log.h"

// --- Every operation ---

TEST(CameraOperations, HandOutWhatTheCameraAnswers) {
  for_each(camera_operations(), expect_success);
}

TEST(CameraOperations, FailWhenTheCameraAnswersWithAnError) {
  for_each(camera_operations(), expect_camera_error);
}

TEST(CameraOperations, FailWhenTheCameraStaysSilent) {
  for_each(camera_operations(), expect_time_out);
}

TEST(CameraOperations, SendNothingWhileAnotherRequestIsPending) {
  for_each(camera_operations(), expect_refusal_while_busy);
}

TEST(TheCatalogues, HoldEveryCommandThatIsSent) {
  std::set<int> expected;
  for (const CommandContract& row : command_contract()) {
    if (row.sender == kSent) expected.insert(row.code);
  }
  std::set<int> rows;
  for (const auto* operations : {&camera_operations(), &thermal_operations()}) {
    for (const Operation& operation : *operations) {
      EXPECT_TRUE(rows.insert(operation.code).second) << operation.name;
    }
  }
  EXPECT_EQ(rows, expected);
}

// --- Callers side by side ---

namespace {

/// One thread's call of get_sdcard_storage for the slot `id`.
struct SlotQuery {
  explicit SlotQuery(u8 slot) : id(slot) {}

  bool run(LcmRequest& engine) { return engine.get_sdcard_storage(id, storage); }
  bool answered() const { return storage.storage_id == id; }

  u8 id;
  udp_ctrl_cam_sdcard_storage_t storage{};
};

}  // namespace

// The camera tells the slot that it was asked for. When a request is published the one before it has
// ended, and its caller must hold the answer already: from here on the store is another's.
TEST(SimultaneousCallers, HoldTheirAnswerBeforeTheNextRequestIsPublished) {
  EngineOnBus camera;
  for (int round = 0; round < 300; ++round) {
    SlotQuery first(1);
    SlotQuery second(2);
    int published = 0;
    bool held = false;
    camera.bus.answer([&](const udp_ctrl_cam_t& request) {
      if (++published == 2)
        held = request.cmd_params[0] == 2 ? first.answered() : second.answered();
      return camera_record(request.cmd_type, {request.cmd_params[0]});
    });
    quietly([&] {
      std::thread other([&] { second.run(camera.engine); });
      const bool success = first.run(camera.engine);
      other.join();
      return success;
    });
    EXPECT_EQ(published, 2);
    ASSERT_TRUE(held) << "round " << round;
    ASSERT_TRUE(first.answered() && second.answered()) << "round " << round;
  }
}

// --- Result codes and notifications ---

namespace {

/// The two operations that report a result code and arm a notification.
struct ReportingOperation {
  const char* name;
  std::function<bool(LcmRequest&, int* perr, unsigned int* target)> call;
  int result_under_way;  // what *perr holds, of -1, until the answer
};

const ReportingOperation kReporting[] = {
    {"send_capture_cmd",
     [](LcmRequest& engine, int* perr, unsigned int* target) {
       return engine.send_capture_cmd(perr, target);
     },
     3},
    {"set_camera_mode",
     [](LcmRequest& engine, int* perr, unsigned int* target) {
       return engine.set_camera_mode(2, perr, target);
     },
     -1},
};

class ReportingOperations : public ::testing::Test, protected EngineOnBus {
 protected:
  /// Runs `operation` from a result of -1, and returns the result that it leaves.
  int result_of(const ReportingOperation& operation, unsigned int* target = nullptr) {
    int result = -1;
    quietly([&] { return operation.call(engine, &result, target); });
    return result;
  }

  bool notified() { return engine.wait_lcm_notification(0, nullptr); }
};

}  // namespace

TEST_F(ReportingOperations, ReportZeroForSuccess) {
  for (const auto& operation : kReporting) EXPECT_EQ(result_of(operation), 0) << operation.name;
}

TEST_F(ReportingOperations, ReportTheCamerasError) {
  bus.answer({}, kCameraError);
  for (const auto& operation : kReporting) {
    EXPECT_EQ(result_of(operation), kCameraError) << operation.name;
  }
}

TEST_F(ReportingOperations, ReportATimeOut) {
  give_up_at_once();
  for (const auto& operation : kReporting) {
    EXPECT_EQ(result_of(operation), kTimeOut) << operation.name;
  }
}

TEST_F(ReportingOperations, ReportABusyEngine) {
  bus.stay_silent();
  const PendingRequest pending(engine);
  for (const auto& operation : kReporting) EXPECT_EQ(result_of(operation), kBusy) << operation.name;
}

TEST_F(ReportingOperations, HoldTheirFirstResultUntilTheAnswer) {
  for (const auto& operation : kReporting) {
    int result = -1;
    int result_while_sending = 0;
    bus.answer([&](const udp_ctrl_cam_t& request) {
      result_while_sending = result;
      return camera_record(request.cmd_type);
    });
    quietly([&] { return operation.call(engine, &result, nullptr); });
    EXPECT_EQ(result_while_sending, operation.result_under_way) << operation.name;
  }
}

TEST_F(ReportingOperations, ArmTheNotificationBeforeTheySend) {
  for (const auto& operation : kReporting) {
    SCOPED_TRACE(operation.name);
    engine.update_lcm_notification(1, nullptr);  // an old flag, which arming clears
    bus.answer([&](const udp_ctrl_cam_t& request) {
      engine.update_lcm_notification(6, nullptr);
      return camera_record(request.cmd_type);
    });
    unsigned int target = 6;
    EXPECT_EQ(result_of(operation, &target), 0);
    EXPECT_TRUE(notified());
  }
}

TEST_F(ReportingOperations, ClearTheFlagOfAnEarlierNotification) {
  for (const auto& operation : kReporting) {
    SCOPED_TRACE(operation.name);
    engine.update_lcm_notification(6, nullptr);
    unsigned int target = 6;
    EXPECT_EQ(result_of(operation, &target), 0);
    EXPECT_FALSE(notified());
    engine.update_lcm_notification(6, nullptr);
    EXPECT_TRUE(notified());
  }
}

TEST_F(ReportingOperations, ArmNothingWithoutATarget) {
  engine.prepare_wait_lcm_notification(6);
  engine.update_lcm_notification(6, nullptr);
  for (const auto& operation : kReporting) {
    EXPECT_EQ(result_of(operation), 0);
    EXPECT_TRUE(notified()) << operation.name;
  }
}

TEST_F(ReportingOperations, ArmNothingWhileAnotherRequestIsPending) {
  engine.prepare_wait_lcm_notification(6);
  engine.update_lcm_notification(6, nullptr);
  bus.stay_silent();
  const PendingRequest pending(engine);
  for (const auto& operation : kReporting) {
    unsigned int target = 9;
    EXPECT_EQ(result_of(operation, &target), kBusy);
    EXPECT_TRUE(notified()) << operation.name;
  }
}

// --- Operations that log ---

namespace {

/// `text` with the tick of each log line replaced by T.
std::string without_ticks(const std::string& text) {
  return replaced(text, ", [0-9]{6,}\n", ", T\n");
}

/// An operation with what it adds to the trace log.
struct LoggingOperation {
  const char* name;
  const char* ready;  // before anything else
  const char* ok;
  const char* fail;
};

const LoggingOperation kLogging[] = {
    {"send_capture_cmd", "Capture:[011], T\n", "OK:[021], T\n", "Fail:[031], T\n"},
    {"set_rtos_time", "SetTimeReady, T\n", "SetTimeOK, T\n", "SetTimeFAIL, T\n"},
    {"set_media_folder", "SetMediaFolderReady, T\n", "SetMediaFolderOK, T\n",
     "SetMediaFolderFAIL, T\n"},
};

/// The transcript of the operation with the log lines shown on the console.
std::string logged_transcript(const Operation& operation, LcmRequest& engine) {
  g_cmd_num.total_num = 10;
  g_cmd_num.ok_num = 20;
  g_cmd_num.fail_num = 30;
  g_log_to_console = true;
  const Outcome outcome = call(operation, engine);
  g_log_to_console = false;
  return without_ticks(outcome.transcript);
}

/// `transcript` with `line` inserted behind the line that begins with `behind`.
std::string with_line(std::string transcript, const std::string& behind, const std::string& line) {
  const auto found = transcript.find(behind);
  return transcript.insert(transcript.find('\n', found) + 1, line);
}

}  // namespace

TEST(LoggingOperations, LogTheirBeginningAndTheirSuccess) {
  for (const LoggingOperation& row : kLogging) {
    SCOPED_TRACE(row.name);
    const Operation operation = camera_operation(row.name);
    EngineOnBus camera;
    EXPECT_EQ(logged_transcript(operation, camera.engine),
              row.ready + with_line(operation.success_transcript(), "Recv ", row.ok));
  }
}

TEST(LoggingOperations, LogTheirBeginningAndTheirFailure) {
  for (const LoggingOperation& row : kLogging) {
    SCOPED_TRACE(row.name);
    const Operation operation = camera_operation(row.name);
    EngineOnBus camera;
    camera.bus.answer({}, kCameraError);
    const std::string shown = operation.error_transcript();
    const auto engines_line = shown.find(" failed with: ");
    ASSERT_NE(engines_line, std::string::npos);
    const auto begin = shown.rfind('\n', engines_line) + 1;
    const std::string engines_entry = shown.substr(begin, shown.find('\n', begin) - begin);
    EXPECT_EQ(logged_transcript(operation, camera.engine),
              row.ready + with_line(shown, engines_entry, engines_entry + ", T\n" + row.fail));
  }
}

TEST(LoggingOperations, LogTheirBeginningOnlyWhileAnotherRequestIsPending) {
  for (const LoggingOperation& row : kLogging) {
    SCOPED_TRACE(row.name);
    const Operation operation = camera_operation(row.name);
    EngineOnBus camera;
    camera.bus.stay_silent();
    const PendingRequest pending(camera.engine);
    const std::string engines_entries =
        "Error: a request is already pending., T\n " + operation.ready_name + "() failed., T\n";
    EXPECT_EQ(logged_transcript(operation, camera.engine),
              row.ready + with_line(operation.busy_transcript(), "Error: ", engines_entries));
  }
}

// --- Texts and their fields ---

namespace {

class Texts : public ::testing::Test, protected EngineOnBus {
 protected:
  /// The payload that `operation` sends for `text`.
  Bytes payload_of(bool (LcmRequest::*operation)(const char*), const std::string& text) {
    const std::size_t before = bus.published().size();
    quietly([&] { return (engine.*operation)(text.c_str()); });
    const udp_ctrl_cam_t record = bus.published().at(before).record();
    return Bytes(std::begin(record.cmd_params), std::end(record.cmd_params));
  }

  static Bytes padded(const std::string& text) { return bytes_of_text(text, 128); }
};

}  // namespace

TEST_F(Texts, OfAPasswordTravelUpTo21Characters) {
  for (const std::size_t size : {0U, 1U, 20U, 21U, 22U, 200U}) {
    EXPECT_EQ(payload_of(&LcmRequest::set_wifi_passwd, letters(size)),
              padded(letters(std::min<std::size_t>(size, 21))));
  }
}

TEST_F(Texts, OfANetworkNameTravelUpTo20Characters) {
  for (const std::size_t size : {0U, 1U, 19U, 20U, 21U, 200U}) {
    EXPECT_EQ(payload_of(&LcmRequest::set_wifi_ssid, letters(size)),
              padded(letters(std::min<std::size_t>(size, 20))));
  }
}

TEST_F(Texts, OfACountryCodeAndABoardTravelAsLongAsTheyFit) {
  for (const std::size_t size : {0U, 2U, 10U, 127U, 128U, 129U, 200U}) {
    const Bytes expected = padded(letters(std::min<std::size_t>(size, 128)));
    EXPECT_EQ(payload_of(&LcmRequest::set_country_code, letters(size)), expected);
    EXPECT_EQ(payload_of(&LcmRequest::send_rc_board_id, letters(size)), expected);
  }
}

TEST_F(Texts, AreTracedInFull) {
  EXPECT_NE(transcript_of([&] {
              engine.set_wifi_passwd(letters(30).c_str());
            }).find("\nset wifi_passwd  = " + letters(30) + "\n"),
            std::string::npos);
  EXPECT_NE(transcript_of([&] {
              engine.set_wifi_ssid(letters(30).c_str());
            }).find("\nset wifi_ssid  = " + letters(30) + "\n"),
            std::string::npos);
}

TEST_F(Texts, OfAMediaFolderFillTheirFieldWithoutATerminator) {
  for (const std::size_t size : {0U, 3U, 63U, 64U, 65U, 200U}) {
    const std::size_t before = bus.published().size();
    quietly([&] { return engine.set_media_folder(2, letters(size).c_str()); });
    EXPECT_EQ(
        bytes_of(bus.published().at(before).record()),
        request_bytes(UDP_CTRL_CAM_SET_MEDIA_FOLDER,
                      joined({2}, bytes_of_text(letters(std::min<std::size_t>(size, 64)), 64))));
  }
}

TEST_F(Texts, OfAMediaFolderAreHandedOutWithoutATerminatorWhenTheyFillTheirField) {
  bus.answer(joined({1}, bytes_of_text(letters(64), 70)));
  auto name = untouched<std::array<char, 65>>();
  u8 enable_flag = 0;
  EXPECT_TRUE(quietly([&] { return engine.get_media_folder(enable_flag, name.data()); }));
  EXPECT_EQ(bytes_of(name), joined(bytes_of_text(letters(64)), {Operation::kUntouched}));
}

TEST_F(Texts, OfAMediaFolderHideWhatFollowsTheirTerminator) {
  Bytes field = bytes_of_text("101MEDIA", 64);
  field[20] = 'x';
  bus.answer(joined({1}, field));
  auto name = untouched<std::array<char, 64>>();
  u8 enable_flag = 0;
  EXPECT_TRUE(quietly([&] { return engine.get_media_folder(enable_flag, name.data()); }));
  EXPECT_EQ(bytes_of(name), bytes_of_text("101MEDIA", 64));
}

TEST_F(Texts, OfACountryCodeArePrintedBoundedWhenTheyFillTheirField) {
  LcmRequest::Data data{};
  std::memcpy(data.country_code, "0123456789", sizeof data.country_code);
  LcmRequestPeer::set_data(engine, data);
  auto code = untouched<std::array<char, 11>>();
  const std::string shown = transcript_of([&] { engine.get_country_code(code.data()); });
  EXPECT_EQ(bytes_of(code), joined(bytes_of_text("0123456789"), {Operation::kUntouched}));
  EXPECT_EQ(shown.substr(shown.find("get country_code:")), "get country_code:0123456789\n");
}

TEST_F(Texts, OfAModelFillTheirEightBytes) {
  bus.answer(bytes_of_text("VLMCAM63\1\2\3r"));
  u32 version = 0;
  auto name = untouched<std::array<char, 9>>();
  EXPECT_TRUE(quietly([&] { return engine.get_camera_version(version, name.data()); }));
  EXPECT_EQ(version, 0x72030201U);
  EXPECT_EQ(bytes_of(name), joined(bytes_of_text("VLMCAM63"), {Operation::kUntouched}));
}

// --- Properties ---

namespace {

class Properties : public ::testing::Test, protected EngineOnBus {
 protected:
  struct Result {
    bool success;
    std::string shown;
    Bytes buffer;  // the caller's 128 bytes
  };

  /// A property operation on a buffer of 128 bytes, or as many as the text has if more. A step
  /// beyond them meets an exclamation mark.
  Result exchange(bool (LcmRequest::*operation)(char*), const std::string& text) {
    std::string memory = text;
    memory.resize(std::max<std::size_t>(128, text.size()));
    memory += "!";
    Result result{};
    result.shown = without_durations(
        transcript_of([&] { result.success = (engine.*operation)(memory.data()); }));
    result.buffer = bytes_of_text(memory.substr(0, 128));
    EXPECT_EQ(memory.back(), '!');
    return result;
  }
  Result set(const std::string& text) { return exchange(&LcmRequest::set_property, text); }
  Result get(const std::string& text) { return exchange(&LcmRequest::get_property, text); }

  /// Nothing was sent and only `line` was printed.
  void expect_refused(const Result& result, const std::string& text, const std::string& line) {
    EXPECT_FALSE(result.success);
    EXPECT_EQ(result.shown, line + text + "\n");
    EXPECT_EQ(result.buffer, bytes_of_text(text, 128));
    EXPECT_TRUE(bus.published().empty());
  }
};

std::string assignment(std::size_t size) { return "name=" + letters(size - 5); }

}  // namespace

TEST_F(Properties, AreSetWithUpTo127Characters) {
  bus.answer(bytes_of_text("previous"));
  for (const std::string& text : {std::string("="), std::string("=value"), std::string("name="),
                                  assignment(16), assignment(63), assignment(127)}) {
    const std::size_t before = requests().size();
    const Result result = set(text);
    EXPECT_TRUE(result.success);
    EXPECT_EQ(requests().at(before), request_bytes(UDP_CTRL_CAM_SET_PROPERTY, bytes_of_text(text)));
    EXPECT_EQ(result.buffer, bytes_of_text("previous", 128));
    EXPECT_EQ(result.shown,
              camera_operation("set_property")
                  .sends(bytes_of_text(text))
                  .traces("LcmRequest::set_property set prop: " + text + "\n")
                  .says("set property: new value: " + text + ", previous value: previous\n")
                  .success_transcript());
  }
}

TEST_F(Properties, ThatAreNoAssignmentAreNotSet) {
  for (const std::string& text :
       {std::string(), std::string("a"), std::string("abc"), letters(16), letters(127)}) {
    expect_refused(set(text), text, "LcmRequest::set_property bad prop: ");
  }
}

TEST_F(Properties, Of128BytesAndMoreAreNotSet) {
  for (const std::size_t size : {128U, 129U, 200U}) {
    expect_refused(set(letters(size)), letters(128), "LcmRequest::set_property bad prop: ");
    expect_refused(set(assignment(size)), assignment(128), "LcmRequest::set_property bad prop: ");
  }
}

TEST_F(Properties, AreReadByTheFirst128CharactersOfAName) {
  bus.answer(bytes_of_text("value"));
  for (const std::size_t size : {1U, 16U, 127U, 128U, 129U, 200U}) {
    const std::size_t before = requests().size();
    const Result result = get(letters(size));
    const std::string name = letters(std::min<std::size_t>(size, 128));
    EXPECT_TRUE(result.success);
    EXPECT_EQ(requests().at(before), request_bytes(UDP_CTRL_CAM_GET_PROPERTY, bytes_of_text(name)));
    EXPECT_EQ(result.buffer, bytes_of_text("value", 128));
    EXPECT_EQ(result.shown, camera_operation("get_property")
                                .traces("get property:" + name + "\n")
                                .says("get property:value\n")
                                .success_transcript());
  }
}

TEST_F(Properties, AreNotReadByAnEmptyNameOrByAnAssignment) {
  for (const std::string& text : {std::string(), std::string("="), std::string("name=value"),
                                  letters(15) + "=", letters(126) + "=", letters(127) + "="}) {
    expect_refused(get(text), text, "LcmRequest::get_property bad prop: ");
  }
}

TEST_F(Properties, AreHandedOutAndPrintedBoundedWhenTheAnswerFillsTheRecord) {
  bus.answer(bytes_of_text(letters(128)));
  const Result value = get("name");
  EXPECT_EQ(value.buffer, bytes_of_text(letters(128)));
  EXPECT_EQ(value.shown.substr(value.shown.find("Ack OK\n")),
            "Ack OK\nget property:" + letters(128) + "\n");
  const Result previous = set("name=value");
  EXPECT_EQ(previous.buffer, bytes_of_text(letters(128)));
  EXPECT_EQ(previous.shown.substr(previous.shown.find("Ack OK\n")),
            "Ack OK\nset property: new value: name=value, previous value: " + letters(128) + "\n");
}

TEST_F(Properties, ThatCannotBeSetAreNamedWhole) {
  bus.answer({}, kCameraError);
  const Result result = set(assignment(127));
  EXPECT_FALSE(result.success);
  EXPECT_EQ(result.buffer, bytes_of_text(assignment(127), 128));
  const std::string line = "set_propery " + assignment(127) + " failed\n";
  EXPECT_EQ(result.shown.substr(result.shown.size() - line.size()), line);
}

// --- What sends nothing ---

TEST(AFramerateDivisor, ThatIsMissingIsNotSent) {
  EngineOnBus camera;
  bool success = true;
  const auto set_none = [&] { success = camera.engine.set_main_stream_framerate_divisor(nullptr); };
  EXPECT_EQ(transcript_of(set_none), "");
  EXPECT_FALSE(success);
  EXPECT_TRUE(camera.requests().empty());
}

TEST(TheSurveyModeFlag, IsAlwaysZeroAndNeverAskedFor) {
  EngineOnBus camera;
  camera.bus.stay_silent();
  const PendingRequest pending(camera.engine);  // not even a busy engine matters
  const auto published_before = camera.requests();
  u8 flag = 183;
  bool success = false;
  EXPECT_EQ(
      transcript_of([&] { success = camera.engine.get_survey_mode_flag(flag); }),
      "get_survey_mode_flag(),L2552 survey_flag is not the real value, reserved it for future\n");
  EXPECT_TRUE(success);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(camera.requests(), published_before);
}
