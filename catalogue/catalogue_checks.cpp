// What must hold of the table for programs to rely on it; a row that breaks a rule does not compile.

#include <iterator>

#include "catalogue_table.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::catalogue {

namespace {

constexpr std::string_view kNoName;

constexpr bool ascending_names() {
  std::string_view last;
  for (const Row& row : kRows) {
    if (row.name() <= last) return false;
    last = row.name();
  }
  return true;
}
static_assert(ascending_names(), "rows are found by their names: sort them");

/// What follows "group." in `name`; null when it does not begin so. By hand, as the compilers
/// limit what they compute.
constexpr const char* behind_group(const char* name, const char* group) {
  for (; *group != '\0'; ++name, ++group) {
    if (*name != *group) return nullptr;
  }
  return *name == '.' ? name + 1 : nullptr;
}

constexpr bool is_field_of(const char* name, const Row& row) {
  if (row.value.fields.empty()) return false;
  const char* const rest = behind_group(name, row.name());
  if (rest == nullptr) return false;
  for (const Field& field : row.value.fields) {
    if (field.name != kNoName && field.name == std::string_view(rest)) return true;
  }
  return false;
}

constexpr bool fields_are_no_rows() {
  for (const Row& row : kRows) {
    for (const Row& group : kRows) {
      if (is_field_of(row.name(), group)) return false;
    }
  }
  return true;
}
static_assert(fields_are_no_rows(), "a name means one thing");

constexpr bool unique_fields(List<Field> fields) {
  for (const Field& field : fields) {
    if ((field.name == kNoName) != field.is(kFixed)) return false;
    for (const Field& other : fields) {
      if (&other != &field && field.name != kNoName && std::string_view(field.name) == other.name) {
        return false;
      }
    }
  }
  return true;
}

constexpr bool all_fields_unique() {
  for (const Row& row : kRows) {
    if (!unique_fields(row.value.fields) || !unique_fields(row.parameters)) return false;
  }
  return true;
}
static_assert(all_fields_unique(), "the fields of a group have names of their own");

constexpr bool shares(const Codes& codes, int code) {
  return code != kNone && (codes.get == code || codes.set == code || codes.run == code);
}

/// Rows of one code are told apart by the number that they send.
constexpr bool told_apart(const Row& row, const Row& other) {
  return row.parameters.size() == 1 && other.parameters.size() == 1 &&
         row.parameters[0].is(kFixed) && other.parameters[0].is(kFixed) &&
         row.parameters[0].initial < other.parameters[0].initial;
}

constexpr bool unique_codes() {
  for (const Row* row = kRows; row != kRows + std::size(kRows); ++row) {
    for (const Row* other = row + 1; other != kRows + std::size(kRows); ++other) {
      for (const int code : {row->codes.get, row->codes.set, row->codes.run}) {
        if (shares(other->codes, code) && !told_apart(*row, *other)) return false;
      }
      for (const int option : {row->remote.get, row->remote.set, row->remote.run}) {
        if (shares(other->remote, option)) return false;
      }
    }
  }
  return true;
}
static_assert(unique_codes(), "a code belongs to one row");

constexpr bool codes_of_kind(const Row& row, const Codes& codes) {
  switch (row.kind) {
    case Kind::kSetting: return codes.run == kNone;
    case Kind::kReading: return codes.set == kNone && codes.run == kNone;
    case Kind::kAction: return codes.get == kNone && codes.set == kNone;
  }
  return false;
}

constexpr bool commands_fit_their_kind() {
  for (const Row& row : kRows) {
    if (!codes_of_kind(row, row.codes) || !codes_of_kind(row, row.remote)) return false;
    if (row.kind == Kind::kSetting && row.codes.set == kNone) return false;
    if (row.kind == Kind::kAction && row.codes.run == kNone) return false;
    if (row.is(kWriteOnly) != (row.kind == Kind::kSetting && row.codes.get == kNone)) return false;
    if (row.is(kReadOnly) != (row.kind == Kind::kReading)) return false;
  }
  return true;
}
static_assert(commands_fit_their_kind());

constexpr bool excepted() {
  int last = kNone;
  for (const Exception& exception : kExceptions) {
    if (exception.code <= last) return false;
    last = exception.code;
    for (const Row& row : kRows) {
      if (shares(row.codes, exception.code)) return false;
    }
  }
  return true;
}
static_assert(excepted(), "exceptions ascend by code, and have no row");

constexpr bool has_choice(const Row& row, std::string_view name) {
  for (const Choice& choice : row.value.choices) {
    if (name == choice.name) return true;
  }
  return row.value.type == Type::kBool && (name == "on" || name == "off");
}

constexpr bool has_row(std::string_view name) {
  for (const Row& row : kRows) {
    if (name == row.name()) return true;
  }
  return false;
}

constexpr bool has_row_with_choice(std::string_view name, std::string_view choice) {
  for (const Row& row : kRows) {
    if (name == row.name()) return has_choice(row, choice);
  }
  return false;
}

constexpr bool references_resolve() {
  for (const Row& row : kRows) {
    for (const Need& need : row.needs) {
      if (!has_row_with_choice(need.setting, need.choice)) return false;
    }
    for (const std::string_view name : row.affects) {
      if (name != "*" && !has_row(name)) return false;
    }
  }
  return true;
}
static_assert(references_resolve(), "what a row needs or affects has a row");

// Values.

constexpr bool starts_with_choice(const Field& field) {
  for (const Choice& choice : field.choices) {
    if (static_cast<double>(choice.number) == field.initial && choice.settable) return true;
  }
  return field.choices.empty() && (field.initial == 0 || field.initial == 1);
}

constexpr bool starts_in_range(const Field& field) {
  if (!field.ranged) return true;
  switch (field.type) {
    case Type::kText: return std::string_view(field.initial_text).size() <= field.width;
    case Type::kRatio: {
      const u32 number = static_cast<u32>(field.initial);
      return field.range.holds(number & 0xFFFF) && field.range.holds(number >> 16);
    }
    default: return field.range.holds(field.initial);
  }
}

constexpr bool starts_allowed(const Field& field) {
  if (field.is(kFixed)) return true;
  const bool chosen = field.type == Type::kChoice || field.type == Type::kBool;
  return chosen ? starts_with_choice(field) : starts_in_range(field);
}

constexpr bool numbers_fit(const Field& field) {
  for (const Choice& choice : field.choices) {
    if (choice.number < 0 || choice.number >> (8 * field.width) != 0) return false;
  }
  return true;
}

constexpr bool scale_is_decimal(const Field& field) {
  return field.scale == 1 || field.scale == 10 || field.scale == 100;
}

constexpr bool sound(const Field& field) {
  if (std::size_t{field.offset} + field.width > sizeof(udp_ctrl_cam_t::cmd_params)) return false;
  if (!numbers_fit(field) || !scale_is_decimal(field)) return false;
  return (field.type == Type::kChoice) <= !field.choices.empty();
}

constexpr bool all_sound() {
  for (const Row& row : kRows) {
    if (!sound(row.value)) return false;
    for (const Field& field : row.value.fields) {
      if (!sound(field)) return false;
    }
    for (const Field& parameter : row.parameters) {
      if (!sound(parameter)) return false;
    }
  }
  return true;
}
static_assert(all_sound(), "values fit their bytes, and those the parameters of a command");

// A snapshot has no initial values of its own.
constexpr bool all_start_allowed() {
  for (const Row& row : kRows) {
    if (row.kind != Kind::kSetting) continue;
    if (!starts_allowed(row.value)) return false;
    for (const Field& field : row.value.fields) {
      if (!starts_allowed(field)) return false;
    }
  }
  return true;
}
static_assert(all_start_allowed(), "settings start with a value that is allowed");

constexpr bool all_told() {
  for (const Row& row : kRows) {
    if (row.value.help == kNoName) return false;
  }
  return true;
}
static_assert(all_told(), "every row says what it is");

constexpr bool needs_thermal_sensor(int code) {
  return (code >= UDP_CTRL_CAM_GET_PALETTE_TYPE && code <= UDP_CTRL_CAM_SET_TH_DEWARP) ||
         (code >= UDP_CTRL_CAM_SET_THERMAL_CALI_TEMP && code <= UDP_CTRL_CAM_USB_PASS_THROUGH_CTRL);
}

constexpr bool thermal_rows_are_flagged() {
  for (const Row& row : kRows) {
    for (const int code : {row.codes.get, row.codes.set, row.codes.run}) {
      if (code != kNone && needs_thermal_sensor(code) != row.is(kThermal)) return false;
    }
  }
  return true;
}
static_assert(thermal_rows_are_flagged(), "these codes, and no others, need the thermal sensor");

}  // namespace

}  // namespace vlm::catalogue
