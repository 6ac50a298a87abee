// The client on the bus: what it publishes is what the engine publishes, and real threads.

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <set>
#include <thread>

#include "bus_transport.h"
#include "camera_client.h"
#include "camera_model.h"
#include "catalogue_text.h"
#include "operation_matrix.h"

namespace {

using namespace vlm::client;
using vlm::catalogue::Members;
using vlm::catalogue::Raw;
using vlm::catalogue::Row;
using vlm::catalogue::Value;
using vlm::sim::CameraModel;
using vlm::sim::CameraTraits;

using L = LcmRequest;

/// The one packet that `action` publishes.
template <typename Action>
Published published_by(Action&& action) {
  ScriptedBus& bus = ScriptedBus::instance();
  const std::size_t before = bus.published().size();
  action();
  const auto all = bus.published();
  EXPECT_EQ(all.size(), before + 1);
  return all.at(before);
}

/// The same value as one that is sent whatever it is.
Value insisted(const vlm::catalogue::Field& field, const Value& value) {
  if (const auto* members = std::get_if<Members>(&value)) {
    Members all;
    for (const auto& each : *members)
      all.push_back({each.field, insisted(*each.field, each.value)});
    return all;
  }
  const auto number = wire_number(field, value);
  return number ? Value(Raw{*number}) : value;
}

Value sent_value(const vlm::catalogue::Field& field, const Operation& operation) {
  const udp_ctrl_cam_t record = camera_record(operation.code, operation.payload);
  return insisted(field, *decode(field, record.cmd_params, sizeof record.cmd_params));
}

Members sent_parameters(const Row& row, const Operation& operation) {
  Members parameters;
  for (const auto& parameter : row.parameters) {
    if (parameter.is(vlm::catalogue::kFixed)) continue;
    parameters.push_back({&parameter, sent_value(parameter, operation)});
  }
  return parameters;
}

/// The operation's request, made by name.
void request_by_name(CameraClient& client, const Operation& operation, CameraClient::Done done) {
  const udp_ctrl_cam_t record = camera_record(operation.code, operation.payload);
  const Row& row = *vlm::catalogue::find_by_code(operation.code, record.cmd_params);
  if (operation.code == row.codes.run) {
    client.run(row, done, sent_parameters(row, operation));
  } else if (operation.code == row.codes.get) {
    client.get(row, done, sent_parameters(row, operation));
  } else {
    client.set(row, sent_value(row.value, operation), done);
  }
}

std::vector<Operation> all_operations() {
  std::vector<Operation> operations = camera_operations();
  const auto& thermal = thermal_operations();
  operations.insert(operations.end(), thermal.begin(), thermal.end());
  for (Operation& operation : operations) {
    // Reserved bytes and a mask, which the client sends as they are meant: 0, and all fields.
    if (operation.code == UDP_CTRL_CAM_SET_PHOTO_MODE) {
      operation = set_record("set_capture_mode", operation.code, &L::set_capture_mode,
                             {3, 48879, {-7, 200}, 305419896, {0, 0}})
                      .sends({3, 0xEF, 0xBE, 0xF9, 200, 0x78, 0x56, 0x34, 0x12});
    }
    if (operation.code == UDP_CTRL_CAM_SET_STREAM_PROP) {
      operation =
          set_record("set_stream_prop", operation.code, &L::set_stream_prop,
                     {1, 7, 305419896, {1920, 1080}, 60})
              .sends({1, 0, 0, 0, 7, 0, 0, 0, 0x78, 0x56, 0x34, 0x12, 0x80, 0x07, 0x38, 0x04, 60});
    }
  }
  return operations;
}

class ClientOnBus : public testing::Test {
 protected:
  ClientOnBus() { ScriptedBus::instance().reset(); }
  ~ClientOnBus() override { ScriptedBus::instance().reset(); }

  /// Answers as the script says, by way of the subscription, as the bus does.
  void deliver_to_subscription() {
    Receive_msg_t* const own = subscription();
    ScriptedBus::instance().deliver_to(
        [own](const udp_ctrl_cam_t& reply) { deliver(camera_packet(reply), *own); });
  }

  static void deliver(userlcm_packet_t packet, Receive_msg_t& subscription) {
    subscription.f(&packet, sizeof packet, subscription.channel, subscription.func);
  }

  /// The transport's own.
  static Receive_msg_t* subscription() {
    transport();
    static Receive_msg_t* const first = ScriptedBus::instance().wait_for_subscription();
    return first;
  }

  /// For good, as its subscription is.
  static BusTransport& transport() {
    static BusTransport& instance = *new BusTransport;
    return instance;
  }
};

Published published_by_engine(const Operation& operation) {
  EngineOnBus engine;
  return published_by([&] {
    Bytes results;
    quietly([&] { return operation.call(engine.engine, results); });
  });
}

TEST_F(ClientOnBus, PublishesWhatTheEngineDoesForEveryCode) {
  const std::vector<Operation> operations = all_operations();
  std::vector<Published> by_engine;
  for (const Operation& operation : operations) by_engine.push_back(published_by_engine(operation));
  deliver_to_subscription();
  ThreadScheduler scheduler;
  CameraClient client(transport(), scheduler);
  // What no operation sends: the flag's getter and the automatic focus.
  std::set<int> codes{UDP_CTRL_CAM_GET_SURVEY_MODE_FLAG, UDP_CTRL_CAM_AUTO_FOCUS};
  for (std::size_t i = 0; i < operations.size(); ++i) {
    SCOPED_TRACE(operations[i].name);
    const Published by_name = published_by([&] {
      const Answer answer =
          await([&](auto done) { request_by_name(client, operations[i], std::move(done)); });
      EXPECT_TRUE(answer.done()) << text(answer.outcome) << " " << answer.reason;
    });
    EXPECT_EQ(by_name.channel, by_engine[i].channel);
    EXPECT_EQ(by_name.length, by_engine[i].length);
    EXPECT_EQ(bytes_of(by_name.packet), bytes_of(by_engine[i].packet));
    codes.insert(operations[i].code);
  }
  for (const Row& row : vlm::catalogue::rows()) {
    for (const int code : {row.codes.get, row.codes.set, row.codes.run}) {
      EXPECT_TRUE(code == vlm::catalogue::kNone || codes.count(code) == 1) << row.name();
    }
  }
}

TEST_F(ClientOnBus, ReadsEverySettingOfACamera) {
  CameraModel camera(CameraTraits{true});
  ThreadScheduler scheduler;
  CameraClient client(transport(), scheduler);
  deliver_to_subscription();
  ScriptedBus::instance().answer(
      [&](const udp_ctrl_cam_t& request) { return camera.handle(request, 1000); });
  int read = 0;
  for (const Row& row : vlm::catalogue::rows()) {
    if (row.kind != vlm::catalogue::Kind::kSetting || !row.readable()) continue;
    const Answer answer = await([&](auto done) { client.get(row, done); });
    ASSERT_TRUE(answer.done()) << row.name() << ": " << text(answer.outcome);
    EXPECT_EQ(format(row.value, answer.value), format(row.value, initial_value(row.value)));
    ++read;
  }
  EXPECT_GT(read, 50);
  ScriptedBus::instance().settle();
}

TEST_F(ClientOnBus, ServesManyThreads) {
  ThreadScheduler scheduler;
  CameraClient client(transport(), scheduler);
  deliver_to_subscription();
  constexpr int kThreads = 4;
  constexpr int kRequests = 200;
  std::vector<std::thread> threads;
  std::atomic<int> done_ones{0};
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      const Row& row = *vlm::catalogue::find(i % 2 == 0 ? "exposure.mode" : "video")->row;
      for (int request = 0; request < kRequests; ++request) {
        const Answer answer = await([&](auto done) { client.get(row, done); });
        if (answer.done()) ++done_ones;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(done_ones, kThreads * kRequests);
  EXPECT_EQ(client.counts().answers, static_cast<unsigned>(kThreads * kRequests));
  EXPECT_EQ(client.counts().unasked, 0U);
}

TEST_F(ClientOnBus, HandsNothingToWhomListenedToATransportThatHasGone) {
  ScriptedBus& bus = ScriptedBus::instance();
  Receive_msg_t* const other = subscription();
  int heard = 0;
  {
    BusTransport transport;
    transport.listen([&](const void*, std::size_t) { ++heard; });
    while (bus.wait_for_subscription() == other) std::this_thread::yield();
    deliver(camera_packet({}), *bus.wait_for_subscription());
  }
  EXPECT_EQ(heard, 1);
  deliver(camera_packet({}), *bus.wait_for_subscription());
  EXPECT_EQ(heard, 1);
}

TEST_F(ClientOnBus, TimesOutBySteadyTime) {
  ScriptedBus::instance().stay_silent();
  ThreadScheduler scheduler;
  Options options;
  options.reply = std::chrono::milliseconds(1);
  CameraClient client(transport(), scheduler, options);
  const Row& row = *vlm::catalogue::find("exposure.mode")->row;
  EXPECT_EQ(await([&](auto done) { client.get(row, done); }).outcome,
            vlm::client::Outcome::kNoAnswer);
}

TEST_F(ClientOnBus, EndsWhileAnswersAndTimeOutsCome) {
  ThreadScheduler scheduler;
  deliver_to_subscription();
  for (int round = 0; round < 200; ++round) {
    std::atomic<int> ended{0};
    {
      Options options;
      options.reply = std::chrono::milliseconds(round % 2);
      CameraClient client(transport(), scheduler, options);
      for (int i = 0; i < 8; ++i) {
        client.get(*vlm::catalogue::find("exposure.mode")->row, [&](const Answer&) { ++ended; });
      }
    }
    EXPECT_EQ(ended, 8);
  }
  ScriptedBus::instance().settle();
}

TEST(ClientScheduler, RunsActionsInTheOrderInWhichTheyAreDue) {
  std::promise<void> all_scheduled;
  std::promise<void> last;
  std::string order;
  ThreadScheduler scheduler;
  scheduler.after(std::chrono::milliseconds(0), [&] { all_scheduled.get_future().wait(); });
  scheduler.after(std::chrono::hours(1), [&] { order += "z"; });
  scheduler.after(std::chrono::milliseconds(0), [&] { order += "a"; });
  const auto forgotten = scheduler.after(std::chrono::milliseconds(1), [&] { order += "x"; });
  scheduler.after(std::chrono::milliseconds(1), [&] { order += "b"; });
  scheduler.after(std::chrono::milliseconds(2), [&] {
    order += "c";
    last.set_value();
  });
  scheduler.cancel(forgotten);
  scheduler.cancel(forgotten);
  all_scheduled.set_value();
  last.get_future().wait();
  EXPECT_EQ(order, "abc");
}

TEST(ClientScheduler, ForgetsTheRestWithItself) {
  bool ran = false;
  {
    ThreadScheduler scheduler;
    scheduler.after(std::chrono::hours(1), [&] { ran = true; });
  }
  EXPECT_FALSE(ran);
}

}  // namespace
