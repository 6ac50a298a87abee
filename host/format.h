// printf into a text.
#ifndef HOST_FORMAT_H
#define HOST_FORMAT_H

#include <string>

namespace vlm::host {

/// What printf would print.
std::string format(const char* form, ...) __attribute__((format(printf, 1, 2)));

}  // namespace vlm::host

#endif  // HOST_FORMAT_H
