#include "format.h"

#include <cstdio>

namespace vlm::host {

std::string vformat(const char* form, std::va_list args) {
  std::va_list again;
  va_copy(again, args);
  const int size = std::vsnprintf(nullptr, 0, form, args);
  std::string text(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, form, again);
  va_end(again);
  return text;
}

std::string format(const char* form, ...) {
  std::va_list args;
  va_start(args, form);
  std::string text = vformat(form, args);
  va_end(args);
  return text;
}

}  // namespace vlm::host
