// The way to a camera behind a broker, through the shared object that has all about brokers.
#ifndef VLM_CLIENT_REMOTE_TRANSPORT_H
#define VLM_CLIENT_REMOTE_TRANSPORT_H

#include <chrono>
#include <memory>
#include <string>

#include "transport.h"

namespace vlm::client {

/// Why a camera cannot be reached.
struct RemoteFault {
  bool in_address = false;  // no such address
  std::string text;
};

/// What the shared object offers as vlm_remote_transport.
struct RemotePart {
  Transport* (*reach)(const std::string& address, std::chrono::milliseconds limit,
                      RemoteFault& fault);
};

/// True for what can only be meant as the address of a broker's camera.
bool is_remote(const std::string& camera);

/// Connects to the broker of "mqtts://[USER@]HOST[:PORT]/SITE/CAMERA" and waits until answers of that
/// camera can come. Null when there is none, or not within `limit`: `fault` says why. Any number of
/// them in a process.
std::unique_ptr<Transport> reach_camera(const std::string& address, std::chrono::milliseconds limit,
                                        RemoteFault& fault);

}  // namespace vlm::client

#endif  // VLM_CLIENT_REMOTE_TRANSPORT_H
