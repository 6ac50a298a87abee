// Every operation of the request engine that asks the camera, one row each.
#ifndef OPERATION_CATALOGUE_H
#define OPERATION_CATALOGUE_H

#include <string>
#include <vector>

#include "operation.h"

const std::vector<Operation>& camera_operations();
const std::vector<Operation>& thermal_operations();

/// The row of that name among the camera operations; throws when there is none.
Operation camera_operation(const std::string& name);

#endif  // OPERATION_CATALOGUE_H
