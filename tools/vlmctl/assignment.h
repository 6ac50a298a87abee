// NAME=VALUE, taken apart and checked by the catalogue.
#ifndef VLMCTL_ASSIGNMENT_H
#define VLMCTL_ASSIGNMENT_H

#include <string>
#include <vector>

#include "catalogue_value.h"

namespace vlm::ctl {

struct Assignment {
  catalogue::Item item;
  catalogue::Value value;
};

/// Throws Failure: unknown name, or value not allowed.
Assignment parse_assignment(const std::string& written);
/// The value of `item`; throws Failure.
catalogue::Value parse_value(const catalogue::Item& item, const std::string& written);

/// Whether both stand for the same bytes: two names of one number do.
bool is_same(const catalogue::Field& field, const catalogue::Value& one,
             const catalogue::Value& other);

/// The item's own value in that of its row; null: it has none.
const catalogue::Value* value_of(const catalogue::Item& item, const catalogue::Value& row_value);

/// "slot=internal", for the parameters of an action or of a reading. Throws Failure.
catalogue::Members parse_parameters(const catalogue::Row& row,
                                    const std::vector<std::string>& written);

}  // namespace vlm::ctl

#endif  // VLMCTL_ASSIGNMENT_H
