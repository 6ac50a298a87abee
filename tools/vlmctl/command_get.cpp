#include "commands.h"
#include "interruption.h"
#include "reading.h"
#include "tally.h"

namespace vlm::ctl {

using catalogue::Item;

namespace {

/// Everything that can be read; what the camera lacks is found out by asking.
std::vector<Item> all_items(Session& session) {
  std::vector<Item> items;
  for (const catalogue::Row& row : catalogue::rows()) {
    if (session.camera().can_get(row)) items.push_back({&row, &row.value});
  }
  return items;
}

/// Whether the camera has no sensor for it.
bool is_lacking(const Item& item, const Failure& failure) {
  return item.row->is(catalogue::kThermal) && failure.code == VLM_ERR_UNSUPPORTED_COMMAND;
}

}  // namespace

int run_get(Session& session, const Arguments& arguments) {
  const bool all = arguments.has("--all");
  if (all != arguments.words.empty()) fail(kUsage, "", "get takes names, or --all");
  const auto items = all ? all_items(session) : readable_items(session, arguments.words);
  Reader reader(session);
  Tally tally;
  for (const Item& item : items) {
    if (interrupted()) return kPartly;
    const Read read = reader.read(item);
    if (const auto* value = std::get_if<catalogue::Value>(&read)) {
      session.console().value(item, *value);
      tally.succeeded();
    } else if (const auto& failure = std::get<Failure>(read); !all || !is_lacking(item, failure)) {
      session.console().failure(failure);
      tally.failed(failure.status);
    }
  }
  return tally.status();
}

}  // namespace vlm::ctl
