// The Wireshark dissectors, run by tshark: the bus held against the catalogue, field by field, and
// everything that a camera says against a golden text; the UDP protocol against packets made by its
// tables; malformed packets of both.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "bus_packets.h"
#include "camera_model.h"
#include "catalogue_value.h"
#include "command_name.h"
#include "decode.h"
#include "every_request.h"
#include "pcapng_writer.h"
#include "process.h"
#include "rtsp_model.h"

using namespace vlm::monitor;
namespace catalogue = vlm::catalogue;

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text + separator);
  for (std::string part; std::getline(in, part, separator);) parts.push_back(part);
  return parts;
}

/// Bytes that are text, and differ from their neighbours.
Bytes pattern(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<unsigned char>(i % 52 < 26 ? 'A' + i % 52 : 'a' + i % 52 - 26);
  }
  return bytes;
}

/// What tshark's fields print for the field, by the catalogue's place and type.
std::string expected_cell(const catalogue::Field& field, int shift, const Bytes& payload) {
  const auto at = static_cast<std::size_t>(field.offset + shift);
  if (at + field.width > payload.size()) return "";
  if (field.is(catalogue::kSecret)) return "***";
  const u8* const bytes = payload.data() + at;
  std::uint64_t number = 0;
  for (std::size_t i = field.width; i > 0 && i <= 8; --i) number = number << 8 | bytes[i - 1];
  switch (field.type) {
    case catalogue::Type::kText: return std::string(bytes, bytes + field.width);
    case catalogue::Type::kBytes: return hexadecimal(bytes, field.width);
    case catalogue::Type::kRatio:
      return field.width == 2
                 ? std::to_string(static_cast<s8>(bytes[0])) + '/' + std::to_string(bytes[1])
                 : std::to_string(bytes[0] | bytes[1] << 8) + '/' +
                       std::to_string(bytes[2] | bytes[3] << 8);
    case catalogue::Type::kFloat: {
      float value = 0;
      std::memcpy(&value, bytes, sizeof value);
      char text[32];
      std::snprintf(text, sizeof text, "%g", double{value});
      return text;
    }
    default: return std::to_string(number);
  }
}

/// Everything that a camera can be asked for, and what it answers: the simulated camera's model, whose
/// words are the same each time.
std::vector<Entry> everything(bool thermal) {
  vlm::sim::CameraModel camera(vlm::sim::CameraTraits{thermal});
  std::vector<Entry> entries;
  std::int64_t now_ms = 0;
  const auto payload_of = [](const udp_ctrl_cam_t& record) {
    return Bytes(record.cmd_params, record.cmd_params + sizeof record.cmd_params);
  };
  for (const int code : every_code()) {
    constexpr std::int64_t kEnoughForAPhotoMs = 20'000;
    const udp_ctrl_cam_t asked = request_with_initial_values(code);
    const udp_ctrl_cam_t answer = camera.handle(asked, static_cast<u64>(now_ms));
    entries.push_back(request(now_ms, code, payload_of(asked)));
    entries.push_back(reply(now_ms + 1, code, payload_of(answer), answer.err_code));
    now_ms += kEnoughForAPhotoMs;
    vlm::sim::Notification told{};
    while (camera.take_notification(static_cast<u64>(now_ms), told)) {
      entries.push_back(notification(now_ms, told.type, {told.data.begin(), told.data.end()}));
    }
  }
  vlm::sim::RtspModel streamer;
  for (const u32 code : every_side_code()) {
    lcm_udp_rtsp_msg_t asked{};
    asked.msg_cmd = static_cast<LCM_RTSP_UDP_CMD>(code);
    const auto answer = streamer.handle(asked);
    entries.push_back(side_packet(now_ms, kRtspRequestChannel, code, 0));
    if (answer) {
      entries.push_back(
          side_packet(now_ms, kRtspReplyChannel, answer->msg_cmd, answer->msg_buf[0]));
    }
  }
  return entries;
}

/// Packets that no program of the system sends.
std::vector<Entry> malformed() {
  const Entry whole = reply(0, 82, {0, 0, 32, 64});
  std::vector<Entry> all;
  for (const std::size_t size : {0U, 1U, 63U, 64U, 65U, 66U, 67U, 69U, 70U, 195U, 196U, 197U}) {
    all.push_back(whole);
    all.back().packet.resize(size);
    if (size == 0) all.back().comment = "empty";
  }
  all.push_back(whole);
  all.back().packet.resize(2000, 0xAB);  // longer than any packet of the bus
  all.push_back(camera_packet(0, true, 0xFFFF, Bytes(128, 0xFF), 0xFFFF));
  all.push_back(notification(0, 9, {1}));
  all.push_back(notification(0, 6, Bytes(255, 0xFF)));
  all.push_back(side_packet(0, kRtspRequestChannel, 0x12345678, 0xFFFFFFFF));
  all.push_back(bus_packet(0, "elsewhere", "me", "\x03zz", 3));
  all.push_back(bus_packet(0, "", "", "", 0));
  return all;
}

class DissectorTest : public testing::Test {
 protected:
  void write(const std::vector<Entry>& entries) const {
    std::string bytes;
    PcapngWriter writer;
    writer.begin("test", bytes);
    for (const Entry& entry : entries) writer.add(entry, bytes);
    _folder.write("recording", bytes);
  }

  /// The lines that tshark prints of the file with these options.
  std::vector<std::string> tshark(const std::vector<std::string>& options,
                                  const std::string& file = "recording") const {
    std::vector<std::string> arguments{"tshark", "-X", "lua_script:" VLM_LUA, "-r", _folder / file};
    arguments.insert(arguments.end(), options.begin(), options.end());
    Process process(arguments, {"HOME=" + _folder.path(), "LC_ALL=C.UTF-8"});
    process.close_input();
    const std::string output = process.read_all();
    EXPECT_EQ(process.wait(), 0) << process.errors();
    EXPECT_EQ(process.errors().find("Lua"), std::string::npos) << process.errors();
    auto lines = split(output, '\n');
    lines.pop_back();
    return lines;
  }

  std::vector<std::string> fields(const std::vector<std::string>& names,
                                  const std::string& file = "recording") const {
    std::vector<std::string> options{"-T", "fields", "-E", "separator=/t", "-E", "occurrence=a"};
    for (const std::string& name : names) options.insert(options.end(), {"-e", name});
    return tshark(options, file);
  }

  /// Compares what tshark shows of the packets with the text that was found right by eye. To write
  /// it anew, set UPDATE_GOLDEN.
  void expect_golden(const std::string& name, const std::vector<Entry>& entries) const {
    write(entries);
    std::string shown;
    for (const std::string& line : fields({"frame.number", "_ws.col.Info", "_ws.expert.message"})) {
      shown += line + '\n';
    }
    const std::string path = VLM_GOLDEN_DIR "/" + name;
    if (std::getenv("UPDATE_GOLDEN") != nullptr) std::ofstream(path) << shown;
    std::ifstream file(path);
    const std::string golden{std::istreambuf_iterator<char>(file), {}};
    const auto found = split(shown, '\n');
    const auto expected = split(golden, '\n');
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) EXPECT_EQ(found[i], expected[i]) << name;
  }

  const TemporaryDirectory _folder;
};

TEST_F(DissectorTest, ShowsWhatACameraIsAskedAndAnswersAsTheGoldenTextHasIt) {
  expect_golden("every_command.txt", everything(false));
}

TEST_F(DissectorTest, ShowsWhatAThermalCameraIsAskedAndAnswersAsTheGoldenTextHasIt) {
  expect_golden("every_command_thermal.txt", everything(true));
}

TEST_F(DissectorTest, ShowsMalformedPacketsAsTheGoldenTextHasThem) {
  expect_golden("malformed.txt", malformed());
}

TEST_F(DissectorTest, ShowsEveryFieldOfEveryCommandAsTheCatalogueHasIt) {
  std::vector<std::string> names{"vlm_bus.kind", "vlm_bus.name"};
  struct Expected {
    std::string kind;
    int code;
    std::vector<std::pair<std::string, std::string>> cells;  // field and its value
  };
  std::vector<Entry> entries;
  std::vector<Expected> expected;
  const Bytes payload = pattern(128);
  const auto add = [&](bool is_reply, int code, const catalogue::Row& row,
                       const catalogue::List<catalogue::Field>& list, const std::string& prefix) {
    if (code == catalogue::kNone || catalogue::find_by_code(code) != &row) return;
    entries.push_back(camera_packet(0, is_reply, code, payload, 0));
    Expected& packet = expected.emplace_back();
    packet.kind = is_reply ? "reply" : "request";
    packet.code = code;
    for (const catalogue::Field& field : list) {
      if (*field.name == '\0') continue;
      names.push_back("vlm_bus." + prefix + field.name);
      packet.cells.emplace_back(names.back(),
                                expected_cell(field, is_reply ? row.reply_shift : 0, payload));
    }
  };
  for (const catalogue::Row& row : catalogue::rows()) {
    const std::string name = row.name();
    const bool is_group = !row.value.fields.empty();
    const catalogue::Field whole[1] = {row.value};
    const bool has_value = row.value.type != catalogue::Type::kNothing;
    const catalogue::List<catalogue::Field> single =
        has_value ? catalogue::List<catalogue::Field>(whole) : catalogue::List<catalogue::Field>();
    const auto value = is_group ? row.value.fields : single;
    const std::string prefix = is_group ? name + '.' : "";
    add(true, row.codes.get, row, value, prefix);
    add(false, row.codes.set, row, value, prefix);
    add(false, row.codes.get, row, row.parameters, name + '.');
    add(false, row.codes.run, row, row.parameters, name + '.');
    add(true, row.codes.run, row, value, prefix);
  }
  write(entries);
  std::sort(names.begin() + 2, names.end());
  names.erase(std::unique(names.begin() + 2, names.end()), names.end());
  const auto lines = fields(names);
  ASSERT_EQ(lines.size(), expected.size());
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const auto cells = split(lines[i], '\t');
    ASSERT_EQ(cells.size(), names.size()) << lines[i];
    EXPECT_EQ(cells[0], expected[i].kind);
    EXPECT_EQ(cells[1], command_name(expected[i].code));
    std::size_t filled = 2;
    for (const auto& [name, value] : expected[i].cells) {
      const auto place =
          static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
      EXPECT_EQ(cells[place], value) << cells[1] << ' ' << name;
      filled += value.empty() ? 0 : 1;
    }
    // And no field that the command does not have.
    EXPECT_EQ(cells.size() - static_cast<std::size_t>(std::count(cells.begin(), cells.end(), "")),
              filled)
        << cells[1];
  }
}

TEST_F(DissectorTest, SummarisesEachKindOfPacket) {
  write({request(0, 83, {0, 0, 32, 64}), reply(1, 83), request(2, 5), reply(3, 5, {}, 6),
         request(4, 218, {2}), notification(5, 5, {0x4A}), notification(6, 7, {2}),
         side_packet(7, kRtspRequestChannel, 5, 30), side_packet(8, kRtspReplyChannel, 8, 1),
         request(9, 63), note(10, "5 packets lost")});
  const auto lines = fields({"_ws.col.Protocol", "_ws.col.Info"});
  EXPECT_EQ(lines, (std::vector<std::string>{
                       "VLM-BUS\trequest SET_ZOOM lens.zoom=2.5",
                       "VLM-BUS\treply SET_ZOOM ok",
                       "VLM-BUS\trequest STOP_RECORD",
                       "VLM-BUS\treply STOP_RECORD error 6 (VLM is not recording)",
                       "VLM-BUS\trequest SET_DEFOG_ONOFF image.defog=on",
                       "VLM-BUS\tnotification SDCARD_STATUS",
                       "VLM-BUS\tnotification UPDATE_CAMERA_MODE",
                       "VLM-BUS\tside SEND_FPS fps=30",
                       "VLM-BUS\tack SET_FLC_STATUS_ACK flag=1",
                       "VLM-BUS\trequest COMMAND_63",
                       "VLM-BUS\tnote",
                   }));
  EXPECT_EQ(fields({"frame.comment"}).back(), "5 packets lost");
}

TEST_F(DissectorTest, MarksPacketsOfTheBusThatAreTooShort) {
  std::vector<Entry> entries;
  const Entry whole = reply(0, 82, {0, 0, 32, 64});
  for (std::size_t size = 1; size <= whole.packet.size(); ++size) {
    Entry cut = whole;
    cut.packet.resize(size);
    entries.push_back(cut);
  }
  write(entries);
  const auto lines = fields({"_ws.lua.error", "vlm_bus.short"});
  ASSERT_EQ(lines.size(), whole.packet.size());
  constexpr std::size_t kRecordEnd = 64 + 1 + 132;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const auto cells = split(lines[i], '\t');
    EXPECT_EQ(cells[0], "") << i;
    EXPECT_EQ(cells.size() > 1 && !cells[1].empty(), i + 1 < kRecordEnd) << i;
  }
}

/// A UDP datagram in a pcap file of raw IPv4, link type 101.
std::string pcap_of(const std::vector<std::pair<bool, std::string>>& datagrams) {
  const auto le = [](std::uint32_t value, std::size_t size) {
    return std::string(reinterpret_cast<const char*>(&value), size);
  };
  const auto be = [](unsigned value) {
    return std::string{static_cast<char>(value >> 8), static_cast<char>(value)};
  };
  std::string file =
      le(0xA1B2C3D4, 4) + le(2, 2) + le(4, 2) + le(0, 4) + le(0, 4) + le(65535, 4) + le(101, 4);
  for (const auto& [is_reply, data] : datagrams) {
    const auto size = static_cast<unsigned>(data.size());
    const std::string ip = std::string("\x45\0", 2) + be(size + 28) + be(0) + be(0) + "\x40\x11" +
                           be(0) + std::string("\x7f\0\0\1\x7f\0\0\1", 8);
    const std::string ports = is_reply ? be(9528) + be(40000) : be(40000) + be(9528);
    const std::string packet = ip + ports + be(size + 8) + be(0) + data;
    const auto length = static_cast<std::uint32_t>(packet.size());
    file += le(0, 4) + le(0, 4) + le(length, 4) + le(length, 4) + packet;
  }
  return file;
}

TEST_F(DissectorTest, ChecksAndNamesPacketsOfTheUdpProtocol) {
  const std::string get_mode("\x00\x02\x00\x00\x00\x00\x10\x19\x5C\xE5", 10);
  std::string wrong = get_mode;
  wrong[9] = 0;
  std::string no_length = get_mode;
  no_length[1] = 0;
  std::string refusal(264, '\0');  // its CRC is that of a packet without data
  refusal.replace(0, 8, std::string("\x00\x02\x00\x00\x00\x02\x10\x19", 8));
  u16 crc = 0xFFFF;
  for (std::size_t i = 1; i < 8; ++i) {
    crc = static_cast<u16>(crc ^ static_cast<unsigned char>(refusal[i]));
    for (int bit = 0; bit < 8; ++bit) {
      crc = static_cast<u16>((crc & 1) != 0 ? crc >> 1 ^ 0x8408 : crc >> 1);
    }
  }
  refusal[8] = static_cast<char>(crc >> 8);
  refusal[9] = static_cast<char>(crc & 0xFF);
  _folder.write("udp.pcap", pcap_of({{false, get_mode},
                                     {false, wrong},
                                     {false, no_length},
                                     {true, refusal},
                                     {false, get_mode.substr(0, 9)},
                                     {false, get_mode.substr(0, 5)}}));
  const auto lines = fields({"_ws.col.Info", "vlm_udp.crc.good"}, "udp.pcap");
  ASSERT_EQ(lines.size(), 6U);
  EXPECT_EQ(lines[0], "request CAMERACTRL_GET_CAMERA_MODE\t1");
  EXPECT_EQ(lines[1], "request CAMERACTRL_GET_CAMERA_MODE [bad CRC]\t0");
  EXPECT_EQ(lines[2], "request CAMERACTRL_GET_CAMERA_MODE\t");
  EXPECT_EQ(lines[3], "reply CAMERACTRL_GET_CAMERA_MODE error 2 (VLM busy)\t1");
  EXPECT_EQ(lines[4], "request CAMERACTRL_GET_CAMERA_MODE [short]\t");
  EXPECT_EQ(lines[5], "too short\t");
  const auto faults = fields(
      {"vlm_udp.crc.bad", "vlm_udp.len.zero", "vlm_udp.short", "vlm_udp.failed"}, "udp.pcap");
  ASSERT_EQ(faults.size(), 6U);
  const std::vector<int> column_of{-1, 0, 1, 3, 2, 2};
  for (std::size_t i = 0; i < faults.size(); ++i) {
    const auto cells = split(faults[i], '\t');
    for (int column = 0; column < 4; ++column) {
      const auto at = static_cast<std::size_t>(column);
      EXPECT_EQ(at < cells.size() && !cells[at].empty(), column == column_of[i])
          << i << ' ' << column;
    }
  }
}

}  // namespace
