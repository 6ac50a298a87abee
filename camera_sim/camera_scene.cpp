#include "camera_scene.h"

#include <cmath>
#include <random>

namespace vlm::sim {

namespace {

constexpr double kTurn = 6.283185307179586;

// The longest period of each; those of its other waves are shorter and never in step with it.
constexpr double kLightPeriodMs = 40000;
constexpr double kDistancePeriodMs = 60000;
constexpr double kWarmthPeriodMs = 300000;

constexpr double kMostLightEv = 4;
constexpr double kMiddleFocus = 0x4000;
constexpr double kFocusRange = 0x1800;
constexpr double kMostWarmthX10 = 30;

/// 0 to 1. The standard library's distributions differ between its makers, hence plain arithmetic.
double fraction(std::mt19937_64& random) {
  constexpr double kUnit = 1.0 / (u64{1} << 53);
  return static_cast<double>(random() >> 11) * kUnit;
}

/// A period somewhat shorter than `longest_ms`, the next one of about six tenths of it, and so on.
template <typename Waves>
Waves waves(std::mt19937_64& random, double longest_ms) {
  Waves made;
  for (auto& wave : made) {
    wave.period_ms = longest_ms * (0.85 + 0.15 * fraction(random));
    wave.phase = fraction(random);
    longest_ms *= 0.6;
  }
  return made;
}

}  // namespace

CameraScene::CameraScene(u64 seed) {
  std::mt19937_64 random(seed);
  _light = waves<Waves>(random, kLightPeriodMs);
  _distance = waves<Waves>(random, kDistancePeriodMs);
  _warmth = waves<Waves>(random, kWarmthPeriodMs);
}

double CameraScene::light_ev(u64 now_ms) const { return kMostLightEv * swing(_light, now_ms); }

double CameraScene::sharp_focus(u64 now_ms) const {
  return kMiddleFocus + kFocusRange * swing(_distance, now_ms);
}

s32 CameraScene::warmth_x10(u64 now_ms) const {
  return static_cast<s32>(std::lround(kMostWarmthX10 * swing(_warmth, now_ms)));
}

double CameraScene::swing(const Waves& waves, u64 now_ms) {
  double sum = 0;
  for (const Wave& wave : waves) {
    sum += std::sin(kTurn * (static_cast<double>(now_ms) / wave.period_ms + wave.phase));
  }
  return sum / static_cast<double>(waves.size());
}

}  // namespace vlm::sim
