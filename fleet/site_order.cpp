#include "site_order.h"

namespace vlm::fleet {

namespace {

constexpr char kSite[] = "--site";
constexpr char kSiteIs[] = "--site=";

bool begins_with(const std::string& word, const char* beginning) {
  return word.rfind(beginning, 0) == 0;
}

/// Takes what is said of the site, and keeps the rest.
void read_options(const std::vector<std::string>& line, std::size_t end, SiteOrder& order) {
  for (std::size_t i = 0; i < end; ++i) {
    const std::string& word = line[i];
    if (word == kSite && i + 1 < end) {
      order.site = line[++i];
    } else if (begins_with(word, kSiteIs)) {
      order.site = word.substr(sizeof kSiteIs - 1);
    } else if (word == "--all-cameras") {
      order.all_cameras = true;
    } else {
      order.names_camera |= word == "--camera" || begins_with(word, "--camera=");
      order.json |= word == "--json";
      order.words.push_back(word);
    }
  }
}

/// Also behind the command there may stand that it is for all cameras.
void read_command(const std::vector<std::string>& line, std::size_t place, SiteOrder& order) {
  if (place < line.size()) order.command = line[place];
  bool has_options = true;
  for (; place < line.size(); ++place) {
    const std::string& word = line[place];
    has_options &= word != "--";
    if (has_options && word == "--all-cameras") {
      order.all_cameras = true;
      continue;
    }
    order.lists |= has_options && word == "--cameras" && order.command == "list";
    order.json |= has_options && word == "--json";
    order.words.push_back(word);
  }
}

}  // namespace

SiteOrder parse_site_order(const std::vector<std::string>& line, std::size_t command) {
  SiteOrder order;
  read_options(line, command, order);
  read_command(line, command, order);
  return order;
}

}  // namespace vlm::fleet
