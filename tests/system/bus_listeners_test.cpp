// The service's subscriptions, in this process, and the simulated camera in another.

#include "bus_listeners.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include "lcm_request.h"
#include "process.h"
#include "transcript.h"

namespace {

using namespace vlm::service;

TEST(BusListeners, BringAnswersOfCameraAndStreamingProcessToTheEngine) {
  const TemporaryDirectory directory;
  setenv("VLM_BUS_DIR", (directory / "bus").c_str(), 1);
  Process camera({program("camera_sim")});
  camera.read_until("camera_sim: ready");

  ASSERT_TRUE(start_bus_listeners());
  const Transcript transcript;
  u8 mode = 0;
  EXPECT_TRUE(lcm_request.get_camera_mode(mode));
  EXPECT_EQ(mode, 1);
  u8 flag = 9;
  EXPECT_TRUE(lcm_request.set_rtsp_flow_control(1));
  EXPECT_TRUE(lcm_request.get_rtsp_flow_control(flag));
  EXPECT_EQ(flag, 1);
  EXPECT_TRUE(lcm_request.set_rtsp_flow_control(0));
  EXPECT_TRUE(lcm_request.get_rtsp_flow_control(flag));
  EXPECT_EQ(flag, 0);
  EXPECT_TRUE(lcm_request.send_rtsp_live_view_fps(25));
}

}  // namespace
