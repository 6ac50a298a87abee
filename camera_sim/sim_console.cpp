#include "sim_console.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <sstream>
#include <utility>

#include "fault_switches.h"
#include "format.h"
#include "sim_describe.h"
#include "sim_values.h"
#include "velmar_err.h"

namespace vlm::sim {

namespace {

/// Without blanks at either end; a carriage return is one.
std::string without_ends(const std::string& line) {
  const auto first = line.find_first_not_of(" \t\r");
  if (first == std::string::npos) return "";
  return line.substr(first, line.find_last_not_of(" \t\r") - first + 1);
}

OperatorAnswer wrong(const std::string& text) { return {text + "\n", false, true}; }

// One function a command; `rest` is what follows its word, without blanks at either end.

OperatorAnswer card(const SimulatedBoard& board, const std::string& rest) {
  if (rest == "remove") {
    return {board.camera.remove_card(board.now_ms) ? "card removed\n" : "no card is inserted\n"};
  }
  if (rest == "insert") {
    return {board.camera.insert_card(board.now_ms) ? "card inserted\n"
                                                   : "a card is inserted already\n"};
  }
  u64 kib = 0;
  if (rest.compare(0, 5, "free ") == 0 && parse_size(without_ends(rest.substr(5)), kib)) {
    return {
        board.camera.leave_free(kib, board.now_ms)
            ? host::format("%llu KiB of the card are free\n", static_cast<unsigned long long>(kib))
            : "no card is inserted, or it is smaller\n"};
  }
  return wrong("card needs \"remove\", \"insert\" or \"free SIZE\"");
}

/// The value is the rest of the line; without one the property is unset.
OperatorAnswer set(const SimulatedBoard& board, const std::string& rest) {
  const auto space = rest.find(' ');
  const std::string name = rest.substr(0, space);
  const std::string value = space == std::string::npos ? "" : rest.substr(space + 1);
  const vlm_err_t result = board.camera.put_property(name, value);
  if (result != VLM_ERR_NONE) return {std::string("not set: ") + vlm_strerr(result) + "\n"};
  return {value.empty() ? name + " is unset\n" : name + " = " + value + "\n"};
}

const char* text_of(CameraPhase phase) {
  switch (phase) {
    case CameraPhase::kRunning: return "running";
    case CameraPhase::kUpgrading: return "upgrading";
    case CameraPhase::kBooting: return "booting";
  }
  return "";
}

/// Of the camera's own status byte.
const char* text_of_status(u8 status) {
  return status == 3 ? "recording" : status == 2 ? "capturing" : "idle";
}

OperatorAnswer state(const SimulatedBoard& board, const std::string&) {
  CameraModel& camera = board.camera;
  const udp_ctrl_cam_request_list_t list = camera.snapshot(board.now_ms);
  const u32 version = camera.version();
  const u8 status = list.camera_status;
  const auto& storage = list.sdcard_storage_t[0];
  std::string text = host::format(
      "camera      %s%s%s, version %u.%u.%u%c\n", text_of(camera.phase()),
      camera.traits().living ? ", live" : "", camera.traits().thermal ? ", thermal" : "",
      version & 0xFF, version >> 8 & 0xFF, version >> 16 & 0xFF, static_cast<char>(version >> 24));
  text += host::format("mode        %s, %s\n", list.cam_mode == kVideoMode ? "video" : "photo",
                       text_of_status(status));
  text += host::format("recording   %u s\n", list.recording_time_s);
  text += host::format("pictures    %u\n", camera.pictures_taken());
  text += host::format("card        %s, %u of %u KiB free\n",
                       storage.status == VLM_STORAGE_INSERTED ? "inserted" : "removed",
                       storage.available_capacity, storage.total_capacity);
  text += host::format("video       %u x %u, %u fps\n", list.video_res.res.w, list.video_res.res.h,
                       list.video_res.fps);
  text +=
      host::format("zoom        %.1f, digital %u\n", static_cast<double>(list.zoom), list.dzoom);
  text += host::format("focus       0x%04X\n", camera.lens().focus());
  text += host::format("exposure    ae %u, ev %u, shutter %u, iso %u, iris %u\n", list.ae_mode,
                       list.ev, list.shutter, list.iso, list.iris);
  text += host::format("streaming   %u fps, flow control %u, debug %u\n", board.rtsp.fps(),
                       board.rtsp.flow_control(), board.rtsp.flow_control_debug());
  for (const auto& [name, value] : camera.properties().all()) {
    text += host::format("property    %s = %s\n", name.c_str(), value.c_str());
  }
  for (const udp_ctrl_cam_t& request : camera.settings().as_requests()) {
    text += "setting     " + describe_request(request) + "\n";
  }
  return {text};
}

/// A number of type 5 to 8, and the first bytes of the data in hexadecimal.
OperatorAnswer notify(const SimulatedBoard& board, const std::string& rest) {
  std::istringstream words(rest);
  int type = 0;
  Notification made{LCM_SDCARD_STATUS, board.now_ms, {}};
  bool valid = (words >> type) && type >= LCM_SDCARD_STATUS && type <= LCM_CAPTURE_IMAGE_RESULT;
  std::size_t size = 0;
  for (std::string word; words >> word; ++size) {
    const char* end = word.data() + word.size();
    unsigned byte = 0;
    const auto [stop, error] = std::from_chars(word.data(), end, byte, 16);
    valid = valid && error == std::errc() && stop == end && byte <= 0xFF && size < made.data.size();
    if (valid) made.data[size] = static_cast<u8>(byte);
  }
  if (!valid) return wrong("notify needs TYPE (5 to 8) and up to 101 bytes in hexadecimal");
  made.type = static_cast<lcm_msg_type>(type);
  if (!board.camera.notify(made)) return wrong("too many notifications wait");
  return {"notified: " + describe_notification(made) + "\n"};
}

OperatorAnswer after(const SimulatedBoard& board, const std::string& rest);

OperatorAnswer help(const SimulatedBoard&, const std::string&);

OperatorAnswer quit(const SimulatedBoard&, const std::string&) { return {"", true}; }

/// A row of the command table, from which the help is printed too.
struct Command {
  const char* word;
  const char* usage;
  const char* help;
  OperatorAnswer (*run)(const SimulatedBoard& board, const std::string& rest);
};

constexpr Command kCommands[] = {
    {"after", "after TIME COMMAND", "carry COMMAND out when TIME (us, ms, s) has passed", after},
    {"card", "card remove|insert|free SIZE",
     "take the card out, put it in, leave SIZE (K, M, G) free", card},
    {"notify", "notify TYPE [BYTE]...", "send a notification (5 to 8) with BYTEs (hexadecimal)",
     notify},
    {"set", "set NAME VALUE", "set a property; without a value, unset it", set},
    {"state", "state", "print the state of the camera", state},
    {"help", "help", "print this", help},
    {"quit", "quit", "end the simulator", quit},
};

OperatorAnswer help(const SimulatedBoard&, const std::string&) {
  std::string text;
  for (const Command& command : kCommands) {
    text += host::format("%-28s  %s\n", command.usage, command.help);
  }
  for (const FaultSwitch& fault : fault_switches()) {
    const std::string usage = std::string(fault.name) + " " + fault.value;
    text += host::format("%-28s  %s\n", usage.c_str(), fault.help);
  }
  return {text};
}

/// A line, cut behind its first word.
struct Words {
  std::string first;
  std::string rest;
};

Words cut(const std::string& line) {
  const std::string command = without_ends(line);
  const auto space = command.find_first_of(" \t");
  if (space == std::string::npos) return {command, ""};
  return {command.substr(0, space), without_ends(command.substr(space + 1))};
}

const Command* find_command(const std::string& word) {
  const auto* found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                   [&](const Command& known) { return word == known.word; });
  return found == std::end(kCommands) ? nullptr : found;
}

const FaultSwitch* find_fault(const std::string& word) {
  for (const FaultSwitch& fault : fault_switches()) {
    if (word == fault.name) return &fault;
  }
  return nullptr;
}

OperatorAnswer apply(const FaultSwitch& fault, const std::string& value, FaultPlan& plan) {
  const std::string name = fault.name;
  if (fault.apply(value, plan)) return {name + " " + value + "\n"};
  return wrong(name + " needs " + fault.value + ", not \"" + value + "\"");
}

/// Only what can be carried out without the operator: the program does not end by itself.
OperatorAnswer after(const SimulatedBoard& board, const std::string& rest) {
  const auto [time, line] = cut(rest);
  u64 us = 0;
  if (!parse_duration(time, us)) return wrong("after needs TIME COMMAND");
  const std::string word = cut(line).first;
  const Command* command = find_command(word);
  const bool possible = command != nullptr ? command->run != quit && command->run != after
                                           : find_fault(word) != nullptr;
  if (!possible) return wrong("after carries no \"" + word + "\" out");
  if (!board.agenda.add(board.now_ms + us / 1000, line)) return wrong("too many commands wait");
  return {"after " + time + ": " + line + "\n"};
}

}  // namespace

OperatorAnswer operate(const SimulatedBoard& board, const std::string& line) {
  if (line.size() > kLongestLine) return wrong("the line is too long");
  const auto [word, rest] = cut(line);
  if (word.empty()) return {""};
  if (const Command* command = find_command(word)) return command->run(board, rest);
  if (const FaultSwitch* fault = find_fault(word)) return apply(*fault, rest, board.faults);
  return wrong("unknown command \"" + word + "\"; \"help\" lists them");
}

std::vector<std::string> LineBuffer::feed(const char* bytes, std::size_t size) {
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < size; ++i) {
    if (bytes[i] == '\n') {
      lines.push_back(std::move(_line));
      _line.clear();
      _size = 0;
      continue;
    }
    ++_size;
    if (_line.size() <= kLongestLine) _line += bytes[i];
  }
  return lines;
}

}  // namespace vlm::sim
