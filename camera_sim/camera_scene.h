// What a living camera looks at: light, distance and warmth change slowly and smoothly, each as the
// sum of a few waves. So the scene is a function of the time alone, whoever looks at it and how often.
#ifndef CAMERA_SIM_CAMERA_SCENE_H
#define CAMERA_SIM_CAMERA_SCENE_H

#include <array>

#include "vlm_camera_payloads.h"

namespace vlm::sim {

class CameraScene {
 public:
  /// The same seed makes the same scene.
  explicit CameraScene(u64 seed);

  /// Steps of light beside the usual one, -4 to 4: one step is twice as bright.
  double light_ev(u64 now_ms) const;
  /// The focus position at which the scene is sharp, 0x2800 to 0x5800.
  double sharp_focus(u64 now_ms) const;
  /// Tenths of a degree beside the usual temperature, -30 to 30.
  s32 warmth_x10(u64 now_ms) const;

 private:
  struct Wave {
    double period_ms;
    double phase;  // 0 to 1
  };
  /// Swing between -1 and 1.
  using Waves = std::array<Wave, 3>;

  static double swing(const Waves& waves, u64 now_ms);

  Waves _light;
  Waves _distance;
  Waves _warmth;
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_CAMERA_SCENE_H
