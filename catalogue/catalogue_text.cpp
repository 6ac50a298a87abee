#include "catalogue_text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vlm::catalogue {

namespace {

constexpr std::string_view kRawPrefix = "raw:";

bool fail(std::string& error, std::string reason) {
  error = std::move(reason);
  return false;
}

bool is_digit(char letter) { return '0' <= letter && letter <= '9'; }

bool starts_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

std::string quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

/// Decimal, or hexadecimal behind 0x.
std::optional<u64> parse_number(std::string_view written) {
  if (starts_with(written, "0x")) return parse_digits(written.substr(2), 16);
  return parse_digits(written, 10);
}

std::optional<s64> with_sign(bool negative, u64 number) {
  if (number > static_cast<u64>(INT64_MAX)) return std::nullopt;
  return negative ? -static_cast<s64>(number) : static_cast<s64>(number);
}

std::optional<s64> parse_signed(std::string_view written) {
  const bool negative = starts_with(written, "-");
  const auto number = parse_number(written.substr(negative ? 1 : 0));
  if (!number) return std::nullopt;
  return with_sign(negative, *number);
}

int decimals(u32 scale) {
  int count = 0;
  for (u32 rest = scale; rest > 1; rest /= 10) ++count;
  return count;
}

/// A number in the field's unit, without a digit that the scale cannot hold.
std::optional<s64> parse_scaled(std::string_view written, u32 scale) {
  const auto point = written.find('.');
  if (scale == 1 || starts_with(written, "0x")) return parse_signed(written);
  const bool negative = starts_with(written, "-");
  const std::string whole(written.substr(negative ? 1 : 0, point - (negative ? 1 : 0)));
  std::string part(point == std::string_view::npos ? "" : written.substr(point + 1));
  const auto places = static_cast<std::size_t>(decimals(scale));
  if ((point != std::string_view::npos && part.empty()) || part.size() > places)
    return std::nullopt;
  part.resize(places, '0');
  if (whole.empty()) return std::nullopt;
  const auto number = parse_digits(whole + part, 10);
  if (!number) return std::nullopt;
  return with_sign(negative, *number);
}

std::optional<float> parse_float(std::string_view written) {
  const std::string number(written);
  const bool plain = !number.empty() && (is_digit(number[0]) || number[0] == '-') &&
                     number.find_first_not_of("0123456789.eE+-") == std::string::npos;
  if (!plain) return std::nullopt;
  char* end = nullptr;
  const float value = std::strtof(number.c_str(), &end);
  if (*end != '\0') return std::nullopt;
  return value;
}

std::optional<Ratio> parse_ratio(std::string_view written) {
  if (written == "0") return Ratio{0, 0};
  const auto slash = written.find('/');
  const auto numerator = parse_signed(written.substr(0, slash));
  const auto denominator = slash == std::string_view::npos
                               ? std::optional<u64>(1)
                               : parse_digits(written.substr(slash + 1), 10);
  const bool fit = numerator && denominator && *numerator >= INT32_MIN && *numerator <= INT32_MAX &&
                   *denominator <= UINT32_MAX;
  if (!fit) return std::nullopt;
  return Ratio{static_cast<s32>(*numerator), static_cast<u32>(*denominator)};
}

std::optional<Blob> parse_blob(std::string_view written) {
  if (written.size() % 2 != 0) return std::nullopt;
  Blob blob;
  for (std::size_t i = 0; i < written.size(); i += 2) {
    const auto byte = parse_digits(written.substr(i, 2), 16);
    if (!byte) return std::nullopt;
    blob.push_back(static_cast<u8>(*byte));
  }
  return blob;
}

/// Names of the choices that can be set.
std::vector<std::string> choice_names(const Field& field) {
  std::vector<std::string> names;
  for (const Choice& choice : field.choices) {
    if (choice.settable) names.emplace_back(choice.name);
  }
  return names;
}

const Choice* find_choice(const Field& field, std::string_view name) {
  const auto* const found =
      std::find_if(field.choices.begin(), field.choices.end(),
                   [name](const Choice& choice) { return choice.name == name; });
  return found != field.choices.end() ? found : nullptr;
}

/// Why `written` is none of the field's values, with the nearest of `names`.
std::string not_allowed(const Field& field, std::string_view written,
                        const std::vector<std::string>& names = {}) {
  const std::string like = nearest(written, names);
  const std::string hint = like.empty() ? "" : ", did you mean " + like + "?";
  return quoted(written) + " is not allowed: " + allowed_text(field) + hint;
}

// Texts inside a group are quoted where their characters would part it.

constexpr std::string_view kParting = ",=\"\\";

bool is_plain(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char letter) {
    return letter >= ' ' && letter != '\x7F' && kParting.find(letter) == std::string_view::npos;
  });
}

/// What stands at the start of `rest` up to a comma outside quotes; both are taken from it, and
/// `last` tells that there was no comma.
std::string_view take_part(std::string_view& rest, bool& last) {
  bool inside = false;
  std::size_t end = 0;
  for (; end < rest.size(); ++end) {
    if (inside && rest[end] == '\\') {
      ++end;
      continue;
    }
    if (rest[end] == '"') inside = !inside;
    if (rest[end] == ',' && !inside) break;
  }
  end = std::min(end, rest.size());
  last = end == rest.size();
  const std::string_view part = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return part;
}

std::vector<std::string> field_names(const Field& group) {
  std::vector<std::string> names;
  for (const Field& field : group.fields) {
    if (!field.is(kFixed)) names.emplace_back(field.name);
  }
  return names;
}

const Field* find_field(const Field& group, std::string_view name) {
  const auto* const found =
      std::find_if(group.fields.begin(), group.fields.end(),
                   [name](const Field& field) { return !field.is(kFixed) && field.name == name; });
  return found != group.fields.end() ? found : nullptr;
}

bool add_member(const Field& field, std::string_view written, Members& members,
                std::string& error) {
  const bool text = field.type == Type::kText;
  const auto plain = text ? unquoted(written) : std::string(written);
  if (!plain) return fail(error, std::string(field.name) + ": the quotes do not end where it does");
  auto value = parse(field, *plain, error);
  if (!value) return fail(error, std::string(field.name) + ": " + error);
  members.push_back({&field, std::move(*value)});
  return true;
}

/// "width=1920,height=1080".
bool parse_named(const Field& group, std::string_view written, Members& members,
                 std::string& error) {
  bool last = false;
  for (std::string_view rest = written; !last;) {
    const std::string_view part = take_part(rest, last);
    const std::string_view name = part.substr(0, part.find('='));
    const Field* const field = find_field(group, name);
    if (field == nullptr || name.size() == part.size()) {
      return fail(error, not_allowed(group, part, field_names(group)));
    }
    if (!add_member(*field, part.substr(name.size() + 1), members, error)) return false;
  }
  return true;
}

/// "1920x1080@30": the fields in their order, parted by the group's separators.
bool parse_short(const Field& group, std::string_view written, Members& members,
                 std::string& error) {
  std::string_view rest = written;
  const char* separator = group.separators;
  for (const Field& field : group.fields) {
    if (field.is(kFixed)) continue;
    const std::size_t end = *separator != '\0' ? rest.find(*separator) : rest.size();
    if (end == std::string_view::npos) return fail(error, not_allowed(group, written));
    if (!add_member(field, rest.substr(0, end), members, error)) return false;
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (*separator != '\0') ++separator;
  }
  return true;
}

std::optional<Value> parse_group(const Field& group, std::string_view written, std::string& error) {
  Members members;
  const bool named = *group.separators == '\0' || written.find('=') != std::string_view::npos;
  const bool parsed = named ? parse_named(group, written, members, error)
                            : parse_short(group, written, members, error);
  const bool whole = parsed && check(group, members, error);
  if (!whole) return std::nullopt;
  return members;
}

std::string format_member(const Member& member) {
  const std::string written = format(*member.field, member.value);
  const bool plain = member.field->type != Type::kText || is_plain(written);
  return plain ? written : in_quotes(written);
}

std::string format_group(const Field& group, const Members& members) {
  std::string written;
  const char* separator = group.separators;
  const bool short_form = *separator != '\0' && members.size() == field_names(group).size();
  for (const Member& member : members) {
    if (!written.empty()) written += short_form ? *separator++ : ',';
    if (!short_form) written += std::string(member.field->name) + "=";
    written += format_member(member);
  }
  return written;
}

std::string format_blob(const Blob& blob) {
  std::string written;
  for (const u8 byte : blob) {
    char digits[3] = {};
    std::snprintf(digits, sizeof digits, "%02x", byte);
    written += digits;
  }
  return written;
}

struct Formatter {
  const Field& field;

  std::string operator()(std::monostate) const { return ""; }
  std::string operator()(bool on) const { return on ? "on" : "off"; }
  std::string operator()(const Choice* choice) const { return choice->name; }
  std::string operator()(s64 number) const { return format_integer(field, number); }
  std::string operator()(float number) const { return format_float(number); }
  std::string operator()(const Ratio& ratio) const { return format_ratio(ratio); }
  std::string operator()(const std::string& characters) const { return characters; }
  std::string operator()(const Blob& blob) const { return format_blob(blob); }
  std::string operator()(const Members& members) const { return format_group(field, members); }
  std::string operator()(const Raw& raw) const { return "raw:" + std::to_string(raw.number); }
};

std::optional<Value> parse_raw(const Field& field, std::string_view written, std::string& error) {
  const auto number = parse_number(written.substr(kRawPrefix.size()));
  if (!number) {
    error = quoted(written) + " is not allowed: raw: is followed by a number of 64 bits at most";
    return std::nullopt;
  }
  const Value value = Raw{*number};
  if (!check(field, value, error)) return std::nullopt;
  return value;
}

template <typename T>
std::optional<Value> as_value(const std::optional<T>& parsed) {
  if (!parsed) return std::nullopt;
  return Value(*parsed);
}

std::optional<Value> parse_bool(std::string_view written) {
  if (written != "on" && written != "off") return std::nullopt;
  return written == "on";
}

/// The value of a type that is no group; no value: the words are none of it.
std::optional<Value> parse_simple(const Field& field, std::string_view written) {
  switch (field.type) {
    case Type::kNothing:
    case Type::kGroup: return std::nullopt;
    case Type::kBool: return parse_bool(written);
    case Type::kChoice: {
      const Choice* const choice = find_choice(field, written);
      if (choice == nullptr) return std::nullopt;
      return choice;
    }
    case Type::kFloat: return as_value(parse_float(written));
    case Type::kRatio: return as_value(parse_ratio(written));
    case Type::kText: return std::string(written);
    case Type::kBytes: return as_value(parse_blob(written));
    default: return as_value(parse_scaled(written, field.scale));
  }
}

std::string with_unit(const Field& field, const std::string& words) {
  return *field.unit != '\0' ? words + " " + field.unit : words;
}

/// "auto, manual or spot".
std::string listed(const std::vector<std::string>& names) {
  std::string words;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) words += i + 1 < names.size() ? ", " : " or ";
    words += names[i];
  }
  return words;
}

std::string allowed_ratio(const Field& field) {
  const auto number = [](double limit) { return std::to_string(static_cast<s64>(limit)); };
  if (!field.ranged)
    return with_unit(field, field.width == 2 ? "a fraction of -128 to 127 over 1 to 255, or 0"
                                             : "a fraction of 0 to 65535 over 1 to 65535, or 0");
  const std::string span = number(field.range.min) + " to " + number(field.range.max);
  return with_unit(field, "a fraction of " + span + " over " + span);
}

std::string allowed_integer(const Field& field) {
  Limits limits = type_limits(field);
  if (field.ranged) {
    limits = {static_cast<s64>(field.range.min), static_cast<s64>(field.range.max)};
  }
  return with_unit(field,
                   format_integer(field, limits.min) + " to " + format_integer(field, limits.max));
}

std::string allowed_float(const Field& field) {
  if (!field.ranged) return with_unit(field, "a number");
  return with_unit(field, format_float(static_cast<float>(field.range.min)) + " to " +
                              format_float(static_cast<float>(field.range.max)));
}

/// The character behind a backslash at `place`, which moves to its last letter.
std::optional<char> parse_escape(std::string_view written, std::size_t& place) {
  if (place + 1 >= written.size()) return std::nullopt;
  const char letter = written[++place];
  if (letter == '"' || letter == '\\') return letter;
  if (letter != 'x' || place + 2 >= written.size()) return std::nullopt;
  const auto code = parse_digits(written.substr(place + 1, 2), 16);
  place += 2;
  if (!code) return std::nullopt;
  return static_cast<char>(*code);
}

}  // namespace

std::optional<u64> parse_digits(std::string_view digits, unsigned base) {
  if (digits.empty()) return std::nullopt;
  u64 number = 0;
  for (const char letter : digits) {
    const char lower = static_cast<char>(letter | 0x20);
    unsigned digit = base;
    if (is_digit(letter)) digit = static_cast<unsigned>(letter - '0');
    if ('a' <= lower && lower <= 'f') digit = static_cast<unsigned>(lower - 'a' + 10);
    if (digit >= base || number > (UINT64_MAX - digit) / base) return std::nullopt;
    number = number * base + digit;
  }
  return number;
}

std::string in_quotes(std::string_view text) {
  std::string written = "\"";
  for (const char letter : text) {
    const bool control = static_cast<u8>(letter) < ' ' || letter == '\x7F';
    char escape[5] = {};
    std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(static_cast<u8>(letter)));
    if (control) {
      written += escape;
    } else {
      if (letter == '"' || letter == '\\') written += '\\';
      written += letter;
    }
  }
  return written + "\"";
}

std::optional<std::string> unquoted(std::string_view written) {
  if (written.empty() || written[0] != '"') return std::string(written);
  std::string characters;
  for (std::size_t i = 1; i < written.size(); ++i) {
    if (written[i] == '"') {
      if (i + 1 != written.size()) return std::nullopt;
      return characters;
    }
    std::optional<char> letter = written[i];
    if (written[i] == '\\') letter = parse_escape(written, i);
    if (!letter) return std::nullopt;
    characters += *letter;
  }
  return std::nullopt;
}

std::optional<Value> parse(const Field& field, std::string_view written, std::string& error) {
  if (field.type == Type::kGroup) return parse_group(field, written, error);
  const bool raw = starts_with(written, kRawPrefix) && field.type != Type::kText;
  if (raw) return parse_raw(field, written, error);
  auto value = parse_simple(field, written);
  if (!value) {
    error = not_allowed(field, written, choice_names(field));
    return std::nullopt;
  }
  if (!check(field, *value, error)) return std::nullopt;
  return value;
}

std::string format(const Field& field, const Value& value) {
  std::string error;
  const auto number = wire_number(field, value);
  // A choice that is only reported has its name all the same.
  const bool named = std::holds_alternative<const Choice*>(value);
  if (number && !named && !check(field, value, error)) return Formatter{field}(Raw{*number});
  return std::visit(Formatter{field}, value);
}

std::string allowed_text(const Field& field) {
  switch (field.type) {
    case Type::kNothing: return "nothing";
    case Type::kBool: return "on or off";
    case Type::kChoice: return listed(choice_names(field));
    case Type::kFloat: return allowed_float(field);
    case Type::kRatio: return allowed_ratio(field);
    case Type::kText: return allowed_integer(field) + " characters";
    case Type::kBytes: return std::to_string(field.width) + " bytes in hexadecimal digits";
    case Type::kGroup: return listed(field_names(field));
    default: return allowed_integer(field);
  }
}

std::string format_integer(const Field& field, s64 number) {
  if (field.scale == 1) return std::to_string(number);
  std::string digits = std::to_string(number < 0 ? -number : number);
  const auto places = static_cast<std::size_t>(decimals(field.scale));
  if (digits.size() <= places) digits.insert(0, places + 1 - digits.size(), '0');
  digits.insert(digits.size() - places, ".");
  return number < 0 ? "-" + digits : digits;
}

std::string format_float(float number) {
  char digits[32] = {};
  for (int precision = 6; precision <= 9; ++precision) {
    std::snprintf(digits, sizeof digits, "%.*g", precision, static_cast<double>(number));
    if (std::strtof(digits, nullptr) == number) break;
  }
  return digits;
}

std::string format_ratio(const Ratio& ratio) {
  if (ratio.numerator == 0 && ratio.denominator == 0) return "0";
  return std::to_string(ratio.numerator) + "/" + std::to_string(ratio.denominator);
}

}  // namespace vlm::catalogue
