#include "vlm_test_listener.h"

#include <pthread.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <system_error>
#include <thread>

#include "lcm_request.h"
#include "velmar_output.h"

namespace {

template <typename T>
T read_message(const msg_from_rep_t& message) {
  static_assert(sizeof(T) <= sizeof message.msg_data);
  T record;
  std::memcpy(&record, message.msg_data, sizeof record);
  return record;
}

void print_storage_notification(u8 packed) {
  const int status = packed & 7;
  const int storage_id = (packed & 0x38) >> 3;
  const int count = (packed >> 6) + 1;
  std::printf("storage notification: status %d, storage id %d, count %d\n", status, storage_id,
              count);
  switch (status) {
    case VLM_STORAGE_REMOVED: std::puts("sdcard is removed"); break;
    case VLM_STORAGE_INSERTED: std::puts("sdcard is inserted"); break;
    default: std::puts("sdcard is erroneous."); break;
  }
}

void print_image_info(const udp_ctrl_cam_misc_image_info_t& info) {
  constexpr char kName[] = "TestGetLcmMsg";
  std::puts("Received image EXIF");
  std::printf("[%s]:roll(%f);pitch(%f);yaw(%f);latitude(%lf);longitude(%lf);altitude(%f)\n", kName,
              static_cast<double>(info.roll), static_cast<double>(info.pitch),
              static_cast<double>(info.yaw), info.latitude, info.longitude,
              static_cast<double>(info.altitude));
  std::printf("[%s]:url = %.64s;image_index = %d;result = %d\n", kName, info.url,
              static_cast<int>(info.image_index), info.result);
}

void print_notification(const msg_from_rep_t& message) {
  switch (message.msg_type) {
    case LCM_SDCARD_STATUS: print_storage_notification(message.msg_data[0]); break;
    case LCM_MISC_IMAGE_INFO:
      print_image_info(read_message<udp_ctrl_cam_misc_image_info_t>(message));
      break;
    case LCM_UPDATE_CAMERA_MODE: std::puts("received setCamMode ack"); break;
    case LCM_CAPTURE_IMAGE_RESULT: std::puts("received imageCaptured ack"); break;
    default: break;
  }
}

/// The engine shows a reply's line itself: most often together with those of the woken caller.
void act_on(const msg_from_rep_t& message) {
  if (message.msg_type == LCM_CONTROL_CAMERA) {
    lcm_request.receive_msg(read_message<udp_ctrl_cam_t>(message));
  } else {
    print_notification(message);
    show_output();
  }
}

/// The part of a packet that is looked at.
struct CameraPacket {
  decltype(userlcm_packet_t::channel) channel;
  msg_from_rep_t message;
};
static_assert(offsetof(CameraPacket, message) == offsetof(userlcm_packet_t, msg_buf));

bool is_from_camera(const CameraPacket& packet) {
  // The field may lack its terminator; the name with its terminator fits in either case.
  return std::memcmp(packet.channel, kRequestChannel, sizeof kRequestChannel) == 0;
}

}  // namespace

void TestGetLcmMsg(void* buf, unsigned int len, char* channel, void* /*user*/) {
  if (buf == nullptr || channel == nullptr) return;
  if (std::strcmp(channel, kReplyChannel) != 0) {
    std::printf("[%s]:The channel is not \"%s\"!\n", "TestGetLcmMsg", "velmar_udp");
    show_output();
    return;
  }
  CameraPacket packet;
  const std::size_t size = std::min<std::size_t>(len, sizeof packet);
  std::memcpy(&packet, buf, size);
  std::memset(reinterpret_cast<char*>(&packet) + size, 0, sizeof packet - size);
  if (!is_from_camera(packet)) {
    std::printf("UDP -- src channel is not \"%s\"!\n", kRequestChannel);
    show_output();
    return;
  }
  act_on(packet.message);
}

void udp_start_receiving_messages() {
  // Never freed: the thread serves it for as long as the process lives.
  auto* const subscription = new (std::nothrow) Receive_msg_t{};
  if (subscription == nullptr) {
    std::printf("[%s]:p_udp_msg is null!\n", "udp_start_receiving_messages");
    return;
  }
  std::memcpy(subscription->channel, kReplyChannel, sizeof kReplyChannel);
  subscription->f = TestGetLcmMsg;
  try {
    std::thread listener(register_lcm_message, subscription);
    pthread_setname_np(listener.native_handle(), "TESTLMSG");
    listener.detach();
  } catch (const std::system_error& error) {
    delete subscription;
    show_output();
    std::fprintf(stderr, "vlm_test: cannot start the bus listener: %s\n",
                 error.code().message().c_str());
  }
}
