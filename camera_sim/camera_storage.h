// The memory cards of the simulated camera: an external slot that holds a card, which the operator
// may take out and put back, and an internal slot that is empty.
#ifndef CAMERA_SIM_CAMERA_STORAGE_H
#define CAMERA_SIM_CAMERA_STORAGE_H

#include <optional>

#include "vlm_camera_codes.h"
#include "vlm_camera_payloads.h"

namespace vlm::sim {

/// Size of the card, unless another is asked for.
constexpr u32 kCardKib = 62 * 1024 * 1024;
/// A card with less space than this takes no file at all.
constexpr u32 kSmallestFileKib = 6 * 1024;

class CameraStorage {
 public:
  /// With a card of `card_kib`.
  explicit CameraStorage(u32 card_kib = kCardKib) : _card_kib(card_kib), _available_kib(card_kib) {}

  /// Carries out the card command `code` as CameraSettings::answer does; no value: none of its
  /// codes.
  std::optional<vlm_err_t> answer(int code, const u8* in, u8* out) const;

  /// Success, or why `kib` more cannot be written: no card, or no space.
  vlm_err_t room_for(u64 kib) const;
  /// Writes `kib`, as far as they fit.
  void write(u64 kib);
  /// Empties the card of `slot`: 0 external, 3 internal, 7 all of them.
  vlm_err_t format(u8 slot);

  /// Fills or empties the card until `kib` are free; false when there is no card or it is smaller.
  bool leave_free(u64 kib);

  /// Put the card in, or take it out; false when it is there already, or gone.
  bool insert();
  bool remove();

  bool ready() const { return _inserted; }
  u32 available_kib() const { return _inserted ? _available_kib : 0; }
  /// State of the external slot (0) or the internal one (1).
  udp_ctrl_cam_sdcard_storage_t record(int index) const;
  /// The status byte of a storage notification: status, slot and number of slots less one, in 3, 3
  /// and 2 bits, lowest first.
  u8 notification_byte() const;

 private:
  vlm_err_t report(u8 slot, u8* out) const;
  void report_attributes(u8* out) const;

  bool _inserted = true;
  u32 _card_kib;
  u32 _available_kib;
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_CAMERA_STORAGE_H
