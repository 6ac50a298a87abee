// The operator's console: what may be done to the simulated camera by hand, a line a command.
#ifndef CAMERA_SIM_SIM_CONSOLE_H
#define CAMERA_SIM_SIM_CONSOLE_H

#include <string>
#include <vector>

#include "camera_model.h"
#include "operator_agenda.h"
#include "rtsp_model.h"
#include "sim_faults.h"

namespace vlm::sim {

/// What the operator handles.
struct SimulatedBoard {
  CameraModel& camera;
  const RtspModel& rtsp;
  FaultPlan& faults;
  OperatorAgenda& agenda;
  u64 now_ms;
};

struct OperatorAnswer {
  std::string text;  // whole lines, or empty
  bool quit = false;
  bool wrong = false;  // the line is no command, and nothing has been done
};

/// A longer line is no command.
constexpr std::size_t kLongestLine = 255;
/// Nobody who types, and no script, is behind a line that has not ended by then.
constexpr std::size_t kEndlessLine = 65536;

/// Carries out one line; whatever is no command is answered with what is wrong.
OperatorAnswer operate(const SimulatedBoard& board, const std::string& line);

/// Cuts what arrives on a descriptor into lines.
class LineBuffer {
 public:
  /// The lines that `size` more bytes complete, without their ends. Of a line that is too long, the
  /// rest is thrown away, so that it still is too long.
  std::vector<std::string> feed(const char* bytes, std::size_t size);
  /// What has come of the line that is not complete yet.
  const std::string& rest() const { return _line; }
  /// Whether that line has no end.
  bool is_endless() const { return _size > kEndlessLine; }

 private:
  std::string _line;
  std::size_t _size = 0;  // of the line so far, with what was thrown away
};

}  // namespace vlm::sim

#endif  // CAMERA_SIM_SIM_CONSOLE_H
