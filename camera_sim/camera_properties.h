// The properties of the simulated camera: names and values that are set as "name=value". A name has
// 1 to 16 characters, a value 1 to 46; setting an empty value unsets the property.
#ifndef CAMERA_SIM_CAMERA_PROPERTIES_H
#define CAMERA_SIM_CAMERA_PROPERTIES_H

#include <map>
#include <optional>
#include <string>

#include "vlm_camera_codes.h"
#include "vlm_camera_payloads.h"

namespace vlm::sim {

class CameraProperties {
 public:
  CameraProperties();

  /// Carries out the property command `code` as CameraSettings::answer does; no value: none of its
  /// codes. A get is answered with the value, a set with the previous value, empty when there was
  /// none. What the camera fixes itself cannot be set.
  std::optional<vlm_err_t> answer(int code, const u8* in, u8* out);

  /// Sets or unsets a property, also one that commands cannot set. Fails when the name or the value
  /// is none, and when there are too many properties already.
  vlm_err_t put(const std::string& name, const std::string& value);

  const std::map<std::string, std::string>& all() const { return _values; }

 private:
  vlm_err_t get(const std::string& name, u8* out) const;
  vlm_err_t set(const std::string& assignment, u8* out);

  std::map<std::string, std::string> _values;
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_CAMERA_PROPERTIES_H
