// One run of the program: its options, its camera, and what all sub-commands do with them.
#ifndef VLMCTL_SESSION_H
#define VLMCTL_SESSION_H

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "camera_link.h"
#include "console.h"

namespace vlm::ctl {

struct Settings {
  std::string camera = "local";                      // --camera
  std::optional<std::chrono::milliseconds> timeout;  // --timeout; none: each command's own
  unsigned retries = 0;                              // --retries
  bool verbose = false;                              // -v
};

/// A camera that `list --cameras` has found.
struct FoundCamera {
  std::string camera;  // as --camera takes it
  catalogue::Value version;
};

class Session {
 public:
  /// Opens the way to the camera that the settings name; throws Failure.
  using Open = std::function<std::unique_ptr<CameraLink>(const Settings&)>;

  /// Looks for the cameras that answer.
  using Search = std::function<std::vector<FoundCamera>(const Settings&)>;

  Session(Console& console, Settings settings, Open open, Search search);

  Console& console() const { return _console; }
  const Settings& settings() const { return _settings; }
  /// The way to the camera, opened by the first call. Throws Failure.
  CameraLink& camera();
  std::vector<FoundCamera> find_cameras() const { return _search(_settings); }

  // Ask the camera, again where it gave no answer or was busy and --retries allows it; a refusal is
  // final. Nothing is thrown but by camera(), and a Failure by an interruption.
  client::Answer get(const catalogue::Row& row, const catalogue::Members& parameters = {});
  client::Answer set(const catalogue::Row& row, const catalogue::Value& value);
  client::Answer run(const catalogue::Row& row, const catalogue::Members& parameters);
  client::Answer send(u16 code, const catalogue::Payload& payload);

 private:
  client::Answer ask(const std::string& what, const std::function<client::Answer()>& once);

  Console& _console;
  const Settings _settings;
  const Open _open;
  const Search _search;
  std::unique_ptr<CameraLink> _camera;
};

/// Why the request for `subject` failed; nothing when it did not.
std::optional<Failure> failure_of(const client::Answer& answer, const std::string& subject);
/// The same, with what `row` needs first as a hint beside a refusal.
std::optional<Failure> failure_of(const client::Answer& answer, const std::string& subject,
                                  const catalogue::Row& row);

/// The row or field of that name. Throws Failure, with the nearest name.
catalogue::Item find_item(std::string_view name);

}  // namespace vlm::ctl

#endif  // VLMCTL_SESSION_H
