// Writes the seeds of all fuzzers, made of the packets, lines and words that the tests know:
// fuzz_seeds DIRECTORY.
#include <cstring>
#include <filesystem>
#include <fstream>

#include "camctrl_app.h"
#include "console_commands.h"
#include "operation_catalogue.h"
#include "pcapng_writer.h"
#include "vlm_userlcm_control_camera.h"

namespace {

namespace monitor = vlm::monitor;

class Seeds {
 public:
  Seeds(const std::string& directory, const std::string& target) : _path(directory + "/" + target) {
    std::filesystem::create_directories(_path);
  }
  void add(const std::string& seed) {
    std::ofstream(_path + "/" + std::to_string(++_count), std::ios::binary) << seed;
  }

 private:
  std::string _path;
  int _count = 0;
};

std::string text_of(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

std::string word_of(std::size_t value) {
  return {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
}

template <typename Record>
std::string text_of_record(const Record& record) {
  return {reinterpret_cast<const char*>(&record), sizeof record};
}

/// `what`, a length and as many bytes: the step of several fuzzers.
std::string step(char what, const std::string& bytes) {
  return what + word_of(bytes.size()) + bytes;
}

std::vector<Operation> operations() {
  std::vector<Operation> all = camera_operations();
  all.insert(all.end(), thermal_operations().begin(), thermal_operations().end());
  return all;
}

/// The packet of `message`, as far as it is used.
std::string packet(const char* sender, const std::string& message) {
  std::string packet(sizeof(userlcm_packet_t::channel), '\0');
  packet.replace(0, std::strlen(sender), sender);
  return packet + message;
}

std::string camera_message(int type, const std::string& data) {
  std::string message(sizeof(msg_from_rep_t), '\0');
  message[0] = static_cast<char>(type);
  return message.replace(1, data.size(), data);
}

std::string stream_message(u32 cmd, u8 flag) {
  lcm_udp_rtsp_msg_t message{};
  message.msg_cmd = static_cast<LCM_RTSP_UDP_CMD>(cmd);
  message.msg_buf[0] = flag;
  return text_of_record(message);
}

void listener(const std::string& directory) {
  Seeds seeds(directory, "listener");
  for (const Operation& operation : operations()) {
    const std::string code = word_of(static_cast<std::size_t>(operation.code));
    for (const udp_ctrl_cam_t& reply : {operation.success_reply(), operation.error_reply()}) {
      const auto message = camera_message(LCM_CONTROL_CAMERA, text_of_record(reply));
      seeds.add(code + step(0, packet(kRequestChannel, message)));
      seeds.add(word_of(1) + step(2, packet(kRequestChannel, message)));
    }
  }
  for (int type = 0; type < 10; ++type) {
    const auto message = camera_message(type, std::string(100, '\x4A'));
    seeds.add(word_of(1) + step(0, packet(kRequestChannel, message)));
    seeds.add(word_of(1) + step(1, packet(kReplyChannel, message)));
  }
  for (u32 cmd = 0; cmd < 17; ++cmd) {
    seeds.add(word_of(1) + step(3, packet("lcm_channel_to_udp", stream_message(cmd, 1))));
  }
}

constexpr int kOptions[] = {0,  1,  2,  3,  4,  7,  8,   10,   11,   14,   15,   16,   17,   18,
                            19, 20, 21, 22, 23, 24, 25,  26,   29,   31,   33,   36,   37,   40,
                            41, 45, 46, 50, 71, 73, 251, 4096, 4114, 4116, 4120, 4121, 4123, 4124};

void datagram(const std::string& directory) {
  Seeds seeds(directory, "datagram");
  const std::string answer = word_of(0) + '\x04' + "\x01\x02\x03\x04";
  for (const int option : kOptions) {
    for (const std::size_t size : {0U, 1U, 9U, 20U}) {
      const Bytes request = camctrl_request(option, Bytes(size, 0x31));
      seeds.add('\0' + answer + text_of(request));
      seeds.add('\1' + answer + text_of(request));
    }
  }
  seeds.add('\0' + answer + std::string(264, '\0'));
  seeds.add('\1' + answer + std::string(264, '\xFF'));
}

void client_reply(const std::string& directory) {
  Seeds seeds(directory, "client_reply");
  for (const int option : kOptions) {
    seeds.add(text_of(camctrl_reply(option, 0, Bytes(20, 0x41))));
    seeds.add(text_of(camctrl_reply(option, 0, {1})));
    seeds.add(text_of(camctrl_reply(option, 5)));
    seeds.add(text_of(camctrl_error_reply(camctrl_request(option), 2)));
  }
}

void client_words(const std::string& directory) {
  Seeds seeds(directory, "client_words");
  const char* const lines[] = {"getcammode",
                               "setcammode video",
                               "shutter",
                               "record start",
                               "record stop",
                               "getvideo",
                               "setvideo 1920 1080 30",
                               "getver",
                               "settime 2017 12 27 16 53 8",
                               "setphotoformat jpg+dng",
                               "setphotomode single",
                               "setphotomode burst 5",
                               "setphotomode aeb 3 1 2",
                               "setphotomode panohorizon",
                               "setphotoquality ultra_high",
                               "setae manual",
                               "setev 3",
                               "setshutter 1 100",
                               "setiso 400",
                               "setshutteriso 1 100 400",
                               "setmetermode spot",
                               "setspotmetercoords 50 60",
                               "setflickermode 60Hz",
                               "getwb",
                               "setwb cloudy",
                               "setmanwb 40",
                               "getiq",
                               "setiq raw",
                               "formatsd",
                               "formatsd 1",
                               "resetcamera",
                               "rebootcamera",
                               "getsystemmode",
                               "setsystemmode PAL",
                               "getencodemode",
                               "setencodemode H265",
                               "getphotoratio",
                               "setphotoratio 16:9",
                               "setfiletype MOV",
                               "settime ' ; & ` $( |",
                               "unknown"};
  for (std::string line : lines) {
    for (char& c : line) c = c == ' ' ? '\0' : c;
    seeds.add(line + '\0');
  }
}

void console(const std::string& directory) {
  Seeds seeds(directory, "console");
  std::string session = "\1";
  for (const Command& command : every_command()) {
    std::string words = command.line;
    seeds.add("\1" + words + "\n");
    for (char& c : words) c = c == ' ' ? '\0' : c;
    seeds.add(std::string(1, '\0') + words + '\0');
  }
  for (const char* line : {"h", "H", "x", "999", "-1", "84 name", "85 name=value", "33"}) {
    session += std::string(line) + "\n";
  }
  seeds.add(session + "q\n");
  seeds.add("\1" + std::string(150, '1') + "\n");
  seeds.add(
      "\3"
      "1\n6\n");
}

void camera(const std::string& directory) {
  Seeds model(directory, "camera_model");
  Seeds peer(directory, "camera_peer");
  std::string all = "\1";
  for (const Operation& operation : operations()) {
    const std::string request = text_of(operation.request());
    model.add("\1" + step(0, request) + step(2, "") + step(0, request));
    const auto message = camera_message(LCM_CONTROL_CAMERA, request);
    peer.add("\1" + step(0, packet(kReplyChannel, message)));
    if (all.size() < 2000) all += step(0, request);
  }
  model.add(all);
  for (u32 cmd = 0; cmd < 17; ++cmd) {
    model.add(std::string(1, '\0') + step(1, stream_message(cmd, 1)));
    peer.add(std::string(1, '\0') + step(1, packet(kRtspReplyChannel, stream_message(cmd, 1))));
  }
  for (const char* line : {"card remove", "card insert", "set name value", "set name", "state",
                           "help", "quit", "unknown"}) {
    model.add(std::string(1, '\0') + step(3, line));
    peer.add(std::string(1, '\0') + step(2, std::string(line) + "\n"));
  }
}

void time_log(const std::string& directory) {
  Seeds seeds(directory, "time_log");
  const std::string date = "2024-3-05-07:08:";
  const auto line = [&](int number, const char* seconds) {
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%s%s\r\n", number, date.c_str(), seconds);
    return std::string(text);
  };
  const std::string begin = line(1, "09.012345") + line(2, "09-022345") + line(3, "09-032345");
  const std::string good = line(1, "09-012345") + line(2, "09-022345") + line(3, "09-032345");
  seeds.add(good);
  seeds.add(begin);
  seeds.add(good + line(4, "20-032345") + line(5, "08-000000") + "garbage\r\n" + line(9, "09-5"));
  seeds.add(good + "\xFF" + good + "0004-2024");
  seeds.add(line(9999, "09-012345") + "\xFF" + good + good);
  seeds.add(std::string(200, '\0') + good + std::string(5000, 'x'));
}

void trace_log(const std::string& directory) {
  Seeds seeds(directory, "trace_log");
  for (char level = 0; level < 6; ++level) {
    for (const std::size_t size : {2U, 107U, 108U, 109U, 116U, 117U, 127U, 128U, 200U}) {
      seeds.add(std::string{level, static_cast<char>(size)} + std::string(size, 'm'));
    }
  }
}

monitor::Entry entry(std::int64_t time_ms, const char* channel, const std::string& packet) {
  return {time_ms * 1'000'000, channel, {packet.begin(), packet.end()}, {}};
}

/// One file for each operation: its request and its replies, with what else there is in between.
void recording(const std::string& directory) {
  Seeds seeds(directory, "recording");
  const auto reply_of = [](const udp_ctrl_cam_t& record) {
    return packet(kRequestChannel, camera_message(LCM_CONTROL_CAMERA, text_of_record(record)));
  };
  for (const Operation& operation : operations()) {
    std::string file;
    monitor::PcapngWriter writer;
    writer.begin("fuzz_seeds", file);
    const auto request =
        packet(kReplyChannel, camera_message(LCM_CONTROL_CAMERA, text_of(operation.request())));
    writer.add(entry(0, kRequestChannel, request), file);
    writer.add(entry(1, kReplyChannel, reply_of(operation.success_reply())), file);
    writer.add({2'000'000, monitor::kNotesChannel, {}, "5 packets lost"}, file);
    writer.add(entry(3, kRequestChannel, request), file);
    writer.add(entry(9, kReplyChannel, reply_of(operation.error_reply())), file);
    const auto code = static_cast<u32>(operation.code) % 17;
    const auto side = packet(kRtspReplyChannel, stream_message(code, 1));
    writer.add(entry(10, kRtspRequestChannel, side), file);
    seeds.add(file);
  }
}

void address(const std::string& directory) {
  Seeds seeds(directory, "address");
  const std::string sender{'\x01', '\x0A', '\x02', '\x07'};
  for (const char* const networks : {"", "10.1.7.2\n", "10.1.0.0/16\n127.0.0.1\n", "0.0.0.0/0\n",
                                     "10.1.0.1/16\n::1\nhost\n300.1.1.1\n"}) {
    for (const char rate : {'\0', '\1', '\x50'}) {
      std::string seed = networks + std::string("\n") + rate;
      for (char tenths = 0; tenths < 20; ++tenths) seed += sender + tenths;
      seeds.add(seed);
    }
  }
}

/// What vlmctl gets: over the bus, and from the service.
void client(const std::string& directory) {
  Seeds bus(directory, "client");
  Seeds remote(directory, "remote_reply");
  std::size_t number = 0;
  for (const Operation& operation : operations()) {
    const auto reply = text_of_record(operation.success_reply());
    const auto message = camera_message(LCM_CONTROL_CAMERA, reply);
    const auto answer = std::string("\4") + '\0' + '\x10' + reply.substr(2, 16);
    bus.add('\0' + word_of(number) + answer + '\1' + word_of(number) + answer + "\5\x32\6");
    bus.add('\2' + word_of(static_cast<std::size_t>(operation.code)) + '\0' +
            step(3, packet(kRequestChannel, message)) + "\5\xFF\5\xFF");
    ++number;
  }
  for (const int option : kOptions) {
    const auto asked = word_of(static_cast<std::size_t>(option));
    for (const std::size_t size : {0U, 1U, 2U, 9U, 20U}) {
      remote.add('\1' + asked + text_of(camctrl_reply(option, 0, Bytes(size, 0x41))));
    }
    remote.add('\1' + asked + text_of(camctrl_error_reply(camctrl_request(option), 2)));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: fuzz_seeds DIRECTORY\n");
    return 2;
  }
  for (auto* const write : {listener, datagram, client_reply, client_words, console, camera,
                            time_log, trace_log, recording, address, client}) {
    write(argv[1]);
  }
  return 0;
}
