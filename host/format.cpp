#include "format.h"

#include <cstdarg>
#include <cstdio>

namespace vlm::host {

std::string format(const char* form, ...) {
  va_list args;
  va_start(args, form);
  va_list again;
  va_copy(again, args);
  const int size = std::vsnprintf(nullptr, 0, form, args);
  std::string text(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, form, again);
  va_end(again);
  va_end(args);
  return text;
}

}  // namespace vlm::host
