#include <fnmatch.h>

#include <algorithm>
#include <cctype>

#include "camera_version.h"
#include "catalogue_listing.h"
#include "commands.h"
#include "value_json.h"

namespace vlm::ctl {

using catalogue::Row;

namespace {

std::string lower(std::string text) {
  for (char& letter : text)
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  return text;
}

bool holds(const std::string& text, const std::string& part) {
  return lower(text).find(lower(part)) != std::string::npos;
}

/// By the name where the pattern has wildcards, else by any part of name or help.
bool matches(const Row& row, const std::string& pattern) {
  if (pattern.find_first_of("*?[") != std::string::npos) {
    return fnmatch(pattern.c_str(), row.name(), 0) == 0;
  }
  return holds(row.name(), pattern) || holds(row.value.help, pattern);
}

std::vector<std::string> names_of_rows() {
  std::vector<std::string> names;
  for (const Row& row : catalogue::rows()) names.emplace_back(row.name());
  return names;
}

void show(const Console& console, const FoundCamera& found) {
  const std::string model = model_text(found.version);
  const std::string firmware = firmware_text(found.version);
  if (!console.json) {
    std::string camera = printable(found.camera);
    camera.resize(std::max<std::size_t>(camera.size(), 34), ' ');
    return console.line(camera + "  " + model + "  " + firmware);
  }
  host::JsonBlock json = host::json_object();
  json.text("camera", found.camera).text("model", model).text("firmware", firmware);
  console.object(json.text("time", console.time()));
}

int list_cameras(Session& session) {
  const auto cameras = session.find_cameras();
  if (cameras.empty()) fail(kNoCamera, "", "no camera answers on the buses of this machine");
  for (const FoundCamera& each : cameras) show(session.console(), each);
  return kDone;
}

}  // namespace

int run_list(Session& session, const Arguments& arguments) {
  if (arguments.has("--cameras")) {
    if (!arguments.words.empty()) fail(kUsage, "", "list --cameras takes no PATTERN");
    return list_cameras(session);
  }
  if (arguments.words.size() > 1) fail(kUsage, "", "list takes one PATTERN");
  const std::string pattern = arguments.words.empty() ? "*" : arguments.words[0];
  const Console& console = session.console();
  bool found = false;
  for (const Row& row : catalogue::rows()) {
    if (!matches(row, pattern)) continue;
    found = true;
    if (console.json) {
      console.line(description_json(row));
    } else {
      console.line(arguments.has("--long") ? long_listing(row) : short_listing(row));
    }
  }
  if (found) return kDone;
  const std::string like = catalogue::nearest(pattern, names_of_rows());
  fail(kNotAllowed, pattern,
       "nothing is called so" + (like.empty() ? "" : ", did you mean " + like + "?"));
}

}  // namespace vlm::ctl
