// Values of settings, typed, and their way to and from the bytes of a payload. Strict: what is not
// allowed is refused with a reason, nothing is ever cut or clamped, and a number without a meaning
// is handed on as it is.
#ifndef VLM_CATALOGUE_VALUE_H
#define VLM_CATALOGUE_VALUE_H

#include <array>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "catalogue.h"
#include "vlm_userlcm_control_camera.h"

namespace vlm::catalogue {

/// The parameters of a command.
using Payload = std::array<u8, sizeof(udp_ctrl_cam_t::cmd_params)>;

struct Ratio {
  s32 numerator;
  u32 denominator;
};

/// A number as it stands on the wire, all bytes of its field, whatever it means: in values that were
/// read, one that is not allowed or has no name; in values to write, one that the writer insists on.
struct Raw {
  u64 number;
};

struct Member;
using Members = std::vector<Member>;
using Blob = std::vector<u8>;

/// One value. Which alternative belongs to which type:
///   nothing   monostate
///   bool      bool
///   choice    const Choice*, one of its field's
///   u8 to u32, s8 to s32   s64, the wire's number: divide by the field's scale for its unit
///   float     float
///   ratio     Ratio
///   text      std::string, without its padding
///   bytes     Blob
///   group     Members, fixed fields left out
/// and Raw in place of any number.
using Value = std::variant<std::monostate, bool, const Choice*, s64, float, Ratio, std::string,
                           Blob, Members, Raw>;

struct Member {
  const Field* field;
  Value value;
};

/// Whether a camera takes `number` for the field: a settable choice, or within the range. Numbers
/// are the wire's, sign-extended where the type has a sign; those of a ratio, its bytes as one.
bool allows(const Field& field, s64 number);
/// Whether a camera takes what the request's 128 bytes have for the field; for a group, for each of
/// its fields. Fixed ones are no part of the value.
bool takes(const Field& field, const u8* payload);
/// Whether a value may be sent without insisting; `error` tells why not.
bool check(const Field& field, const Value& value, std::string& error);

/// The field's value in a request or reply. No value: `size` bytes do not hold all of it. `shift` is
/// added to its place.
std::optional<Value> decode(const Field& field, const u8* bytes, std::size_t size, int shift = 0);
/// The row's value in a reply's parameters, its place in replies considered.
std::optional<Value> decode_reply(const Row& row, const u8* bytes, std::size_t size);

/// Puts `value` into the payload of a request. On failure nothing is changed and `error` tells what
/// is wrong. A group needs all its fields, unless a mask in the record tells which count.
bool encode(const Field& field, const Value& value, Payload& payload, std::string& error);
/// The same for the parameters of an action or reading: those that are not given are at their
/// initial values.
bool encode_parameters(const Row& row, const Members& given, Payload& payload, std::string& error);

/// The value that a camera starts with.
Value initial_value(const Field& field);
/// The same as bytes.
void put_initial(const Field& field, Payload& payload);

/// The numbers that the field's type can hold; of text and bytes, their lengths. Signed 64 bits are
/// the widest.
struct Limits {
  s64 min;
  s64 max;
};
Limits type_limits(const Field& field);

/// The number that stands on the wire; no value: it is not a number.
std::optional<u64> wire_number(const Field& field, const Value& value);

/// The member of that name; null when there is none.
const Value* member(const Value& group, std::string_view name);

bool operator==(const Ratio& one, const Ratio& other);
bool operator==(const Raw& one, const Raw& other);
bool operator==(const Member& one, const Member& other);

}  // namespace vlm::catalogue

#endif  // VLM_CATALOGUE_VALUE_H
