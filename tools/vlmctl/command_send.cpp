
#include "assignment.h"
#include "catalogue_text.h"
#include "commands.h"
#include "velmar_cmd.h"

namespace vlm::ctl {

using catalogue::Payload;
using catalogue::Row;

namespace {

/// Whether `code` is in the table of commands: some have no row, and of those some no name.
bool is_code(int code) {
  for (const auto& unknown : catalogue::exceptions()) {
    if (unknown.code == code) return true;
  }
  return catalogue::find_by_code(code) != nullptr;
}

int parse_code(const std::string& written) {
  const auto code = catalogue::parse_digits(written, 10);
  if (!code) fail(kUsage, "", "send takes the number of a code");
  const bool known = *code <= UINT16_MAX && is_code(static_cast<int>(*code));
  if (!known) fail(kNotAllowed, written, "the table of commands has no such code");
  return static_cast<int>(*code);
}

/// The bytes of hexadecimal digits, at most those of a payload.
Payload parse_hex(const std::string& digits) {
  Payload payload{};
  const bool fits = digits.size() % 2 == 0 && digits.size() / 2 <= payload.size();
  for (std::size_t i = 0; fits && i < digits.size(); i += 2) {
    const auto byte = catalogue::parse_digits(digits.substr(i, 2), 16);
    if (!byte) fail(kUsage, digits, "pairs of hexadecimal digits are wanted");
    payload[i / 2] = static_cast<u8>(*byte);
  }
  if (!fits) fail(kUsage, digits, "at most 128 pairs of hexadecimal digits are wanted");
  return payload;
}

/// Of a setting: its own name, or those of its fields.
catalogue::Value setting_value(const Row& row, const Words& words) {
  const bool group = row.value.type == catalogue::Type::kGroup;
  catalogue::Members members;
  for (const std::string& word : words) {
    if (!group && word.substr(0, word.find('=')) != row.name()) {
      fail(kNotAllowed, word, std::string("the code takes ") + row.name() + "=VALUE");
    }
    // "width" stands for "video.width".
    const bool whole = catalogue::find(word.substr(0, word.find('='))).has_value();
    const Assignment part = parse_assignment(whole ? word : std::string(row.name()) + "." + word);
    if (part.item.row != &row) fail(kNotAllowed, part.item.name(), "the code sets another");
    if (part.item.whole()) return part.value;
    members.push_back({part.item.field, part.value});
  }
  return members;
}

Payload encode_words(const Row& row, int code, const Words& words) {
  Payload payload{};
  std::string error;
  const bool encoded = code == row.codes.set
                           ? encode(row.value, setting_value(row, words), payload, error)
                           : encode_parameters(row, parse_parameters(row, words), payload, error);
  if (!encoded) fail(kNotAllowed, row.name(), error);
  return payload;
}

Payload parse_payload(int code, const Words& words) {
  if (words.empty()) return {};
  if (words[0].find('=') == std::string::npos) {
    if (words.size() > 1) fail(kUsage, "", "send takes one block of digits");
    return parse_hex(words[0]);
  }
  const Row* const row = catalogue::find_by_code(code);
  if (row == nullptr) {
    fail(kUsage, "", "what the code takes is not known: give its bytes");
  }
  return encode_words(*row, code, words);
}

/// The row whose value the answer to `code` holds; null: none.
const Row* row_of_answer(int code, const Payload& payload) {
  const Row* const row = catalogue::find_by_code(code, payload.data());
  const bool holds = row != nullptr && (code == row->codes.get || code == row->codes.run) &&
                     row->value.type != catalogue::Type::kNothing;
  return holds ? row : nullptr;
}

/// In hexadecimal digits, without the zeros at its end.
std::string hex(const Payload& payload) {
  std::size_t size = payload.size();
  while (size > 0 && payload[size - 1] == 0) --size;
  std::string digits;
  for (std::size_t i = 0; i < size; ++i) {
    char pair[3] = {};
    std::snprintf(pair, sizeof pair, "%02x", payload[i]);
    digits += pair;
  }
  return digits;
}

void show(const Console& console, int code, const client::Answer& answer) {
  if (console.json) {
    host::JsonBlock json = host::json_object();
    json.number("code", code).text("name", vlm_strcmd(code));
    json.text("payload", hex(answer.payload)).text("time", console.time());
    return console.object(json);
  }
  const std::string bytes = hex(answer.payload);
  console.line(std::to_string(code) + " " + vlm_strcmd(code) + ": done" +
               (bytes.empty() ? "" : ", " + bytes));
}

}  // namespace

int run_send(Session& session, const Arguments& arguments) {
  if (arguments.words.empty()) fail(kUsage, "", "send takes the number of a code");
  const int code = parse_code(arguments.words[0]);
  const Payload payload =
      parse_payload(code, Words(arguments.words.begin() + 1, arguments.words.end()));
  if (!session.camera().is_bus()) {
    fail(kNotOffered, "", "codes cannot be sent over " + session.camera().name());
  }
  const client::Answer answer = session.send(static_cast<u16>(code), payload);
  const std::string subject = std::to_string(code) + " " + vlm_strcmd(code);
  if (const auto failure = failure_of(answer, subject)) throw Failure(*failure);
  const Row* const row = row_of_answer(code, payload);
  const auto value = row != nullptr
                         ? decode_reply(*row, answer.payload.data(), answer.payload.size())
                         : std::nullopt;
  if (value) {
    session.console().value({row, &row->value}, *value);
  } else {
    show(session.console(), code, answer);
  }
  return kDone;
}

}  // namespace vlm::ctl
