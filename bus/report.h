// What the bus has to say to the operator: lines on standard error.
#ifndef REPORT_H
#define REPORT_H

#include <cstdio>
#include <string>

namespace vlm::bus {

/// Shows what the program has printed before, so that the lines stand in their order.
inline void report(const std::string& text) {
  std::fflush(stdout);
  std::fprintf(stderr, "vlm_bus: %s\n", text.c_str());
}

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
