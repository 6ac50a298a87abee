#include "exit_status.h"

namespace vlm::ctl {

Failure::Failure(ExitStatus its_status, std::string_view its_subject, std::string_view its_message,
                 int its_code)
    : status(its_status), subject(its_subject), message(its_message), code(its_code) {}

Failure::Failure(const Failure& other) = default;
Failure::Failure(Failure&& other) noexcept = default;
Failure& Failure::operator=(const Failure& other) = default;
Failure& Failure::operator=(Failure&& other) noexcept = default;
Failure::~Failure() = default;

void fail(ExitStatus status, std::string_view subject, std::string_view message) {
  throw Failure(status, subject, message);
}

void fail(ExitStatus status, const char* subject, const char* message) {
  fail(status, std::string_view(subject), message);
}

}  // namespace vlm::ctl
