#include "vlm_test_udp_words.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "velmar_udp_master_k720_crc.h"
#include "vlm_test.h"

namespace {

/// How the arguments of a word became data.
enum class Encoded {
  kYes,
  kInvalidUse,  // no: to be answered by "Invalid use." and the word's message
  kReported,    // no, and the fault has been printed
};

/// What is printed on a bad count or argument.
struct Message {
  enum Kind { kText, kUsageList, kOwnUsage };
  Kind kind;
  const char* text;
};

constexpr Message kUsageList{Message::kUsageList, nullptr};
constexpr Message kOwnUsage{Message::kOwnUsage, nullptr};  // the word's lines of the list
constexpr Message valid(const char* use) { return {Message::kText, use}; }

/// How the data of a reply are printed; they hold at least `size` bytes then.
struct Answer {
  std::size_t size;
  void (*print)(const u8* data, const char* format);  // null: there are none
  const char* format;
};

/// All that the client knows of a word.
struct Word {
  using Encoder = Encoded (*)(const Word& word, int argc, char** argv, camctrl_msg_t& request);

  std::string_view usage;  // its lines of the list: the word, and what it takes
  int argc;                // the count that it takes; 0: not checked
  Message message;
  velmar_cmd_option option;
  Encoder encode;  // null: no data
  Answer answer;

  /// The word itself.
  constexpr std::string_view name() const { return usage.substr(0, usage.find(' ')); }
};

bool is(const char* text, const char* word) { return std::strcmp(text, word) == 0; }

/// The number that a text begins with, cut to 32 bits; 0 when it begins with none. Wide enough on the
/// way where a long has 32 bits: a time beyond 2038 keeps its bits.
int number(const char* text) { return static_cast<int>(std::strtoll(text, nullptr, 10)); }

// The choices of a word are those of its usage, parted by '|', at the end of a line also by "|\n".

constexpr std::string_view choices_of(std::string_view usage) {
  const std::size_t blank = usage.find(' ');
  return blank == std::string_view::npos ? std::string_view() : usage.substr(blank + 1);
}

/// Takes the first choice off `choices`.
constexpr std::string_view take_choice(std::string_view& choices) {
  const std::size_t end = choices.find('|');
  const std::string_view choice = choices.substr(0, end);
  choices.remove_prefix(end == std::string_view::npos ? choices.size() : end + 1);
  if (!choices.empty() && choices[0] == '\n') choices.remove_prefix(1);
  return choice;
}

constexpr std::size_t count_choices(std::string_view usage) {
  std::size_t count = 0;
  for (std::string_view choices = choices_of(usage); !choices.empty(); ++count) {
    take_choice(choices);
  }
  return count;
}

/// The place of `text` among the choices; -1 when it is none of them.
int chosen(std::string_view usage, std::string_view text) {
  std::string_view choices = choices_of(usage);
  for (int place = 0; !choices.empty(); ++place) {
    if (take_choice(choices) == text) return place;
  }
  return -1;
}

// Data bytes are appended behind those that `len` counts; the CRC takes its place behind them later.

void put_bytes(camctrl_msg_t& request, const void* bytes, std::size_t size) {
  std::memcpy(request.payload.params + request.header.len - 2, bytes, size);
  request.header.len = static_cast<u8>(request.header.len + size);
}

template <typename Record>
void put(camctrl_msg_t& request, const Record& record) {
  put_bytes(request, &record, sizeof record);
}

/// The number that `text` begins with, in its lowest `size` bytes, big-endian.
void put_number(camctrl_msg_t& request, const char* text, std::size_t size) {
  const u32 wire = camctrl_be(static_cast<u32>(number(text)));
  put_bytes(request, reinterpret_cast<const u8*>(&wire) + sizeof wire - size, size);
}

// The encoders.

/// Each argument a number of its width, big-endian.
template <typename... Numbers>
Encoded numbers(const Word&, int, char** argv, camctrl_msg_t& request) {
  char** arg = argv + 3;
  (put_number(request, *arg++, sizeof(Numbers)), ...);
  return Encoded::kYes;
}

/// One byte, which the choice `text` stands for: `values` in the order of the usage.
Encoded put_chosen(const Word& word, const char* text, const u8* values, camctrl_msg_t& request) {
  const int place = chosen(word.usage, text);
  if (place < 0) return Encoded::kInvalidUse;
  put(request, values[place]);
  return Encoded::kYes;
}

template <u8... values>
Encoded one_of(const Word& word, int, char** argv, camctrl_msg_t& request) {
  static constexpr u8 kValues[] = {values...};
  return put_chosen(word, argv[3], kValues, request);
}

/// The choice is the command itself.
template <velmar_cmd_option... options>
Encoded command_of(const Word& word, int, char** argv, camctrl_msg_t& request) {
  constexpr velmar_cmd_option kOptions[] = {options...};
  const int place = chosen(word.usage, argv[3]);
  if (place < 0) {
    std::printf("Invalid use--\"%s\"\n", argv[3]);
    print_test_udp_usage();
    return Encoded::kReported;
  }
  request.payload.cmd = camctrl_be16(static_cast<u16>(kOptions[place]));
  return Encoded::kYes;
}

Encoded video(const Word&, int, char** argv, camctrl_msg_t& request) {
  udp_ctrl_video_t wire{};
  wire.res.w = camctrl_be16(static_cast<u16>(number(argv[3])));
  wire.res.h = camctrl_be16(static_cast<u16>(number(argv[4])));
  wire.fps = static_cast<u8>(number(argv[5]));
  put(request, wire);
  return Encoded::kYes;
}

/// The one number in host order.
Encoded ev(const Word&, int, char** argv, camctrl_msg_t& request) {
  put(request, static_cast<u16>(number(argv[3])));
  return Encoded::kYes;
}

Encoded slot(const Word&, int argc, char** argv, camctrl_msg_t& request) {
  put(request, static_cast<u8>(argc > 3 ? number(argv[3]) : 0));
  return Encoded::kYes;
}

/// Prints the lines of a usage, each in quotes.
void print_usage_of(const Word& word) {
  for (std::string_view rest = word.usage; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    std::printf("\"%.*s\"\n", static_cast<int>(line.size()), line.data());
    rest.remove_prefix(line.size() == rest.size() ? line.size() : line.size() + 1);
  }
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

Encoded photo_mode(const Word& word, int argc, char** argv, camctrl_msg_t& request) {
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
  print_usage_of(word);
  return Encoded::kReported;
}

/// The local time that the six arguments name, read by the shell's date tool. They stand between
/// single quotes in its command, so that none of them may hold one.
Encoded local_time(const Word&, int, char** argv, camctrl_msg_t& request) {
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
  put(request, camctrl_be(static_cast<u32>(seconds)));
  return Encoded::kYes;
}

// The answers of the queries.

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

constexpr Answer kNoAnswer{};
constexpr Answer byte_as(const char* format) { return {1, print_byte, format}; }

// How the rows are written.

/// A word without arguments. `argc` 3 refuses more words, 0 ignores them.
constexpr Word plain(const char* usage, int argc, velmar_cmd_option option,
                     Answer answer = kNoAnswer) {
  return {usage, argc, kUsageList, option, nullptr, answer};
}

constexpr Word with_arguments(const char* usage, int argc, Message message,
                              velmar_cmd_option option, Word::Encoder encode) {
  return {usage, argc, message, option, encode, kNoAnswer};
}

/// A word that takes one of the choices of its usage, which stand for `values`.
template <u8... values>
constexpr Word choice(const char* usage, Message message, velmar_cmd_option option) {
  if (count_choices(usage) != sizeof...(values)) throw "each choice of the usage needs a value";
  return with_arguments(usage, 4, message, option, one_of<values...>);
}

// In the order of the list.
constexpr Word kWords[] = {
    plain("getcammode", 3, VELMAR_CAMERACTRL_GET_CAMERA_MODE,
          byte_as("CAMERA_MODE = %d(1--video,2--photo)\n")),
    choice<1, 1, 2, 2>("setcammode video|v|photo|p",
                       valid("Valid use:\"video\" or \"v\";\"photo\" or \"p\""),
                       VELMAR_CAMERACTRL_SET_CAMERA_MODE),
    plain("shutter", 3, VELMAR_CAMERACTRL_TAKE_PHOTO),
    with_arguments("record start|stop", 4, valid("Valid use:\"start\" or \"stop\""),
                   VELMAR_CAMERACTRL_RECORD_START,
                   command_of<VELMAR_CAMERACTRL_RECORD_START, VELMAR_CAMERACTRL_RECORD_STOP>),
    plain("getvideo", 3, VELMAR_CAMERACTRL_GET_VIDEO, {5, print_video, "w--%d,h--%d,fps--%d\n"}),
    with_arguments("setvideo [video_h] [video_v] [video_f]", 6,
                   valid("Valid use:[video_h] [video_v] [video_f]"), VELMAR_CAMERACTRL_SET_VIDEO,
                   video),
    plain("getver", 3, VELMAR_MISC_GET_VER,
          {sizeof(vlm_camera_version_t), print_version, "camera version:%.8s_%d.%d.%d_%.5s\n"}),
    with_arguments("settime [year] [month] [day] [hour] [minute] [second]\n"
                   "such as:2017 12 27 16 53 8",
                   9, kOwnUsage, VELMAR_MISC_SET_TIME, local_time),
    choice<1, 131>("setphotoformat jpg|jpg+dng", valid("Valid use:\"jpg\" or \"jpg+dng\""),
                   VELMAR_CAMERACTRL_SET_PHOTO_FORMAT),
    with_arguments("setphotomode single|burst [pcs]|\n"
                   "aeb [pcs] [ev_num] [ev_dem]|panohorizon|panohemisphere",
                   0, kOwnUsage, VELMAR_CAMERACTRL_SET_PHOTO_MODE, photo_mode),
    choice<0, 1, 2, 3>("setphotoquality low|medium|high|ultra_high",
                       valid("Valid use:\"low\";\"medium\";\"high\";\"ultra_high\""),
                       VELMAR_CAMERACTRL_SET_PHOTO_QUALITY),
    choice<0, 1>("setae auto|manual", valid("Valid use:\"auto\";\"manual\""),
                 VELMAR_CAMERACTRL_SET_AEMODE),
    // One number, whatever its line of the list says: scripts match the line as it stands.
    with_arguments("setev [ev_num] [ev_dem]", 4, valid("Valid use:[ev_value]"),
                   VELMAR_CAMERACTRL_SET_EV, ev),
    with_arguments("setshutter [shutter_num] [shutter_dem]", 5,
                   valid("Valid use:\"[shutter_num] [shutter_dem]\""),
                   VELMAR_CAMERACTRL_SET_SHUTTER, numbers<u16, u16>),
    with_arguments("setiso [iso]", 4, valid("Valid use:\"[ISO]\""), VELMAR_CAMERACTRL_SET_ISO,
                   numbers<u32>),
    with_arguments("setshutteriso [shutter_num] [shutter_dem] [ISO]", 6,
                   valid("Valid use:\"[shutter_num] [shutter_dem] [ISO]\""),
                   VELMAR_CAMERACTRL_SET_SHUTTER_ISO, numbers<u16, u16, u32>),
    choice<0, 1, 2>("setmetermode center|average|spot",
                    valid("Valid use:\"[center] or [average] or [spot]\""),
                    VELMAR_CAMERACTRL_SET_METER_MODE),
    with_arguments("setspotmetercoords [x_ratio] [y_ratio]", 5,
                   valid("Valid use:\"[x_ratio] [y_ratio]\""),
                   VELMAR_CAMERACTRL_SET_SPOT_METERING_COORDS, numbers<u8, u8>),
    choice<0, 1, 2>("setflickermode auto|60Hz|50Hz",
                    valid("Valid use:\"[auto] or [60Hz] or [50Hz]\""),
                    VELMAR_CAMERACTRL_SET_FLICKER_MODE),
    plain("getwb", 0, VELMAR_CAMERACTRL_GET_AWB_MODE,
          byte_as("Get wb = %d\n"
                  "\"0-auto,1-incandescent,2-sunrise\"\n"
                  "\"3-sunset,4-sunny,5-cloudy\"\n"
                  "\"7-fluorescent,99-lock,100-manual\"\n")),
    choice<0, 1, 2, 3, 4, 5, 7, 99, 100>("setwb auto|incandescent|sunrise|sunset|sunny|\n"
                                         "cloudy|fluorescent|lock|manual",
                                         kOwnUsage, VELMAR_CAMERACTRL_SET_AWB_MODE),
    with_arguments("setmanwb [30,80]", 4, valid("Valid use:[30,80]"),
                   VELMAR_CAMERACTRL_SET_MANUAL_WB, numbers<u8>),
    plain("getiq", 0, VELMAR_CAMERACTRL_GET_IQ_TYPE,
          byte_as("Get iq = %d(0-nature,1-saturation,2-raw,3-night)\n")),
    choice<0, 1, 2, 3>("setiq nature|saturation|raw|night",
                       valid("Valid use:\"nature\" or \"saturation\" or \"raw\" or \"night\""),
                       VELMAR_CAMERACTRL_SET_IQ_TYPE),
    with_arguments("formatsd", 0, kUsageList, VELMAR_MISC_FORMAT_SDCARD, slot),
    plain("resetcamera", 0, VELMAR_MISC_RESET_SETTINGS),
    plain("rebootcamera", 0, VELMAR_MISC_REBOOT_DEVICE),
    plain("getsystemmode", 0, VELMAR_CAMERACTRL_GET_SYSTEM_MODE,
          byte_as("system mode = %d(0--NTSC,1--PAL)\n")),
    choice<0, 1>("setsystemmode NTSC|PAL", valid("Valid use:\"NTSC\" or \"PAL\""),
                 VELMAR_CAMERACTRL_SET_SYSTEM_MODE),
    plain("getencodemode", 0, VELMAR_CAMERACTRL_GET_VIDEO_ENCODE_MODE,
          byte_as("video_encode_mode = %d(1--H264,3--H265)\n")),
    choice<1, 3>("setencodemode H264|H265", valid("Valid use:\"H264\" or \"H265\""),
                 VELMAR_CAMERACTRL_SET_VIDEO_ENCODE_MODE),
    plain("getphotoratio", 0, VELMAR_CAMERACTRL_GET_PHOTO_RATIO,
          byte_as("photo_ratio = %d(1-->3:2;2-->4:3;3-->16:9)\n")),
    choice<1, 2, 3>("setphotoratio 3:2|4:3|16:9", valid("Valid use:\"3:2\" or \"4:3\" or \"16:9\""),
                    VELMAR_CAMERACTRL_SET_PHOTO_RATIO),
    choice<1, 0>("setfiletype MP4|MOV", valid("Valid use:\"MP4\" or \"MOV\""),
                 VELMAR_CAMERACTRL_SET_FILE_TYPE),
};

const Word* find_word(std::string_view name) {
  for (const Word& word : kWords) {
    if (word.name() == name) return &word;
  }
  return nullptr;
}

void print_invalid_use(const Word& word) {
  std::puts("Invalid use.");
  switch (word.message.kind) {
    case Message::kText: std::puts(word.message.text); break;
    case Message::kUsageList: print_test_udp_usage(); break;
    case Message::kOwnUsage: print_usage_of(word); break;
  }
}

Encoded encode(const Word& word, int argc, char** argv, camctrl_msg_t& request) {
  if (word.argc != 0 && argc != word.argc) return Encoded::kInvalidUse;
  return word.encode == nullptr ? Encoded::kYes : word.encode(word, argc, argv, request);
}

}  // namespace

void print_test_udp_usage() {
  std::puts("Valid Usage:");
  for (const Word& word : kWords) print_usage_of(word);
}

void print_test_udp_invalid_use() {
  std::puts("Invalid use.");
  print_test_udp_usage();
}

bool build_test_udp_request(int argc, char** argv, camctrl_msg_t& request) {
  request = {};
  if (argc < 3) {
    print_test_udp_invalid_use();
    return false;
  }
  const Word* const word = find_word(argv[2]);
  if (word == nullptr) {
    std::printf("Unknow cmd--\"%s\"\n", argv[2]);
    print_test_udp_usage();
    return false;
  }
  request.header.len = 2;
  request.payload.cmd = camctrl_be16(static_cast<u16>(word->option));
  const Encoded encoded = encode(*word, argc, argv, request);
  if (encoded == Encoded::kInvalidUse) print_invalid_use(*word);
  vlm_udp_fill_crc(request, request.header.len);
  return encoded == Encoded::kYes;
}

void print_test_udp_answer(const camctrl_msg_t& reply, std::size_t available) {
  for (const Word& word : kWords) {
    if (word.option != camctrl_be16(reply.payload.cmd) || word.answer.print == nullptr) continue;
    if (available < word.answer.size) return;
    word.answer.print(reply.payload.params, word.answer.format);
  }
}
