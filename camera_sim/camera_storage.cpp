#include "camera_storage.h"

#include <algorithm>

#include "catalogue_choices.h"
#include "payload_bytes.h"

namespace vlm::sim {

namespace {

// Slots by their numbers in commands.
constexpr u8 kExternalSlot = catalogue::number_of<u8>(catalogue::kSlots, "external");
constexpr u8 kInternalSlot = catalogue::number_of<u8>(catalogue::kSlots, "internal");
constexpr u8 kAllSlots = catalogue::number_of<u8>(catalogue::kFormattedSlots, "all");
constexpr u8 kSlots[] = {kExternalSlot, kInternalSlot};
constexpr u8 kSlotCount = 2;
/// Asks for the storage in use, whichever slot it is in.
constexpr u8 kCurrentStorage = catalogue::number_of<u8>(catalogue::kQueriedSlots, "current");

// What the card tells about itself.
constexpr u16 kCardMbps = 90;
constexpr u8 kHighSpeed = 1;
constexpr udp_ctrl_sdcard_support_info_t kCardMaker = {0x5344, 0x03, 1};

}  // namespace

std::optional<vlm_err_t> CameraStorage::answer(int code, const u8* in, u8* out) const {
  if (code == UDP_CTRL_CAM_GET_SDCARD_STORAGE) return report(in[0], out);
  const bool card_command = code == UDP_CTRL_CAM_TEST_T_CARD_SPEED ||
                            code == UDP_CTRL_CAM_GET_T_CARD_ATTRIBUTE ||
                            code == UDP_CTRL_CAM_GET_SDCARD_SUPPORT_INFO;
  if (!card_command) return std::nullopt;
  if (!_inserted) return VLM_ERR_SDCARD_NOT_READY;
  if (code == UDP_CTRL_CAM_GET_T_CARD_ATTRIBUTE) report_attributes(out);
  if (code == UDP_CTRL_CAM_GET_SDCARD_SUPPORT_INFO) store(out, kCardMaker);
  return VLM_ERR_NONE;
}

vlm_err_t CameraStorage::room_for(u64 kib) const {
  if (!_inserted) return VLM_ERR_SDCARD_NOT_READY;
  return _available_kib >= kib ? VLM_ERR_NONE : VLM_ERR_SDCARD_IS_FULL;
}

void CameraStorage::write(u64 kib) {
  _available_kib -= static_cast<u32>(std::min<u64>(kib, _available_kib));
}

/// The internal slot is empty, so there is nothing to format in it.
vlm_err_t CameraStorage::format(u8 slot) {
  if (slot == kInternalSlot) return VLM_ERR_SDCARD_NOT_READY;
  if (slot != kExternalSlot && slot != kAllSlots) return VLM_ERR_IS_INVALID_PARAM;
  if (!_inserted) return VLM_ERR_SDCARD_NOT_READY;
  _available_kib = _card_kib;
  return VLM_ERR_NONE;
}

bool CameraStorage::leave_free(u64 kib) {
  if (!_inserted || kib > _card_kib) return false;
  _available_kib = static_cast<u32>(kib);
  return true;
}

bool CameraStorage::insert() {
  const bool changed = !_inserted;
  _inserted = true;
  return changed;
}

bool CameraStorage::remove() {
  const bool changed = _inserted;
  _inserted = false;
  return changed;
}

udp_ctrl_cam_sdcard_storage_t CameraStorage::record(int index) const {
  udp_ctrl_cam_sdcard_storage_t record{};
  record.storage_id = kSlots[index];
  // A bit for each slot, by its number, and one for each card that is ready.
  record.storage_bitmap.slots = (1 << kExternalSlot) | (1 << kInternalSlot);
  record.storage_bitmap.storages = _inserted ? 1 << kExternalSlot : 0;
  if (record.storage_id == kExternalSlot && _inserted) {
    record.status = VLM_STORAGE_OK;
    record.available_capacity = _available_kib;
    record.total_capacity = _card_kib;
  }
  return record;
}

u8 CameraStorage::notification_byte() const {
  const int status = _inserted ? VLM_STORAGE_INSERTED : VLM_STORAGE_REMOVED;
  return static_cast<u8>(status | kExternalSlot << 3 | (kSlotCount - 1) << 6);
}

/// An empty slot is reported, not refused: that it is empty is the answer.
vlm_err_t CameraStorage::report(u8 slot, u8* out) const {
  const u8 wanted = slot == kCurrentStorage ? kExternalSlot : slot;
  const auto* found = std::find(std::begin(kSlots), std::end(kSlots), wanted);
  if (found == std::end(kSlots)) return VLM_ERR_IS_INVALID_PARAM;
  store(out, record(static_cast<int>(found - kSlots)));
  return VLM_ERR_NONE;
}

void CameraStorage::report_attributes(u8* out) const {
  udp_ctrl_cam_t_card_attribute_t attributes{};
  attributes.speed_mbps = kCardMbps;
  attributes.level = kHighSpeed;
  attributes.space_state = _available_kib < kSmallestFileKib ? 1 : 0;
  store(out, attributes);
}

}  // namespace vlm::sim
