// How the rows of the catalogue are written: a value says what it is and then what is special about
// it, a row says its codes and then what else it has. Included by the table alone.
#ifndef VLM_CATALOGUE_BUILD_H
#define VLM_CATALOGUE_BUILD_H

#include <type_traits>

#include "catalogue.h"

namespace vlm::catalogue {

/// A value in the making.
struct NewField : Field {
  constexpr NewField at(std::size_t place) const {
    NewField made = *this;
    made.offset = static_cast<u8>(place);
    return made;
  }
  constexpr NewField in(const char* its_unit, u32 its_scale = 1) const {
    NewField made = *this;
    made.unit = its_unit;
    made.scale = its_scale;
    return made;
  }
  constexpr NewField from(double min, double max) const {
    NewField made = *this;
    made.ranged = true;
    made.range = {min, max};
    return made;
  }
  constexpr NewField starts(double number) const {
    NewField made = *this;
    made.initial = number;
    return made;
  }
  constexpr NewField starts(const char* characters) const {
    NewField made = *this;
    made.initial_text = characters;
    return made;
  }
  constexpr NewField fixed(double number = 0) const { return starts(number).flagged(kFixed); }
  constexpr NewField open() const { return flagged(kOpen); }
  constexpr NewField flagged(int more) const {
    NewField made = *this;
    made.flags = static_cast<u16>(made.flags | more);
    return made;
  }
  constexpr NewField selected_by(u32 bit) const {
    NewField made = *this;
    made.selects = bit;
    return made;
  }
  constexpr NewField refuses(vlm_err_t result) const {
    NewField made = *this;
    made.refusal = result;
    return made;
  }
  constexpr NewField tells(const char* words) const {
    NewField made = *this;
    made.help = words;
    return made;
  }
};

constexpr NewField value(const char* name, Type type, std::size_t width) {
  NewField made{};
  made.name = name;
  made.type = type;
  made.width = static_cast<u8>(width);
  return made;
}

/// No value: of an action without a result.
constexpr NewField nothing(const char* name) { return value(name, Type::kNothing, 0); }

template <typename T>
constexpr Type number_type() {
  if constexpr (std::is_floating_point_v<T>) return Type::kFloat;
  constexpr Type kUnsigned[] = {Type::kU8, Type::kU16, Type::kU32, Type::kU64};
  constexpr Type kSigned[] = {Type::kS8, Type::kS16, Type::kS32};
  constexpr std::size_t kIndex = sizeof(T) == 8 ? 3 : sizeof(T) / 2;
  if constexpr (std::is_signed_v<T> && std::is_integral_v<T>) return kSigned[kIndex];
  if constexpr (std::is_unsigned_v<T>) return kUnsigned[kIndex];
}

template <typename T>
constexpr NewField number(const char* name) {
  return value(name, number_type<T>(), sizeof(T));
}

template <typename T>
constexpr NewField choice(const char* name, List<Choice> choices) {
  NewField made = value(name, Type::kChoice, sizeof(T));
  made.choices = choices;
  return made;
}

/// Off and on, in `choices` where their numbers are not 0 and 1.
template <typename T>
constexpr NewField on_off(const char* name, List<Choice> choices = {}) {
  NewField made = value(name, Type::kBool, sizeof(T));
  made.choices = choices;
  return made;
}

/// Two numbers of `T` each.
template <typename T>
constexpr NewField ratio(const char* name) {
  return value(name, Type::kRatio, 2 * sizeof(T));
}

constexpr NewField text(const char* name, std::size_t width) {
  return value(name, Type::kText, width).from(0, static_cast<double>(width));
}

constexpr NewField bytes(const char* name, std::size_t width) {
  return value(name, Type::kBytes, width);
}

/// A record; its fields have their places.
constexpr NewField group(const char* name, List<Field> fields, const char* separators = "") {
  const Field& last = fields[fields.size() - 1];
  NewField made = value(name, Type::kGroup, std::size_t{last.offset} + last.width);
  made.fields = fields;
  made.separators = separators;
  return made;
}

/// A row in the making.
struct NewRow : Row {
  constexpr NewRow over_udp(int get, int set) const {
    NewRow made = *this;
    made.remote = {get, set, kNone};
    return made;
  }
  constexpr NewRow over_udp(int run) const {
    NewRow made = *this;
    made.remote = {kNone, kNone, run};
    return made;
  }
  constexpr NewRow asks(List<Field> its_parameters) const {
    NewRow made = *this;
    made.parameters = its_parameters;
    return made;
  }
  /// The reply holds the record without its first bytes.
  constexpr NewRow replies_from(int offset) const {
    NewRow made = *this;
    made.reply_shift = -offset;
    return made;
  }
  constexpr NewRow refuses(vlm_err_t result) const {
    NewRow made = *this;
    made.refusal = result;
    return made;
  }
  constexpr NewRow after(List<Need> its_needs) const {
    NewRow made = *this;
    made.needs = its_needs;
    return made;
  }
  constexpr NewRow moves(List<const char*> names) const {
    NewRow made = *this;
    made.affects = names;
    return made;
  }
};

constexpr NewRow setting(NewField what, int get, int set) {
  NewRow made{};
  made.kind = Kind::kSetting;
  made.value = get == kNone ? what.flagged(kWriteOnly) : what;
  made.codes = {get, set, kNone};
  return made;
}

constexpr NewRow reading(NewField what, int get) {
  NewRow made{};
  made.kind = Kind::kReading;
  made.value = what.flagged(kReadOnly);
  made.codes = {get, kNone, kNone};
  return made;
}

constexpr NewRow action(NewField what, int run) {
  NewRow made{};
  made.kind = Kind::kAction;
  made.value = what;
  made.codes = {kNone, kNone, run};
  return made;
}

}  // namespace vlm::catalogue

#endif  // VLM_CATALOGUE_BUILD_H
