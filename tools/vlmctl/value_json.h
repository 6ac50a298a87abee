// Values and descriptions of the catalogue as JSON; docs/vlmctl.md has the schema.
#ifndef VLMCTL_VALUE_JSON_H
#define VLMCTL_VALUE_JSON_H

#include <string>

#include "catalogue_value.h"

namespace vlm::ctl {

/// true, 25.3, "auto", {"width":1920}: typed, numbers in the field's unit. A number that is not
/// allowed or has no name is the text "raw:N", as in catalogue::format().
std::string value_json(const catalogue::Field& field, const catalogue::Value& value);

/// The number on the wire; of a group an object of them. Empty: no number stands there.
std::string raw_json(const catalogue::Field& field, const catalogue::Value& value);

/// A row of the catalogue, one object.
std::string description_json(const catalogue::Row& row);

}  // namespace vlm::ctl

#endif  // VLMCTL_VALUE_JSON_H
