// The simulated camera: a pure state machine that answers every camera request. It has no bus, no
// threads and no clock of its own; the time is handed in, in milliseconds from any start.
#ifndef CAMERA_SIM_CAMERA_MODEL_H
#define CAMERA_SIM_CAMERA_MODEL_H

#include <optional>
#include <string>

#include "camera_capture.h"
#include "camera_lens.h"
#include "camera_notifications.h"
#include "camera_properties.h"
#include "camera_scene.h"
#include "camera_settings.h"
#include "camera_storage.h"
#include "camera_thermal.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::sim {

/// What the camera is doing as a whole. Anything but running answers no command but with an error.
enum class CameraPhase { kRunning, kUpgrading, kBooting };

constexpr u64 kUpgradeMs = 3000;
constexpr u64 kBootMs = 1000;

/// What a camera is like.
struct CameraTraits {
  bool thermal = false;  // has a thermal sensor
  bool living = false;   // moves in time, and sees a scene that changes
  u32 card_kib = kCardKib;
  u64 seed = 0;  // of what changes by chance
};

/// Not synchronised. A time before the latest one handed in counts as that one.
class CameraModel {
 public:
  /// A camera that has just started in video mode, with a card.
  explicit CameraModel(const CameraTraits& traits = {});
  CameraModel(const CameraModel&) = delete;
  CameraModel& operator=(const CameraModel&) = delete;

  /// Carries out `request` at `now_ms` and returns its reply: its code, a result, and on success
  /// the payload. Any bytes are a request; what the camera does not know is answered as
  /// unsupported.
  udp_ctrl_cam_t handle(const udp_ctrl_cam_t& request, u64 now_ms);

  /// Moves the first notification that is due at `now_ms` to `taken`; false when there is none.
  /// Those that belong to a request are due after its reply.
  bool take_notification(u64 now_ms, Notification& taken);
  /// When the next notification comes, as far as is known now.
  std::optional<u64> next_due_ms() const;

  /// The operator's hand: puts the card in or takes it out; false when there is nothing to change.
  bool insert_card(u64 now_ms);
  bool remove_card(u64 now_ms);
  /// Leaves `kib` of the card free; false when there is no card or it is smaller.
  bool leave_free(u64 kib, u64 now_ms);
  /// Sends a notification when it is due, whatever has happened; false when too many wait.
  bool notify(const Notification& notification) { return _notifications.add(notification); }
  /// Takes the camera's power away and gives it back: what runs ends, settings stay.
  void power_cycle(u64 now_ms);
  /// Sets or unsets a property as CameraProperties::put does.
  vlm_err_t put_property(const std::string& name, const std::string& value);

  /// The camera at a glance: what its snapshot command answers at `now_ms`, and how its parts are
  /// as of the latest time handed in.
  udp_ctrl_cam_request_list_t snapshot(u64 now_ms);
  CameraPhase phase() const { return _phase; }
  u32 version() const;
  u32 pictures_taken() const { return _capture.pictures_taken(); }
  const CameraProperties& properties() const { return _properties; }
  const CameraSettings& settings() const { return _settings; }
  const CameraLens& lens() const { return _lens; }
  const CameraTraits& traits() const { return _traits; }

 private:
  void advance(u64 now_ms);
  void live(u64 now_ms);
  void expose(double light_ev);
  vlm_err_t answer(int code, const u8* in, u8* out);
  std::optional<vlm_err_t> answer_own(int code, const u8* in, u8* out);
  udp_ctrl_cam_request_list_t request_list() const;
  void report_version(u8* out) const;
  void reset();
  vlm_err_t format(u8 slot);
  vlm_err_t upgrade();
  void restart(u64 now_ms);
  bool announce_card(bool changed);

  const CameraTraits _traits;
  const CameraScene _scene;
  u64 _now_ms = 0;
  CameraPhase _phase = CameraPhase::kRunning;
  u64 _phase_ends_ms = 0;
  u32 _upgrades = 0;

  CameraSettings _settings;
  CameraSettings _custom;  // what the operator saved, the defaults until then
  CameraStorage _storage;
  CameraProperties _properties;
  CameraLens _lens;
  NotificationQueue _notifications;
  CameraCapture _capture;
  CameraThermal _thermal;
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_CAMERA_MODEL_H
