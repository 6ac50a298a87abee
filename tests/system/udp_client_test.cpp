// The console's UDP test client against the service and the simulated camera, on the service's own
// port.

#include <gtest/gtest.h>

#include "camctrl_app.h"
#include "process.h"

namespace {

/// Replies reach the client's own listener, too, which does not wait for any.
std::string without_strays(std::string text) {
  const std::string stray = "not waiting on answer\n";
  for (auto at = text.find(stray); at != std::string::npos; at = text.find(stray)) {
    text.erase(at, stray.size());
  }
  return text;
}

TEST(UdpClientProgram, DrivesTheCameraThroughTheService) {
  const PortLock lock(9528);
  const TemporaryDirectory directory;
  const std::vector<std::string> environment{"VLM_BUS_DIR=" + directory / "bus"};
  Process camera({program("camera_sim")}, environment);
  camera.read_until("camera_sim: ready");
  Process service({program("vlm_udp_service"), "--sdcard", directory.path()}, environment);
  service.read_until("serving port 9528\n");

  const auto udp = [&environment](std::vector<std::string> words) {
    words.insert(words.begin(), {program("vlm_test"), "udp"});
    Process client(words, environment);
    const std::string output = without_strays(client.read_all());
    EXPECT_EQ(client.wait(), 0);
    return output;
  };
  EXPECT_EQ(udp({"setcammode", "photo"}),
            "send msg ok.\n"
            "Received msg:\n"
            "0xfe 0x02 0x00 0x00 0x00 0x00 0x00 0x07 \n"
            "0x30 0x8b \n"
            "send msg reply:VLM success\n");
  EXPECT_EQ(udp({"getcammode"}),
            "send msg ok.\n"
            "Received msg:\n"
            "0xfe 0x03 0x00 0x00 0x00 0x00 0x10 0x19 \n"
            "0x02 0x12 0x52 \n"
            "send msg reply:VLM success\n"
            "CAMERA_MODE = 2(1--video,2--photo)\n");
  EXPECT_EQ(udp({"record", "start"}),
            "send msg ok.\n"
            "Received msg:\n"
            "0xfe 0x02 0x00 0x00 0x00 0x0b 0x00 0x01 \n"
            "0x7c 0x1b \n"
            "send msg reply:VLM is not video mode\n");
}

}  // namespace
