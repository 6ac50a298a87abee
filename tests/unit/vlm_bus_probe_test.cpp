// The program that tells scripts whether a channel has a subscriber.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bus_fixture.h"

namespace {

class VlmBusProbeTest : public BusFixture {
 protected:
  struct Outcome {
    int status;
    std::string output;
    std::string errors;
  };

  Outcome probe(std::vector<std::string> arguments) {
    Process& child = start_probe(std::move(arguments));
    const std::string output = child.read_all();
    const int status = child.wait();
    return {status, output, child.errors()};
  }

  Process& start_probe(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), VLM_BUS_PROBE);
    return start(std::move(arguments));
  }

  void expect_quiet(const Outcome& outcome, int status) {
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "");
  }
};

TEST_F(VlmBusProbeTest, SeesNobodyAndThenASubscriberAndThenNobody) {
  expect_quiet(probe({_channel}), 1);
  Process& child = listener(_channel);
  expect_quiet(probe({_channel}), 0);
  expect_quiet(probe({_channel + "x"}), 1);
  child.kill_and_wait();
  expect_quiet(probe({_channel}), 1);
}

TEST_F(VlmBusProbeTest, WaitsForASubscriber) {
  Process& waiting = start_probe({_channel, "--wait", "20000"});
  listener(_channel);
  EXPECT_EQ(waiting.wait(), 0);
}

TEST_F(VlmBusProbeTest, WaitsForASubscriberBesideADeadOne) {
  listener(_channel).kill_and_wait();
  Process& waiting = start_probe({"--wait", "20000", _channel});
  ASSERT_TRUE(comes_true([&] { return sockets(_channel + '.').empty(); }));  // it has looked once
  EXPECT_FALSE(waiting.has_ended());
  listener(_channel);
  EXPECT_EQ(waiting.wait(), 0);
}

TEST_F(VlmBusProbeTest, DoesNotWaitForEver) { expect_quiet(probe({_channel, "--wait", "30"}), 1); }

TEST_F(VlmBusProbeTest, FailsWithAMessageWhereTheBusCannotBeUsed) {
  use_bus(_root / "missing" / "bus");
  const Outcome outcome = probe({_channel, "--wait", "20000"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "vlm_bus: cannot use the bus directory " + _bus.string() +
                                ": No such file or directory\n");
}

TEST_F(VlmBusProbeTest, ThatCannotLookFailsWithAMessage) {
  if (emulated()) GTEST_SKIP() << "the emulator takes descriptors of its own";
  Process& live = listener(_channel);
  const std::string name = only_socket(_channel + '.');
  // Beside the standard ones there is room for its watch and the directory.
  Process& short_of_files = start_short_of_files(5, {VLM_BUS_PROBE, _channel, "--wait", "20000"});
  EXPECT_EQ(short_of_files.wait(), 1);
  EXPECT_EQ(short_of_files.errors(), "vlm_bus: cannot reach " + name + ": Too many open files\n");
  EXPECT_FALSE(live.has_ended());
}

TEST_F(VlmBusProbeTest, ToldWronglyShowsItsUsage) {
  const std::vector<std::vector<std::string>> wrong{
      {},
      {"--wait"},
      {_channel, "--wait"},
      {_channel, "--wait", ""},
      {_channel, "--wait", "-1"},
      {_channel, "--wait", "10s"},
      {_channel, "--wait", "99999999999999999999"},
      {_channel, _channel},
      {_channel, "--help"},
      {"--verbose"},
      {"a/b"},
      {""},
      {std::string(64, 'c')},
  };
  for (const auto& arguments : wrong) {
    const Outcome outcome = probe(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors.rfind("vlm_bus_probe: wrong usage\nUsage: vlm_bus_probe ", 0), 0U);
  }
}

TEST_F(VlmBusProbeTest, TellsItsUsageAndItsVersion) {
  const Outcome help = probe({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.output,
            "Usage: vlm_bus_probe CHANNEL [OPTION]...\n"
            "Tells by its exit status whether CHANNEL has a live subscriber on the bus.\n"
            "\n"
            "  --wait MS                  look for up to MS milliseconds (default 0)\n"
            "  --mqtt-ca-file FILE        certificates of the authorities to trust\n"
            "  --mqtt-cert-file FILE      this user's certificate\n"
            "  --mqtt-key-file FILE       the key of the certificate\n"
            "  --mqtt-password-file FILE  the password of the address' user\n"
            "  --help                     show this text\n"
            "  --version                  show the version\n"
            "\n"
            "Exit status: 0 there is a subscriber, 1 there is none, 2 wrong usage.\n");
  const Outcome version = probe({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.output, "vlm_bus_probe 1.0.0\n");
}

}  // namespace
