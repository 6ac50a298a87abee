// The console's bus listener: which packets it takes, and what each type prints.

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "lcm_request.h"
#include "lcm_request_peer.h"
#include "scripted_bus.h"
#include "temporary_directory.h"
#include "transcript.h"
#include "vlm_test.h"

namespace {

bool out_of_memory = false;

}  // namespace

// The nothrow form of new fails on demand.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return out_of_memory ? nullptr : ::operator new(size);
}

namespace {

using Bytes = std::vector<u8>;

constexpr char kOtherChannel[] = "[TestGetLcmMsg]:The channel is not \"velmar_udp\"!\n";
constexpr char kOtherSender[] = "UDP -- src channel is not \"velmar_repeater_udp\"!\n";
constexpr char kNothingPending[] = "not waiting on answer\n";

class Listener : public testing::Test {
 protected:
  Listener() { ScriptedBus::instance().reset(); }
  ~Listener() override { ScriptedBus::instance().reset(); }

  /// The 1088 bytes of a packet of the camera.
  static Bytes packet(u8 type, const Bytes& data = {},
                      const std::string& sender = "velmar_repeater_udp") {
    Bytes bytes(1088);
    std::copy(sender.begin(), sender.end(), bytes.begin());
    bytes[64] = type;
    std::copy(data.begin(), data.end(), bytes.begin() + 65);
    return bytes;
  }

  /// What the listener prints on a packet that arrives on `channel`.
  static std::string hear(const Bytes& bytes, std::string channel = "velmar_udp_repeater") {
    // Exactly as long as it says, so that a read beyond the end is seen.
    const std::unique_ptr<u8[]> buffer(new u8[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), buffer.get());
    return transcript_of([&] {
      TestGetLcmMsg(buffer.get(), static_cast<unsigned int>(bytes.size()), channel.data(), nullptr);
    });
  }

  /// The same on the first `size` bytes of a packet.
  static std::string hear_cut(const Bytes& bytes, std::size_t size) {
    return hear(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)));
  }

  static Bytes image_info(const udp_ctrl_cam_misc_image_info_t& info) {
    Bytes bytes(sizeof info);
    std::memcpy(bytes.data(), &info, sizeof info);
    return bytes;
  }
};

// --- Which packets are taken ---

TEST_F(Listener, IgnoresNullPointers) {
  char channel[] = "velmar_udp_repeater";
  Bytes bytes = packet(7);
  EXPECT_EQ(transcript_of([&] {
              TestGetLcmMsg(nullptr, 1088, channel, nullptr);
              TestGetLcmMsg(bytes.data(), 1088, nullptr, nullptr);
              TestGetLcmMsg(nullptr, 0, nullptr, nullptr);
            }),
            "");
}

TEST_F(Listener, ReportsPacketsOfOtherChannels) {
  for (const char* const channel : {"", "velmar_udp", "velmar_udp_repeate", "velmar_udp_repeater2",
                                    "velmar_repeater_udp", "VELMAR_UDP_REPEATER"}) {
    EXPECT_EQ(hear(packet(7), channel), kOtherChannel) << channel;
  }
}

TEST_F(Listener, ReportsPacketsOfOtherSenders) {
  for (const char* const sender : {"", "velmar_udp", "velmar_repeater_ud", "velmar_repeater_udp2",
                                   "velmar_udp_repeater", "lcm_channel_from_udp"}) {
    EXPECT_EQ(hear(packet(7, {}, sender)), kOtherSender) << sender;
  }
}

TEST_F(Listener, ReportsASenderWithoutATerminator) {
  EXPECT_EQ(hear(packet(7, {}, std::string(64, 'v'))), kOtherSender);
  EXPECT_EQ(hear(packet(7, {}, "velmar_repeater_udp" + std::string(45, 'x'))), kOtherSender);
}

TEST_F(Listener, ReadsTheSenderUpToItsTerminator) {
  EXPECT_EQ(hear(packet(7, {}, std::string("velmar_repeater_udp\0 and more", 29))),
            "received setCamMode ack\n");
}

TEST_F(Listener, LooksAtTheChannelBeforeTheSender) {
  EXPECT_EQ(hear(packet(7, {}, "other"), "other"), kOtherChannel);
}

// --- What each type does ---

TEST_F(Listener, HandsRepliesToTheEngine) {
  ScriptedBus::instance().deliver_to([](const udp_ctrl_cam_t& reply) {
    userlcm_packet_t bytes = camera_packet(reply);
    char channel[] = "velmar_udp_repeater";
    TestGetLcmMsg(&bytes, 64 + 257, channel, nullptr);
  });
  ScriptedBus::instance().answer({0x34, 0x12});
  u16 iris = 0;
  EXPECT_TRUE(lcm_request.get_iris(iris));
  EXPECT_EQ(iris, 0x1234);
}

TEST_F(Listener, PassesTheWholeRecordOn) {
  ASSERT_TRUE(lcm_request.get_ready("caller"));
  Bytes record(132, 'x');
  record[0] = UDP_CTRL_CAM_GET_PROPERTY;
  record[1] = record[130] = record[131] = 0;
  hear(packet(3, record));
  EXPECT_EQ(std::string(LcmRequestPeer::data(lcm_request).property_str, 128),
            std::string(128, 'x'));
  EXPECT_TRUE(lcm_request.send_and_wait(camera_record(UDP_CTRL_CAM_GET_PROPERTY), nullptr));
}

TEST_F(Listener, LetsTheEngineReportAReplyThatNothingWaitsFor) {
  EXPECT_EQ(hear(packet(3)), kNothingPending);
}

TEST_F(Listener, DecodesTheStorageByteOfTheExample) {
  EXPECT_EQ(hear(packet(5, {0x4a})),
            "storage notification: status 2, storage id 1, count 2\nsdcard is inserted\n");
}

TEST_F(Listener, DecodesEveryStorageByte) {
  const char* const sentences[] = {"sdcard is removed",    "sdcard is erroneous.",
                                   "sdcard is inserted",   "sdcard is erroneous.",
                                   "sdcard is erroneous.", "sdcard is erroneous.",
                                   "sdcard is erroneous.", "sdcard is erroneous."};
  int byte = 0;
  for (int count = 1; count <= 4; ++count) {
    for (int id = 0; id < 8; ++id) {
      for (int status = 0; status < 8; ++status, ++byte) {
        EXPECT_EQ(hear(packet(5, {static_cast<u8>(byte)})),
                  "storage notification: status " + std::to_string(status) + ", storage id " +
                      std::to_string(id) + ", count " + std::to_string(count) + "\n" +
                      sentences[status] + "\n");
      }
    }
  }
}

TEST_F(Listener, PrintsTheImageInformation) {
  udp_ctrl_cam_misc_image_info_t info{1.5F,   -2.25F, 359.875F, 22.123456, -113.5,
                                      120.5F, {},     42,       -7};
  std::strcpy(info.url, "/sdcard/DCIM/101/IMG_0042.JPG");
  EXPECT_EQ(hear(packet(6, image_info(info))),
            "Received image EXIF\n"
            "[TestGetLcmMsg]:roll(1.500000);pitch(-2.250000);yaw(359.875000);latitude(22.123456);"
            "longitude(-113.500000);altitude(120.500000)\n"
            "[TestGetLcmMsg]:url = /sdcard/DCIM/101/IMG_0042.JPG;image_index = 42;result = -7\n");
}

TEST_F(Listener, PrintsAnImageUrlWithoutATerminator) {
  udp_ctrl_cam_misc_image_info_t info{};
  std::memset(info.url, 'u', sizeof info.url);
  info.image_index = 0x7a7a7a7a;  // text, if it were read on
  EXPECT_EQ(hear(packet(6, image_info(info))),
            "Received image EXIF\n"
            "[TestGetLcmMsg]:roll(0.000000);pitch(0.000000);yaw(0.000000);latitude(0.000000);"
            "longitude(0.000000);altitude(0.000000)\n"
            "[TestGetLcmMsg]:url = " +
                std::string(64, 'u') + ";image_index = 2054847098;result = 0\n");
}

TEST_F(Listener, PrintsTheAcknowledgements) {
  EXPECT_EQ(hear(packet(7)), "received setCamMode ack\n");
  EXPECT_EQ(hear(packet(8)), "received imageCaptured ack\n");
}

TEST_F(Listener, IgnoresEveryOtherType) {
  for (int type = 0; type <= 255; ++type) {
    if (type == 3 || (type >= 5 && type <= 8)) continue;
    EXPECT_EQ(hear(packet(static_cast<u8>(type), Bytes(256, 0xff))), "") << type;
  }
}

// --- Packets of other lengths ---

TEST_F(Listener, CompletesShortPacketsWithZeros) {
  for (const std::size_t size : {0U, 1U, 19U - 1U}) {
    EXPECT_EQ(hear_cut(packet(7), size), kOtherSender) << size;
  }
  // The name is complete, but there is no type.
  for (const std::size_t size : {19U, 63U, 64U}) EXPECT_EQ(hear_cut(packet(7), size), "") << size;
  EXPECT_EQ(hear_cut(packet(7), 65), "received setCamMode ack\n");
  EXPECT_EQ(hear_cut(packet(5, {0x4a}), 65),
            "storage notification: status 0, storage id 0, count 1\nsdcard is removed\n");
  EXPECT_EQ(hear_cut(packet(3), 65), kNothingPending);
}

TEST_F(Listener, CompletesAShortRecordWithZeros) {
  const Bytes error = packet(3, [] {
    Bytes record(132);
    record[0] = UDP_CTRL_CAM_GET_IRIS;
    record[130] = 5;
    record[131] = 1;
    return record;
  }());
  ASSERT_TRUE(lcm_request.get_ready("caller"));
  EXPECT_EQ(without_durations(hear_cut(error, 195)), "LCM request GET_IRIS took: N ms, error 0\n");
  EXPECT_EQ(without_durations(hear_cut(error, 196)), "LCM request GET_IRIS took: N ms, error 5\n");
  EXPECT_EQ(without_durations(hear_cut(error, 197)),
            "LCM request GET_IRIS took: N ms, error 261\n");
  EXPECT_FALSE(lcm_request.send_and_wait(camera_record(UDP_CTRL_CAM_GET_IRIS), nullptr));
}

TEST_F(Listener, CompletesShortImageInformationWithZeros) {
  udp_ctrl_cam_misc_image_info_t info{};
  std::memset(&info, 0x41, sizeof info);
  EXPECT_EQ(hear_cut(packet(6, image_info(info)), 65 + 32 + 3),
            "Received image EXIF\n"
            "[TestGetLcmMsg]:roll(12.078431);pitch(12.078431);yaw(12.078431);latitude(2261634."
            "509804);longitude(2261634.509804);altitude(12.078431)\n"
            "[TestGetLcmMsg]:url = AAA;image_index = 0;result = 0\n");
}

TEST_F(Listener, TakesNoMoreThanAPacket) {
  EXPECT_EQ(hear(packet(7)), "received setCamMode ack\n");
  Bytes bytes = packet(7);
  bytes.resize(5000, 0xff);
  EXPECT_EQ(hear(bytes), "received setCamMode ack\n");
  bytes = packet(3);
  bytes.resize(5000, 0xff);
  EXPECT_EQ(hear(bytes), kNothingPending);
}

// --- Starting ---

/// Names of the threads of this process.
std::vector<std::string> thread_names() {
  std::vector<std::string> names;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::string name;
    std::getline(std::ifstream(task.path() / "comm") >> std::ws, name);
    names.push_back(name);
  }
  return names;
}

TEST_F(Listener, ServesTheReplyChannelOnAThreadOfItsOwn) {
  EXPECT_EQ(transcript_of([] { udp_start_receiving_messages(); }), "");
  const Receive_msg_t* const subscription = ScriptedBus::instance().wait_for_subscription();
  Bytes channel(64);
  std::memcpy(channel.data(), "velmar_udp_repeater", 19);
  EXPECT_EQ(Bytes(subscription->channel, subscription->channel + 64), channel);
  EXPECT_EQ(subscription->f, TestGetLcmMsg);
  EXPECT_EQ(subscription->func, nullptr);
  const auto names = thread_names();
  EXPECT_EQ(std::count(names.begin(), names.end(), "TESTLMSG"), 1);
}

TEST_F(Listener, ReportsThatItHasNoMemory) {
  const std::size_t before = thread_names().size();
  out_of_memory = true;
  const std::string text = transcript_of([] { udp_start_receiving_messages(); });
  out_of_memory = false;
  EXPECT_EQ(text, "[udp_start_receiving_messages]:p_udp_msg is null!\n");
  EXPECT_EQ(thread_names().size(), before);
}

/// While it lives, a thread's stack does not fit into memory: none can be made.
class NoThreads {
 public:
  NoThreads() {
    pthread_getattr_default_np(&_before);
    pthread_attr_t huge;
    pthread_attr_init(&huge);
    pthread_attr_setstacksize(&huge, std::numeric_limits<std::size_t>::max() / 4 * 3);
    pthread_setattr_default_np(&huge);
    pthread_attr_destroy(&huge);
  }
  ~NoThreads() {
    pthread_setattr_default_np(&_before);
    pthread_attr_destroy(&_before);
  }
  NoThreads(const NoThreads&) = delete;
  NoThreads& operator=(const NoThreads&) = delete;

 private:
  pthread_attr_t _before;
};

TEST_F(Listener, ReportsThatItHasNoThreadAndGoesOn) {
  const std::size_t before = thread_names().size();
  const Transcript errors(STDERR_FILENO);
  {
    const NoThreads none;
    EXPECT_EQ(transcript_of([] { udp_start_receiving_messages(); }), "");
  }
  EXPECT_EQ(errors.text(),
            "vlm_test: cannot start the bus listener: Resource temporarily unavailable\n");
  EXPECT_EQ(thread_names().size(), before);
}

// --- Files ---

TEST(FileExists, IsTrueForWhatCanBeLookedUp) {
  const TemporaryDirectory dir;
  dir.write("file");
  std::filesystem::create_symlink(dir / "missing", dir / "dangling");
  std::filesystem::create_symlink(dir / "file", dir / "link");
  EXPECT_TRUE(file_exists((dir / "file").c_str()));
  EXPECT_TRUE(file_exists((dir / "link").c_str()));
  EXPECT_TRUE(file_exists(dir.path().c_str()));
  EXPECT_FALSE(file_exists((dir / "missing").c_str()));
  EXPECT_FALSE(file_exists((dir / "dangling").c_str()));
  EXPECT_FALSE(file_exists((dir / "file/below").c_str()));
  EXPECT_FALSE(file_exists(""));
}

}  // namespace
