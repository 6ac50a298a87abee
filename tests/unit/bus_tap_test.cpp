// The tap of the bus: between threads and between processes.
#include "tap.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <numeric>
#include <string>
#include <vector>

#include "bus_directory.h"
#include "bus_fixture.h"
#include "tap_greeting_message.h"
#include "unique_fd.h"
#include "vlm_bus.h"

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;
using vlm::bus::Tap;
using vlm::bus::TapCopy;
using vlm::bus::UniqueFd;

namespace {

class BusTapTest : public BusFixture {
 protected:
  static Tap open_tap() {
    std::string error;
    auto tap = Tap::open(error);
    if (!tap) throw std::runtime_error(error);
    return std::move(*tap);
  }

  static std::vector<TapCopy> take(Tap& tap) {
    std::vector<TapCopy> copies;
    tap.take(copies);
    return copies;
  }

  /// The first note about the subscriber `name`, or the end.
  static std::vector<TapCopy>::const_iterator note_about(const std::vector<TapCopy>& copies,
                                                         const std::string& name) {
    return std::find_if(copies.begin(), copies.end(),
                        [&](const TapCopy& copy) { return copy.note.rfind(name + ' ', 0) == 0; });
  }

  /// "CHANNEL SENDER NUMBER" of each copy, "N lost" of a loss.
  static std::vector<std::string> lines(const std::vector<TapCopy>& copies) {
    std::vector<std::string> all;
    for (const TapCopy& copy : copies) {
      if (copy.lost != 0) {
        all.push_back(std::to_string(copy.lost) + " lost");
        continue;
      }
      userlcm_packet_t packet{};
      std::memcpy(&packet, copy.packet.data(), copy.packet.size());
      all.push_back(copy.channel + ' ' +
                    description_of(packet, static_cast<unsigned int>(copy.packet.size())));
    }
    return all;
  }

  /// Packets taken and packets lost.
  static std::pair<std::uint64_t, std::uint64_t> sums(const std::vector<TapCopy>& copies) {
    std::pair<std::uint64_t, std::uint64_t> sums{};
    for (const TapCopy& copy : copies) {
      sums.first += copy.lost == 0 ? 1 : 0;
      sums.second += copy.lost;
    }
    return sums;
  }
};

TEST_F(BusTapTest, GetsACopyOfEveryChannelAlsoWhereNobodyListens) {
  Tap tap = open_tap();
  Inbox& inbox = subscribe(_channel);
  ASSERT_EQ(publish(_channel, "one", 0), 0);
  ASSERT_EQ(publish("nobody.listens", "two", 1), 0);
  EXPECT_EQ(inbox.next_line(), "one 0");
  EXPECT_EQ(lines(take(tap)),
            (std::vector<std::string>{_channel + " one 0", "nobody.listens two 1"}));
  EXPECT_EQ(take(tap).size(), 0U);
}

TEST_F(BusTapTest, CopiesPacketsOfEverySizeByteForByte) {
  Tap tap = open_tap();
  std::vector<std::string> expected;
  for (std::uint32_t number = 0; number < 2000; number += 13) {
    ASSERT_EQ(publish(_channel, "sender", number), 0);
    expected.push_back(_channel + " sender " + std::to_string(number));
  }
  userlcm_packet_t largest{};
  std::memset(largest.msg_buf, 'x', sizeof largest.msg_buf);
  const std::string longest(63, 'c');
  ASSERT_EQ(send_msg_to_lcm(&largest, sizeof largest.msg_buf, longest.c_str()), 0);
  auto copies = take(tap);
  ASSERT_FALSE(copies.empty());
  EXPECT_EQ(copies.back().channel, longest);
  ASSERT_EQ(copies.back().packet.size(), sizeof largest);
  EXPECT_EQ(std::memcmp(copies.back().packet.data(), &largest, sizeof largest), 0);
  copies.pop_back();
  EXPECT_EQ(lines(copies), expected);
}

TEST_F(BusTapTest, IsCountedAsNoSubscriber) {
  const Tap tap = open_tap();
  EXPECT_FALSE(vlm::bus::bus_has_subscriber("tap"));
  EXPECT_FALSE(vlm::bus::bus_has_subscriber(_channel.c_str()));
  const auto names = sockets("tap-");
  ASSERT_EQ(names.size(), 1U);
  EXPECT_FALSE(vlm::bus::bus_has_subscriber(names.front().c_str()));
}

TEST_F(BusTapTest, LeavesTheDirectoryWithItsObject) {
  {
    const Tap tap = open_tap();
    EXPECT_EQ(sockets("tap-").size(), 1U);
  }
  EXPECT_EQ(sockets("").size(), 0U);
}

TEST_F(BusTapTest, ServesSeveralTapsAndPublishers) {
  Tap first = open_tap();
  Tap second = open_tap();
  EXPECT_EQ(start({BUS_PEER, "flood", _channel, "left", "500"}).wait(), 0);
  EXPECT_EQ(start({BUS_PEER, "flood", _channel, "right", "500"}).wait(), 0);
  EXPECT_EQ(sums(take(first)), std::make_pair(std::uint64_t{1000}, std::uint64_t{0}));
  EXPECT_EQ(sums(take(second)), std::make_pair(std::uint64_t{1000}, std::uint64_t{0}));
}

TEST_F(BusTapTest, KeepsAHundredMillisecondsAtTwentyThousandPacketsASecond) {
  Tap tap = open_tap();
  userlcm_packet_t request{};
  for (int i = 0; i < 2000; ++i) {
    ASSERT_EQ(send_msg_to_lcm(&request, sizeof(msg_from_rep_t), kRequestChannel), 0);
  }
  EXPECT_EQ(sums(take(tap)), std::make_pair(std::uint64_t{2000}, std::uint64_t{0}));
}

TEST_F(BusTapTest, CountsWhatItLosesToThePacketWhenThePublisherHasEnded) {
  Tap tap = open_tap();
  EXPECT_EQ(start({BUS_PEER, "flood", _channel, "sender", "20000"}).wait(), 0);
  const auto copies = take(tap);
  const auto [taken, lost] = sums(copies);
  EXPECT_GT(lost, 0U);
  EXPECT_EQ(taken + lost, 20000U);
  // Nothing was lost before the first loss, and what was taken is whole.
  const auto described = lines(copies);
  EXPECT_EQ(described.front(), _channel + " sender 0");
  EXPECT_EQ(std::count_if(described.begin(), described.end(),
                          [](const auto& line) { return line.find("torn") != line.npos; }),
            0);
}

TEST_F(BusTapTest, CountsWhatItLostWhileThePublisherLives) {
  Tap tap = open_tap();
  for (std::uint32_t number = 0; number < 10000; ++number) publish(_channel, "sender", number);
  const auto [taken, lost] = sums(take(tap));
  EXPECT_GT(lost, 0U);
  EXPECT_EQ(taken + lost, 10000U);
}

TEST_F(BusTapTest, TakesPacketsAgainAfterALoss) {
  Tap tap = open_tap();
  for (std::uint32_t number = 0; number < 10000; ++number) publish(_channel, "sender", number);
  take(tap);
  // Once full, it is left alone for a moment.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPlentyMs);
  std::vector<TapCopy> copies;
  std::uint64_t sent = 0;
  while (sums(copies).first == 0 && std::chrono::steady_clock::now() < deadline) {
    publish(_channel, "again", 7);
    ++sent;
    tap.take(copies);
  }
  const auto [taken, lost] = sums(copies);
  EXPECT_EQ(taken, 1U);
  EXPECT_EQ(taken + lost, sent);
}

TEST_F(BusTapTest, GetsTheLinesAboutSubscribersThatDoNotTakeTheirPackets) {
  Tap tap = open_tap();
  Process& stopped = start({BUS_PEER, "listen", _channel});
  ASSERT_TRUE(comes_true([&] { return vlm::bus::bus_has_subscriber(_channel.c_str()); }));
  const std::string name = only_socket(_channel + '.');
  stopped.stop();
  CaptureStderr();
  std::vector<TapCopy> copies;
  std::vector<std::string> notes;
  std::uint32_t sent = 0;
  const auto publish_one = [&] {
    publish(_channel, "test", sent++);
    tap.take(copies);
    for (; !copies.empty(); copies.erase(copies.begin())) {
      EXPECT_EQ(copies.front().lost, 0U);
      if (!copies.front().note.empty()) notes.push_back(copies.front().note);
    }
  };
  while (notes.empty() && sent < 10000) publish_one();
  publish_one();  // the copy that is dropped at once
  EXPECT_EQ(notes,
            std::vector<std::string>({name + " does not take its packets; dropped so far: 1"}));
  stopped.resume();
  ASSERT_EQ(stopped.line(), "test 0");
  publish_one();
  EXPECT_EQ(notes.back(), name + " takes its packets again; dropped in all: 2");
  std::string told;
  for (const std::string& note : notes) told += "vlm_bus: " + note + '\n';
  EXPECT_EQ(GetCapturedStderr(), told);
}

TEST_F(BusTapTest, GetsALineForWhichThereWasNoRoomLater) {
  Tap tap = open_tap();
  Process& stopped = start({BUS_PEER, "listen", _channel});
  ASSERT_TRUE(comes_true([&] { return vlm::bus::bus_has_subscriber(_channel.c_str()); }));
  const std::string name = only_socket(_channel + '.');
  const std::string elsewhere = _channel + "_elsewhere";
  for (std::uint32_t number = 0; number < 10000; ++number) publish(elsewhere, "filler", number);
  stopped.stop();
  std::uint64_t sent = 10000;
  for (std::string told; told.find(name) == told.npos && sent < 20000; told = GetCapturedStderr()) {
    CaptureStderr();
    publish(_channel, "test", static_cast<std::uint32_t>(sent++));
  }
  std::vector<TapCopy> copies;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPlentyMs);
  do {
    tap.take(copies);
    publish(elsewhere, "filler", 0);
    ++sent;
  } while (note_about(copies, name) == copies.end() && std::chrono::steady_clock::now() < deadline);
  const auto note = note_about(copies, name);
  ASSERT_NE(note, copies.end());
  EXPECT_EQ(note->note, name + " does not take its packets; dropped so far: 1");
  tap.take(copies);
  const auto notes = std::count_if(copies.begin(), copies.end(),
                                   [](const TapCopy& copy) { return !copy.note.empty(); });
  const auto [taken, lost] = sums(copies);
  EXPECT_EQ(taken - static_cast<std::uint64_t>(notes) + lost, sent) << "a note is no packet";
}

TEST_F(BusTapTest, PutsAnAnswerBehindItsRequestWhoeverPublishes) {
  const std::string there = _channel + "_there";
  const std::string back = _channel + "_back";
  Tap tap = open_tap();
  Inbox& answers = subscribe(back);
  Process& echo = start({BUS_PEER, "echo", there, back});
  ASSERT_TRUE(comes_true([&] { return vlm::bus::bus_has_subscriber(there.c_str()); }));
  std::vector<TapCopy> copies;
  constexpr std::uint32_t kRounds = 2000;
  for (std::uint32_t number = 0; number < kRounds; ++number) {
    publish(there, "asker", number);
    tap.take(copies);  // in between: neither may the answer alone be there
    ASSERT_EQ(answers.next_line(), "asker " + std::to_string(number));
  }
  tap.take(copies);
  const auto described = lines(copies);
  ASSERT_EQ(described.size(), 2 * kRounds);
  for (std::uint32_t number = 0; number < kRounds; ++number) {
    ASSERT_EQ(described[2 * number], there + " asker " + std::to_string(number));
    ASSERT_EQ(described[2 * number + 1], back + " asker " + std::to_string(number));
  }
  echo.kill_and_wait();
}

/// A publisher that the test plays, with its clock ahead: as one whose packet comes during a take.
class PublisherAhead {
 public:
  PublisherAhead() {
    std::string error;
    const auto directory = vlm::bus::BusDirectory::open(error);
    const auto names = directory->taps();
    _connection = directory->connect(names.at(0), SOCK_SEQPACKET);
    int ends[2];
    if (!_connection || pipe2(ends, O_NONBLOCK) != 0) throw std::runtime_error("no way to the tap");
    _reading = UniqueFd(ends[0]);
    _writing = UniqueFd(ends[1]);
    _tally = UniqueFd(memfd_create("tally", 0));
    vlm::bus::TapGreetingMessage message({vlm::bus::kTapVersion, getpid()});
    const vlm::bus::TapGreetingMessage::Descriptors descriptors = {_reading.get(), _tally.get()};
    cmsghdr* const header = CMSG_FIRSTHDR(&message.header);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof descriptors);
    std::memcpy(CMSG_DATA(header), descriptors, sizeof descriptors);
    if (sendmsg(_connection.get(), &message.header, 0) < 0) throw std::runtime_error("no greeting");
  }

  void publish(const std::string& channel, std::chrono::steady_clock::time_point time) const {
    vlm::bus::TapRecord record{};
    record.time_ns = static_cast<std::uint64_t>(time.time_since_epoch().count());
    record.channel_size = static_cast<std::uint16_t>(channel.size());
    std::string bytes(reinterpret_cast<const char*>(&record), sizeof record);
    bytes += channel;
    if (write(_writing.get(), bytes.data(), bytes.size()) < 0) throw std::runtime_error("full");
  }

 private:
  UniqueFd _connection;
  UniqueFd _reading;
  UniqueFd _writing;
  UniqueFd _tally;
};

TEST_F(BusTapTest, TellsOfAPacketThatCameDuringTheTake) {
  using std::chrono::steady_clock;
  Tap tap = open_tap();
  const PublisherAhead publisher;
  const auto time = steady_clock::now() + std::chrono::milliseconds(200);
  publisher.publish(_channel, time);
  std::vector<TapCopy> copies;
  while (tap.take(copies)) EXPECT_TRUE(copies.empty());
  EXPECT_GE(steady_clock::now(), time);
  ASSERT_EQ(copies.size(), 1U);
  EXPECT_EQ(copies[0].channel, _channel);
  EXPECT_FALSE(tap.take(copies));
}

TEST_F(BusTapTest, ComesBackWhenItsDirectoryHasGone) {
  Tap tap = open_tap();
  ASSERT_EQ(publish(_channel, "sender", 0), 0);
  std::filesystem::remove_all(_bus);
  std::string error;
  ASSERT_TRUE(tap.renew(error)) << error;
  ASSERT_EQ(publish(_channel, "sender", 1), 0);
  EXPECT_EQ(lines(take(tap)),
            (std::vector<std::string>{_channel + " sender 0", _channel + " sender 1"}));
}

TEST_F(BusTapTest, CostsPublishersNothingOnceItHasDied) {
  const pid_t dead = fork();
  if (dead == 0) {
    std::string error;
    auto tap = Tap::open(error);
    new Tap(std::move(*tap));
    _exit(0);  // leaves its socket behind
  }
  waitpid(dead, nullptr, 0);
  EXPECT_EQ(sockets("tap-").size(), 1U);
  ASSERT_EQ(publish(_channel, "sender", 0), 0);
  EXPECT_EQ(sockets("tap-").size(), 0U);
}

TEST_F(BusTapTest, SaysWhyTheBusCannotBeTapped) {
  use_bus(_root / "missing" / "bus");
  std::string error;
  EXPECT_FALSE(Tap::open(error));
  EXPECT_EQ(error, "cannot use the bus directory " + _bus.string() + ": No such file or directory");
}

}  // namespace
