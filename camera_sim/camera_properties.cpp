#include "camera_properties.h"

#include "payload_bytes.h"

namespace vlm::sim {

namespace {

constexpr std::size_t kLongestName = 16;
constexpr std::size_t kLongestValue = 46;
/// Keeps a client that sets ever new names from filling the memory.
constexpr std::size_t kMostProperties = 64;
/// The property that the camera fixes itself.
constexpr char kSerial[] = "serial";

bool is_name(const std::string& name) {
  return !name.empty() && name.size() <= kLongestName && name.find('=') == std::string::npos;
}

}  // namespace

CameraProperties::CameraProperties() : _values{{kSerial, "VLMSIM0001"}, {"fan", "off"}} {}

std::optional<vlm_err_t> CameraProperties::answer(int code, const u8* in, u8* out) {
  if (code == UDP_CTRL_CAM_GET_PROPERTY) return get(load_text(in), out);
  if (code == UDP_CTRL_CAM_SET_PROPERTY) return set(load_text(in), out);
  return std::nullopt;
}

vlm_err_t CameraProperties::put(const std::string& name, const std::string& value) {
  if (!is_name(name) || value.size() > kLongestValue) return VLM_ERR_IS_INVALID_PARAM;
  if (value.empty()) {
    _values.erase(name);
    return VLM_ERR_NONE;
  }
  if (_values.count(name) == 0 && _values.size() == kMostProperties) return VLM_ERR_IS_NO_SPACE;
  _values[name] = value;
  return VLM_ERR_NONE;
}

/// A name that could never be one is told apart from one that is not set.
vlm_err_t CameraProperties::get(const std::string& name, u8* out) const {
  if (!is_name(name)) return VLM_ERR_IS_INVALID_PARAM;
  const auto found = _values.find(name);
  if (found == _values.end()) return VLM_ERR_FAILED;
  found->second.copy(reinterpret_cast<char*>(out), kLongestValue);
  return VLM_ERR_NONE;
}

/// The first equals sign ends the name; others belong to the value.
vlm_err_t CameraProperties::set(const std::string& assignment, u8* out) {
  const auto equals = assignment.find('=');
  if (equals == std::string::npos) return VLM_ERR_IS_INVALID_PARAM;
  const std::string name = assignment.substr(0, equals);
  if (name == kSerial) return VLM_ERR_PERMISSION_DENIED;
  const auto found = _values.find(name);
  const std::string previous = found != _values.end() ? found->second : "";
  const vlm_err_t result = put(name, assignment.substr(equals + 1));
  if (result == VLM_ERR_NONE) previous.copy(reinterpret_cast<char*>(out), kLongestValue);
  return result;
}

}  // namespace vlm::sim
