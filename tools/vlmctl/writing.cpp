#include "writing.h"

#include <algorithm>

#include "reading.h"

namespace vlm::ctl {

using catalogue::Members;
using catalogue::Value;

namespace {

bool is_field(const Assignment& assignment) { return !assignment.item.whole(); }

bool continues(const Write& write, const Assignment& next) {
  return is_field(next) && write.row == next.item.row && is_field(write.parts.back());
}

std::string subject_of(const Write& write) {
  return write.parts.size() == 1 ? write.parts[0].item.name() : write.row->name();
}

Members given_members(const Write& write) {
  Members members;
  for (const Assignment& part : write.parts) {
    // Of a field that is given twice, the last one counts.
    members.erase(
        std::remove_if(members.begin(), members.end(),
                       [&](const auto& member) { return member.field == part.item.field; }),
        members.end());
    members.push_back({part.item.field, part.value});
  }
  return members;
}

/// Whether the given fields can be sent as they are: all of the group, or those of a mask.
bool is_complete(const Write& write) {
  std::string error;
  return catalogue::check(write.row->value, given_members(write), error);
}

void require_writable(Session& session, const Write& write) {
  CameraLink& camera = session.camera();
  if (!camera.can_set(*write.row)) {
    const bool action = write.row->kind == catalogue::Kind::kAction;
    fail(kNotOffered, subject_of(write),
         action ? "an action cannot be set, vlmctl run runs it"
                : "it cannot be set over " + camera.name());
  }
  const bool reads = is_field(write.parts[0]) && !is_complete(write);
  if (reads && !camera.can_get(*write.row)) {
    fail(kNotOffered, subject_of(write),
         std::string(write.row->name()) + " cannot be read, so its fields are set all together");
  }
}

/// What the camera has goes back to it as it is, whether allowed or not.
Value as_read(const catalogue::Field& field, const Value& value) {
  std::string error;
  if (catalogue::check(field, value, error)) return value;
  const auto number = catalogue::wire_number(field, value);
  return number ? Value(catalogue::Raw{*number}) : value;
}

/// The group as it was read, with the given fields in place.
Members merged(const Value& read, const Members& given) {
  Members members;
  for (const auto& before : std::get<Members>(read)) {
    const auto own = std::find_if(given.begin(), given.end(),
                                  [&](const auto& member) { return member.field == before.field; });
    members.push_back(own != given.end()
                          ? *own
                          : catalogue::Member{before.field, as_read(*before.field, before.value)});
  }
  return members;
}

std::optional<Failure> set_value(Session& session, const Write& write, const Value& value) {
  return failure_of(session.set(*write.row, value), subject_of(write), *write.row);
}

}  // namespace

std::vector<Write> plan_writes(Session& session, const std::vector<Assignment>& assignments) {
  std::vector<Write> writes;
  for (const Assignment& assignment : assignments) {
    if (!writes.empty() && continues(writes.back(), assignment)) {
      writes.back().parts.push_back(assignment);
    } else {
      writes.push_back({assignment.item.row, {assignment}});
    }
  }
  for (const Write& write : writes) require_writable(session, write);
  return writes;
}

std::optional<Failure> perform(Session& session, const Write& write) {
  if (!is_field(write.parts[0])) return set_value(session, write, write.parts[0].value);
  const Members given = given_members(write);
  if (is_complete(write)) return set_value(session, write, given);
  const client::Answer read = session.get(*write.row);
  if (auto failure = failure_of(read, subject_of(write))) return failure;
  return set_value(session, write, merged(read.value, given));
}

std::optional<Failure> verify(Session& session, const Write& write) {
  Reader reader(session);
  for (const Assignment& part : write.parts) {
    const Read read = reader.read(part.item);
    if (const auto* failure = std::get_if<Failure>(&read)) return *failure;
    const Value& value = std::get<Value>(read);
    if (is_same(*part.item.field, part.value, value)) continue;
    return Failure{kDiffers, part.item.name(),
                   "set to " + shown(*part.item.field, part.value) + ", but reads " +
                       shown(*part.item.field, value)};
  }
  return std::nullopt;
}

}  // namespace vlm::ctl
