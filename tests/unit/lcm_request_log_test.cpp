// What the request engine leaves in the trace log.

#include "engine_test.h"
#include "pattern.h"
#include "temporary_directory.h"
#include "velmar_log.h"

namespace {

using std::chrono::milliseconds;

class RequestLog : public EngineTest {
 protected:
  RequestLog() {
    _dir.write("trigger");
    F_PATH = _log_path.c_str();
    F_TRIG = _trigger.c_str();
    F_LOG_TO_CONSOLE = _no_console.c_str();
    vlm_camera_log_init();
    _banner = _dir.read("test.log");
  }
  ~RequestLog() override { vlm_camera_log_destroy(); }

  /// What stands behind the banner, with T for each time stamp.
  std::string logged() const {
    return replaced(_dir.read("test.log").substr(_banner.size()), ", -?[0-9]{6,}\n", ", T\n");
  }

  TemporaryDirectory _dir;
  const std::string _log_path = _dir / "test.log";
  const std::string _trigger = _dir / "trigger";
  const std::string _no_console = _dir / "log_to_console";
  std::string _banner;
};

TEST_F(RequestLog, StaysEmptyOnSuccess) {
  EXPECT_EQ(request(UDP_CTRL_CAM_GET_IRIS), kSuccess);
  EXPECT_EQ(logged(), "");
}

TEST_F(RequestLog, TellsATimeout) {
  give_up_after(milliseconds(1));
  bus().stay_silent();
  EXPECT_EQ(request(UDP_CTRL_CAM_GET_IRIS), kTimedOut);
  EXPECT_EQ(logged(),
            "error: LCM request GET_IRIS timeout waiting for answer, T\n"
            "LCM request GET_IRIS failed with: VLM is timeout, T\n");
}

TEST_F(RequestLog, TellsTheCamerasError) {
  bus().answer({}, VLM_ERR_BUSY);
  request(UDP_CTRL_CAM_GET_IRIS);
  EXPECT_EQ(logged(), "LCM request GET_IRIS failed with: VLM busy, T\n");
}

TEST_F(RequestLog, TellsABusyEngineAndWhoFailed) {
  give_up_waiting_in_line_after(milliseconds(1));
  ASSERT_TRUE(_engine.get_ready("first"));
  EXPECT_FALSE(_engine.get_ready("second"));
  EXPECT_EQ(logged(),
            "Error: a request is already pending., T\n"
            " second() failed., T\n");
}

TEST_F(RequestLog, TellsABusyEngineToANamelessCaller) {
  give_up_waiting_in_line_after(milliseconds(1));
  ASSERT_TRUE(_engine.get_ready("first"));
  EXPECT_FALSE(_engine.get_ready(nullptr));
  EXPECT_EQ(logged(), "Error: a request is already pending., T\n");
}

TEST_F(RequestLog, TellsOfAnInconsistencyOnlyItsFailure) {
  give_up_after(milliseconds(1));
  bus().stay_silent();
  send(UDP_CTRL_CAM_GET_IRIS);
  EXPECT_EQ(logged(),
            "error: LCM request GET_IRIS timeout waiting for answer, T\n"
            "LCM request GET_IRIS failed with: VLM failed, T\n");
}

TEST_F(RequestLog, CountsNothing) {
  bus().answer({}, VLM_ERR_BUSY);
  request(UDP_CTRL_CAM_GET_IRIS);
  EXPECT_EQ(g_cmd_num.total_num, 0);
  EXPECT_EQ(g_cmd_num.ok_num, 0);
  EXPECT_EQ(g_cmd_num.fail_num, 0);
  EXPECT_EQ(g_cmd_num.mavlink_num, 0);
}

}  // namespace
