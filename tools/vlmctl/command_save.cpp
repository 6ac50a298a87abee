#include "camera_version.h"
#include "commands.h"
#include "reading.h"
#include "settings_file.h"
#include "tally.h"
#include "text_file.h"

namespace vlm::ctl {

using catalogue::Item;
using catalogue::Row;
using catalogue::Value;

namespace {

bool is_setting(const Row& row) { return row.kind == catalogue::Kind::kSetting; }

bool is_saved(Session& session, const Row& row) {
  CameraLink& camera = session.camera();
  return is_setting(row) && !row.is(catalogue::kVolatile) && camera.can_get(row) &&
         camera.can_set(row);
}

/// What needs another setting comes before it: so that one stays as the file has it in the end.
std::vector<const Row*> saved_rows(Session& session) {
  std::vector<const Row*> rows;
  for (const bool dependent : {true, false}) {
    for (const Row& row : catalogue::rows()) {
      if (is_saved(session, row) && row.needs.empty() != dependent) rows.push_back(&row);
    }
  }
  return rows;
}

std::string head(Session& session, Reader& reader) {
  std::string text = std::string(kSettingsFileHead) + '\n';
  const Item version = find_item("camera.version");
  if (session.camera().can_get(*version.row)) {
    const Read read = reader.read(version);
    if (const auto* group = std::get_if<Value>(&read)) {
      text += "# camera " + model_text(*group) + "\n# firmware " + firmware_text(*group) + '\n';
    }
  }
  return text + "# date " + session.console().time() + '\n';
}

std::string unreadable(Session& session) {
  std::string text;
  CameraLink& camera = session.camera();
  for (const Row& row : catalogue::rows()) {
    if (!is_setting(row) || !camera.can_set(row) || camera.can_get(row)) continue;
    text += std::string("# ") + row.name() + " cannot be read back\n";
  }
  return text;
}

bool is_lacking(const Row& row, const Failure& failure) {
  return row.is(catalogue::kThermal) && failure.code == VLM_ERR_UNSUPPORTED_COMMAND;
}

}  // namespace

int run_save(Session& session, const Arguments& arguments) {
  if (arguments.words.size() > 1) fail(kUsage, "", "save takes one FILE");
  const bool to_file = !arguments.words.empty() && arguments.words[0] != "-";
  const Console& console = session.console();
  Reader reader(session);
  Tally tally;
  std::string text = head(session, reader);
  for (const Row* const row : saved_rows(session)) {
    const Item item{row, &row->value};
    const Read read = reader.read(item);
    if (const auto* value = std::get_if<Value>(&read)) {
      text += settings_line(item, *value) + '\n';
      if (console.json) console.value(item, *value);
      tally.succeeded();
    } else if (const auto& failure = std::get<Failure>(read); !is_lacking(*row, failure)) {
      text += std::string("# ") + row->name() + " was not read: " + failure.message + '\n';
      console.failure(failure);
      tally.failed(failure.status);
    }
  }
  text += unreadable(session);
  if (to_file) {
    write_file(arguments.words[0], text);
  } else if (!console.json) {
    text.pop_back();
    console.line(text);
  }
  return tally.status();
}

}  // namespace vlm::ctl
