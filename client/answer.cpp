#include "answer.h"

namespace vlm::client {

Answer::Answer() = default;
Answer::Answer(const Answer& other) = default;
Answer::Answer(Answer&& other) noexcept = default;
Answer& Answer::operator=(const Answer& other) = default;
Answer& Answer::operator=(Answer&& other) noexcept = default;
Answer::~Answer() = default;

const char* text(Outcome outcome) {
  switch (outcome) {
    case Outcome::kDone: return "done";
    case Outcome::kRefused: return "refused";
    case Outcome::kBusy: return "busy";
    case Outcome::kNoAnswer: return "no answer";
    case Outcome::kNotSent: return "not sent";
    case Outcome::kInvalid: return "invalid";
    case Outcome::kGarbled: return "garbled answer";
    case Outcome::kCancelled: return "cancelled";
  }
  return "";
}

}  // namespace vlm::client
