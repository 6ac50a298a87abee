// A simulated camera under test and its clock, with the requests as verbs.
#ifndef SIMULATED_CAMERA_H
#define SIMULATED_CAMERA_H

#include <cstring>
#include <string>
#include <vector>

#include "camera_model.h"

using vlm::sim::CameraModel;
using vlm::sim::CameraTraits;
using vlm::sim::Notification;

using Bytes = std::vector<u8>;

/// The bytes of `value` as a payload carries them.
template <typename T>
Bytes bytes_of(T value) {
  Bytes bytes(sizeof value);
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

inline Bytes text_bytes(const std::string& text) { return Bytes(text.begin(), text.end()); }

struct CameraReply {
  int code;
  int error;
  Bytes payload;  // all 128 bytes

  template <typename T>
  T as(std::size_t offset = 0) const {
    T value;
    std::memcpy(&value, payload.data() + offset, sizeof value);
    return value;
  }
  std::string text() const {
    const char* start = reinterpret_cast<const char*>(payload.data());
    return std::string(start, strnlen(start, payload.size()));
  }
  Bytes first(std::size_t size) const {
    return Bytes(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(size));
  }
};

class SimulatedCamera {
 public:
  explicit SimulatedCamera(bool thermal = false) : _model({thermal}) {}
  explicit SimulatedCamera(const CameraTraits& traits) : _model(traits) {}

  CameraReply ask(int code, const Bytes& payload = {}) {
    udp_ctrl_cam_t request{};
    request.cmd_type = static_cast<u16>(code);
    if (!payload.empty()) std::memcpy(request.cmd_params, payload.data(), payload.size());
    const udp_ctrl_cam_t reply = _model.handle(request, _now_ms);
    return {reply.cmd_type, reply.err_code,
            Bytes(std::begin(reply.cmd_params), std::end(reply.cmd_params))};
  }
  /// The result of a request.
  int result(int code, const Bytes& payload = {}) { return ask(code, payload).error; }
  template <typename T>
  T get(int code) {
    return ask(code).as<T>();
  }

  void pass(u64 ms) { _now_ms += ms; }
  u64 now_ms() const { return _now_ms; }

  /// The notifications that have become due since the last call.
  std::vector<Notification> notifications() {
    std::vector<Notification> all;
    Notification one;
    while (_model.take_notification(_now_ms, one)) all.push_back(one);
    return all;
  }

  CameraModel& model() { return _model; }

 private:
  CameraModel _model;
  u64 _now_ms = 1000;
};

#endif  // SIMULATED_CAMERA_H
