// The settings of the simulated camera: what a set command writes and a get command reads back.
// What they are called, where they stand in payloads, what they start with, may be and are refused
// with is told by the catalogue; only rules between several values are told here.
#ifndef CAMERA_SIM_CAMERA_SETTINGS_H
#define CAMERA_SIM_CAMERA_SETTINGS_H

#include <optional>
#include <vector>

#include "catalogue_value.h"
#include "payload_bytes.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::sim {

/// A row whose value the settings keep, and the place of its bytes among theirs.
struct KeptRow {
  const catalogue::Row* row;
  std::size_t place;
};

/// A value: copying it saves all settings, assigning restores them. Not synchronised.
class CameraSettings {
 public:
  /// Every setting at its default.
  CameraSettings();

  /// Carries out get or set command `code`: takes the 128 bytes of `in`, leaves the answer in the
  /// zeroed 128 bytes of `out`, and returns the result. No value: the code is no setting's. A
  /// reading is answered, too, with its initial value: that is for those that no other part of the
  /// camera plays.
  std::optional<vlm_err_t> answer(int code, const u8* in, u8* out);

  /// The number that the set command `code` writes. Throws where the settings keep none.
  u32 operator[](udp_ctrl_cam_cmds code) const;
  /// The record that the set command `code` writes, one of this size. Throws where they keep none.
  template <typename T>
  T record(udp_ctrl_cam_cmds code) const {
    return load<T>(bytes(code, sizeof(T)));
  }

  /// Every setting as it is, ascending by code: the requests that would set them so.
  std::vector<udp_ctrl_cam_t> as_requests() const;

 private:
  const u8* bytes(udp_ctrl_cam_cmds code, std::size_t size) const;
  void get(const KeptRow& kept, u8* out) const;
  vlm_err_t set(const KeptRow& kept, const u8* in);
  catalogue::Payload merged(const KeptRow& kept, const u8* in) const;
  vlm_err_t check_needs(const catalogue::Row& row) const;
  void pass_on(const catalogue::Row& written);

  std::vector<u8> _bytes;  // the values of all kept rows, each as its request has it
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_CAMERA_SETTINGS_H
