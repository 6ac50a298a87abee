// Ways to make a round trip of a request and its answer, which a contest lets take turns.
#ifndef BENCH_CONTENDER_H
#define BENCH_CONTENDER_H

#include <cstdio>
#include <utility>
#include <vector>

#include "bare.h"
#include "contest.h"
#include "lcm_request.h"

namespace vlm::bench {

/// One way to make a round trip. The constructor starts its peer, start() its threads; both live as
/// long as the process, and so does the contender.
class Contender {
 public:
  virtual ~Contender() = default;
  virtual const char* name() const = 0;
  virtual void start() = 0;
  virtual void round_trip() = 0;
  /// Around each block.
  virtual void begin() {}
  virtual void end() {}
};

/// B of bare.h.
class BareContender : public Contender {
 public:
  explicit BareContender(const char* name) : _name(name) {}

  const char* name() const override { return _name; }
  void start() override { _exchange.start(); }
  void round_trip() override { _exchange.round_trip(); }

 private:
  const char* _name;
  BareExchange _exchange;
};

/// A stream that collects what is printed, as the programs have it.
inline std::FILE* collecting(std::FILE* stream) {
  if (stream == nullptr) give_up("output");
  std::setvbuf(stream, nullptr, _IOFBF, BUFSIZ);
  return stream;
}

/// A camera operation whose transcript goes to a stream of its own. Somebody else starts the camera
/// and the listener.
class CameraRequest : public Contender {
 public:
  CameraRequest(const char* name, std::FILE* output) : _name(name), _output(output) {}

  const char* name() const override { return _name; }
  void start() override {}
  void begin() override { std::swap(stdout, _output); }
  void round_trip() override {
    u8 mode = 0;
    if (!lcm_request.get_camera_mode(mode)) give_up("camera request");
  }
  void end() override {
    std::fflush(stdout);
    std::swap(stdout, _output);
  }

 private:
  const char* _name;
  std::FILE* _output;
};

/// A contender and the microseconds of its round trips.
struct Entrant {
  Contender* contender;
  std::vector<double> samples{};
};

/// Runs `rounds` of the contender's and adds their times to `samples`.
inline void run_block(Contender& contender, int rounds, std::vector<double>& samples) {
  constexpr int kUnmeasured = 20;  // in which publishers find what has changed on the bus
  contender.begin();
  for (int i = 0; i < kUnmeasured; ++i) contender.round_trip();
  measure(rounds, samples, [&] { contender.round_trip(); });
  contender.end();
}

/// Starts the entrants and lets them take turns until each has made `rounds`. Says so, and returns
/// their rows.
inline std::vector<Result> round_trips(std::vector<Entrant>& entrants, int rounds) {
  constexpr int kWarmUpRounds = 200;
  std::vector<double> warm_up;
  for (const Entrant& entrant : entrants) {
    entrant.contender->start();
    run_block(*entrant.contender, kWarmUpRounds, warm_up);
  }
  take_turns(entrants, rounds, [](Entrant& entrant, int part) {
    run_block(*entrant.contender, part, entrant.samples);
  });
  std::printf("%d round trips of %zu bytes each, on one core\n", rounds, kPacketSize);
  std::vector<Result> results;
  for (Entrant& entrant : entrants) {
    results.push_back({entrant.contender->name(), "us", std::move(entrant.samples)});
  }
  return results;
}

}  // namespace vlm::bench

#endif  // BENCH_CONTENDER_H
