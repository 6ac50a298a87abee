// A tap's greeting as sendmsg and recvmsg take it: with its two descriptors.
#ifndef TAP_GREETING_MESSAGE_H
#define TAP_GREETING_MESSAGE_H

#include <sys/socket.h>
#include <sys/uio.h>

#include "tap_copy.h"

namespace vlm::bus {

/// The greeting, and a header that leads to it and to room for two descriptors behind it.
class TapGreetingMessage {
 public:
  using Descriptors = int[2];

  explicit TapGreetingMessage(const TapGreeting& content) : greeting(content) {
    header.msg_iov = &_bytes;
    header.msg_iovlen = 1;
    header.msg_control = _control;
    header.msg_controllen = sizeof _control;
  }
  TapGreetingMessage(const TapGreetingMessage&) = delete;
  TapGreetingMessage& operator=(const TapGreetingMessage&) = delete;

  TapGreeting greeting;
  msghdr header{};

 private:
  iovec _bytes{&greeting, sizeof greeting};
  alignas(cmsghdr) char _control[CMSG_SPACE(sizeof(Descriptors))] = {};
};

}  // namespace vlm::bus

#endif  // TAP_GREETING_MESSAGE_H
