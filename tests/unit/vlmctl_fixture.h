// vlmctl with a camera that the test plays, and what it says.
#ifndef VLMCTL_FIXTURE_H
#define VLMCTL_FIXTURE_H

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "catalogue_text.h"
#include "interruption.h"
#include "program.h"

/// A camera that keeps what is set as bytes, by code.
class PlayedCamera {
 public:
  /// Requests in their order: "get 1", "set 2 01", without the zeros at the end.
  std::vector<std::string> requests;
  /// By code: the outcomes of the next requests; then they are done.
  std::map<int, std::vector<vlm::client::Answer>> outcomes;
  /// By the code that reads them.
  std::map<int, vlm::catalogue::Payload> payloads;

  /// Is told each request when it has come.
  std::function<void(const std::string& request)> on_request = [](const std::string&) {};
  /// Where its messages go that nobody asked for.
  vlm::client::CameraClient::Notified notified;

  /// Is told that nobody listens any more.
  std::function<void()> on_deaf = [] {};

  /// Whether it says that it has set what it has not.
  bool forgets = false;

  void fails(int code, vlm::client::Outcome outcome, int error = 0) {
    vlm::client::Answer answer;
    answer.outcome = outcome;
    answer.error = error;
    outcomes[code].push_back(answer);
  }
};

class PlayedLink : public vlm::ctl::CameraLink {
 public:
  using Answer = vlm::client::Answer;
  using Members = vlm::catalogue::Members;
  using Payload = vlm::catalogue::Payload;
  using Row = vlm::catalogue::Row;

  explicit PlayedLink(PlayedCamera& camera) : _camera(camera) {}

  std::string name() const override { return "the bus"; }
  bool can_get(const Row& row) const override { return row.readable(); }
  bool can_set(const Row& row) const override { return row.writable(); }
  bool can_run(const Row& row) const override { return row.codes.run != vlm::catalogue::kNone; }
  bool is_bus() const override { return true; }

  Answer get(const Row& row, const Members& parameters) override {
    Payload payload{};
    std::string error;
    EXPECT_TRUE(encode_parameters(row, parameters, payload, error)) << error;
    Answer answer = end_of("get", row.codes.get, payload);
    if (!answer.done()) return answer;
    if (_camera.payloads.count(row.codes.get) == 0) {
      Payload initial{};
      put_initial(row.value, initial);
      store_reply(row, initial);
    }
    answer.payload = _camera.payloads[row.codes.get];
    answer.value = *decode_reply(row, answer.payload.data(), answer.payload.size());
    return answer;
  }
  Answer set(const Row& row, const vlm::catalogue::Value& value) override {
    Payload payload{};
    std::string error;
    EXPECT_TRUE(encode(row.value, value, payload, error)) << error;
    Answer answer = end_of("set", row.codes.set, payload);
    if (answer.done() && row.readable() && !_camera.forgets) store_reply(row, payload);
    return answer;
  }
  Answer run(const Row& row, const Members& parameters) override {
    Payload payload{};
    std::string error;
    EXPECT_TRUE(encode_parameters(row, parameters, payload, error)) << error;
    return end_of("run", row.codes.run, payload);
  }
  Answer send(u16 code, const Payload& payload) override { return end_of("send", code, payload); }
  void on_notification(vlm::client::CameraClient::Notified notified) override {
    _camera.notified = std::move(notified);
    if (_camera.notified) return _camera.on_request("listen");
    _camera.on_deaf();
  }

 private:
  void store_reply(const Row& row, const Payload& request) {
    Payload& reply = _camera.payloads[row.codes.get];
    const auto skipped = static_cast<std::size_t>(-row.reply_shift);
    std::copy(request.begin() + static_cast<std::ptrdiff_t>(skipped), request.end(), reply.begin());
  }
  Answer end_of(const std::string& verb, int code, const Payload& payload) {
    std::string line = verb + " " + std::to_string(code);
    std::size_t size = payload.size();
    while (size > 0 && payload[size - 1] == 0) --size;
    if (size > 0) line += " ";
    for (std::size_t i = 0; i < size; ++i) {
      char digits[3];
      std::snprintf(digits, sizeof digits, "%02x", payload[i]);
      line += digits;
    }
    _camera.requests.push_back(line);
    _camera.on_request(line);
    Answer answer;
    answer.outcome = vlm::client::Outcome::kDone;
    auto& next = _camera.outcomes[code];
    if (next.empty()) return answer;
    answer = next.front();
    next.erase(next.begin());
    return answer;
  }

  PlayedCamera& _camera;
};

class Vlmctl : public testing::Test {
 protected:
  using Requests = std::vector<std::string>;

  /// Runs a command line; words are parted by spaces.
  int run(const std::string& line) {
    vlm::ctl::Words words;
    for (std::size_t place = 0; place <= line.size();) {
      const std::size_t end = std::min(line.find(' ', place), line.size());
      if (end > place) words.push_back(line.substr(place, end - place));
      place = end + 1;
    }
    return run_words(words);
  }
  int run_words(const vlm::ctl::Words& words) {
    out.clear();
    err.clear();
    camera.requests.clear();
    vlm::ctl::clear_interruption();
    vlm::ctl::Console console([this](const std::string& text) { out += text; },
                              [this](const std::string& text) { err += text; },
                              [] { return std::chrono::system_clock::time_point(); });
    console.confirm = [this](const std::string& question) {
      questions.push_back(question);
      return consents;
    };
    return vlm::ctl::run_program(
        words, console,
        {[this](const vlm::ctl::Settings&) { return std::make_unique<PlayedLink>(camera); },
         [this](const vlm::ctl::Settings&) { return found; },
         [this](const vlm::ctl::Words& line, std::size_t command) {
           site_line = line;
           site_command = command;
           return 0;
         }},
        "9.9");
  }

  PlayedCamera camera;
  std::vector<vlm::ctl::FoundCamera> found;  // by list --cameras
  vlm::ctl::Words site_line;                 // that was about a site, last
  std::size_t site_command = 0;              // where its command stood
  std::string out;
  std::string err;
  std::vector<std::string> questions;
  bool consents = true;
};

#endif  // VLMCTL_FIXTURE_H
