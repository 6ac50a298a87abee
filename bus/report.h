// What the bus has to say to the operator: lines on standard error.
#ifndef REPORT_H
#define REPORT_H

#include <cstdarg>
#include <cstdio>
#include <string>

#include "format.h"

namespace vlm::bus {

/// As printf. Shows what the program has printed before, so that the lines stand in their order.
inline void __attribute__((format(printf, 1, 2))) report(const char* form, ...) {
  std::va_list args;
  va_start(args, form);
  const std::string text = host::vformat(form, args);
  va_end(args);
  std::fflush(stdout);
  std::fprintf(stderr, "vlm_bus: %s\n", text.c_str());
}

inline void report(const std::string& text) { report("%s", text.c_str()); }

/// Reports what goes wrong over and over once.
class Complaint {
 public:
  void about(const std::string& trouble) {
    if (trouble != _last) report(trouble);
    _last = trouble;
  }
  void settled() { _last.clear(); }

 private:
  std::string _last;
};

}  // namespace vlm::bus

#endif  // REPORT_H
