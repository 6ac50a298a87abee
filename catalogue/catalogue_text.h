// Values as people write and read them: choices by name, numbers in their unit, "raw:N" for the
// number on the wire, a group as "width=1920,height=1080,fps=30" or in its short form,
// "1920x1080@30". What format() writes, parse() takes.
#ifndef VLM_CATALOGUE_TEXT_H
#define VLM_CATALOGUE_TEXT_H

#include <optional>
#include <string>
#include <string_view>

#include "catalogue_value.h"

namespace vlm::catalogue {

/// The value that `written` says. No value: it is not allowed, `error` tells why, and which are.
std::optional<Value> parse(const Field& field, std::string_view written, std::string& error);
/// A value read or parsed. What parse() would not take by name or in the unit is written as raw:N.
std::string format(const Field& field, const Value& value);

/// "auto or manual", "10 to 80", "1 to 20 characters": what the field takes.
std::string allowed_text(const Field& field);

/// The number in the field's unit, exactly: 253 tenths are 25.3.
std::string format_integer(const Field& field, s64 number);
/// With the digits that tell it from every other number.
std::string format_float(float number);
/// "1/100"; 0 where both halves are.
std::string format_ratio(const Ratio& ratio);

/// The number that digits of `base`, 10 or 16, alone say. No value: other letters, or more than 64
/// bits.
std::optional<u64> parse_digits(std::string_view digits, unsigned base);

/// In quotes, with \", \\ and \xNN for what would not survive a line.
std::string in_quotes(std::string_view text);
/// What in_quotes() wrote; what does not begin with a quote is as it stands. No value: the quotes do
/// not end where it does.
std::optional<std::string> unquoted(std::string_view written);

}  // namespace vlm::catalogue

#endif  // VLM_CATALOGUE_TEXT_H
