#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "camctrl_app.h"
#include "camctrl_contract.h"
#include "transcript.h"
#include "vlm_test.h"

namespace {

constexpr int kServicePort = 9528;

/// The words behind "vlm_test udp", as main gets them.
class Arguments {
 public:
  explicit Arguments(const Words& words) : _words{"vlm_test", "udp"} {
    _words.insert(_words.end(), words.begin(), words.end());
    for (std::string& word : _words) _argv.push_back(word.data());
    _argv.push_back(nullptr);
  }
  int argc() const { return static_cast<int>(_words.size()); }
  char** argv() { return _argv.data(); }

 private:
  Words _words;
  std::vector<char*> _argv;
};

std::string text_of(const Words& words) {
  std::string text = "udp";
  for (const auto& word : words) text += " " + word;
  return text;
}

Bytes request_of(const Words& words) {
  Arguments arguments(words);
  camctrl_msg_t request;
  if (!build_test_udp_request(arguments.argc(), arguments.argv(), request)) return {};
  const u8* bytes = reinterpret_cast<const u8*>(&request);
  return {bytes, bytes + request.header.len + 8};
}

// --- Requests ---

TEST(UdpClientRequest, IsMadeOfEveryWord) {
  const std::string printed = transcript_of([] {
    for (const ClientRequest& row : client_requests()) {
      EXPECT_EQ(request_of(row.words), camctrl_request(row.option, row.data)) << text_of(row.words);
    }
  });
  EXPECT_EQ(printed, "");
}

TEST(UdpClientRequest, IsTheDocumentedPacket) {
  EXPECT_EQ(request_of({"getcammode"}),
            (Bytes{0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x10, 0x19, 0x5C, 0xE5}));
}

TEST(UdpClientRequest, CutsNumbersToTheWidthOfTheirFields) {
  EXPECT_EQ(request_of({"setmanwb", "300"}), camctrl_request(37, {300 - 256}));
  EXPECT_EQ(request_of({"setshutter", "65537", "-1"}), camctrl_request(16, {0, 1, 0xFF, 0xFF}));
  EXPECT_EQ(request_of({"setvideo", "65536", "70000", "256"}),
            camctrl_request(8, {0, 0, 0x11, 0x70, 0, 0, 0, 0, 0}));
  EXPECT_EQ(request_of({"setiso", "3000000000"}), camctrl_request(17, {0xB2, 0xD0, 0x5E, 0x00}));
  EXPECT_EQ(request_of({"setiso", "4294967297"}), camctrl_request(17, {0, 0, 0, 1}));
  EXPECT_EQ(request_of({"setiso", "-1"}), camctrl_request(17, {0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(UdpClientRequest, ReadsTextThatIsNoNumberAsZero) {
  EXPECT_EQ(request_of({"setiso", "fast"}), camctrl_request(17, {0, 0, 0, 0}));
  EXPECT_EQ(request_of({"setmanwb", ""}), camctrl_request(37, {0}));
  EXPECT_EQ(request_of({"setmanwb", " 42x"}), camctrl_request(37, {42}));
  EXPECT_EQ(request_of({"formatsd", "slot"}), camctrl_request(25, {0}));
}

TEST(UdpClientRequest, IgnoresWhatFollowsAWordThatIsNotCounted) {
  for (const auto& [word, cmd] :
       std::vector<std::pair<std::string, int>>{{"getwb", 4114},
                                                {"getiq", 4120},
                                                {"resetcamera", 26},
                                                {"rebootcamera", 33},
                                                {"getsystemmode", 41},
                                                {"getencodemode", 4123},
                                                {"getphotoratio", 4124}}) {
    EXPECT_EQ(request_of({word, "more", "words"}), camctrl_request(cmd)) << word;
  }
  EXPECT_EQ(request_of({"formatsd", "2", "more"}), camctrl_request(25, {2}));
}

// --- Time ---

class UdpClientTime : public testing::Test {
 protected:
  void set_zone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  void TearDown() override {
    unsetenv("TZ");
    tzset();
  }
};

TEST_F(UdpClientTime, IsReadInTheZoneOfTheMachine) {
  const Words words{"settime", "2017", "12", "27", "16", "53", "8"};
  set_zone("UTC0");
  Bytes request;
  EXPECT_EQ(transcript_of([&] { request = request_of(words); }),
            "popen res is :0;return value = 0\n"
            "time_str = 1514393588;time = 1514393588\n");
  EXPECT_EQ(request, camctrl_request(24, {0x5A, 0x43, 0xCF, 0xF4}));

  set_zone("XXX-2");
  EXPECT_EQ(transcript_of([&] { request = request_of(words); }),
            "popen res is :0;return value = 0\n"
            "time_str = 1514386388;time = 1514386388\n");
  EXPECT_EQ(request, camctrl_request(24, {0x5A, 0x43, 0xB3, 0xD4}));
}

TEST_F(UdpClientTime, BeyondSigned32BitsIsSentUnsigned) {
  set_zone("UTC0");
  Bytes request;
  EXPECT_EQ(transcript_of([&] {
              request = request_of({"settime", "2100", "1", "1", "0", "0", "0"});
            }),
            "popen res is :0;return value = 0\n"
            "time_str = 4102444800;time = -192522496\n");
  EXPECT_EQ(request, camctrl_request(24, {0xF4, 0x86, 0x57, 0x00}));
}

// --- Faults ---

struct Fault {
  Words words;
  std::string printed;
};

std::string invalid(const std::string& message) { return "Invalid use.\n" + message; }

const std::string kRecord = invalid("Valid use:\"start\" or \"stop\"\n");
const std::string kCamMode = invalid("Valid use:\"video\" or \"v\";\"photo\" or \"p\"\n");
const std::string kVideo = invalid("Valid use:[video_h] [video_v] [video_f]\n");
const std::string kTime = invalid(
    "\"settime [year] [month] [day] [hour] [minute] [second]\"\n"
    "\"such as:2017 12 27 16 53 8\"\n");
const std::string kPhotoFormat = invalid("Valid use:\"jpg\" or \"jpg+dng\"\n");
const std::string kPhotoModeLines =
    "\"setphotomode single|burst [pcs]|\"\n"
    "\"aeb [pcs] [ev_num] [ev_dem]|panohorizon|panohemisphere\"\n";
const std::string kPhotoMode = invalid(kPhotoModeLines);
const std::string kQuality = invalid("Valid use:\"low\";\"medium\";\"high\";\"ultra_high\"\n");
const std::string kAe = invalid("Valid use:\"auto\";\"manual\"\n");
const std::string kEv = invalid("Valid use:[ev_value]\n");
const std::string kShutter = invalid("Valid use:\"[shutter_num] [shutter_dem]\"\n");
const std::string kIso = invalid("Valid use:\"[ISO]\"\n");
const std::string kShutterIso = invalid("Valid use:\"[shutter_num] [shutter_dem] [ISO]\"\n");
const std::string kMeter = invalid("Valid use:\"[center] or [average] or [spot]\"\n");
const std::string kCoords = invalid("Valid use:\"[x_ratio] [y_ratio]\"\n");
const std::string kFlicker = invalid("Valid use:\"[auto] or [60Hz] or [50Hz]\"\n");
const std::string kWb = invalid(
    "\"setwb auto|incandescent|sunrise|sunset|sunny|\"\n"
    "\"cloudy|fluorescent|lock|manual\"\n");
const std::string kManWb = invalid("Valid use:[30,80]\n");
const std::string kIq = invalid("Valid use:\"nature\" or \"saturation\" or \"raw\" or \"night\"\n");
const std::string kSystemMode = invalid("Valid use:\"NTSC\" or \"PAL\"\n");
const std::string kEncode = invalid("Valid use:\"H264\" or \"H265\"\n");
const std::string kRatio = invalid("Valid use:\"3:2\" or \"4:3\" or \"16:9\"\n");
const std::string kFileType = invalid("Valid use:\"MP4\" or \"MOV\"\n");

const std::vector<Fault> kFaults = {
    {{}, invalid(client_usage())},
    {{"fly"}, "Unknow cmd--\"fly\"\n" + client_usage()},
    {{""}, "Unknow cmd--\"\"\n" + client_usage()},
    {{"Shutter"}, "Unknow cmd--\"Shutter\"\n" + client_usage()},
    {{"shut"}, "Unknow cmd--\"shut\"\n" + client_usage()},
    {{"shutter", "now"}, invalid(client_usage())},
    {{"record"}, kRecord},
    {{"record", "start", "now"}, kRecord},
    {{"record", "pause"}, "Invalid use--\"pause\"\n" + client_usage()},
    {{"getcammode", "now"}, invalid(client_usage())},
    {{"setcammode"}, kCamMode},
    {{"setcammode", "video", "photo"}, kCamMode},
    {{"setcammode", "Video"}, kCamMode},
    {{"getvideo", "now"}, invalid(client_usage())},
    {{"setvideo", "1920", "1080"}, kVideo},
    {{"setvideo", "1920", "1080", "30", "1"}, kVideo},
    {{"getver", "now"}, invalid(client_usage())},
    {{"settime", "2017", "12", "27", "16", "53"}, kTime},
    {{"settime", "2017", "12", "27", "16", "53", "8", "9"}, kTime},
    {{"settime", "2017'", "12", "27", "16", "53", "8"}, kTime},
    {{"settime", "2017", "12", "27", "16", "53", "8'; echo 1; '"}, kTime},
    {{"settime", "2017", "13", "27", "16", "53", "8"},
     "popen res is :256;return value = 1\n" + kTime},
    {{"settime", "2017", "12", "27", "16", "53", std::string(200, '0')}, kTime},
    {{"setphotoformat"}, kPhotoFormat},
    {{"setphotoformat", "jpg", "dng"}, kPhotoFormat},
    {{"setphotoformat", "dng"}, kPhotoFormat},
    {{"setphotomode"}, kPhotoMode},
    {{"setphotomode", "aeb", "5", "1", "3", "9"}, kPhotoMode},
    {{"setphotomode", "single", "1"}, kPhotoMode},
    {{"setphotomode", "burst"}, kPhotoMode},
    {{"setphotomode", "burst", "3", "1"}, kPhotoMode},
    {{"setphotomode", "aeb", "5", "1"}, kPhotoMode},
    {{"setphotomode", "panohorizon", "1"}, kPhotoMode},
    {{"setphotomode", "panohemisphere", "1"}, kPhotoMode},
    {{"setphotomode", "timelapse"}, kPhotoModeLines},
    {{"setphotomode", "timelapse", "1", "2", "3"}, kPhotoModeLines},
    {{"setphotoquality"}, kQuality},
    {{"setphotoquality", "low", "high"}, kQuality},
    {{"setphotoquality", "best"}, kQuality},
    {{"setae"}, kAe},
    {{"setae", "auto", "manual"}, kAe},
    {{"setae", "fast"}, kAe},
    {{"setev"}, kEv},
    {{"setev", "1", "3"}, kEv},
    {{"setshutter", "1"}, kShutter},
    {{"setshutter", "1", "50", "2"}, kShutter},
    {{"setiso"}, kIso},
    {{"setiso", "100", "200"}, kIso},
    {{"setshutteriso", "1", "50"}, kShutterIso},
    {{"setshutteriso", "1", "50", "100", "200"}, kShutterIso},
    {{"setmetermode"}, kMeter},
    {{"setmetermode", "spot", "spot"}, kMeter},
    {{"setmetermode", "edge"}, kMeter},
    {{"setspotmetercoords", "1"}, kCoords},
    {{"setspotmetercoords", "1", "2", "3"}, kCoords},
    {{"setflickermode"}, kFlicker},
    {{"setflickermode", "auto", "50Hz"}, kFlicker},
    {{"setflickermode", "60hz"}, kFlicker},
    {{"setwb"}, kWb},
    {{"setwb", "auto", "lock"}, kWb},
    {{"setwb", "moonlight"}, kWb},
    {{"setmanwb"}, kManWb},
    {{"setmanwb", "30", "80"}, kManWb},
    {{"setiq"}, kIq},
    {{"setiq", "raw", "night"}, kIq},
    {{"setiq", "day"}, kIq},
    {{"setsystemmode"}, kSystemMode},
    {{"setsystemmode", "PAL", "NTSC"}, kSystemMode},
    {{"setsystemmode", "pal"}, kSystemMode},
    {{"setencodemode"}, kEncode},
    {{"setencodemode", "H264", "H265"}, kEncode},
    {{"setencodemode", "H266"}, kEncode},
    {{"setphotoratio"}, kRatio},
    {{"setphotoratio", "3:2", "4:3"}, kRatio},
    {{"setphotoratio", "1:1"}, kRatio},
    {{"setfiletype"}, kFileType},
    {{"setfiletype", "MP4", "MOV"}, kFileType},
    {{"setfiletype", "AVI"}, kFileType},
};

/// A child process with its standard output in a pipe, and standard error away.
class Child {
 public:
  explicit Child(const std::function<void()>& body) {
    if (pipe(_pipe) != 0) throw std::runtime_error("pipe");
    _pid = fork();
    if (_pid != 0) {
      close(_pipe[1]);
      return;
    }
    dup2(_pipe[1], STDOUT_FILENO);
    if (std::freopen("/dev/null", "w", stderr) == nullptr) _exit(99);
    body();
    std::exit(0);
  }
  ~Child() { close(_pipe[0]); }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// All that it prints, until it ends.
  std::string output() const {
    std::string text;
    char part[4096];
    for (ssize_t size = 0; (size = read(_pipe[0], part, sizeof part)) > 0;) {
      text.append(part, static_cast<std::size_t>(size));
    }
    return text;
  }

  /// Its exit status, once it has ended; -1 for a signal.
  int status() const {
    int status = 0;
    waitpid(_pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  int _pipe[2];
  pid_t _pid;
};

void limit_descriptors(rlim_t soft) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = soft;
  setrlimit(RLIMIT_NOFILE, &limit);
}

/// Until the process exits, which may need some again.
void allow_no_more_descriptors() {
  std::atexit([] { limit_descriptors(64); });
  limit_descriptors(STDERR_FILENO + 1);
}

std::function<void()> client(const Words& words) {
  return [words] {
    Arguments arguments(words);
    process_test_udp(arguments.argc(), arguments.argv());
  };
}

TEST(UdpClientFault, IsToldAndEndsTheProgramWithStatus1) {
  const PortLock lock(kServicePort);
  const UdpSocket service(kServicePort);
  for (const Fault& row : kFaults) {
    const Child child(client(row.words));
    EXPECT_EQ(child.output(), row.printed) << text_of(row.words);
    EXPECT_EQ(child.status(), 1) << text_of(row.words);
  }
  Bytes datagram;
  EXPECT_FALSE(service.poll(datagram)) << "nothing is sent";
}

TEST(UdpClientFault, IsANullWordToTheBuilder) {
  Arguments arguments({});
  camctrl_msg_t request;
  EXPECT_EQ(
      transcript_of([&] { EXPECT_FALSE(build_test_udp_request(2, arguments.argv(), request)); }),
      invalid(client_usage()));
}

TEST(UdpClientFault, IsASocketThatCannotBeOpened) {
  const Child child([] {
    allow_no_more_descriptors();
    client({"getwb"})();
  });
  EXPECT_EQ(child.output(), "csock < 0\n");
  EXPECT_EQ(child.status(), 1);
}

// --- Replies ---

/// What the client prints for `words` when the service answers with `reply`.
std::string conversation(const Words& words, const Bytes& reply) {
  const PortLock lock(kServicePort);
  const UdpSocket service(kServicePort);
  const Child child(client(words));
  int port = 0;
  service.receive(&port);
  service.send(reply, port);
  const std::string text = child.output();
  EXPECT_EQ(child.status(), 0) << text_of(words);
  return text;
}

std::string received(const Bytes& reply, const std::string& result) {
  return "send msg ok.\nReceived msg:\n" + byte_dump(reply) + "send msg reply:" + result + "\n";
}

TEST(UdpClientReply, IsPrintedByteByByteAndDecoded) {
  EXPECT_EQ(conversation({"getcammode"}, camctrl_reply(4121, 0, {2})),
            "send msg ok.\n"
            "Received msg:\n"
            "0xfe 0x03 0x00 0x00 0x00 0x00 0x10 0x19 \n"
            "0x02 0x12 0x52 \n"
            "send msg reply:VLM success\n"
            "CAMERA_MODE = 2(1--video,2--photo)\n");
}

TEST(UdpClientReply, OfARequestReachesTheServiceWhole) {
  const PortLock lock(kServicePort);
  const UdpSocket service(kServicePort);
  for (const ClientRequest& row :
       {client_requests()[0], client_requests()[9], client_requests()[31]}) {
    const Child child(client(row.words));
    int port = 0;
    EXPECT_EQ(service.receive(&port), camctrl_request(row.option, row.data));
    service.send(camctrl_reply(row.option, 0), port);
    EXPECT_EQ(child.output(), received(camctrl_reply(row.option, 0), "VLM success"));
    EXPECT_EQ(child.status(), 0);
  }
}

TEST(UdpClientReply, IsDecodedByItsCommand) {
  for (const ClientAnswer& row : client_answers()) {
    const Bytes reply = camctrl_reply(row.option, 0, row.data);
    EXPECT_EQ(conversation(row.words, reply), received(reply, "VLM success") + row.decoded)
        << text_of(row.words);
  }
}

TEST(UdpClientReply, IsDecodedByItsOwnCommandNotByTheRequests) {
  const Bytes reply = camctrl_reply(41, 0, {0});
  EXPECT_EQ(conversation({"getwb"}, reply),
            received(reply, "VLM success") + "system mode = 0(0--NTSC,1--PAL)\n");
}

TEST(UdpClientReply, WithAResultIsNotDecoded) {
  for (const ClientAnswer& row : client_answers()) {
    const Bytes reply = camctrl_reply(row.option, 5, row.data);
    EXPECT_EQ(conversation(row.words, reply), received(reply, "VLM is recording"));
  }
  const Bytes high = camctrl_reply(4121, 0x0100, {1});
  EXPECT_EQ(conversation({"getcammode"}, high), received(high, "VLM unknown error number:256"));
}

TEST(UdpClientReply, TooShortForItsDataIsNotDecoded) {
  for (const ClientAnswer& row : client_answers()) {
    if (row.decoded.empty()) continue;
    const std::size_t needed = row.option == 4116 ? 5 : row.data.size();
    Bytes reply = camctrl_reply(row.option, 0, row.data);
    reply.resize(8 + needed - 1);
    EXPECT_EQ(conversation(row.words, reply), received(reply, "VLM success"));
    reply = camctrl_reply(row.option, 0, row.data);
    reply.resize(8 + needed);
    EXPECT_EQ(conversation(row.words, reply), received(reply, "VLM success") + row.decoded);
  }
}

TEST(UdpClientReply, WithoutDataIsNotDecoded) {
  for (const ClientAnswer& row : client_answers()) {
    const Bytes reply = camctrl_reply(row.option, 0);
    EXPECT_EQ(conversation(row.words, reply), received(reply, "VLM success"));
  }
}

TEST(UdpClientReply, OfAnyLengthIsPrinted) {
  for (const std::size_t size : {1U, 2U, 5U, 6U, 7U, 8U, 9U, 263U, 264U}) {
    const Bytes reply(size, 0);
    EXPECT_EQ(conversation({"getwb"}, reply), received(reply, "VLM success")) << size;
  }
  EXPECT_EQ(conversation({"getwb"}, Bytes(2000, 0)), received(Bytes(264, 0), "VLM success"));
  EXPECT_EQ(conversation({"getwb"}, Bytes(2000, 0xFF)),
            received(Bytes(264, 0xFF), "VLM unknown error number:65535"));
}

TEST(UdpClientReply, MayComeFromAnySender) {
  const PortLock lock(kServicePort);
  const UdpSocket service(kServicePort);
  const UdpSocket stranger;
  const Child child(client({"rebootcamera"}));
  int port = 0;
  service.receive(&port);
  const Bytes reply = camctrl_reply(33, 0);
  stranger.send(reply, port);
  EXPECT_EQ(child.output(), received(reply, "VLM success"));
  EXPECT_EQ(child.status(), 0);
}

TEST(UdpClientReply, ThatIsEmptyIsNone) {
  EXPECT_EQ(conversation({"getwb"}, {}), "send msg ok.\nno reply.\n");
}

// --- Usage and shell ---

TEST(UdpClientUsage, ListsEveryWord) {
  EXPECT_EQ(transcript_of([] { print_test_udp_usage(); }), client_usage());
}

/// What a shell command leaves in a zeroed buffer, with what is printed behind it.
std::string shell(const char* command, int expected_status) {
  std::string output(256, '\0');
  const std::string printed = transcript_of(
      [&] { EXPECT_EQ(my_test_system(command, output.data()), expected_status) << command; });
  return std::string(output.c_str()) + printed;
}

TEST(UdpClientShell, CapturesTheLastLine) {
  EXPECT_EQ(shell("echo one", 0), "one\npopen res is :0;return value = 0\n");
  EXPECT_EQ(shell("echo longer than the next; echo two", 0),
            "two\npopen res is :0;return value = 0\n");
  EXPECT_EQ(shell("printf 'no newline'", 0), "no newlinepopen res is :0;return value = 0\n");
  EXPECT_EQ(shell(":", 0), "popen res is :0;return value = 0\n");
}

TEST(UdpClientShell, CutsALineAt255Bytes) {
  EXPECT_EQ(shell("printf '%0300d' 0", 0),
            std::string(255, '0') + "popen res is :0;return value = 0\n");
  // A line of 1023 bytes and more comes in parts.
  EXPECT_EQ(shell("printf '%01030d' 7", 0), "0000007popen res is :0;return value = 0\n");
}

TEST(UdpClientShell, ReturnsTheStatusOfTheCommand) {
  EXPECT_EQ(shell("exit 3", 3 << 8), "popen res is :768;return value = 3\n");
}

TEST(UdpClientShell, RefusesANullCommand) {
  EXPECT_EQ(shell(nullptr, -1), "my_system cmd is NULL!\n");
}

TEST(UdpClientShell, ReportsAPipeThatCannotBeOpened) {
  const Child child([] {
    allow_no_more_descriptors();
    char output[256] = {};
    std::exit(my_test_system("echo", output) == -1 ? 7 : 8);
  });
  EXPECT_EQ(child.output(), "popen error: Too many open files/n");
  EXPECT_EQ(child.status(), 7);
}

TEST(UdpClientShell, SeesTheEndOfACommandAlsoWhenChildrenAreIgnored) {
  const Child child([] {
    std::signal(SIGCHLD, SIG_IGN);
    char output[256] = {};
    if (my_test_system("echo one; exit 3", output) != 3 << 8) std::exit(8);
    std::fputs(output, stdout);
    // As it was before.
    std::exit(std::signal(SIGCHLD, SIG_DFL) == SIG_IGN ? 7 : 9);
  });
  EXPECT_EQ(child.output(), "popen res is :768;return value = 3\none\n");
  EXPECT_EQ(child.status(), 7);
}

TEST(UdpClientShell, ReportsACommandWhoseEndItCannotSee) {
  const Child child([] {
    struct sigaction unseen {};
    unseen.sa_handler = SIG_DFL;
    unseen.sa_flags = SA_NOCLDWAIT;
    sigaction(SIGCHLD, &unseen, nullptr);
    char output[256] = {};
    std::exit(my_test_system("echo", output) == -1 ? 7 : 8);
  });
  EXPECT_EQ(child.output(), "close popen file pointer fp error!\n");
  EXPECT_EQ(child.status(), 7);
}

}  // namespace
