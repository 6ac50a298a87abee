// A real broker under test, and the cameras of local buses behind it.
#ifndef BROKER_SIDE_H
#define BROKER_SIDE_H

#include <memory>
#include <string>
#include <vector>

#include "process.h"

/// mosquitto on a free port of the loopback, for everybody; killed at the end.
class Broker {
 public:
  /// `extra` lines stand in its configuration, in which the listener comes first.
  explicit Broker(std::vector<std::string> extra = {"allow_anonymous true"});

  int port() const { return _port; }
  /// "mqtt://127.0.0.1:PORT/test/CAMERA"
  std::string address(const std::string& camera) const;
  /// Ends it at once, as a crash does.
  void kill();
  /// It stands still until it is resumed.
  void stop() const;
  void resume() const;
  /// Starts it again on its port, with nothing kept.
  void start_again();
  /// Resident memory, in KiB.
  long memory_kib() const;

 private:
  bool start();

  TemporaryDirectory _directory;
  std::vector<std::string> _extra;
  int _port = 0;
  std::unique_ptr<Process> _process;
};

/// Where the variable VLM_TEST_OVER_BROKER is set, the tests of a program run with a broker between it
/// and its camera: `environment` of a program that asks cameras gets the address, behind which a bridge
/// serves the bus of VLM_BUS_DIR. Otherwise, and for all other programs, it is unchanged.
std::vector<std::string> with_broker_between(const std::string& program,
                                             std::vector<std::string> environment);

#endif  // BROKER_SIDE_H
