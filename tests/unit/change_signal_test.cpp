// Who is signalled when a descriptor has something to read, and who has to look.
#include "change_signal.h"

#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "temporary_directory.h"
#include "unique_fd.h"

namespace {

using vlm::bus::ChangeSignal;
using vlm::bus::UniqueFd;

class ChangeSignalTest : public testing::Test {
 protected:
  ChangeSignalTest() : _inotify(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    inotify_add_watch(_inotify.get(), (_dir / "").c_str(), IN_CREATE);
  }

  void come() { _signal.listen_to(_inotify.get()); }
  void come_twice() {
    come();
    come();
  }
  void change_directory() const { std::ofstream(_dir / std::to_string(++_files)); }
  bool is_silent() const { return _signal.is_silent(); }

 private:
  const TemporaryDirectory _dir;
  const UniqueFd _inotify;
  mutable int _files = 0;
  ChangeSignal _signal;
};

TEST_F(ChangeSignalTest, IsSilentForAThreadThatComesTwice) {
  EXPECT_FALSE(is_silent());
  come();
  EXPECT_FALSE(is_silent());
  come();
  EXPECT_TRUE(is_silent());
}

TEST_F(ChangeSignalTest, IsNotSilentFromTheCallOnThatMadeAChange) {
  come_twice();
  for (int i = 0; i < 1000; ++i) {
    change_directory();
    ASSERT_FALSE(is_silent()) << i;
    come();
    ASSERT_TRUE(is_silent()) << i;
  }
}

TEST_F(ChangeSignalTest, HearsAChangeThatAnotherThreadMade) {
  come_twice();
  for (int i = 0; i < 100; ++i) {
    std::thread([this] { change_directory(); }).join();
    ASSERT_FALSE(is_silent()) << i;
    come();
  }
}

TEST_F(ChangeSignalTest, HearsAChangeThatAnotherProcessMade) {
  come_twice();
  for (int i = 0; i < 100; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      change_directory();
      _exit(0);
    }
    waitpid(child, nullptr, 0);
    ASSERT_FALSE(is_silent()) << i;
    change_directory();  // counts the file that the child has made
    come();
  }
}

TEST_F(ChangeSignalTest, IsSilentForOneThreadAtATime) {
  come_twice();
  std::thread([this] {
    EXPECT_FALSE(is_silent());
    come();
    EXPECT_FALSE(is_silent());
  }).join();
  EXPECT_TRUE(is_silent()) << "it came once, and has read for both";
  std::thread([this] { come_twice(); }).join();
  EXPECT_FALSE(is_silent());
}

TEST_F(ChangeSignalTest, IsNotSilentInAForkedProcess) {
  come_twice();
  const pid_t child = fork();
  if (child == 0) _exit(is_silent() ? 1 : 0);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST_F(ChangeSignalTest, IsNeverSilentWhereTheSignalIsBlocked) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGURG);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  come_twice();
  EXPECT_FALSE(is_silent());
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

TEST_F(ChangeSignalTest, LeavesTheSignalToAProgramThatHandlesIt) {
  struct sigaction own {};
  struct sigaction before {};
  own.sa_handler = [](int) {};
  sigaction(SIGURG, &own, &before);
  come_twice();
  EXPECT_FALSE(is_silent());
  struct sigaction after {};
  sigaction(SIGURG, &before, &after);
  EXPECT_EQ(after.sa_handler, own.sa_handler);
}

}  // namespace
