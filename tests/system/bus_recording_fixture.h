// What the system tests of the bus monitor share: a bus, programs on it, and the monitor that records
// them.
#ifndef BUS_RECORDING_FIXTURE_H
#define BUS_RECORDING_FIXTURE_H

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "pcapng_reader.h"
#include "pcapng_writer.h"
#include "process.h"

class BusRecordingFixture : public testing::Test {
 protected:
  struct Outcome {
    int status;
    std::string output;
    std::string errors;
  };

  std::vector<std::string> environment() const { return {"VLM_BUS_DIR=" + (_folder / "bus")}; }

  std::unique_ptr<Process> start(std::vector<std::string> arguments) const {
    arguments[0] = program(arguments[0]);
    return std::make_unique<Process>(arguments, environment());
  }

  Outcome run(const std::vector<std::string>& arguments, const std::string& input = "") const {
    const auto process = start(arguments);
    process->write(input);
    process->close_input();
    Outcome outcome{};
    outcome.output = process->read_all();
    outcome.status = process->wait();
    outcome.errors = process->errors();
    return outcome;
  }

  /// A line of shell, on this test's bus and in its folder.
  Outcome shell(const std::string& line) const {
    Process process({"/bin/sh", "-c", "cd " + _folder.path() + " && " + line}, environment());
    process.close_input();
    Outcome outcome{};
    outcome.output = process.read_all();
    outcome.status = process.wait();
    outcome.errors = process.errors();
    return outcome;
  }

  /// Starts the monitor, and returns once it misses nothing any more. `variables` are set for it.
  void start_monitor(const std::string& options = "", const std::string& variables = "") {
    _monitor = std::make_unique<Process>(
        std::vector<std::string>{"/bin/sh", "-c",
                                 "cd " + _folder.path() + " && exec env " + variables + " " +
                                     program_in_shell("vlm_bus_monitor") + " " + options + " 2>&1"},
        environment());
    _monitor->read_until("vlm_bus_monitor: capturing every packet published from now on\n");
  }
  /// Ends it as a user does; returns what it has shown.
  std::string end_monitor() {
    _monitor->signal(SIGINT);
    std::string output = _monitor->read_all();
    EXPECT_EQ(_monitor->wait(), 0) << output;
    return output;
  }

  void start_camera(const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments{"camera_sim"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    _camera = start(arguments);
    _camera->read_until("camera_sim: ready");
    _camera->read_until("\n");
  }

  void write_recording(const std::string& name,
                       const std::vector<vlm::monitor::Entry>& entries) const {
    std::string bytes;
    vlm::monitor::PcapngWriter writer;
    writer.begin("test", bytes);
    for (const auto& entry : entries) writer.add(entry, bytes);
    _folder.write(name, bytes);
  }

  std::vector<vlm::monitor::Entry> entries(const std::string& name,
                                           vlm::monitor::PcapngReader::Outcome* end = nullptr) {
    std::ifstream file(_folder / name, std::ios::binary);
    vlm::monitor::PcapngReader reader(file);
    std::vector<vlm::monitor::Entry> all;
    vlm::monitor::Entry entry;
    vlm::monitor::PcapngReader::Outcome outcome;
    while ((outcome = reader.next(entry)) == vlm::monitor::PcapngReader::kEntry) {
      all.push_back(entry);
    }
    if (end != nullptr) *end = outcome;
    return all;
  }

  const TemporaryDirectory _folder;
  std::unique_ptr<Process> _monitor;
  std::unique_ptr<Process> _camera;
};

#endif  // BUS_RECORDING_FIXTURE_H
