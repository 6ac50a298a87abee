// Where the bus directory is, and which directories are refused.
#include "bus_directory.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bus_fixture.h"
#include "vlm_bus.h"

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

namespace {

using namespace vlm::bus;

std::function<void()> g_on_bind;

}  // namespace

// Sockets are bound through this, so that a test sees the directory as it is between the making of
// a socket's file and the moment from which packets reach it.
extern "C" int bind(int fd, const sockaddr* address, socklen_t size) noexcept {
  const auto result = static_cast<int>(syscall(SYS_bind, fd, address, size));
  if (g_on_bind) g_on_bind();
  return result;
}

namespace {

class BusDirectoryTest : public BusFixture {
 protected:
  ~BusDirectoryTest() override {
    for (const char* name : {"VLM_BUS", "VLM_BUS_DIR", "XDG_RUNTIME_DIR"}) unsetenv(name);
  }

  /// Whoever publishes, subscribes or asks is refused for `reason`.
  void expect_refused(const std::string& path, const std::string& reason) {
    const std::string line = "vlm_bus: cannot use the bus directory " + path + ": " + reason + "\n";
    CaptureStderr();
    EXPECT_EQ(publish(_channel, "test", 0), -1);
    EXPECT_EQ(publish(_channel, "test", 1), -1);  // which is said once
    EXPECT_EQ(GetCapturedStderr(), line);

    Receive_msg_t subscription = subscription_of(
        _channel, [](void*, unsigned int, char*, void*) {}, nullptr);
    CaptureStderr();
    EXPECT_EQ(register_lcm_message(&subscription), nullptr);
    EXPECT_EQ(GetCapturedStderr(), line);

    CaptureStderr();
    EXPECT_FALSE(bus_has_subscriber(_channel.c_str(), kPlentyMs));
    EXPECT_EQ(GetCapturedStderr(), line);
  }

  void expect_usable() {
    EXPECT_EQ(publish(_channel, "test", 0), 0);
    Inbox& inbox = subscribe(_channel);
    EXPECT_EQ(publish(_channel, "test", 1), 0);
    EXPECT_EQ(inbox.next_line(), "test 1");
  }

  static mode_t mode_of(const std::filesystem::path& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 ? status.st_mode : 0;
  }

  static BusDirectory opened() {
    std::string error;
    auto directory = BusDirectory::open(error);
    if (!directory) throw std::runtime_error(error);
    return std::move(*directory);
  }

  static UniqueFd unbound_socket() { return UniqueFd(::socket(AF_UNIX, SOCK_DGRAM, 0)); }

  void make_bus(mode_t mode) {
    mkdir(_bus.c_str(), 0700);
    chmod(_bus.c_str(), mode);
  }
};

TEST_F(BusDirectoryTest, IsCreatedForItsOwnerOnly) {
  const mode_t before = umask(0);
  expect_usable();
  umask(before);
  EXPECT_EQ(mode_of(_bus), S_IFDIR | 0700U);
}

TEST_F(BusDirectoryTest, IsNotCreatedWhereItsParentIsMissing) {
  use_bus(_root / "missing" / "bus");
  expect_refused(_bus, "No such file or directory");
  EXPECT_EQ(mode_of(_root / "missing"), 0U);
}

TEST_F(BusDirectoryTest, MayBeReadByOthers) {
  make_bus(0755);
  expect_usable();
}

TEST_F(BusDirectoryTest, IsRefusedWhenItsGroupMayWrite) {
  make_bus(0770);
  expect_refused(_bus, "others may write to it");
}

TEST_F(BusDirectoryTest, IsRefusedWhenAnybodyMayWrite) {
  make_bus(01707);
  expect_refused(_bus, "others may write to it");
}

TEST_F(BusDirectoryTest, IsRefusedFromTheMomentOthersMayWrite) {
  Inbox& inbox = subscribe(_channel);
  for (int i = 0; i < 2; ++i) {  // the first publish moves on to this test's directory
    ASSERT_EQ(publish(_channel, "test", 0), 0);
    EXPECT_EQ(inbox.next_line(), "test 0");
  }
  make_bus(0777);
  CaptureStderr();
  EXPECT_EQ(publish(_channel, "test", 1), -1);
  make_bus(0700);
  EXPECT_EQ(publish(_channel, "test", 2), 0);
  EXPECT_EQ(inbox.next_line(), "test 2");
  EXPECT_EQ(GetCapturedStderr(), "vlm_bus: cannot use the bus directory " + _bus.string() +
                                     ": others may write to it\n");
}

TEST_F(BusDirectoryTest, IsRefusedWhenAnotherUserOwnsIt) {
  constexpr uid_t kNobody = 65534;
  if (geteuid() == 0) {
    make_bus(0700);
    ASSERT_EQ(chown(_bus.c_str(), kNobody, kNobody), 0);
  } else {
    use_bus("/");
  }
  expect_refused(_bus, "it belongs to another user");
}

TEST_F(BusDirectoryTest, IsRefusedWhenItIsAFile) {
  make_file(_bus);
  expect_refused(_bus, "Not a directory");
}

TEST_F(BusDirectoryTest, IsRefusedWhenItIsASymbolicLink) {
  const auto target = _root / "target";
  ASSERT_EQ(mkdir(target.c_str(), 0700), 0);
  std::filesystem::create_directory_symlink(target, _bus);
  expect_refused(_bus, "Not a directory");
  setenv("VLM_BUS_DIR", (_bus.string() + "//").c_str(), 1);
  const std::string other_channel = fresh_channel();
  CaptureStderr();
  EXPECT_EQ(publish(other_channel, "test", 0), -1);
  EXPECT_FALSE(bus_has_subscriber(other_channel.c_str()));
  EXPECT_EQ(GetCapturedStderr(),
            "vlm_bus: cannot use the bus directory " + _bus.string() + ": Not a directory\n");
  EXPECT_TRUE(std::filesystem::is_empty(target));
}

TEST_F(BusDirectoryTest, IsRefusedWhenItIsADanglingSymbolicLink) {
  std::filesystem::create_directory_symlink(_root / "missing", _bus);
  expect_refused(_bus, "Not a directory");
  EXPECT_EQ(mode_of(_root / "missing"), 0U);
}

TEST_F(BusDirectoryTest, IsWhereAnAddressSaysBeforeAllElse) {
  setenv("VLM_BUS", ("unix:" + _bus.string() + "//").c_str(), 1);
  setenv("VLM_BUS_DIR", (_root / "other").c_str(), 1);
  expect_usable();
  EXPECT_EQ(mode_of(_root / "other"), 0U);
}

TEST_F(BusDirectoryTest, IsNotWhatIsNoAddress) {
  setenv("VLM_BUS", "mqt://host/site/camera", 1);
  expect_refused("mqt://host/site/camera", "No such file or directory");
  setenv("VLM_BUS", "unix:", 1);
  expect_refused("", "No such file or directory");
  EXPECT_EQ(mode_of(_bus), 0U);
}

TEST_F(BusDirectoryTest, MayHaveALongPath) {
  std::filesystem::path path = _root;
  for (int i = 0; i < 5; ++i) {
    path /= std::string(200, static_cast<char>('a' + i));
    std::filesystem::create_directory(path);
  }
  use_bus(path / "bus");
  expect_usable();
  Process& child = listener(_channel + "-child");
  EXPECT_EQ(publish(_channel + "-child", "test", 2), 0);
  EXPECT_EQ(child.line(), "test 2");
}

TEST_F(BusDirectoryTest, ASocketShowsItsNameOnlyWhenItCanBeReached) {
  const BusDirectory directory = opened();
  g_on_bind = [&] { EXPECT_TRUE(directory.sockets_of(_channel).empty()); };
  const UniqueFd socket = unbound_socket();
  const std::string name = directory.bind(socket, _channel);
  g_on_bind = nullptr;
  EXPECT_EQ(directory.sockets_of(_channel), std::vector<std::string>{name});
  EXPECT_TRUE(directory.connect(name));
  EXPECT_EQ(sockets(""), std::vector<std::string>{name});  // its hidden name has gone
}

TEST_F(BusDirectoryTest, NamesThatAreInUseArePassedOver) {
  const BusDirectory directory = opened();
  const std::string beginning = _channel + '.' + std::to_string(getpid()) + '.';
  const UniqueFd first = unbound_socket();
  const std::string first_name = directory.bind(first, _channel);
  ASSERT_EQ(first_name.rfind(beginning, 0), 0U);
  const int serial = std::stoi(first_name.substr(beginning.size()));

  for (int used = serial + 1; used <= serial + 10; ++used) {
    make_file(_bus / (beginning + std::to_string(used)));
    if (used > serial + 5) continue;
    make_file(_bus / ('.' + std::to_string(getpid()) + '.' + std::to_string(used)));
  }
  const UniqueFd second = unbound_socket();
  EXPECT_EQ(directory.bind(second, _channel), beginning + std::to_string(serial + 11));
}

TEST_F(BusDirectoryTest, IsInTheRuntimeDirectoryByDefault) {
  setenv("VLM_BUS_DIR", "", 1);
  setenv("XDG_RUNTIME_DIR", _root.c_str(), 1);
  EXPECT_EQ(publish(_channel, "test", 0), 0);
  EXPECT_EQ(mode_of(_root / "vlm_bus"), S_IFDIR | 0700U);
  unsetenv("VLM_BUS_DIR");
  setenv("XDG_RUNTIME_DIR", (_root / "missing").c_str(), 1);
  expect_refused(_root / "missing/vlm_bus", "No such file or directory");
}

TEST_F(BusDirectoryTest, IsInTheTemporaryDirectoryWhereThereIsNoRuntimeDirectory) {
  unsetenv("VLM_BUS_DIR");
  setenv("XDG_RUNTIME_DIR", "", 1);
  _bus = "/tmp/vlm_bus-" + std::to_string(geteuid());
  expect_usable();
}

}  // namespace
