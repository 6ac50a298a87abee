#include "catalogue_value.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "catalogue_text.h"

namespace vlm::catalogue {

namespace {

bool fail(std::string& error, std::string reason) {
  error = std::move(reason);
  return false;
}

bool is_signed(Type type) { return type == Type::kS8 || type == Type::kS16 || type == Type::kS32; }

bool is_integer(Type type) {
  switch (type) {
    case Type::kU8:
    case Type::kU16:
    case Type::kU32:
    case Type::kU64:
    case Type::kS8:
    case Type::kS16:
    case Type::kS32: return true;
    default: return false;
  }
}

/// Whether one number stands on the wire.
bool is_number(Type type) {
  return is_integer(type) || type == Type::kBool || type == Type::kChoice || type == Type::kFloat ||
         type == Type::kRatio;
}

// Bytes. The wire is little-endian, as the machine is.

u64 load(const u8* bytes, std::size_t width) {
  u64 number = 0;
  std::memcpy(&number, bytes, width);
  return number;
}

void store(u8* bytes, u64 number, std::size_t width) { std::memcpy(bytes, &number, width); }

s64 sign_extended(u64 number, std::size_t width) {
  const int unused = 64 - 8 * static_cast<int>(width);
  return static_cast<s64>(number << unused) >> unused;
}

bool fits(u64 number, std::size_t width) { return width == 8 || number >> (8 * width) == 0; }

float float_of(u64 bits) {
  const u32 low = static_cast<u32>(bits);
  float number = 0;
  std::memcpy(&number, &low, sizeof number);
  return number;
}

u64 bits_of(float number) {
  u32 bits = 0;
  std::memcpy(&bits, &number, sizeof bits);
  return bits;
}

/// The two halves of a ratio's bytes: 8 bits each with a signed numerator, or 16 bits each.
Ratio ratio_of(u64 bits, std::size_t width) {
  if (width == 2) {
    return {static_cast<s8>(bits & 0xFF), static_cast<u32>(bits >> 8 & 0xFF)};
  }
  return {static_cast<s32>(bits & 0xFFFF), static_cast<u32>(bits >> 16 & 0xFFFF)};
}

u64 bits_of(const Ratio& ratio, std::size_t width) {
  const auto numerator = static_cast<u32>(ratio.numerator);
  return width == 2 ? (numerator & 0xFF) | u64{ratio.denominator} << 8
                    : (numerator & 0xFFFF) | u64{ratio.denominator} << 16;
}

bool fits(const Ratio& ratio, std::size_t width) {
  const Ratio same = ratio_of(bits_of(ratio, width), width);
  return same == ratio;
}

/// The numbers of off and on.
std::array<s64, 2> switch_numbers(const Field& field) {
  std::array<s64, 2> numbers = {0, 1};
  for (const Choice& choice : field.choices) {
    numbers[std::strcmp(choice.name, "on") == 0 ? 1 : 0] = choice.number;
  }
  return numbers;
}

const Choice* choice_of(const Field& field, s64 number) {
  const auto* const found =
      std::find_if(field.choices.begin(), field.choices.end(),
                   [number](const Choice& choice) { return choice.number == number; });
  return found != field.choices.end() ? found : nullptr;
}

// From bytes.

Value bool_of(const Field& field, u64 number) {
  const auto numbers = switch_numbers(field);
  if (number == static_cast<u64>(numbers[0])) return false;
  if (number == static_cast<u64>(numbers[1])) return true;
  return Raw{number};
}

Value number_of(const Field& field, u64 number) {
  switch (field.type) {
    case Type::kBool: return bool_of(field, number);
    case Type::kChoice: {
      const Choice* const choice = choice_of(field, static_cast<s64>(number));
      if (choice == nullptr) return Raw{number};
      return choice;
    }
    case Type::kFloat: {
      const float real = float_of(number);
      if (!std::isfinite(real)) return Raw{number};
      return real;
    }
    case Type::kRatio: {
      const Ratio ratio = ratio_of(number, field.width);
      if (ratio.denominator == 0 && number != 0) return Raw{number};
      return ratio;
    }
    default: break;
  }
  if (is_signed(field.type)) return sign_extended(number, field.width);
  if (number > static_cast<u64>(INT64_MAX)) return Raw{number};
  return static_cast<s64>(number);
}

Value simple_value(const Field& field, const u8* bytes) {
  if (field.type == Type::kNothing) return std::monostate{};
  if (field.type == Type::kText) {
    const char* const characters = reinterpret_cast<const char*>(bytes);
    return std::string(characters, strnlen(characters, field.width));
  }
  if (field.type == Type::kBytes) return Blob(bytes, bytes + field.width);
  return number_of(field, load(bytes, field.width));
}

// To bytes.

bool is_own_choice(const Field& field, const Choice* choice) {
  return choice >= field.choices.begin() && choice < field.choices.end();
}

bool check_choice(const Field& field, const Choice* choice, std::string& error) {
  if (!is_own_choice(field, choice)) return fail(error, "a choice of something else");
  if (!choice->settable) {
    return fail(error, std::string(choice->name) + " is " + choice->note);
  }
  return true;
}

bool check_integer(const Field& field, s64 number, std::string& error) {
  const Limits limits = type_limits(field);
  if (number < limits.min || number > limits.max ||
      (field.ranged && !field.range.holds(static_cast<double>(number)))) {
    return fail(error, format_integer(field, number) + " is not allowed: " + allowed_text(field));
  }
  return true;
}

bool check_float(const Field& field, float number, std::string& error) {
  const bool allowed =
      std::isfinite(number) && (!field.ranged || field.range.holds(static_cast<double>(number)));
  return allowed || fail(error, format_float(number) + " is not allowed: " + allowed_text(field));
}

bool check_ratio(const Field& field, const Ratio& ratio, std::string& error) {
  const bool nothing = ratio.numerator == 0 && ratio.denominator == 0;
  const bool allowed = fits(ratio, field.width) && (nothing || ratio.denominator != 0) &&
                       (!field.ranged || (field.range.holds(ratio.numerator) &&
                                          field.range.holds(ratio.denominator)));
  return allowed || fail(error, format_ratio(ratio) + " is not allowed: " + allowed_text(field));
}

bool check_text(const Field& field, const std::string& characters, std::string& error) {
  if (characters.find('\0') != std::string::npos) return fail(error, "a text holds no zero byte");
  const auto size = static_cast<double>(characters.size());
  if (size <= field.width && (!field.ranged || field.range.holds(size))) return true;
  return fail(error, std::to_string(characters.size()) +
                         (characters.size() == 1 ? " character is" : " characters are") +
                         " not allowed: " + allowed_text(field));
}

bool check_blob(const Field& field, const Blob& blob, std::string& error) {
  return blob.size() == field.width ||
         fail(error,
              std::to_string(blob.size()) + " bytes are not allowed: " + allowed_text(field));
}

bool check_raw(const Field& field, const Raw& raw, std::string& error) {
  if (!is_number(field.type)) return fail(error, "no number stands for it");
  return fits(raw.number, field.width) ||
         fail(error, "raw:" + std::to_string(raw.number) + " needs more than its " +
                         std::to_string(field.width * 8) + " bits");
}

const Value* given(const Members& members, const Field& field) {
  const auto found = std::find_if(members.begin(), members.end(), [&field](const Member& member) {
    return member.field == &field;
  });
  return found != members.end() ? &found->value : nullptr;
}

/// That each member is a field of `fields`, once, and is allowed.
bool check_members(List<Field> fields, const Members& members, std::string& error) {
  for (const Member& member : members) {
    if (member.field < fields.begin() || member.field >= fields.end()) {
      return fail(error, "a field of something else");
    }
    const std::string name = member.field->name;
    if (given(members, *member.field) != &member.value)
      return fail(error, name + " is given twice");
    if (!check(*member.field, member.value, error)) {
      error.insert(0, name + ": ");
      return false;
    }
  }
  return true;
}

/// The fields that must be given: all, or with a mask those that a given one is selected with.
bool check_complete(List<Field> fields, const Members& members, std::string& error) {
  u32 selected = 0;
  bool masked = false;
  for (const Field& field : fields) {
    if (field.is(kMask)) masked = true;
    if (given(members, field) != nullptr) selected |= field.selects;
  }
  if (masked && selected == 0) return fail(error, "no field is given");
  for (const Field& field : fields) {
    const bool needed = !field.is(kFixed) && (!masked || (field.selects & selected) != 0);
    if (needed && given(members, field) == nullptr) {
      return fail(error, std::string(field.name) + " is missing");
    }
  }
  return true;
}

bool check_group(const Field& field, const Members& members, std::string& error) {
  return check_members(field.fields, members, error) &&
         check_complete(field.fields, members, error);
}

/// Checks a value that is an alternative of its type.
struct Checker {
  const Field& field;
  std::string& error;

  bool wrong() const {
    return fail(error, std::string("it takes a value of type ") + text(field.type));
  }
  bool operator()(std::monostate) const { return field.type == Type::kNothing || wrong(); }
  bool operator()(bool) const { return field.type == Type::kBool || wrong(); }
  bool operator()(const Choice* choice) const {
    return field.type == Type::kChoice ? check_choice(field, choice, error) : wrong();
  }
  bool operator()(s64 number) const {
    return is_integer(field.type) ? check_integer(field, number, error) : wrong();
  }
  bool operator()(float number) const {
    return field.type == Type::kFloat ? check_float(field, number, error) : wrong();
  }
  bool operator()(const Ratio& ratio) const {
    return field.type == Type::kRatio ? check_ratio(field, ratio, error) : wrong();
  }
  bool operator()(const std::string& characters) const {
    return field.type == Type::kText ? check_text(field, characters, error) : wrong();
  }
  bool operator()(const Blob& blob) const {
    return field.type == Type::kBytes ? check_blob(field, blob, error) : wrong();
  }
  bool operator()(const Members& members) const {
    return field.type == Type::kGroup ? check_group(field, members, error) : wrong();
  }
  bool operator()(const Raw& raw) const { return check_raw(field, raw, error); }
};

void put(const Field& field, const Value& value, Payload& payload);

void put_fixed(List<Field> fields, const Members& members, Payload& payload) {
  u32 selected = 0;
  for (const Member& member : members) selected |= member.field->selects;
  for (const Field& field : fields) {
    if (!field.is(kFixed)) continue;
    put_initial(field, payload);
    if (field.is(kMask)) store(&payload[field.offset], selected, field.width);
  }
}

void put_members(List<Field> fields, const Members& members, Payload& payload) {
  put_fixed(fields, members, payload);
  for (const Member& member : members) put(*member.field, member.value, payload);
}

/// Puts a value that has been checked.
void put(const Field& field, const Value& value, Payload& payload) {
  u8* const place = payload.data() + field.offset;
  if (const auto number = wire_number(field, value)) {
    store(place, *number, field.width);
  } else if (const auto* characters = std::get_if<std::string>(&value)) {
    std::memset(place, 0, field.width);
    std::copy(characters->begin(), characters->end(), place);
  } else if (const auto* blob = std::get_if<Blob>(&value)) {
    std::memcpy(place, blob->data(), blob->size());
  } else if (const auto* members = std::get_if<Members>(&value)) {
    put_members(field.fields, *members, payload);
  }
}

/// The initial number as it stands on the wire.
u64 initial_number(const Field& field) {
  if (field.type == Type::kFloat) return bits_of(static_cast<float>(field.initial));
  return static_cast<u64>(static_cast<s64>(field.initial));
}

}  // namespace

Limits type_limits(const Field& field) {
  if (!is_number(field.type)) return {0, field.width};
  const int bits = 8 * field.width;
  if (bits == 64) return {0, INT64_MAX};
  if (is_signed(field.type)) return {-(s64{1} << (bits - 1)), (s64{1} << (bits - 1)) - 1};
  return {0, (s64{1} << bits) - 1};
}

bool allows(const Field& field, s64 number) {
  if (field.is(kOpen)) return true;
  if (field.type == Type::kBool) {
    const auto numbers = switch_numbers(field);
    return number == numbers[0] || number == numbers[1];
  }
  if (field.type == Type::kChoice) {
    const Choice* const choice = choice_of(field, number);
    return choice != nullptr && choice->settable;
  }
  if (field.type == Type::kRatio) {
    const Ratio ratio = ratio_of(static_cast<u64>(number), field.width);
    return !field.ranged ||
           (field.range.holds(ratio.numerator) && field.range.holds(ratio.denominator));
  }
  const Limits limits = type_limits(field);
  return limits.min <= number && number <= limits.max &&
         (!field.ranged || field.range.holds(static_cast<double>(number)));
}

bool check(const Field& field, const Value& value, std::string& error) {
  if (field.is(kFixed)) return fail(error, "it cannot be chosen");
  return std::visit(Checker{field, error}, value);
}

std::optional<Value> decode(const Field& field, const u8* bytes, std::size_t size, int shift) {
  const int end = field.offset + field.width + shift;
  if (end > static_cast<int>(size)) return std::nullopt;
  if (field.type != Type::kGroup) return simple_value(field, bytes + field.offset + shift);
  Members members;
  for (const Field& inner : field.fields) {
    if (inner.is(kFixed)) continue;
    members.push_back({&inner, simple_value(inner, bytes + inner.offset + shift)});
  }
  return members;
}

std::optional<Value> decode_reply(const Row& row, const u8* bytes, std::size_t size) {
  return decode(row.value, bytes, size, row.reply_shift);
}

bool encode(const Field& field, const Value& value, Payload& payload, std::string& error) {
  if (!check(field, value, error)) return false;
  put(field, value, payload);
  return true;
}

bool encode_parameters(const Row& row, const Members& given_ones, Payload& payload,
                       std::string& error) {
  Members complete = given_ones;
  for (const Field& parameter : row.parameters) {
    if (parameter.is(kFixed) || given(given_ones, parameter) != nullptr) continue;
    const Value initial = initial_value(parameter);
    if (!check(parameter, initial, error) || std::holds_alternative<Raw>(initial)) {
      return fail(error, std::string(parameter.name) + " is missing: " + allowed_text(parameter));
    }
    complete.push_back({&parameter, initial});
  }
  if (!check_members(row.parameters, complete, error)) return false;
  put_members(row.parameters, complete, payload);
  return true;
}

void put_initial(const Field& field, Payload& payload) {
  for (const Field& inner : field.fields) put_initial(inner, payload);
  u8* const place = payload.data() + field.offset;
  if (field.type == Type::kText) {
    std::memcpy(place, field.initial_text, strnlen(field.initial_text, field.width));
  } else if (is_number(field.type)) {
    store(place, initial_number(field), field.width);
  }
}

Value initial_value(const Field& field) {
  Payload payload{};
  put_initial(field, payload);
  return *decode(field, payload.data(), payload.size());
}

std::optional<u64> wire_number(const Field& field, const Value& value) {
  if (const auto* on = std::get_if<bool>(&value)) {
    return static_cast<u64>(switch_numbers(field)[*on ? 1 : 0]);
  }
  if (const auto* choice = std::get_if<const Choice*>(&value)) {
    return static_cast<u64>((*choice)->number);
  }
  if (const auto* number = std::get_if<s64>(&value)) {
    const u64 all = static_cast<u64>(*number);
    return field.width == 8 ? all : all & ((u64{1} << (8 * field.width)) - 1);
  }
  if (const auto* number = std::get_if<float>(&value)) return bits_of(*number);
  if (const auto* ratio = std::get_if<Ratio>(&value)) return bits_of(*ratio, field.width);
  if (const auto* raw = std::get_if<Raw>(&value)) return raw->number;
  return std::nullopt;
}

const Value* member(const Value& group, std::string_view name) {
  const auto* const members = std::get_if<Members>(&group);
  if (members == nullptr) return nullptr;
  const auto found = std::find_if(members->begin(), members->end(),
                                  [name](const Member& each) { return each.field->name == name; });
  return found != members->end() ? &found->value : nullptr;
}

bool operator==(const Ratio& one, const Ratio& other) {
  return one.numerator == other.numerator && one.denominator == other.denominator;
}

bool operator==(const Raw& one, const Raw& other) { return one.number == other.number; }

bool operator==(const Member& one, const Member& other) {
  return one.field == other.field && one.value == other.value;
}

}  // namespace vlm::catalogue
