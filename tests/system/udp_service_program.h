// The camera-control service as a program, on a bus of its own, with a simulated camera beside it.
#ifndef UDP_SERVICE_PROGRAM_H
#define UDP_SERVICE_PROGRAM_H

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "process.h"
#include "temporary_directory.h"

class UdpServiceProgram : public testing::Test {
 protected:
  struct Outcome {
    std::string output;
    std::string errors;
    int status;
  };

  std::vector<std::string> environment() const {
    return {"VLM_BUS_DIR=" + _directory / "bus", "TZ=UTC0"};
  }

  std::unique_ptr<Process> start(const std::string& name,
                                 const std::vector<std::string>& options = {}) const {
    std::vector<std::string> arguments{program(name)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return std::make_unique<Process>(arguments, environment());
  }

  void start_camera(const std::vector<std::string>& options = {}) {
    _camera = start("camera_sim", options);
    _camera->read_until("camera_sim: ready");
  }

  /// Returns the port that it serves.
  int start_service(std::vector<std::string> options = {}) {
    options.insert(options.begin(), {"--port", "0", "--sdcard", _directory / "card"});
    _service = start("vlm_udp_service", options);
    _service->read_until("vlm_udp_service: serving port ");
    return std::stoi(_service->read_until("\n"));
  }

  Outcome run(const std::string& name, const std::vector<std::string>& options) const {
    const auto process = start(name, options);
    const std::string output = process->read_all();
    const int status = process->wait();
    return {output, process->errors(), status};
  }

  TemporaryDirectory _directory;
  std::unique_ptr<Process> _camera;
  std::unique_ptr<Process> _service;
};

#endif  // UDP_SERVICE_PROGRAM_H
