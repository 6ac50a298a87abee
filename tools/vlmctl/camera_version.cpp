#include "camera_version.h"

#include "console.h"

namespace vlm::ctl {

using catalogue::Value;

namespace {

std::string member_text(const Value& group, const char* name) {
  const Value* const value = catalogue::member(group, name);
  if (const auto* text = value != nullptr ? std::get_if<std::string>(value) : nullptr) {
    return printable(*text);
  }
  const auto* const number = value != nullptr ? std::get_if<catalogue::s64>(value) : nullptr;
  return number != nullptr ? std::to_string(*number) : "?";
}

}  // namespace

std::string model_text(const Value& version) { return member_text(version, "module"); }

std::string firmware_text(const Value& version) {
  return member_text(version, "major") + "." + member_text(version, "minor") + "." +
         member_text(version, "patch") + member_text(version, "branch");
}

}  // namespace vlm::ctl
