// The two bus functions, between threads and between processes.
#include "vlm_bus.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <future>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "bus_fixture.h"
#include "publisher.h"
#include "subscription.h"

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

namespace {

using namespace vlm::bus;

std::atomic<bool> g_has_inotify{true};
std::atomic<int> g_looks{0};
thread_local int t_longest_poll = -1;  // of this thread, in milliseconds

}  // namespace

// The bus reaches inotify through these two, so that a test can take it away and count the looks at
// the directory: each begins with a watch.
extern "C" int inotify_init1(int flags) noexcept {
  if (g_has_inotify) return static_cast<int>(syscall(SYS_inotify_init1, flags));
  errno = EMFILE;
  return -1;
}

extern "C" int inotify_add_watch(int fd, const char* path, std::uint32_t mask) noexcept {
  ++g_looks;
  return static_cast<int>(syscall(SYS_inotify_add_watch, fd, path, mask));
}

// How long a publisher means to wait tells its patience on a machine of any load.
extern "C" int poll(pollfd* fds, nfds_t count, int timeout) {
  static const auto next = reinterpret_cast<decltype(&poll)>(dlsym(RTLD_NEXT, "poll"));
  t_longest_poll = std::max(t_longest_poll, timeout);
  return next(fds, count, timeout);
}

namespace {

class VlmBusTest : public BusFixture {
 protected:
  /// How many packets a socket holds, or one less.
  static std::uint32_t queue_length() {
    std::uint32_t length = 0;
    std::ifstream("/proc/sys/net/unix/max_dgram_qlen") >> length;
    return length;
  }
  static std::uint32_t more_than_a_queue() { return queue_length() + 20; }

  void expect_refused(const userlcm_packet_t* packet, unsigned int length, const char* channel,
                      const std::string& reason) {
    CaptureStderr();
    EXPECT_EQ(send_msg_to_lcm(packet, length, channel), -1);
    EXPECT_EQ(GetCapturedStderr(), "vlm_bus: nothing published: " + reason + "\n");
  }

  void expect_not_served(Receive_msg_t* subscription) {
    CaptureStderr();
    EXPECT_EQ(register_lcm_message(subscription), nullptr);
    EXPECT_EQ(GetCapturedStderr(),
              "vlm_bus: cannot subscribe: no callback, or no channel of this name\n");
  }

  /// Publishes packets `first` to `last` - 1, each once `taker` has printed the one before.
  void publish_in_step(std::uint32_t first, std::uint32_t last, Process& taker) {
    for (std::uint32_t number = first; number < last; ++number) {
      ASSERT_EQ(publish(_channel, "test", number), 0);
      ASSERT_EQ(taker.line(), "test " + std::to_string(number));
    }
  }

  /// The line that announces the `drops`th drop of a stalled listener.
  static std::string stall_line(const std::string& name, std::uint32_t drops) {
    return "vlm_bus: " + name +
           " does not take its packets; dropped so far: " + std::to_string(drops) + "\n";
  }

  /// The line with which a listener takes packets again that has lost `drops`.
  static std::string recovery_line(const std::string& name, std::uint32_t drops) {
    return "vlm_bus: " + name +
           " takes its packets again; dropped in all: " + std::to_string(drops) + "\n";
  }

  std::string socket_of(const Process& listener) const {
    return only_socket(_channel + '.' + std::to_string(listener.pid()) + '.');
  }
};

TEST_F(VlmBusTest, DeliversTheMeaningfulBytesWithTheSendersChannel) {
  Inbox& inbox = subscribe(_channel);
  userlcm_packet_t packet{};
  std::memset(&packet, 'm', sizeof packet);
  std::memcpy(packet.channel, kReplyChannel, sizeof kReplyChannel);
  for (const unsigned int length : {1024U, 257U, 68U, 1U, 0U}) {
    ASSERT_EQ(send_msg_to_lcm(&packet, length, _channel.c_str()), 0);
    const auto delivery = inbox.next();
    ASSERT_TRUE(delivery);
    EXPECT_EQ(delivery->size, 64 + length);
    EXPECT_EQ(delivery->channel, _channel);
    userlcm_packet_t expected{};
    std::memcpy(&expected, &packet, 64 + length);
    EXPECT_EQ(std::memcmp(&delivery->packet, &expected, sizeof expected), 0) << length;
  }
}

TEST_F(VlmBusTest, RefusesWhatIsNoPacketOrNoChannel) {
  const userlcm_packet_t packet{};
  const char* const channel = _channel.c_str();
  expect_refused(nullptr, 1, channel, "no packet");
  expect_refused(&packet, 1025, channel, "the message is too long");
  expect_refused(&packet, ~0U, channel, "the message is too long");
  expect_refused(&packet, 1, nullptr, "no channel has this name");
  expect_refused(&packet, 1, "", "no channel has this name");
  expect_refused(&packet, 1, "a/b", "no channel has this name");
  expect_refused(&packet, 1, std::string(64, 'c').c_str(), "no channel has this name");
}

TEST_F(VlmBusTest, DoesNotServeARecordWithoutChannelOrCallback) {
  const auto callback = [](void*, unsigned int, char*, void*) {};
  expect_not_served(nullptr);
  Receive_msg_t without_callback = subscription_of(_channel, nullptr, nullptr);
  expect_not_served(&without_callback);
  Receive_msg_t unnamed = subscription_of("", callback, nullptr);
  expect_not_served(&unnamed);
  Receive_msg_t unterminated = subscription_of(std::string(64, 'c'), callback, nullptr);
  expect_not_served(&unterminated);
}

TEST_F(VlmBusTest, ASubscriptionWithoutADescriptorFailsForThatReason) {
  if (emulated()) GTEST_SKIP() << "the emulator takes descriptors of its own";
  // Beside the standard ones there is room for the directory alone.
  Process& child = start_short_of_files(4, {BUS_PEER, "listen", _channel});
  EXPECT_EQ(child.wait(), 1);
  EXPECT_EQ(child.errors(), "vlm_bus: cannot subscribe " + _channel + ": Too many open files\n");
}

TEST_F(VlmBusTest, ARequestThatNobodyGetsIsToldOnceAProgram) {
  Process& other = listener(_channel);
  publish_in_step(0, 1, other);
  Process& asking = start({BUS_PEER, "ask"});
  EXPECT_EQ(asking.wait(), 0);
  EXPECT_EQ(asking.errors(), "vlm_bus: no camera on bus " + _bus.string() +
                                 ": nobody subscribes velmar_repeater_udp\n"
                                 "vlm_bus: no streaming process on bus " +
                                 _bus.string() + ": nobody subscribes lcm_channel_to_rtsp\n");
}

TEST_F(VlmBusTest, ARequestIsNotMissedByASubscriberThatIsThere) {
  listener(kRequestChannel);
  listener(kRtspRequestChannel);
  Process& asking = start({BUS_PEER, "ask"});
  EXPECT_EQ(asking.wait(), 0);
  EXPECT_EQ(asking.errors(), "");
}

TEST_F(VlmBusTest, ARequestThatOnlyADeadSubscriberWouldGetIsTold) {
  listener(kRequestChannel).kill_and_wait();
  listener(kRtspRequestChannel);
  Process& asking = start({BUS_PEER, "ask"});
  EXPECT_EQ(asking.wait(), 0);
  EXPECT_EQ(asking.errors(), "vlm_bus: no camera on bus " + _bus.string() +
                                 ": nobody subscribes velmar_repeater_udp\n");
}

TEST_F(VlmBusTest, ChannelsWithoutEndTakeNoDescriptorsWithoutEnd) {
  const auto descriptors = [] {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
  };
  constexpr int kChannels = 3 * static_cast<int>(Publisher::kMostChannels);
  std::vector<Inbox*> inboxes;
  for (int i = 0; i < kChannels; ++i) inboxes.push_back(&subscribe(_channel + std::to_string(i)));
  Publisher publisher;
  const auto before = descriptors();
  for (std::uint32_t round = 0; round < 2; ++round) {
    for (int i = 0; i < kChannels; ++i) {
      const userlcm_packet_t packet = numbered_packet("test", round);
      ASSERT_EQ(
          publisher.publish(_channel + std::to_string(i), &packet, kHeaderSize + length_of(round)),
          std::size_t{1});
    }
  }
  EXPECT_LE(descriptors() - before, static_cast<long>(Publisher::kMostChannels));
  for (Inbox* inbox : inboxes) {
    EXPECT_EQ(inbox->next_line(), "test 0");
    EXPECT_EQ(inbox->next_line(), "test 1");
  }
}

TEST_F(VlmBusTest, PublishingToNobodySucceeds) {
  EXPECT_EQ(publish(_channel, "test", 0), 0);
  EXPECT_EQ(publish(_channel, "test", 1), 0);
}

TEST_F(VlmBusTest, ChannelsMayHaveAnyNameOfUpTo63BytesWithoutSlash) {
  for (const std::string& channel :
       {std::string(63, 'c'), std::string("."), std::string(".."), std::string(" a\n%s\xff*.")}) {
    Inbox& inbox = subscribe(channel);
    ASSERT_EQ(publish(channel, "test", 1), 0);
    EXPECT_EQ(inbox.next_line(), "test 1");
  }
}

TEST_F(VlmBusTest, ChannelsWhoseNamesBeginAlikeAreApart) {
  Inbox& plain = subscribe(_channel);
  Inbox& longer = subscribe(_channel + ".1");
  Inbox& longest = subscribe(_channel + ".1.2");
  ASSERT_EQ(publish(_channel + ".1.2", "test", 3), 0);
  ASSERT_EQ(publish(_channel + ".1", "test", 2), 0);
  ASSERT_EQ(publish(_channel, "test", 1), 0);
  EXPECT_EQ(plain.next_line(), "test 1");
  EXPECT_EQ(longer.next_line(), "test 2");
  EXPECT_EQ(longest.next_line(), "test 3");
}

TEST_F(VlmBusTest, EverySubscriberOfTheChannelGetsACopyInOrder) {
  Process& first = listener(_channel);
  Process& second = listener(_channel);
  Inbox& third = subscribe(_channel);
  Process& other = listener(_channel + "-other");
  for (std::uint32_t number = 0; number < 500; ++number) {
    const std::string line = "test " + std::to_string(number);
    ASSERT_EQ(publish(_channel, "test", number), 0);
    ASSERT_EQ(first.line(), line);
    ASSERT_EQ(second.line(), line);
    ASSERT_EQ(third.next_line(), line);
  }
  ASSERT_EQ(publish(_channel + "-other", "test", 1000), 0);
  EXPECT_EQ(other.line(), "test 1000");
}

TEST_F(VlmBusTest, ASubscriberGetsThePublishThatBeginsOnceItIsBound) {
  for (std::uint32_t number = 0; number < 50; ++number) {
    ASSERT_EQ(publish(_channel, "test", number), 0);
    Process& latest = listener(_channel);
    ASSERT_EQ(publish(_channel, "test", 1000 + number), 0);
    EXPECT_EQ(latest.line(), "test " + std::to_string(1000 + number));
    latest.kill_and_wait();
  }
}

TEST_F(VlmBusTest, ManyPublishersTearNothingAndKeepTheirOrders) {
  constexpr std::uint32_t kCount = 3000;
  Process& reader = listener(_channel);
  CaptureStderr();  // where the reader gets no processor time, copies are dropped
  std::vector<Process*> processes;
  std::vector<std::thread> threads;
  std::atomic<int> threads_at_work{3};
  for (const char* name : {"p1", "p2", "p3"}) {
    processes.push_back(&start({BUS_PEER, "flood", _channel, name, std::to_string(kCount)}));
  }
  for (const char* name : {"t1", "t2", "t3"}) {
    threads.emplace_back([this, name, &threads_at_work] {
      for (std::uint32_t number = 0; number < kCount; ++number) publish(_channel, name, number);
      --threads_at_work;
    });
  }
  const auto all_written = [&] {
    return threads_at_work == 0 && std::all_of(processes.begin(), processes.end(),
                                               [](auto* process) { return process->has_ended(); });
  };
  std::vector<std::string> lines{""};
  for (bool written = false, silent = false; lines.back() != "end 0" && !silent;) {
    written = written || all_written();
    if (written) publish(_channel, "end", 0);
    const auto line = reader.line(written ? kPlentyMs : 10);
    if (line) lines.push_back(*line);
    silent = written && !line;
  }
  for (std::thread& thread : threads) thread.join();
  GetCapturedStderr();

  ASSERT_EQ(lines.back(), "end 0");
  EXPECT_GE(lines.size(), queue_length());
  ASSERT_EQ(std::count(lines.begin(), lines.end(), "torn"), 0);
  std::map<std::string, long> next;
  for (std::size_t i = 1; i + 1 < lines.size(); ++i) {
    const std::string sender = lines[i].substr(0, 2);
    const long number = std::stol(lines[i].substr(3));
    ASSERT_GE(number, next[sender]) << sender;
    next[sender] = number + 1;
  }
}

TEST_F(VlmBusTest, ADeadSubscriberIsRemovedAndItsSuccessorServed) {
  Process& first = listener(_channel);
  publish_in_step(0, 3, first);
  EXPECT_EQ(first.kill_and_wait(), 128 + SIGKILL);
  EXPECT_EQ(sockets(_channel + '.').size(), 1U);
  EXPECT_EQ(publish(_channel, "test", 3), 0);
  EXPECT_EQ(sockets(_channel + '.').size(), 0U);

  Process& second = listener(_channel);
  publish_in_step(4, 7, second);
}

TEST_F(VlmBusTest, ASubscriberThatDiedBeforeTheFirstPublishIsRemoved) {
  listener(_channel).kill_and_wait();
  Inbox& live = subscribe(_channel);
  EXPECT_EQ(sockets(_channel + '.').size(), 2U);
  EXPECT_EQ(publish(_channel, "test", 0), 0);
  EXPECT_EQ(sockets(_channel + '.').size(), 1U);
  EXPECT_EQ(live.next_line(), "test 0");
}

TEST_F(VlmBusTest, ASubscriberThatTookOverTheNameOfADeadOneIsServed) {
  Process& first = listener(_channel);
  publish_in_step(0, 1, first);
  const std::filesystem::path name = _bus / socket_of(first);
  first.kill_and_wait();

  std::filesystem::remove(name);
  const UniqueFd successor(socket(AF_UNIX, SOCK_DGRAM, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(name.string().size(), sizeof address.sun_path);
  std::memcpy(address.sun_path, name.c_str(), name.string().size());
  ASSERT_EQ(bind(successor.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

  ASSERT_EQ(publish(_channel, "test", 1), 0);
  userlcm_packet_t packet{};
  const ssize_t size = recv(successor.get(), &packet, sizeof packet, MSG_DONTWAIT);
  ASSERT_GT(size, 0);
  EXPECT_EQ(description_of(packet, static_cast<unsigned int>(size)), "test 1");
}

TEST_F(VlmBusTest, AStoppedSubscriberIsReportedOnceAndCostsTheOthersNothing) {
  Process& stopped = listener(_channel);
  Process& live = listener(_channel);
  const std::string name = socket_of(stopped);
  const std::uint32_t many = more_than_a_queue() + 200;

  stopped.stop();
  CaptureStderr();
  const auto start = std::chrono::steady_clock::now();
  publish_in_step(0, many, live);
  const auto taken = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(GetCapturedStderr(), stall_line(name, 1));
  EXPECT_LT(taken, std::chrono::seconds(5));  // waiting each time it would take 10 s

  // What its queue held is whole and in order, and with room in the queue it is served again.
  stopped.resume();
  ASSERT_EQ(stopped.line(), "test 0");
  CaptureStderr();
  publish_in_step(many, many + 1, live);
  const std::string recovery = GetCapturedStderr();
  std::uint32_t held = 1;
  auto line = stopped.line();
  while (line == "test " + std::to_string(held)) {
    ++held;
    line = stopped.line();
  }
  EXPECT_EQ(line, "test " + std::to_string(many));
  EXPECT_EQ(recovery, recovery_line(name, many - held));

  // The next time it stalls, the line counts what it has lost before.
  stopped.stop();
  CaptureStderr();
  publish_in_step(many + 1, 2 * many + 1, live);
  EXPECT_EQ(GetCapturedStderr(), stall_line(name, many - held + 1));
}

TEST_F(VlmBusTest, ASubscriberThatIsGivenUpWhileItIsStalledLeavesItsTotal) {
  const std::uint32_t many = more_than_a_queue();
  // Other tests leave stalled subscribers, too.
  const auto expect_total = [&](const std::string& name) {
    const std::string told = GetCapturedStderr();
    const auto has_line = [&](std::uint32_t drops) {
      return told.find("vlm_bus: " + name + " took no packets to the end; dropped in all: " +
                       std::to_string(drops) + "\n") != std::string::npos;
    };
    const std::uint32_t held = queue_length();  // or one more
    EXPECT_TRUE(has_line(many - held) || has_line(many - held - 1)) << told;
  };
  // Its process dies; its channel is forgotten, because of all the others.
  Process& dying = listener(_channel);
  Process& forgotten = listener(_channel + "_forgotten");
  const std::string dying_name = socket_of(dying);
  const std::string forgotten_name = only_socket(_channel + "_forgotten.");
  dying.stop();
  forgotten.stop();
  CaptureStderr();
  for (std::uint32_t number = 0; number < many; ++number) {
    publish(_channel, "test", number);
    publish(_channel + "_forgotten", "test", number);
  }
  EXPECT_EQ(GetCapturedStderr(), stall_line(dying_name, 1) + stall_line(forgotten_name, 1));
  CaptureStderr();
  dying.kill_and_wait();
  publish(_channel, "test", 0);
  expect_total(dying_name);
  CaptureStderr();
  for (std::size_t i = 0; i < vlm::bus::Publisher::kMostChannels; ++i) {
    publish("other_" + std::to_string(i), "test", 0);
  }
  expect_total(forgotten_name);
}

TEST_F(VlmBusTest, AFullSubscriberIsWaitedForFor50Ms) {
  Inbox& full = subscribe(_channel);
  full.block();
  CaptureStderr();
  t_longest_poll = -1;
  const auto start = std::chrono::steady_clock::now();
  for (std::uint32_t number = 0; number < more_than_a_queue(); ++number) {
    publish(_channel, "test", number);
  }
  const auto taken = std::chrono::steady_clock::now() - start;
  GetCapturedStderr();
  full.unblock();
  EXPECT_GT(t_longest_poll, 0);
  EXPECT_LE(t_longest_poll, 50);
  EXPECT_GE(taken, std::chrono::milliseconds(50));
}

TEST_F(VlmBusTest, SlowSubscribersAreWaitedForTogether) {
  std::vector<Inbox*> slow(60);
  for (Inbox*& inbox : slow) inbox = &subscribe(_channel);
  for (Inbox* inbox : slow) inbox->block();
  // Once they have this packet they take no other: one that came later would let them go on meanwhile.
  publish(_channel, "test", 0);
  for (Inbox* inbox : slow) EXPECT_EQ(inbox->next_line(), "test 0");

  const std::uint32_t many = more_than_a_queue();
  CaptureStderr();
  const auto start = std::chrono::steady_clock::now();
  for (std::uint32_t number = 1; number < many; ++number) publish(_channel, "test", number);
  const auto taken = std::chrono::steady_clock::now() - start;
  const std::string lines = GetCapturedStderr();

  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 60);
  EXPECT_LT(taken, std::chrono::seconds(2));  // one after the other they would take 3 s
  for (Inbox* inbox : slow) {
    inbox->unblock();
    EXPECT_EQ(inbox->next_line(), "test 1");
  }
}

TEST_F(VlmBusTest, SignalsDoNotCutTheWaitForRoomShort) {
  Process& stopped = listener(_channel);
  stopped.stop();
  struct sigaction interrupting {};
  interrupting.sa_handler = [](int) {};
  sigaction(SIGALRM, &interrupting, nullptr);
  const itimerval every_2ms{{0, 2000}, {0, 2000}};
  setitimer(ITIMER_REAL, &every_2ms, nullptr);

  CaptureStderr();
  const auto start = std::chrono::steady_clock::now();
  for (std::uint32_t number = 0; number < more_than_a_queue(); ++number) {
    EXPECT_EQ(publish(_channel, "test", number), 0);
  }
  const auto taken = std::chrono::steady_clock::now() - start;
  const itimerval never{};
  setitimer(ITIMER_REAL, &never, nullptr);
  EXPECT_EQ(GetCapturedStderr(), stall_line(socket_of(stopped), 1));
  EXPECT_GE(taken, std::chrono::milliseconds(50));
}

TEST_F(VlmBusTest, SignalsDoNotEndASubscription) {
  Process& child = listener(_channel);
  for (std::uint32_t number = 0; number < 50; ++number) {
    child.signal(SIGUSR1);
    publish_in_step(number, number + 1, child);
  }
}

TEST_F(VlmBusTest, DatagramsThatAreNoPacketsAreIgnored) {
  Inbox& inbox = subscribe(_channel);
  std::string error;
  const auto directory = BusDirectory::open(error);
  ASSERT_TRUE(directory) << error;
  const UniqueFd stranger = directory->connect(only_socket(_channel + '.'));
  ASSERT_TRUE(stranger);
  const std::vector<char> bytes(1089);
  for (const std::size_t size : {std::size_t{0}, std::size_t{63}, std::size_t{1089}}) {
    EXPECT_EQ(send(stranger.get(), bytes.data(), size, 0), static_cast<ssize_t>(size));
  }
  ASSERT_EQ(publish(_channel, "test", 1), 0);
  EXPECT_EQ(inbox.next_line(), "test 1");
}

TEST_F(VlmBusTest, AnExitingProcessTakesItsSocketsAlong) {
  Process& child = listener(_channel);
  ASSERT_EQ(publish(_channel, "exit", 0), 0);
  EXPECT_EQ(child.wait(), 0);
  EXPECT_TRUE(sockets("").empty());
}

TEST_F(VlmBusTest, SocketsAreOpenToTheirOwnerOnly) {
  const mode_t before = umask(0);
  subscribe(_channel);
  umask(before);
  const auto status = std::filesystem::status(_bus / only_socket(_channel + '.'));
  EXPECT_EQ(status.permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(VlmBusTest, FilesThatAreNoSocketsAreLeftAlone) {
  Inbox& inbox = subscribe(_channel);
  const auto file = _bus / (_channel + ".1.2");
  make_file(file);
  ASSERT_EQ(publish(_channel, "test", 1), 0);
  EXPECT_EQ(inbox.next_line(), "test 1");
  EXPECT_TRUE(std::filesystem::is_regular_file(file));
}

TEST_F(VlmBusTest, TheDirectoryIsLookedAtOnlyWhenItHasChanged) {
  Process& first = listener(_channel);
  publish_in_step(0, 2, first);  // the move to this test's directory is a change itself
  int before = g_looks;
  publish_in_step(2, 200, first);
  EXPECT_EQ(g_looks, before);

  Process& second = listener(_channel);
  before = g_looks;
  publish_in_step(200, 201, first);
  EXPECT_EQ(second.line(), "test 200");
  EXPECT_EQ(g_looks, before + 1);
}

TEST_F(VlmBusTest, WithoutInotifyTheDirectoryIsLookedAtEachTime) {
  g_has_inotify = false;
  Publisher publisher;
  const auto publish_blind = [&](std::uint32_t number) {
    const userlcm_packet_t packet = numbered_packet("blind", number);
    return publisher.publish(_channel, &packet, kHeaderSize + length_of(number));
  };
  Process& first = listener(_channel);
  ASSERT_TRUE(publish_blind(0));
  EXPECT_EQ(first.line(), "blind 0");
  Process& second = listener(_channel);
  ASSERT_TRUE(publish_blind(1));
  EXPECT_EQ(first.line(), "blind 1");
  EXPECT_EQ(second.line(), "blind 1");
  first.kill_and_wait();
  ASSERT_TRUE(publish_blind(2));
  EXPECT_EQ(second.line(), "blind 2");
  EXPECT_EQ(sockets(_channel + '.').size(), 1U);
  g_has_inotify = true;
}

TEST_F(VlmBusTest, ADirectoryThatIsRemovedAndMadeAgainIsServed) {
  Process& first = listener(_channel);
  publish_in_step(0, 3, first);
  const std::string name = socket_of(first);
  std::filesystem::remove_all(_bus);
  EXPECT_EQ(publish(_channel, "test", 3), 0);

  Process& second = listener(_channel);
  publish_in_step(4, 7, second);
  // The one of the removed directory announces itself again.
  const std::string first_again = _channel + '.' + std::to_string(first.pid()) + '.';
  ASSERT_TRUE(comes_true([&] { return !sockets(first_again).empty(); }));
  publish_in_step(7, 10, second);
  EXPECT_EQ(first.line(), "test 7");
}

TEST_F(VlmBusTest, AnEmptyDirectoryThatIsReplacedIsNotMissed) {
  // The first publish moves on to this test's directory, which is a change for the second.
  ASSERT_EQ(publish(_channel, "test", 0), 0);
  ASSERT_EQ(publish(_channel, "test", 0), 0);
  const UniqueFd held(open(_bus.c_str(), O_RDONLY));  // keeps its removal quiet
  std::filesystem::remove(_bus);
  Process& child = listener(_channel);
  publish_in_step(1, 3, child);
}

TEST_F(VlmBusTest, ARemovedSocketIsAnnouncedAgain) {
  Inbox& inbox = subscribe(_channel);
  std::filesystem::remove(_bus / only_socket(_channel + '.'));
  ASSERT_TRUE(comes_true([&] { return !sockets(_channel + '.').empty(); }));
  ASSERT_EQ(publish(_channel, "test", 1), 0);
  EXPECT_EQ(inbox.next_line(), "test 1");
}

TEST_F(VlmBusTest, CallbacksMayPublish) {
  Inbox& answers = subscribe(_channel + "-answers");
  Receive_msg_t echo = subscription_of(
      _channel,
      [](void* buf, unsigned int size, char* channel, void*) {
        userlcm_packet_t packet;
        std::memcpy(&packet, buf, sizeof packet);
        send_msg_to_lcm(&packet, size - kHeaderSize, (std::string(channel) + "-answers").c_str());
      },
      nullptr);
  static Receive_msg_t subscription;
  subscription = echo;
  std::thread([] { register_lcm_message(&subscription); }).detach();
  ASSERT_TRUE(bus_has_subscriber(_channel.c_str(), kPlentyMs));
  ASSERT_EQ(publish(_channel, "test", 1), 0);
  EXPECT_EQ(answers.next_line(), "test 1");
}

TEST_F(VlmBusTest, ALiveSubscriberIsSeenWithoutNoticing) {
  EXPECT_FALSE(bus_has_subscriber(_channel.c_str()));
  Process& child = listener(_channel);
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(bus_has_subscriber(_channel.c_str()));
  publish_in_step(0, 1, child);  // nothing came before
  child.kill_and_wait();
  EXPECT_EQ(sockets(_channel + '.').size(), 1U);
  EXPECT_FALSE(bus_has_subscriber(_channel.c_str()));
}

TEST_F(VlmBusTest, WaitingForASubscriberIsNotBusy) {
  const int before = g_looks;
  EXPECT_FALSE(bus_has_subscriber(_channel.c_str(), 300));
  EXPECT_GE(g_looks, before + 2);
  EXPECT_LE(g_looks, before + 3);
}

TEST_F(VlmBusTest, AFullSubscriberIsSeenAsLive) {
  Process& child = listener(_channel);
  child.stop();
  CaptureStderr();
  for (std::uint32_t i = 0; i < more_than_a_queue(); ++i) publish(_channel, "test", i);
  GetCapturedStderr();
  EXPECT_TRUE(bus_has_subscriber(_channel.c_str()));
}

/// Whether a thread of this process waits.
bool waits(pid_t thread) {
  std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string text;
  std::getline(stat, text);
  return text.substr(text.rfind(')') + 1, 2) == " S";
}

// As at the end of a program: its output has ended, and the sockets are still to be removed.
TEST_F(VlmBusTest, KeepsNobodyWaitingWhileItsComplaintFindsTheOutputTaken) {
  std::ofstream(_root / "no_directory");
  use_bus(_root / "no_directory");
  const Receive_msg_t client{};
  CaptureStderr();
  std::atomic<pid_t> complaining{0};
  flockfile(stdout);
  std::thread complainer([&] {
    complaining = static_cast<pid_t>(syscall(SYS_gettid));
    EXPECT_FALSE(Subscription(client).announce());
  });
  while (complaining == 0 || !waits(complaining)) std::this_thread::yield();
  auto removal = std::async(std::launch::async, [&] { Subscription never_announced(client); });
  const auto outcome = removal.wait_for(std::chrono::milliseconds(kPlentyMs));
  funlockfile(stdout);
  complainer.join();
  EXPECT_EQ(outcome, std::future_status::ready);
  EXPECT_EQ(GetCapturedStderr(),
            "vlm_bus: cannot use the bus directory " + _bus.string() + ": Not a directory\n");
}

}  // namespace
