// What the program says: results on standard output, faults on standard error, or with --json all
// of it as objects on standard output, one a line.
#ifndef VLMCTL_CONSOLE_H
#define VLMCTL_CONSOLE_H

#include <chrono>
#include <functional>
#include <string>

#include "catalogue_value.h"
#include "exit_status.h"
#include "json_writer.h"

namespace vlm::ctl {

/// Bytes that show as they are written: what would move the cursor becomes \xNN.
std::string printable(std::string_view text);

/// "2026-11-21T23:50:11.042Z"
std::string utc_text(std::chrono::system_clock::time_point time);

class Console {
 public:
  using Write = std::function<void(const std::string&)>;
  using Now = std::chrono::system_clock::time_point (*)();

  /// `out` and `err` take whole lines.
  Console(Write out, Write err, Now now);

  bool json = false;

  /// Asks a question that is answered with yes or no; true where nobody is there to ask.
  std::function<bool(const std::string&)> confirm = [](const std::string&) { return true; };
  /// Whether questions are asked; a script has answered them.
  bool asks = true;

  /// Shows a line that goes on to change, below all others; null: nobody watches.
  void (*live)(const std::string& text) = nullptr;

  /// A line of text on standard output.
  void line(const std::string& text) const { write(_out, text); }
  /// A remark on standard error; not part of the result.
  void remark(const std::string& text) const { write(_err, "vlmctl: " + text); }
  /// What a long action is at, in place of what was shown before; empty: nothing.
  void show_progress(const std::string& text) const;
  const std::string& progress() const { return _progress; }
  /// One object.
  void object(const host::JsonBlock& json_object) const { line(json_object.str()); }

  /// "lens.zoom = 5.5 x", or the object of a value; `extra` is added to the object. A secret is not
  /// shown.
  void value(const catalogue::Item& item, const catalogue::Value& value,
             const std::function<void(host::JsonBlock&)>& extra = nullptr) const;
  void failure(const Failure& failure) const;

  /// The text of the last failure; empty: none since it was forgotten.
  const std::string& last_failure() const { return _last_failure; }
  void forget_failure() const { _last_failure.clear(); }

  std::string time() const { return utc_text(_now()); }

 private:
  void write(const Write& to, const std::string& text) const;

  Write _out;
  Write _err;
  Now _now;
  mutable std::string _last_failure;
  mutable std::string _progress;
};

/// The value as `Console::value` shows it, with its unit.
std::string shown(const catalogue::Field& field, const catalogue::Value& value);

}  // namespace vlm::ctl

#endif  // VLMCTL_CONSOLE_H
