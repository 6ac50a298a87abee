#include "console.h"

#include <cstdio>
#include <ctime>
#include <utility>

#include "catalogue_text.h"
#include "format.h"
#include "value_json.h"
#include "velmar_err.h"

namespace vlm::ctl {

using catalogue::Field;
using catalogue::Item;
using catalogue::Value;

namespace {

constexpr char kSecretShown[] = "(secret)";

/// Some of the camera's texts end in a newline of their own.
std::string result_text(int code) {
  std::string text = vlm_strerr(code);
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

std::string failure_text(const Failure& failure) {
  std::string text = failure.subject;
  if (!text.empty() && !failure.message.empty()) text += ": ";
  text += failure.message;
  if (failure.code != 0) {
    text += host::format(": %s (%d)", result_text(failure.code).c_str(), failure.code);
  }
  return printable(text);
}

host::JsonBlock failure_json(const Failure& failure) {
  host::JsonBlock error = host::json_object();
  if (failure.code != 0) {
    error.number("code", failure.code).text("name", result_text(failure.code));
  }
  if (!failure.subject.empty()) error.text("setting", failure.subject);
  error.number("status", static_cast<int>(failure.status)).text("message", failure.message);
  host::JsonBlock json = host::json_object();
  json.member("error", error.str());
  return json;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string shown;
  for (const char letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    if (byte >= 0x20 && byte != 0x7F) {
      shown += letter;
      continue;
    }
    char escape[5] = {};
    std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(byte));
    shown += escape;
  }
  return shown;
}

std::string utc_text(std::chrono::system_clock::time_point time) {
  using std::chrono::milliseconds;
  const auto ms = std::chrono::floor<milliseconds>(time.time_since_epoch()).count();
  const auto part = static_cast<int>(((ms % 1000) + 1000) % 1000);
  const auto seconds = static_cast<std::time_t>((ms - part) / 1000);
  std::tm fields{};
  gmtime_r(&seconds, &fields);
  char day[32] = {};
  std::strftime(day, sizeof day, "%Y-%m-%dT%H:%M:%S", &fields);
  char text[48] = {};
  std::snprintf(text, sizeof text, "%s.%03dZ", day, part);
  return text;
}

std::string shown(const Field& field, const Value& value) {
  if (field.is(catalogue::kSecret)) return kSecretShown;
  const std::string text = printable(catalogue::format(field, value));
  return *field.unit != '\0' ? text + ' ' + field.unit : text;
}

Console::Console(Write out, Write err, Now now)
    : _out(std::move(out)), _err(std::move(err)), _now(now) {}

void Console::show_progress(const std::string& text) const {
  if (live == nullptr || text == _progress) return;
  _progress = text;
  live(text);
}

/// Above the line that changes.
void Console::write(const Write& to, const std::string& text) const {
  if (!_progress.empty()) live("");
  to(text + '\n');
  if (!_progress.empty()) live(_progress);
}

void Console::value(const Item& item, const Value& value,
                    const std::function<void(host::JsonBlock&)>& extra) const {
  const Field& field = *item.field;
  if (!json) return line(item.name() + " = " + shown(field, value));
  host::JsonBlock object = host::json_object();
  object.text("name", item.name());
  if (field.is(catalogue::kSecret)) {
    object.text("value", kSecretShown);
  } else {
    object.member("value", value_json(field, value));
    const std::string raw = raw_json(field, value);
    if (!raw.empty()) object.member("raw", raw);
  }
  if (*field.unit != '\0') object.text("unit", field.unit);
  object.text("time", time());
  if (extra) extra(object);
  this->object(object);
}

void Console::failure(const Failure& failure) const {
  _last_failure = failure_text(failure);
  if (json) return object(failure_json(failure));
  remark(_last_failure);
}

}  // namespace vlm::ctl
