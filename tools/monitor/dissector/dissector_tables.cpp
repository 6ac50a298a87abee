// Prints the tables of the Wireshark dissector: the commands and their payloads as the catalogue has
// them, the camera's results, the options of the UDP protocol as its header names them.
//
//   dissector_tables vlm_udp_camctrl_defines.h
#include <cstdio>
#include <fstream>
#include <string>

#include "catalogue.h"
#include "command_name.h"
#include "vlm_camera_codes.h"

namespace {

using namespace vlm::catalogue;

constexpr int kLastCode = 905;
constexpr int kLastResult = 96;
constexpr int kLastSideMessage = 14;

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + '"';
}

void print_commands() {
  std::puts("local commands = {");
  for (int code = 0; code <= kLastCode; ++code) {
    const std::string name = vlm::monitor::command_name(code);
    if (name.rfind("COMMAND_", 0) != 0) std::printf("  [%d] = %s,\n", code, quoted(name).c_str());
  }
  std::puts("}\n\nlocal results = {");
  for (int result = 0; result <= kLastResult; ++result) {
    std::printf("  [%d] = %s,\n", result, quoted(vlm::monitor::result_text(result)).c_str());
  }
  std::puts("}\n\nlocal side_messages = {");
  for (unsigned code = 1; code <= kLastSideMessage; ++code) {
    std::printf("  [%u] = %s,\n", code, quoted(vlm::monitor::side_name(code)).c_str());
  }
  std::puts("}\n\nlocal notifications = {");
  for (int type = 5; type <= 8; ++type) {
    std::printf("  [%d] = %s,\n", type, quoted(vlm::monitor::notification_name(type)).c_str());
  }
  std::puts("}\n");
}

/// The options' names stand in the header alone.
bool print_options(const char* header) {
  std::ifstream file(header);
  int count = 0;
  std::puts("local options = {");
  for (std::string line; std::getline(file, line);) {
    char name[128];
    int number = 0;
    if (std::sscanf(line.c_str(), " VELMAR_%127[A-Za-z0-9_] = %i,", name, &number) != 2) continue;
    std::printf("  [%d] = %s,\n", number, quoted(name).c_str());
    ++count;
  }
  std::puts("}\n");
  return count != 0;
}

void print_field(const std::string& name, const Field& field, int shift) {
  std::printf("    {name = %s, type = %s, offset = %d, width = %d, reply_shift = %d",
              quoted(name).c_str(), quoted(text(field.type)).c_str(), field.offset, field.width,
              shift);
  if (field.scale != 1) std::printf(", scale = %u", field.scale);
  if (*field.unit != '\0') std::printf(", unit = %s", quoted(field.unit).c_str());
  if (field.is(kSecret)) std::printf(", secret = true");
  if (!field.choices.empty()) {
    std::printf(", choices = {");
    for (const Choice& choice : field.choices) {
      std::printf("[%lld] = %s, ", static_cast<long long>(choice.number),
                  quoted(choice.name).c_str());
    }
    std::printf("}");
  }
  std::puts("},");
}

void print_value(const char* list, const Row& row, int shift) {
  std::printf("  %s = {\n", list);
  if (row.value.fields.empty() && row.value.type != Type::kNothing) {
    print_field(row.name(), row.value, shift);
  }
  // What has no name is no part of the value.
  for (const Field& field : row.value.fields) {
    if (*field.name != '\0') print_field(std::string(row.name()) + '.' + field.name, field, shift);
  }
  std::puts("  },");
}

/// Rows that share a code are told apart by the parameters; the dissector shows the first one's.
bool is_first(const Row& row, int code) { return code != kNone && find_by_code(code) == &row; }

void print_rows() {
  std::puts("local rows = {");
  for (const Row& row : rows()) {
    std::puts("  {");
    if (is_first(row, row.codes.get)) std::printf("  get = %d,\n", row.codes.get);
    if (is_first(row, row.codes.set)) std::printf("  set = %d,\n", row.codes.set);
    if (is_first(row, row.codes.run)) std::printf("  run = %d,\n", row.codes.run);
    print_value("value", row, row.reply_shift);
    std::puts("  parameters = {");
    for (const Field& parameter : row.parameters) {
      if (*parameter.name == '\0') continue;
      print_field(std::string(row.name()) + '.' + parameter.name, parameter, 0);
    }
    std::puts("  }},");
  }
  std::puts("}\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  std::puts(
      "-- Wireshark dissectors of the camera's message bus and of its UDP protocol.\n"
      "-- Made by the build of the catalogue of commands; not to be edited.\n");
  print_commands();
  const bool has_options = print_options(argv[1]);
  print_rows();
  return has_options && std::ferror(stdout) == 0 ? 0 : 1;
}
