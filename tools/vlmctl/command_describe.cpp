#include "catalogue_listing.h"
#include "commands.h"
#include "value_json.h"

namespace vlm::ctl {

using catalogue::Row;

namespace {

std::vector<const Row*> wanted_rows(const Words& names) {
  std::vector<const Row*> rows;
  for (const std::string& name : names) rows.push_back(find_item(name).row);
  if (!names.empty()) return rows;
  for (const Row& row : catalogue::rows()) rows.push_back(&row);
  return rows;
}

}  // namespace

int run_describe(Session& session, const Arguments& arguments) {
  const Console& console = session.console();
  for (const Row* const row : wanted_rows(arguments.words)) {
    console.line(console.json ? description_json(*row) : long_listing(*row));
  }
  return kDone;
}

}  // namespace vlm::ctl
