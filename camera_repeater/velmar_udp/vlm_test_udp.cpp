// The UDP test client: one word command becomes one request, and its reply is printed.

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "velmar_err.h"
#include "velmar_udp_master_k720.h"
#include "velmar_udp_master_k720_print.h"
#include "vlm_test.h"

namespace {

constexpr u16 kServicePort = 9528;
constexpr std::size_t kHeaderSize = offsetof(camctrl_msg_t, payload.params);

constexpr const char* kUsage[] = {
    "getcammode",
    "setcammode video|v|photo|p",
    "shutter",
    "record start|stop",
    "getvideo",
    "setvideo [video_h] [video_v] [video_f]",
    "getver",
    "settime [year] [month] [day] [hour] [minute] [second]",
    "such as:2017 12 27 16 53 8",
    "setphotoformat jpg|jpg+dng",
    "setphotomode single|burst [pcs]|",
    "aeb [pcs] [ev_num] [ev_dem]|panohorizon|panohemisphere",
    "setphotoquality low|medium|high|ultra_high",
    "setae auto|manual",
    "setev [ev_num] [ev_dem]",
    "setshutter [shutter_num] [shutter_dem]",
    "setiso [iso]",
    "setshutteriso [shutter_num] [shutter_dem] [ISO]",
    "setmetermode center|average|spot",
    "setspotmetercoords [x_ratio] [y_ratio]",
    "setflickermode auto|60Hz|50Hz",
    "getwb",
    "setwb auto|incandescent|sunrise|sunset|sunny|",
    "cloudy|fluorescent|lock|manual",
    "setmanwb [30,80]",
    "getiq",
    "setiq nature|saturation|raw|night",
    "formatsd",
    "resetcamera",
    "rebootcamera",
    "getsystemmode",
    "setsystemmode NTSC|PAL",
    "getencodemode",
    "setencodemode H264|H265",
    "getphotoratio",
    "setphotoratio 3:2|4:3|16:9",
    "setfiletype MP4|MOV",
};

/// How the arguments of a word became data.
enum class Encoded {
  kYes,
  kInvalidUse,  // no: to be answered by "Invalid use." and the word's message
  kReported,    // no, and the fault has been printed
};

struct WordCommand;
using Encoder = Encoded (*)(const WordCommand& command, int argc, char** argv,
                            camctrl_msg_t& request);

struct WordCommand {
  const char* word;
  int argc;             // the count that it takes; 0: not checked
  const char* message;  // printed on a bad count or argument; null: the usage list
  velmar_cmd_option option;
  Encoder encode;  // null: no data
};

/// A word that stands for a value of a command's byte.
struct Choice {
  velmar_cmd_option option;
  const char* word;
  u8 value;
};

constexpr Choice kChoices[] = {
    {VELMAR_CAMERACTRL_RECORD_START, "start", VELMAR_CAMERACTRL_RECORD_START},
    {VELMAR_CAMERACTRL_RECORD_START, "stop", VELMAR_CAMERACTRL_RECORD_STOP},
    {VELMAR_CAMERACTRL_SET_CAMERA_MODE, "video", 1},
    {VELMAR_CAMERACTRL_SET_CAMERA_MODE, "v", 1},
    {VELMAR_CAMERACTRL_SET_CAMERA_MODE, "photo", 2},
    {VELMAR_CAMERACTRL_SET_CAMERA_MODE, "p", 2},
    {VELMAR_CAMERACTRL_SET_PHOTO_FORMAT, "jpg", 1},
    {VELMAR_CAMERACTRL_SET_PHOTO_FORMAT, "jpg+dng", 131},
    {VELMAR_CAMERACTRL_SET_PHOTO_QUALITY, "low", 0},
    {VELMAR_CAMERACTRL_SET_PHOTO_QUALITY, "medium", 1},
    {VELMAR_CAMERACTRL_SET_PHOTO_QUALITY, "high", 2},
    {VELMAR_CAMERACTRL_SET_PHOTO_QUALITY, "ultra_high", 3},
    {VELMAR_CAMERACTRL_SET_AEMODE, "auto", 0},
    {VELMAR_CAMERACTRL_SET_AEMODE, "manual", 1},
    {VELMAR_CAMERACTRL_SET_METER_MODE, "center", 0},
    {VELMAR_CAMERACTRL_SET_METER_MODE, "average", 1},
    {VELMAR_CAMERACTRL_SET_METER_MODE, "spot", 2},
    {VELMAR_CAMERACTRL_SET_FLICKER_MODE, "auto", 0},
    {VELMAR_CAMERACTRL_SET_FLICKER_MODE, "60Hz", 1},
    {VELMAR_CAMERACTRL_SET_FLICKER_MODE, "50Hz", 2},
    {VELMAR_CAMERACTRL_SET_AWB_MODE, "auto", 0},
    {VELMAR_CAMERACTRL_SET_AWB_MODE, "incandescent", 1},
    {VELMAR_CAMERACTRL_SET_AWB_MODE, "sunrise", 2},
    {VELMAR_CAMERACTRL_SET_AWB_MODE, "sunset", 3},
    {VELMAR_CAMERACTRL_SET_AWB_MODE, "sunny", 4},
    {VELMAR_CAMERACTRL_SET_AWB_MODE, "cloudy", 5},
    {VELMAR_CAMERACTRL_SET_AWB_MODE, "fluorescent", 7},
    {VELMAR_CAMERACTRL_SET_AWB_MODE, "lock", 99},
    {VELMAR_CAMERACTRL_SET_AWB_MODE, "manual", 100},
    {VELMAR_CAMERACTRL_SET_IQ_TYPE, "nature", 0},
    {VELMAR_CAMERACTRL_SET_IQ_TYPE, "saturation", 1},
    {VELMAR_CAMERACTRL_SET_IQ_TYPE, "raw", 2},
    {VELMAR_CAMERACTRL_SET_IQ_TYPE, "night", 3},
    {VELMAR_CAMERACTRL_SET_SYSTEM_MODE, "NTSC", 0},
    {VELMAR_CAMERACTRL_SET_SYSTEM_MODE, "PAL", 1},
    {VELMAR_CAMERACTRL_SET_VIDEO_ENCODE_MODE, "H264", 1},
    {VELMAR_CAMERACTRL_SET_VIDEO_ENCODE_MODE, "H265", 3},
    {VELMAR_CAMERACTRL_SET_PHOTO_RATIO, "3:2", 1},
    {VELMAR_CAMERACTRL_SET_PHOTO_RATIO, "4:3", 2},
    {VELMAR_CAMERACTRL_SET_PHOTO_RATIO, "16:9", 3},
    {VELMAR_CAMERACTRL_SET_FILE_TYPE, "MP4", 1},
    {VELMAR_CAMERACTRL_SET_FILE_TYPE, "MOV", 0},
};

bool is(const char* text, const char* word) { return std::strcmp(text, word) == 0; }

/// The number that a text begins with, cut to 32 bits; 0 when it begins with none. Wide enough on the
/// way where a long has 32 bits: a time beyond 2038 keeps its bits.
int number(const char* text) { return static_cast<int>(std::strtoll(text, nullptr, 10)); }

// Data bytes are appended behind those that `len` counts; the CRC takes its place behind them later.

template <typename Record>
void put(camctrl_msg_t& request, const Record& record) {
  std::memcpy(request.payload.params + request.header.len - 2, &record, sizeof record);
  request.header.len = static_cast<u8>(request.header.len + sizeof record);
}

void put_number(camctrl_msg_t& request, u8 value) { put(request, value); }
void put_number(camctrl_msg_t& request, u16 value) { put(request, camctrl_be16(value)); }
void put_number(camctrl_msg_t& request, u32 value) { put(request, camctrl_be32(value)); }

// The encoders.

/// Each argument a number of its width, big-endian.
template <typename... Numbers>
Encoded numbers(const WordCommand&, int, char** argv, camctrl_msg_t& request) {
  char** arg = argv + 3;
  (put_number(request, static_cast<Numbers>(number(*arg++))), ...);
  return Encoded::kYes;
}

const Choice* chosen(const WordCommand& command, const char* word) {
  for (const Choice& choice : kChoices) {
    if (choice.option == command.option && is(word, choice.word)) return &choice;
  }
  return nullptr;
}

/// One byte, named by a word.
Encoded one_of(const WordCommand& command, int, char** argv, camctrl_msg_t& request) {
  const Choice* choice = chosen(command, argv[3]);
  if (choice == nullptr) return Encoded::kInvalidUse;
  put(request, choice->value);
  return Encoded::kYes;
}

/// The word chooses the command itself.
Encoded record(const WordCommand& command, int, char** argv, camctrl_msg_t& request) {
  const Choice* choice = chosen(command, argv[3]);
  if (choice == nullptr) {
    std::printf("Invalid use--\"%s\"\n", argv[3]);
    print_test_udp_usage();
    return Encoded::kReported;
  }
  request.payload.cmd = camctrl_be16(choice->value);
  return Encoded::kYes;
}

Encoded video(const WordCommand&, int, char** argv, camctrl_msg_t& request) {
  udp_ctrl_video_t wire{};
  wire.res.w = camctrl_be16(static_cast<u16>(number(argv[3])));
  wire.res.h = camctrl_be16(static_cast<u16>(number(argv[4])));
  wire.fps = static_cast<u8>(number(argv[5]));
  put(request, wire);
  return Encoded::kYes;
}

/// The one number in host order.
Encoded ev(const WordCommand&, int, char** argv, camctrl_msg_t& request) {
  put(request, static_cast<u16>(number(argv[3])));
  return Encoded::kYes;
}

Encoded slot(const WordCommand&, int argc, char** argv, camctrl_msg_t& request) {
  put(request, static_cast<u8>(argc > 3 ? number(argv[3]) : 0));
  return Encoded::kYes;
}

struct PhotoMode {
  const char* word;
  int argc;
  u8 mode;
};

constexpr PhotoMode kPhotoModes[] = {
    {"single", 4, 0},      {"burst", 5, 3},          {"aeb", 7, 4},
    {"panohorizon", 4, 5}, {"panohemisphere", 4, 6},
};

Encoded photo_mode(const WordCommand& command, int argc, char** argv, camctrl_msg_t& request) {
  if (argc < 4 || argc > 7) return Encoded::kInvalidUse;
  for (const PhotoMode& row : kPhotoModes) {
    if (!is(argv[3], row.word)) continue;
    if (argc != row.argc) return Encoded::kInvalidUse;
    vlm_picture_mode_t wire{};
    wire.mode = row.mode;
    if (argc > 4) wire.photo_amount = camctrl_be16(static_cast<u16>(number(argv[4])));
    if (argc > 5) wire.ev_step_num = static_cast<s8>(number(argv[5]));
    if (argc > 6) wire.ev_step_dem = static_cast<u8>(number(argv[6]));
    put(request, wire);
    return Encoded::kYes;
  }
  std::puts(command.message);
  return Encoded::kReported;
}

/// The local time that the six arguments name, read by the shell's date tool. They stand between
/// single quotes in its command, so that none of them may hold one.
Encoded local_time(const WordCommand&, int, char** argv, camctrl_msg_t& request) {
  for (char** arg = argv + 3; arg != argv + 9; ++arg) {
    if (std::strchr(*arg, '\'') != nullptr) return Encoded::kInvalidUse;
  }
  char shell_command[128] = {};
  constexpr std::size_t kLimit = sizeof shell_command - 1;
  const int length = std::snprintf(shell_command, kLimit, "date -d '%s-%s-%s %s:%s:%s' +%%s",
                                   argv[3], argv[4], argv[5], argv[6], argv[7], argv[8]);
  if (length < 0 || static_cast<std::size_t>(length) >= kLimit) return Encoded::kInvalidUse;
  char text[256] = {};
  if (my_test_system(shell_command, text) != 0 || text[0] == '\0') return Encoded::kInvalidUse;
  text[std::strlen(text) - 1] = '\0';  // the newline
  const int seconds = number(text);
  std::printf("time_str = %s;time = %d\n", text, seconds);
  put_number(request, static_cast<u32>(seconds));
  return Encoded::kYes;
}

constexpr char kVideoMode[] = "Valid use:\"video\" or \"v\";\"photo\" or \"p\"";
constexpr char kSetTime[] =
    "\"settime [year] [month] [day] [hour] [minute] [second]\"\n"
    "\"such as:2017 12 27 16 53 8\"";
constexpr char kPhotoMode[] =
    "\"setphotomode single|burst [pcs]|\"\n"
    "\"aeb [pcs] [ev_num] [ev_dem]|panohorizon|panohemisphere\"";
constexpr char kPhotoQuality[] = "Valid use:\"low\";\"medium\";\"high\";\"ultra_high\"";
constexpr char kWhiteBalance[] =
    "\"setwb auto|incandescent|sunrise|sunset|sunny|\"\n"
    "\"cloudy|fluorescent|lock|manual\"";
constexpr char kPictureStyle[] = "Valid use:\"nature\" or \"saturation\" or \"raw\" or \"night\"";

constexpr WordCommand kWordCommands[] = {
    {"shutter", 3, nullptr, VELMAR_CAMERACTRL_TAKE_PHOTO, nullptr},
    {"record", 4, "Valid use:\"start\" or \"stop\"", VELMAR_CAMERACTRL_RECORD_START, record},
    {"getcammode", 3, nullptr, VELMAR_CAMERACTRL_GET_CAMERA_MODE, nullptr},
    {"setcammode", 4, kVideoMode, VELMAR_CAMERACTRL_SET_CAMERA_MODE, one_of},
    {"getvideo", 3, nullptr, VELMAR_CAMERACTRL_GET_VIDEO, nullptr},
    {"setvideo", 6, "Valid use:[video_h] [video_v] [video_f]", VELMAR_CAMERACTRL_SET_VIDEO, video},
    {"getver", 3, nullptr, VELMAR_MISC_GET_VER, nullptr},
    {"settime", 9, kSetTime, VELMAR_MISC_SET_TIME, local_time},
    {"setphotoformat", 4, "Valid use:\"jpg\" or \"jpg+dng\"", VELMAR_CAMERACTRL_SET_PHOTO_FORMAT,
     one_of},
    {"setphotomode", 0, kPhotoMode, VELMAR_CAMERACTRL_SET_PHOTO_MODE, photo_mode},
    {"setphotoquality", 4, kPhotoQuality, VELMAR_CAMERACTRL_SET_PHOTO_QUALITY, one_of},
    {"setae", 4, "Valid use:\"auto\";\"manual\"", VELMAR_CAMERACTRL_SET_AEMODE, one_of},
    {"setev", 4, "Valid use:[ev_value]", VELMAR_CAMERACTRL_SET_EV, ev},
    {"setshutter", 5, "Valid use:\"[shutter_num] [shutter_dem]\"", VELMAR_CAMERACTRL_SET_SHUTTER,
     numbers<u16, u16>},
    {"setiso", 4, "Valid use:\"[ISO]\"", VELMAR_CAMERACTRL_SET_ISO, numbers<u32>},
    {"setshutteriso", 6, "Valid use:\"[shutter_num] [shutter_dem] [ISO]\"",
     VELMAR_CAMERACTRL_SET_SHUTTER_ISO, numbers<u16, u16, u32>},
    {"setmetermode", 4, "Valid use:\"[center] or [average] or [spot]\"",
     VELMAR_CAMERACTRL_SET_METER_MODE, one_of},
    {"setspotmetercoords", 5, "Valid use:\"[x_ratio] [y_ratio]\"",
     VELMAR_CAMERACTRL_SET_SPOT_METERING_COORDS, numbers<u8, u8>},
    {"setflickermode", 4, "Valid use:\"[auto] or [60Hz] or [50Hz]\"",
     VELMAR_CAMERACTRL_SET_FLICKER_MODE, one_of},
    {"getwb", 0, nullptr, VELMAR_CAMERACTRL_GET_AWB_MODE, nullptr},
    {"setwb", 4, kWhiteBalance, VELMAR_CAMERACTRL_SET_AWB_MODE, one_of},
    {"setmanwb", 4, "Valid use:[30,80]", VELMAR_CAMERACTRL_SET_MANUAL_WB, numbers<u8>},
    {"getiq", 0, nullptr, VELMAR_CAMERACTRL_GET_IQ_TYPE, nullptr},
    {"setiq", 4, kPictureStyle, VELMAR_CAMERACTRL_SET_IQ_TYPE, one_of},
    {"formatsd", 0, nullptr, VELMAR_MISC_FORMAT_SDCARD, slot},
    {"resetcamera", 0, nullptr, VELMAR_MISC_RESET_SETTINGS, nullptr},
    {"rebootcamera", 0, nullptr, VELMAR_MISC_REBOOT_DEVICE, nullptr},
    {"setsystemmode", 4, "Valid use:\"NTSC\" or \"PAL\"", VELMAR_CAMERACTRL_SET_SYSTEM_MODE,
     one_of},
    {"getsystemmode", 0, nullptr, VELMAR_CAMERACTRL_GET_SYSTEM_MODE, nullptr},
    {"setencodemode", 4, "Valid use:\"H264\" or \"H265\"", VELMAR_CAMERACTRL_SET_VIDEO_ENCODE_MODE,
     one_of},
    {"getencodemode", 0, nullptr, VELMAR_CAMERACTRL_GET_VIDEO_ENCODE_MODE, nullptr},
    {"setphotoratio", 4, "Valid use:\"3:2\" or \"4:3\" or \"16:9\"",
     VELMAR_CAMERACTRL_SET_PHOTO_RATIO, one_of},
    {"getphotoratio", 0, nullptr, VELMAR_CAMERACTRL_GET_PHOTO_RATIO, nullptr},
    {"setfiletype", 4, "Valid use:\"MP4\" or \"MOV\"", VELMAR_CAMERACTRL_SET_FILE_TYPE, one_of},
};

const WordCommand* find_word(const char* word) {
  for (const WordCommand& command : kWordCommands) {
    if (is(word, command.word)) return &command;
  }
  return nullptr;
}

void print_invalid_use(const char* message) {
  std::puts("Invalid use.");
  if (message != nullptr) {
    std::puts(message);
  } else {
    print_test_udp_usage();
  }
}

// The answers of the query commands. `data` holds at least the size that the table gives.

void print_byte(const u8* data, const char* format) { std::printf(format, data[0]); }

void print_video(const u8* data, const char* format) {
  const auto res = camctrl_read<udp_ctrl_cam_res_t>(data);
  std::printf(format, camctrl_be16(res.w), camctrl_be16(res.h), data[sizeof res]);
}

void print_version(const u8* data, const char* format) {
  const auto version = camctrl_read<vlm_camera_version_t>(data);
  std::printf(format, version.moduleName, version.majorVer, version.minorVer, version.patchVer,
              version.branch);
}

struct Answer {
  velmar_cmd_option option;
  std::size_t size;
  void (*print)(const u8* data, const char* format);
  const char* format;
};

constexpr Answer kAnswers[] = {
    {VELMAR_CAMERACTRL_GET_VIDEO, 5, print_video, "w--%d,h--%d,fps--%d\n"},
    {VELMAR_CAMERACTRL_GET_CAMERA_MODE, 1, print_byte, "CAMERA_MODE = %d(1--video,2--photo)\n"},
    {VELMAR_CAMERACTRL_GET_IQ_TYPE, 1, print_byte,
     "Get iq = %d(0-nature,1-saturation,2-raw,3-night)\n"},
    {VELMAR_CAMERACTRL_GET_VIDEO_ENCODE_MODE, 1, print_byte,
     "video_encode_mode = %d(1--H264,3--H265)\n"},
    {VELMAR_CAMERACTRL_GET_PHOTO_RATIO, 1, print_byte,
     "photo_ratio = %d(1-->3:2;2-->4:3;3-->16:9)\n"},
    {VELMAR_CAMERACTRL_GET_SYSTEM_MODE, 1, print_byte, "system mode = %d(0--NTSC,1--PAL)\n"},
    {VELMAR_CAMERACTRL_GET_AWB_MODE, 1, print_byte,
     "Get wb = %d\n"
     "\"0-auto,1-incandescent,2-sunrise\"\n"
     "\"3-sunset,4-sunny,5-cloudy\"\n"
     "\"7-fluorescent,99-lock,100-manual\"\n"},
    {VELMAR_MISC_GET_VER, sizeof(vlm_camera_version_t), print_version,
     "camera version:%.8s_%d.%d.%d_%.5s\n"},
};

void print_answer(const camctrl_msg_t& reply, std::size_t available) {
  for (const Answer& answer : kAnswers) {
    if (answer.option != camctrl_be16(reply.payload.cmd)) continue;
    if (available >= answer.size) answer.print(reply.payload.params, answer.format);
    return;
  }
}

/// The data bytes that have arrived, of those that the reply says it holds.
std::size_t data_size(const camctrl_msg_t& reply, std::size_t size) {
  constexpr std::size_t kCrcSize = 2;
  if (size < kHeaderSize || reply.header.len < kCrcSize) return 0;
  return std::min(size - kHeaderSize, reply.header.len - kCrcSize);
}

void print_reply(const camctrl_msg_t& reply, std::size_t size) {
  udp_print_bytes("Received msg:\n", reinterpret_cast<const u8*>(&reply), size);
  const u16 result = camctrl_be16(reply.header.vb);
  std::printf("send msg reply:%s\n", vlm_strerr(result));
  if (result == VLM_ERR_NONE) print_answer(reply, data_size(reply, size));
}

void send_request(int client, const camctrl_msg_t& request) {
  sockaddr_in service{};
  service.sin_family = AF_INET;
  service.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  service.sin_port = htons(kServicePort);
  sendto(client, &request, request.header.len + kHeaderSize, 0,
         reinterpret_cast<const sockaddr*>(&service), sizeof service);
  std::puts("send msg ok.");
}

/// While it lives, ended children are kept to be waited for, also in a program whose parent has
/// handed down that they are to be ignored.
class ChildrenWaitedFor {
 public:
  ChildrenWaitedFor() {
    sigaction(SIGCHLD, nullptr, &_before);
    if (_before.sa_handler != SIG_IGN) return;
    struct sigaction kept {};
    kept.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &kept, nullptr);
  }
  ~ChildrenWaitedFor() { sigaction(SIGCHLD, &_before, nullptr); }
  ChildrenWaitedFor(const ChildrenWaitedFor&) = delete;
  ChildrenWaitedFor& operator=(const ChildrenWaitedFor&) = delete;

 private:
  struct sigaction _before {};
};

}  // namespace

void print_test_udp_usage() {
  std::puts("Valid Usage:");
  for (const char* line : kUsage) std::printf("\"%s\"\n", line);
}

int my_test_system(const char* command, char* output) {
  if (command == nullptr) {
    std::puts("my_system cmd is NULL!");
    return -1;
  }
  const ChildrenWaitedFor waited_for;
  std::FILE* pipe = popen(command, "r");  // NOLINT(cert-env33-c): a shell is what is asked for
  if (pipe == nullptr) {
    const int error = errno;
    std::perror("popen");
    std::printf("popen error: %s/n", std::strerror(error));
    return -1;
  }
  char line[1024] = {};
  while (std::fgets(line, sizeof line, pipe) != nullptr) std::memcpy(output, line, 255);
  const int status = pclose(pipe);
  if (status == -1) {
    std::puts("close popen file pointer fp error!");
  } else {
    std::printf("popen res is :%d;return value = %d\n", status, WEXITSTATUS(status));
  }
  return status;
}

bool build_test_udp_request(int argc, char** argv, camctrl_msg_t& request) {
  request = {};
  if (argc < 3) {
    print_invalid_use(nullptr);
    return false;
  }
  const WordCommand* command = find_word(argv[2]);
  if (command == nullptr) {
    std::printf("Unknow cmd--\"%s\"\n", argv[2]);
    print_test_udp_usage();
    return false;
  }
  request.header.len = 2;
  request.payload.cmd = camctrl_be16(static_cast<u16>(command->option));
  Encoded encoded = Encoded::kYes;
  if (command->argc != 0 && argc != command->argc) {
    encoded = Encoded::kInvalidUse;
  } else if (command->encode != nullptr) {
    encoded = command->encode(*command, argc, argv, request);
  }
  if (encoded == Encoded::kInvalidUse) print_invalid_use(command->message);
  vlm_udp_fill_crc(request, request.header.len);
  return encoded == Encoded::kYes;
}

void process_test_udp(int argc, char** argv) {
  if (argc < 3) {
    print_invalid_use(nullptr);
    std::exit(1);
  }
  const int client = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  if (client < 0) {
    std::puts("csock < 0");
    std::exit(1);
  }
  camctrl_msg_t request;
  if (!build_test_udp_request(argc, argv, request)) std::exit(1);
  send_request(client, request);
  camctrl_msg_t reply{};
  const ssize_t size = recv(client, &reply, sizeof reply, 0);
  if (size < 1) {
    std::puts("no reply.");
  } else {
    print_reply(reply, static_cast<std::size_t>(size));
  }
  close(client);
}
