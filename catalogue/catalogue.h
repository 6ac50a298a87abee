// Every camera command as data: the settings, readings and actions of the camera with their names,
// codes, places in the payload, units, choices and ranges. One table, known at compile time, for
// programs that speak in names: command line, monitor, dissector, simulated camera.
//
// A setting is one thing with the codes that read and write it, a reading is only read, an action
// is run. What a command carries is a value: one number or text, or a group, a record whose fields
// have names of their own: "video" has the field "video.width".
#ifndef VLM_CATALOGUE_H
#define VLM_CATALOGUE_H

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "vlm_camera_codes.h"
#include "vlm_camera_payloads.h"
#include "vlm_udp_camctrl_defines.h"

namespace vlm::catalogue {

using s64 = std::int64_t;

/// Constants that live as long as the program.
template <typename T>
class List {
 public:
  constexpr List() = default;
  template <std::size_t kSize>
  constexpr List(const T (&items)[kSize]) : _items(items), _size(kSize) {}

  constexpr const T* begin() const { return _items; }
  constexpr const T* end() const { return _items + _size; }
  constexpr std::size_t size() const { return _size; }
  constexpr bool empty() const { return _size == 0; }
  constexpr const T& operator[](std::size_t index) const { return _items[index]; }

 private:
  const T* _items = nullptr;
  std::size_t _size = 0;
};

enum class Kind : u8 { kSetting, kReading, kAction };

enum class Type : u8 {
  kNothing,  // of an action that has no result
  kBool,     // its choices give the numbers of off and on where they are not 0 and 1
  kChoice,   // a number with a name
  kU8,
  kU16,
  kU32,
  kU64,
  kS8,
  kS16,
  kS32,
  kFloat,  // four bytes, IEEE 754
  kRatio,  // numerator and denominator, 16 bits each; in 2 bytes a signed and an unsigned one of 8
  kText,   // padded with zeros; a text that fills its bytes has no terminator
  kBytes,  // a block without a meaning of its own, written in hexadecimal digits
  kGroup,  // a record, its fields are in `Field::fields`
};

/// Bits of `Field::flags`.
enum Flag : u16 {
  kReadOnly = 1,
  kWriteOnly = 2,
  kVolatile = 4,      // changes by itself: two readings need not be equal
  kThermal = 8,       // needs the thermal sensor
  kDestructive = 16,  // loses data or settings, or interrupts the camera
  kService = 32,      // for those who maintain the camera, not for those who use it
  kSecret = 64,       // not to be shown or recorded
  kOpen = 128,        // other values than those told pass, too: they are the sensor's own
  kFixed = 256,       // no part of the value: always `initial` in requests
  kMask = 512,        // fixed, too: in requests the `selects` of the fields that are given
};

struct Choice {
  const char* name;
  s64 number;             // on the wire
  const char* note = "";  // what the name leaves open
  bool settable = true;   // false: only ever reported
};

/// The number of the choice `name`; of a switch that has no choices, that of "off" or "on". As a
/// constant, it does not compile where there is no such choice.
template <typename T>
constexpr T number_of(List<Choice> choices, std::string_view name) {
  for (const Choice& choice : choices) {
    if (name == choice.name) return static_cast<T>(choice.number);
  }
  if (!choices.empty() || (name != "off" && name != "on")) throw std::invalid_argument("no choice");
  return name == "on" ? 1 : 0;
}

/// Limits in the wire's numbers, both included; of a text, its length.
struct Range {
  double min;
  double max;

  constexpr bool holds(double number) const { return min <= number && number <= max; }
};

/// One value and its place in a payload.
struct Field {
  const char* name = "";  // of a row all of it, of a group's field or a parameter the last part
  Type type = Type::kNothing;
  u8 offset = 0;  // bytes, in `cmd_params` of the request
  u8 width = 0;   // bytes
  bool ranged = false;
  const char* unit = "";
  u32 scale = 1;  // wire numbers in one unit: 10 where tenths travel
  List<Choice> choices{};
  Range range{0, 0};   // when `ranged`
  double initial = 0;  // as the wire has it; a parameter whose initial is not allowed must be given
  const char* initial_text = "";
  u16 flags = 0;
  u32 selects = 0;  // bit in the group's mask that tells that this field counts
  List<Field> fields{};
  const char* separators = "";  // a group's short form: "x@" for 1920x1080@30
  const char* help = "";
  vlm_err_t refusal = VLM_ERR_NONE;  // the camera's result for a value of this field that is not
                                     // allowed, where it is another than the row's

  constexpr bool is(Flag flag) const { return (flags & flag) != 0; }
};

/// No such command.
constexpr int kNone = -1;

/// Codes of the commands that read, write and run one thing.
struct Codes {
  constexpr Codes() = default;
  constexpr Codes(int its_get, int its_set, int its_run)
      : get(static_cast<s16>(its_get)),
        set(static_cast<s16>(its_set)),
        run(static_cast<s16>(its_run)) {}

  s16 get = kNone;
  s16 set = kNone;
  s16 run = kNone;
};

/// A setting that must have this value first.
struct Need {
  const char* setting;
  const char* choice;
  vlm_err_t refusal;  // the camera's result otherwise
};

struct Row {
  Kind kind = Kind::kSetting;
  Field value{};             // what is read and written; of an action, its result
  Codes codes{};             // udp_ctrl_cam_cmds
  Codes remote{};            // velmar_cmd_option, of the UDP service
  List<Field> parameters{};  // what an action takes, or a reading says which it wants
  int reply_shift = 0;       // added to a field's offset in replies
  List<Need> needs{};
  List<const char*> affects{};  // rows whose values change with this one; "*": any setting
  vlm_err_t refusal = VLM_ERR_IS_INVALID_PARAM;  // the camera's result for a value not allowed

  constexpr const char* name() const { return value.name; }
  constexpr bool is(Flag flag) const { return value.is(flag); }
  constexpr bool readable() const { return codes.get != kNone; }
  constexpr bool writable() const { return codes.set != kNone; }
};

/// A command code that no row has, and why.
struct Exception {
  int code;
  const char* reason;
};

/// All rows, ascending by name.
List<Row> rows();
/// Ascending by code.
List<Exception> exceptions();

/// A row, and the field of it that is meant: its whole value, or a field of its group.
struct Item {
  const Row* row;
  const Field* field;

  bool whole() const { return field == &row->value; }
  /// "video.width".
  std::string name() const;
};

/// The row or the group's field of that full name.
std::optional<Item> find(std::string_view name);
/// The row that has `code`, as get, set or run; the first of them where several share it. Null: no
/// row.
const Row* find_by_code(int code);
/// The same with the request's or the reply's 128 bytes, which tell such rows apart.
const Row* find_by_code(int code, const u8* payload);
/// Whether the request's or the reply's 128 bytes are this row's, among those that share its codes.
bool is_instance(const Row& row, const u8* payload);
/// The row that has the UDP service's `option`. Null: no row.
const Row* find_by_option(int option);
/// The known name most like `name`, for "did you mean"; empty when none is like it. Names are those
/// of rows and of fields.
std::string nearest_name(std::string_view name);
/// The same among `names`.
std::string nearest(std::string_view name, const std::vector<std::string>& names);

/// "bool", "u16", "setting" ... as in descriptions.
const char* text(Type type);
const char* text(Kind kind);
/// "read-only", "volatile" ...; the bits of one flag.
const char* text(Flag flag);

/// A number that changes whenever a row does, so that two programs can tell that they agree.
u64 hash();

}  // namespace vlm::catalogue

#endif  // VLM_CATALOGUE_H
