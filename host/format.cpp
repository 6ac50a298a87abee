#include "format.h"

#include <cstdarg>
#include <cstdio>

namespace vlm::host {

std::string format(const char* form, ...) {
  char text[512];
  va_list args;
  va_start(args, form);
  std::vsnprintf(text, sizeof text, form, args);
  va_end(args);
  return text;
}

}  // namespace vlm::host
