#include "status_table.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <vector>

namespace vlm::monitor {

namespace {

constexpr std::chrono::milliseconds kInterval{500};

TerminalSize terminal_size() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return {};
  return {size.ws_row, size.ws_col};
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

}  // namespace

std::string fitting(const std::string& text, const TerminalSize& size) {
  std::vector<std::string> lines = lines_of(text);
  const std::size_t most = size.rows == 0 ? lines.size() : std::max<std::size_t>(size.rows - 1, 1);
  if (lines.size() > most) {
    lines[most - 1] = lines.back();
    lines.resize(most);
  }
  std::string fit;
  for (const std::string& line : lines) {
    fit += size.columns == 0 ? line : line.substr(0, size.columns);
    fit += '\n';
  }
  return fit;
}

bool StatusTable::is_due() const { return std::chrono::steady_clock::now() - _shown >= kInterval; }

void StatusTable::refresh(const std::string& text) {
  _shown = std::chrono::steady_clock::now();
  replace(fitting(text, terminal_size()));
}

void StatusTable::finish(const std::string& text) { replace(text); }

void StatusTable::replace(const std::string& text) {
  if (_lines != 0) std::printf("\033[%ldA\033[J", _lines);
  std::fputs(text.c_str(), stdout);
  _lines = std::count(text.begin(), text.end(), '\n');
}

}  // namespace vlm::monitor
