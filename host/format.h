// printf into a text.
#ifndef HOST_FORMAT_H
#define HOST_FORMAT_H

#include <cstdarg>
#include <string>

namespace vlm::host {

/// What printf would print.
std::string format(const char* form, ...) __attribute__((format(printf, 1, 2)));

/// The same, for functions that take such arguments themselves.
std::string vformat(const char* form, std::va_list args) __attribute__((format(printf, 1, 0)));

}  // namespace vlm::host

#endif  // HOST_FORMAT_H
