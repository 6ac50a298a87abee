// The rules of the client, with a camera and a clock that the test moves.

#include "camera_client.h"

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <map>
#include <vector>

#include "catalogue_text.h"

namespace {

using namespace vlm::client;
using namespace std::chrono_literals;
using vlm::catalogue::find;
using vlm::catalogue::Payload;
using vlm::catalogue::Row;
using vlm::catalogue::Value;

/// Keeps what is published; the test answers.
class FakeTransport : public Transport {
 public:
  bool publish(const userlcm_packet_t& packet, unsigned int length) override {
    if (broken) return false;
    packets.push_back(packet);
    lengths.push_back(length);
    return true;
  }
  void listen(Receiver its_receiver) override { receiver = std::move(its_receiver); }

  udp_ctrl_cam_t record(std::size_t index) const {
    udp_ctrl_cam_t record;
    std::memcpy(&record, packets.at(index).msg_buf + 1, sizeof record);
    return record;
  }
  std::vector<int> codes() const {
    std::vector<int> codes;
    for (std::size_t i = 0; i < packets.size(); ++i) codes.push_back(record(i).cmd_type);
    return codes;
  }

  void deliver(u8 type, const void* data, std::size_t size, const char* sender = kRequestChannel) {
    userlcm_packet_t packet{};
    std::snprintf(packet.channel, sizeof packet.channel, "%s", sender);
    packet.msg_buf[0] = type;
    std::memcpy(packet.msg_buf + 1, data, size);
    if (receiver) receiver(&packet, sizeof packet);
  }
  void answer(int code, const std::vector<u8>& payload = {}, int error = 0) {
    udp_ctrl_cam_t reply{};
    reply.cmd_type = static_cast<u16>(code);
    reply.err_code = static_cast<u16>(error);
    if (!payload.empty()) std::memcpy(reply.cmd_params, payload.data(), payload.size());
    deliver(LCM_CONTROL_CAMERA, &reply, sizeof reply);
  }

  std::vector<userlcm_packet_t> packets;
  std::vector<unsigned int> lengths;
  Receiver receiver;
  bool broken = false;
};

/// A clock that moves when it is told to.
class FakeScheduler : public Scheduler {
 public:
  TimePoint now() const override { return _now; }
  Id after(std::chrono::milliseconds delay, Action action) override {
    _actions.emplace(std::make_pair(_now + delay, ++_last), std::move(action));
    return _last;
  }
  void cancel(Id id) override {
    if (cancels_late) return;
    for (auto each = _actions.begin(); each != _actions.end(); ++each) {
      if (each->first.second == id) {
        _actions.erase(each);
        return;
      }
    }
  }

  void pass(std::chrono::milliseconds time) {
    const TimePoint end = _now + time;
    while (!_actions.empty() && _actions.begin()->first.first <= end) {
      const auto first = _actions.begin();
      _now = first->first.first;
      const Action action = std::move(first->second);
      _actions.erase(first);
      action();
    }
    _now = end;
  }
  std::size_t pending() const { return _actions.size(); }

  bool cancels_late = false;  // the action runs already

 private:
  TimePoint _now{};
  Id _last = 0;
  std::map<std::pair<TimePoint, Id>, Action> _actions;
};

class Client : public testing::Test {
 protected:
  const Row& row(const char* name) { return *find(name)->row; }
  Value value(const char* name, const char* written) {
    std::string error;
    const auto parsed = parse(*find(name)->field, written, error);
    EXPECT_TRUE(parsed) << error;
    return parsed.value_or(Value{});
  }

  // Requests, whose answers are kept in `ended` by their labels.
  void get(const char* name, const char* label) { client.get(row(name), keep(label)); }
  void set(const char* name, const char* written, const char* label) {
    client.set(row(name), value(name, written), keep(label));
  }
  CameraClient::Done keep(const std::string& label) {
    return [this, label](const Answer& answer) {
      EXPECT_EQ(ended.count(label), 0U) << label << " has ended twice";
      ended[label] = answer;
      order.push_back(label);
    };
  }
  bool has_ended(const char* label) const { return ended.count(label) != 0; }
  Outcome outcome(const char* label) const {
    EXPECT_TRUE(has_ended(label)) << label;
    return has_ended(label) ? ended.at(label).outcome : Outcome::kCancelled;
  }
  std::string shown(const char* name, const char* label) {
    return format(row(name).value, ended.at(label).value);
  }
  void expect_counts(unsigned answers, unsigned late, unsigned unasked) {
    EXPECT_EQ(client.counts().answers, answers);
    EXPECT_EQ(client.counts().late, late);
    EXPECT_EQ(client.counts().unasked, unasked);
  }

  std::map<std::string, Answer> ended;
  std::vector<std::string> order;
  FakeTransport camera;
  FakeScheduler clock;
  CameraClient client{camera, clock};  // whose end cancels what is left
};

TEST_F(Client, HandsOutATypedValueAndTheTimeThatItTook) {
  get("exposure.mode", "mode");
  clock.pass(42ms);
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  EXPECT_EQ(outcome("mode"), Outcome::kDone);
  EXPECT_EQ(shown("exposure.mode", "mode"), "manual");
  EXPECT_TRUE(std::holds_alternative<const vlm::catalogue::Choice*>(ended.at("mode").value));
  EXPECT_EQ(ended.at("mode").round_trip, 42ms);
  EXPECT_FALSE(ended.at("mode").doubtful);
  expect_counts(1, 0, 0);
}

TEST_F(Client, PublishesInTheEnginesEnvelope) {
  set("video", "1920x1080@30", "video");
  ASSERT_EQ(camera.packets.size(), 1U);
  EXPECT_EQ(camera.lengths[0], sizeof(msg_from_rep_t));
  EXPECT_STREQ(camera.packets[0].channel, kReplyChannel);
  EXPECT_EQ(camera.packets[0].msg_buf[0], LCM_CONTROL_CAMERA);
  const udp_ctrl_cam_t record = camera.record(0);
  EXPECT_EQ(record.cmd_type, UDP_CTRL_CAM_SET_PARAMS_VIDEO);
  const u8 params[] = {0x80, 0x07, 0x38, 0x04, 30, 0xFF, 0xFF, 0xFF, 0xFF, 0};
  EXPECT_EQ(std::memcmp(record.cmd_params, params, sizeof params), 0);
}

TEST_F(Client, TellsWhatTheCameraRefuses) {
  set("exposure.mode", "manual", "mode");
  camera.answer(UDP_CTRL_CAM_SET_AE_MODE, {}, VLM_ERR_IS_UNKOWN_AEMODE);
  EXPECT_EQ(outcome("mode"), Outcome::kRefused);
  EXPECT_EQ(ended.at("mode").error, VLM_ERR_IS_UNKOWN_AEMODE);
}

TEST_F(Client, TakesBusyFromTheCameraAsBusy) {
  set("exposure.mode", "manual", "mode");
  camera.answer(UDP_CTRL_CAM_SET_AE_MODE, {}, VLM_ERR_BUSY);
  EXPECT_EQ(outcome("mode"), Outcome::kBusy);
  EXPECT_EQ(ended.at("mode").error, VLM_ERR_BUSY);
}

TEST_F(Client, RunsActionsAndHandsOutTheirResult) {
  const Row& property = row("property.get");
  client.run(property, keep("fan"), {{&property.parameters[0], std::string("fan")}});
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(camera.record(0).cmd_params)), "fan");
  camera.answer(UDP_CTRL_CAM_GET_PROPERTY, {'o', 'n'});
  EXPECT_EQ(ended.at("fan").value, Value(std::string("on")));
}

TEST_F(Client, SendsAnyCode) {
  Payload payload{};
  payload[0] = 9;
  client.send(123, payload, keep("any"));
  EXPECT_EQ(camera.record(0).cmd_type, 123);
  EXPECT_EQ(camera.record(0).cmd_params[0], 9);
  camera.answer(123, {1, 2, 3});
  EXPECT_EQ(outcome("any"), Outcome::kDone);
  EXPECT_EQ(ended.at("any").payload[2], 3);
  EXPECT_EQ(ended.at("any").value, Value{});
}

TEST_F(Client, SendsNothingThatIsNotAllowed) {
  client.set(row("lens.digital_zoom"), Value(vlm::catalogue::s64{81}), keep("range"));
  client.set(row("lens.digital_zoom"), Value(true), keep("type"));
  client.set(row("camera.status"), Value(true), keep("reading"));
  client.get(row("wifi.password"), keep("write-only"));
  client.get(row("camera.reboot"), keep("action read"));
  client.run(row("video"), keep("setting run"));
  client.run(row("storage.format"), keep("parameter missing"));
  client.get(row("storage"), keep("parameter"), {{&row("storage").parameters[0], Value(true)}});
  EXPECT_TRUE(camera.packets.empty());
  for (const auto& [label, answer] : ended) {
    EXPECT_EQ(answer.outcome, Outcome::kInvalid) << label;
  }
  EXPECT_EQ(ended.size(), 8U);
  EXPECT_EQ(ended.at("range").reason, "81 is not allowed: 10 to 80");
  EXPECT_EQ(ended.at("type").reason, "it takes a value of type u32");
  EXPECT_EQ(ended.at("reading").reason, "camera.status cannot be written");
  EXPECT_EQ(ended.at("write-only").reason, "wifi.password cannot be read");
  EXPECT_EQ(ended.at("setting run").reason, "video is not an action");
}

TEST(Outcome, HasAText) {
  const std::pair<Outcome, const char*> texts[] = {
      {Outcome::kDone, "done"},
      {Outcome::kRefused, "refused"},
      {Outcome::kBusy, "busy"},
      {Outcome::kNoAnswer, "no answer"},
      {Outcome::kNotSent, "not sent"},
      {Outcome::kInvalid, "invalid"},
      {Outcome::kGarbled, "garbled answer"},
      {Outcome::kCancelled, "cancelled"},
      {static_cast<Outcome>(8), ""},
  };
  for (const auto& [outcome, expected] : texts) EXPECT_STREQ(text(outcome), expected);
}

TEST_F(Client, HasOneRequestInFlight) {
  get("exposure.mode", "first");
  get("metering.mode", "second");
  get("video", "third");
  EXPECT_EQ(camera.codes(), (std::vector<int>{UDP_CTRL_CAM_GET_AE_MODE}));
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE);
  EXPECT_EQ(camera.codes(),
            (std::vector<int>{UDP_CTRL_CAM_GET_AE_MODE, UDP_CTRL_CAM_GET_METER_MODE}));
  camera.answer(UDP_CTRL_CAM_GET_METER_MODE);
  camera.answer(UDP_CTRL_CAM_GET_PARAMS_VIDEO);
  EXPECT_EQ(order, (std::vector<std::string>{"first", "second", "third"}));
  EXPECT_EQ(clock.pending(), 0U);
}

TEST_F(Client, GivesUpAfterThreeSeconds) {
  get("exposure.mode", "mode");
  clock.pass(2999ms);
  EXPECT_FALSE(has_ended("mode"));
  clock.pass(1ms);
  EXPECT_EQ(outcome("mode"), Outcome::kNoAnswer);
  EXPECT_EQ(clock.pending(), 0U);
}

TEST_F(Client, GivesUpOnTheStatusAfterHalfASecond) {
  get("camera.status", "status");
  clock.pass(499ms);
  EXPECT_FALSE(has_ended("status"));
  clock.pass(1ms);
  EXPECT_EQ(outcome("status"), Outcome::kNoAnswer);
}

TEST_F(Client, IsNotEndedAgainByATimeOutThatTheAnswerOvertook) {
  clock.cancels_late = true;
  get("exposure.mode", "mode");
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  EXPECT_EQ(outcome("mode"), Outcome::kDone);
  clock.pass(3s);  // keep() notices a second end
  EXPECT_EQ(outcome("mode"), Outcome::kDone);
}

TEST_F(Client, IsBusyForWhomWaitedThreeSecondsForTheirTurn) {
  get("exposure.mode", "first");
  clock.pass(1ms);
  get("metering.mode", "second");
  clock.pass(2999ms);
  // The first has just ended, so the second is sent in time.
  EXPECT_EQ(outcome("first"), Outcome::kNoAnswer);
  clock.pass(500ms);
  get("video", "third");
  get("camera.status", "fourth");
  clock.pass(2499ms);
  EXPECT_FALSE(has_ended("second"));
  clock.pass(1ms);
  EXPECT_EQ(outcome("second"), Outcome::kNoAnswer);
  clock.pass(499ms);
  EXPECT_FALSE(has_ended("fourth"));
  clock.pass(1ms);
  EXPECT_EQ(outcome("fourth"), Outcome::kBusy);
  EXPECT_EQ(camera.codes().size(), 3U);
  clock.pass(3s);
  EXPECT_EQ(outcome("third"), Outcome::kNoAnswer);
}

TEST_F(Client, IsBusyAtOnceForTooMany) {
  const Options few = [] {
    Options options;
    options.waiting = 2;
    return options;
  }();
  FakeTransport other_camera;
  CameraClient small(other_camera, clock, few);
  for (const char* label : {"in flight", "one", "two", "three"}) {
    small.get(row("exposure.mode"), keep(label));
  }
  EXPECT_EQ(order, (std::vector<std::string>{"three"}));
  EXPECT_EQ(outcome("three"), Outcome::kBusy);
}

TEST_F(Client, AnAnswerToAnotherCommandNeitherEndsAWaitNorHidesItsOwn) {
  get("exposure.mode", "mode");
  camera.answer(UDP_CTRL_CAM_GET_METER_MODE, {2});
  camera.answer(UDP_CTRL_CAM_GET_PARAMS_VIDEO, {1}, VLM_ERR_FAILED);
  EXPECT_FALSE(has_ended("mode"));
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  camera.answer(UDP_CTRL_CAM_GET_METER_MODE, {2});
  EXPECT_EQ(shown("exposure.mode", "mode"), "manual");
  expect_counts(1, 0, 3);
}

TEST_F(Client, AnAnswerThatComesTwiceIsTakenOnce) {
  get("exposure.mode", "mode");
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {0});
  EXPECT_EQ(shown("exposure.mode", "mode"), "manual");
  expect_counts(1, 0, 1);
}

TEST_F(Client, ALateAnswerIsKnownAsLate) {
  get("exposure.mode", "mode");
  clock.pass(3s);
  get("metering.mode", "metering");
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  EXPECT_FALSE(has_ended("metering"));
  camera.answer(UDP_CTRL_CAM_GET_METER_MODE, {2});
  EXPECT_EQ(shown("metering.mode", "metering"), "spot");
  EXPECT_FALSE(ended.at("metering").doubtful);
  expect_counts(1, 1, 0);
  // It has come: what comes now is nobody's.
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  expect_counts(1, 1, 1);
}

TEST_F(Client, AnAnswerIsDoubtfulWhileItsCodeIsOwed) {
  get("exposure.mode", "lost");
  clock.pass(3s);
  get("exposure.mode", "again");
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  EXPECT_TRUE(ended.at("again").done());
  EXPECT_TRUE(ended.at("again").doubtful);
  // The other of the two: late, whichever it was.
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {0});
  expect_counts(1, 1, 0);
  get("exposure.mode", "third");
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  EXPECT_FALSE(ended.at("third").doubtful);
}

TEST_F(Client, ACodeIsOwedForAWhileOnly) {
  get("exposure.mode", "lost");
  clock.pass(3s);
  clock.pass(30s);
  clock.pass(1ms);
  get("exposure.mode", "again");
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  EXPECT_FALSE(ended.at("again").doubtful);
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  expect_counts(1, 0, 1);
}

std::vector<u8> stream_answer(u8 stream, u8 bitrate) {
  std::vector<u8> payload(sizeof(vlm_stream_prop_t));
  payload[offsetof(vlm_stream_prop_t, stream_id)] = stream;
  payload[offsetof(vlm_stream_prop_t, bitrate)] = bitrate;
  return payload;
}

TEST_F(Client, ALateAnswerOfTheSameCodeIsKnownByTheStreamThatItTells) {
  get("stream.0", "main");
  clock.pass(3s);
  get("stream.1", "second");
  camera.answer(UDP_CTRL_CAM_GET_STREAM_PROP, stream_answer(0, 7));
  EXPECT_FALSE(has_ended("second"));
  camera.answer(UDP_CTRL_CAM_GET_STREAM_PROP, stream_answer(1, 9));
  EXPECT_EQ(*member(ended.at("second").value, "bitrate"), Value(vlm::catalogue::s64{9}));
  EXPECT_FALSE(ended.at("second").doubtful);
  expect_counts(1, 1, 0);
}

TEST_F(Client, AnAnswerAboutAnotherCardIsNotTaken) {
  const Row& storage = row("storage");
  const auto& slots = storage.parameters[0].choices;
  const auto* const internal = slots.end() - 1;
  ASSERT_STREQ(internal->name, "internal");
  client.get(storage, keep("internal"), {{&storage.parameters[0], Value(internal)}});
  camera.answer(UDP_CTRL_CAM_GET_SDCARD_STORAGE, {0});
  EXPECT_FALSE(has_ended("internal"));
  camera.answer(UDP_CTRL_CAM_GET_SDCARD_STORAGE, {3});
  EXPECT_TRUE(has_ended("internal"));
  // Whichever is in use may be any.
  get("storage", "current");
  camera.answer(UDP_CTRL_CAM_GET_SDCARD_STORAGE, {0});
  EXPECT_TRUE(has_ended("current"));
}

TEST_F(Client, TellsWhatTheBusDoesNotTake) {
  camera.broken = true;
  get("exposure.mode", "mode");
  EXPECT_EQ(outcome("mode"), Outcome::kNotSent);
  camera.broken = false;
  get("exposure.mode", "again");
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  EXPECT_TRUE(ended.at("again").done());
  EXPECT_FALSE(ended.at("again").doubtful);
  EXPECT_EQ(clock.pending(), 0U);
}

TEST_F(Client, WritesOneFieldOfAGroupBesideTheOthers) {
  client.set_field(*find("video.fps"), Value(vlm::catalogue::s64{60}), keep("fps"));
  camera.answer(UDP_CTRL_CAM_GET_PARAMS_VIDEO, {0x80, 0x07, 0x38, 0x04, 30});
  EXPECT_FALSE(has_ended("fps"));
  ASSERT_EQ(camera.packets.size(), 2U);
  const u8 params[] = {0x80, 0x07, 0x38, 0x04, 60, 0xFF, 0xFF, 0xFF, 0xFF};
  EXPECT_EQ(std::memcmp(camera.record(1).cmd_params, params, sizeof params), 0);
  camera.answer(UDP_CTRL_CAM_SET_PARAMS_VIDEO);
  EXPECT_EQ(outcome("fps"), Outcome::kDone);
}

TEST_F(Client, WritesNoFieldOfAGroupThatItCannotRead) {
  client.set_field(*find("video.fps"), Value(vlm::catalogue::s64{60}), keep("fps"));
  camera.answer(UDP_CTRL_CAM_GET_PARAMS_VIDEO, {}, VLM_ERR_GET_VIDEO);
  EXPECT_EQ(outcome("fps"), Outcome::kRefused);
  EXPECT_EQ(camera.packets.size(), 1U);
  client.set_field(*find("video.fps"), Value(vlm::catalogue::s64{0}), keep("zero"));
  EXPECT_EQ(outcome("zero"), Outcome::kInvalid);
  client.set_field(*find("storage.free"), Value(vlm::catalogue::s64{0}), keep("reading"));
  EXPECT_EQ(outcome("reading"), Outcome::kInvalid);
  EXPECT_EQ(camera.packets.size(), 1U);
}

TEST_F(Client, ACallbackMayMakeTheNextRequest) {
  client.get(row("exposure.mode"), [this](const Answer&) { get("metering.mode", "next"); });
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE);
  camera.answer(UDP_CTRL_CAM_GET_METER_MODE);
  EXPECT_TRUE(has_ended("next"));
}

TEST_F(Client, EndsEverythingAsCancelledWithItself) {
  FakeTransport other_camera;
  {
    CameraClient short_lived(other_camera, clock);
    short_lived.get(row("exposure.mode"), keep("in flight"));
    short_lived.get(row("metering.mode"), keep("waiting"));
    EXPECT_TRUE(order.empty());
  }
  EXPECT_EQ(order, (std::vector<std::string>{"in flight", "waiting"}));
  EXPECT_EQ(outcome("in flight"), Outcome::kCancelled);
  EXPECT_EQ(clock.pending(), 0U);
  other_camera.answer(UDP_CTRL_CAM_GET_AE_MODE);
  clock.pass(10s);
}

TEST_F(Client, GivesUpAndGoesOnWithTheNextRequest) {
  get("exposure.mode", "in flight");
  get("metering.mode", "waiting");
  client.give_up();
  EXPECT_EQ(order, (std::vector<std::string>{"in flight", "waiting"}));
  EXPECT_EQ(outcome("in flight"), Outcome::kCancelled);
  EXPECT_EQ(outcome("waiting"), Outcome::kCancelled);
  get("exposure.mode", "again");
  camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  EXPECT_TRUE(ended.at("again").done());
  EXPECT_TRUE(ended.at("again").doubtful);  // it may be the answer to the one that was given up
}

TEST_F(Client, ARequestThatACancelledOneMakesIsCancelledToo) {
  FakeTransport other_camera;
  {
    CameraClient short_lived(other_camera, clock);
    short_lived.get(row("exposure.mode"), [&](const Answer& answer) {
      EXPECT_EQ(answer.outcome, Outcome::kCancelled);
      short_lived.get(row("metering.mode"), keep("next"));
    });
  }
  EXPECT_EQ(outcome("next"), Outcome::kCancelled);
  EXPECT_EQ(other_camera.packets.size(), 1U);
}

TEST_F(Client, CamerasDoNotWaitForEachOther) {
  FakeTransport other_camera;
  CameraClient other(other_camera, clock);
  get("exposure.mode", "one");
  other.get(row("exposure.mode"), keep("other"));
  EXPECT_EQ(other_camera.packets.size(), 1U);
  other_camera.answer(UDP_CTRL_CAM_GET_AE_MODE, {1});
  EXPECT_TRUE(has_ended("other"));
  EXPECT_FALSE(has_ended("one"));
}

TEST_F(Client, PassesNotificationsOn) {
  std::vector<int> types;
  client.on_notification([&](const msg_from_rep_t& message) { types.push_back(message.msg_type); });
  const u8 status = 2;
  for (const u8 type : std::vector<u8>{1, 2, 4, 5, 6, 7, 8, 9, 255})
    camera.deliver(type, &status, 1);
  EXPECT_EQ(types, (std::vector<int>{5, 6, 7, 8}));
  client.on_notification(nullptr);
  camera.deliver(LCM_SDCARD_STATUS, &status, 1);
  EXPECT_EQ(types.size(), 4U);
}

TEST_F(Client, TakesNothingFromOtherSenders) {
  get("exposure.mode", "mode");
  udp_ctrl_cam_t reply{};
  reply.cmd_type = UDP_CTRL_CAM_GET_AE_MODE;
  camera.deliver(LCM_CONTROL_CAMERA, &reply, sizeof reply, "somebody");
  camera.deliver(LCM_CONTROL_CAMERA, &reply, sizeof reply, "velmar_repeater_udp2");
  EXPECT_FALSE(has_ended("mode"));
  expect_counts(0, 0, 0);
}

TEST_F(Client, CompletesShortPacketsWithZeros) {
  get("exposure.mode", "mode");
  userlcm_packet_t packet{};
  std::memcpy(packet.channel, kRequestChannel, sizeof kRequestChannel);
  packet.msg_buf[0] = LCM_CONTROL_CAMERA;
  packet.msg_buf[1] = UDP_CTRL_CAM_GET_AE_MODE;
  packet.msg_buf[3] = 1;  // beyond what has arrived
  for (const std::size_t length : {std::size_t{0}, std::size_t{3}, std::size_t{64}}) {
    camera.receiver(&packet, length);
  }
  EXPECT_FALSE(has_ended("mode"));
  camera.receiver(&packet, offsetof(userlcm_packet_t, msg_buf) + 2);
  EXPECT_EQ(shown("exposure.mode", "mode"), "auto");
}

TEST(ClientAnswer, NamesItsOutcomes) {
  EXPECT_STREQ(text(Outcome::kDone), "done");
  EXPECT_STREQ(text(Outcome::kNoAnswer), "no answer");
  EXPECT_STREQ(text(Outcome::kCancelled), "cancelled");
}

}  // namespace
