#include "catalogue.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "catalogue_table.h"

namespace vlm::catalogue {

namespace {

bool has(const Codes& codes, int code) {
  return code != kNone && (codes.get == code || codes.set == code || codes.run == code);
}

/// The field whose name is `name` in the group; parts that are no value have none.
const Field* field_of(const Row& row, std::string_view name) {
  if (name.empty()) return nullptr;
  const auto* const found = std::find_if(row.value.fields.begin(), row.value.fields.end(),
                                         [name](const Field& field) { return field.name == name; });
  return found != row.value.fields.end() ? found : nullptr;
}

std::vector<std::string> all_names() {
  std::vector<std::string> names;
  for (const Row& row : kRows) {
    names.emplace_back(row.name());
    for (const Field& field : row.value.fields) {
      if (*field.name != '\0') names.push_back(Item{&row, &field}.name());
    }
  }
  return names;
}

/// Insertions, deletions, replacements and swaps of neighbours that make one of the other.
std::size_t distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> before(to.size() + 1);
  std::vector<std::size_t> above(to.size() + 1);
  std::vector<std::size_t> line(to.size() + 1);
  for (std::size_t j = 0; j <= to.size(); ++j) above[j] = j;
  for (std::size_t i = 1; i <= from.size(); ++i) {
    line[0] = i;
    for (std::size_t j = 1; j <= to.size(); ++j) {
      const std::size_t replaced = above[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
      line[j] = std::min({replaced, above[j] + 1, line[j - 1] + 1});
      const bool swapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (swapped) line[j] = std::min(line[j], before[j - 2] + 1);
    }
    before.swap(above);
    above.swap(line);
  }
  return above[to.size()];
}

/// How unlike `known` is; a last part that is right counts as one mistake.
std::size_t unlikeness(std::string_view name, std::string_view known) {
  const bool last_part = known.size() > name.size() &&
                         known.substr(known.size() - name.size()) == name &&
                         known[known.size() - name.size() - 1] == '.';
  return last_part && !name.empty() ? 1 : distance(name, known);
}

/// FNV-1a.
class Hash {
 public:
  void add(std::string_view bytes) {
    for (const char byte : bytes) {
      _value = (_value ^ static_cast<u8>(byte)) * 0x100000001B3;
    }
    _value = (_value ^ 0xFF) * 0x100000001B3;  // texts do not run into each other
  }
  template <typename T>
  void add_number(T number) {
    add(std::to_string(number));
  }
  u64 value() const { return _value; }

 private:
  u64 _value = 0xCBF29CE484222325;
};

void add(Hash& hash, const Codes& codes) {
  for (const int code : {codes.get, codes.set, codes.run}) hash.add_number(code);
}

void add(Hash& hash, const Field& field) {
  hash.add(field.name);
  hash.add(field.unit);
  for (const u32 number : {u32{static_cast<u8>(field.type)}, u32{field.offset}, u32{field.width},
                           field.scale, u32{field.flags}, u32{field.ranged}}) {
    hash.add_number(number);
  }
  hash.add_number(field.range.min);
  hash.add_number(field.range.max);
  for (const Choice& choice : field.choices) {
    hash.add(choice.name);
    hash.add_number(choice.number);
  }
  for (const Field& inner : field.fields) add(hash, inner);
}

}  // namespace

List<Row> rows() { return kRows; }

List<Exception> exceptions() { return kExceptions; }

std::string Item::name() const {
  return whole() ? row->name() : std::string(row->name()) + "." + field->name;
}

std::optional<Item> find(std::string_view name) {
  const auto* const row = std::lower_bound(
      std::begin(kRows), std::end(kRows), name,
      [](const Row& before, std::string_view wanted) { return before.name() < wanted; });
  if (row != std::end(kRows) && row->name() == name) return Item{row, &row->value};
  for (const Row& group : kRows) {
    const std::string_view prefix = group.name();
    const bool inside = name.size() > prefix.size() && name.substr(0, prefix.size()) == prefix &&
                        name[prefix.size()] == '.';
    if (!inside) continue;
    const Field* const field = field_of(group, name.substr(prefix.size() + 1));
    if (field != nullptr) return Item{&group, field};
  }
  return std::nullopt;
}

const Row* find_by_code(int code) {
  const auto* const row = std::find_if(std::begin(kRows), std::end(kRows),
                                       [code](const Row& each) { return has(each.codes, code); });
  return row != std::end(kRows) ? row : nullptr;
}

const Row* find_by_code(int code, const u8* payload) {
  const auto* const row = std::find_if(std::begin(kRows), std::end(kRows), [=](const Row& each) {
    return has(each.codes, code) && is_instance(each, payload);
  });
  return row != std::end(kRows) ? row : find_by_code(code);
}

/// The number that tells them apart stands at the same place in requests and replies.
bool is_instance(const Row& row, const u8* payload) {
  if (row.parameters.size() != 1 || !row.parameters[0].is(kFixed)) return true;
  const Field& number = row.parameters[0];
  u64 told = 0;
  std::memcpy(&told, payload + number.offset, number.width);
  return told == static_cast<u64>(number.initial);
}

const Row* find_by_option(int option) {
  const auto* const row =
      std::find_if(std::begin(kRows), std::end(kRows),
                   [option](const Row& each) { return has(each.remote, option); });
  return row != std::end(kRows) ? row : nullptr;
}

std::string nearest(std::string_view name, const std::vector<std::string>& names) {
  const auto less = [name](const std::string& one, const std::string& other) {
    return unlikeness(name, one) < unlikeness(name, other);
  };
  const auto best = std::min_element(names.begin(), names.end(), less);
  if (best == names.end()) return "";
  // A third of the letters wrong is another word.
  const std::size_t tolerated = std::max<std::size_t>(1, std::max(name.size(), best->size()) / 3);
  return unlikeness(name, *best) <= tolerated ? *best : "";
}

std::string nearest_name(std::string_view name) { return nearest(name, all_names()); }

const char* text(Type type) {
  switch (type) {
    case Type::kNothing: return "nothing";
    case Type::kBool: return "bool";
    case Type::kChoice: return "choice";
    case Type::kU8: return "u8";
    case Type::kU16: return "u16";
    case Type::kU32: return "u32";
    case Type::kU64: return "u64";
    case Type::kS8: return "s8";
    case Type::kS16: return "s16";
    case Type::kS32: return "s32";
    case Type::kFloat: return "float";
    case Type::kRatio: return "ratio";
    case Type::kText: return "text";
    case Type::kBytes: return "bytes";
    case Type::kGroup: return "group";
  }
  return "";
}

const char* text(Kind kind) {
  switch (kind) {
    case Kind::kSetting: return "setting";
    case Kind::kReading: return "reading";
    case Kind::kAction: return "action";
  }
  return "";
}

const char* text(Flag flag) {
  switch (flag) {
    case kReadOnly: return "read-only";
    case kWriteOnly: return "write-only";
    case kVolatile: return "volatile";
    case kThermal: return "thermal";
    case kDestructive: return "destructive";
    case kService: return "service";
    case kSecret: return "secret";
    case kOpen: return "open";
    case kFixed: return "fixed";
    case kMask: return "mask";
  }
  return "";
}

u64 hash() {
  Hash hash;
  for (const Row& row : kRows) {
    hash.add_number(static_cast<int>(row.kind));
    add(hash, row.value);
    add(hash, row.codes);
    add(hash, row.remote);
    for (const Field& parameter : row.parameters) add(hash, parameter);
  }
  return hash.value();
}

}  // namespace vlm::catalogue
