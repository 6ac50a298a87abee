// The catalogue as text, for people.
#ifndef VLMCTL_CATALOGUE_LISTING_H
#define VLMCTL_CATALOGUE_LISTING_H

#include <string>

#include "catalogue.h"

namespace vlm::ctl {

/// "exposure.mode             choice  auto or manual"
std::string short_listing(const catalogue::Row& row);
/// Several lines: what it is, what is allowed, its flags and needs, its fields and parameters.
std::string long_listing(const catalogue::Row& row);

/// What a row takes or gives, with its unit; of an action its parameters.
std::string allowed(const catalogue::Row& row);
/// "volatile, thermal"; empty: none.
std::string flags_text(const catalogue::Field& field);

}  // namespace vlm::ctl

#endif  // VLMCTL_CATALOGUE_LISTING_H
