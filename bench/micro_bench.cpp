// What the parts cost that one process shows by itself: the CRC by several methods, the service's hex
// dump and line, a message of the trace log; and beside each what is left when nothing has to be made:
// text that is ready, the two system calls of a log, the two flags that switch it.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "velmar_log.h"
#include "velmar_udp_master_k720_crc.h"
#include "velmar_udp_master_k720_print.h"

namespace {

constexpr u32 kPolynomial = 0x8408;

constexpr u32 register_after(u32 byte) {
  for (int bit = 0; bit < 8; ++bit) byte = (byte & 1) != 0 ? byte >> 1 ^ kPolynomial : byte >> 1;
  return byte;
}

/// tables[n][b]: the register after the byte b and n zero bytes.
template <std::size_t count>
constexpr std::array<std::array<u16, 256>, count> slices() {
  std::array<std::array<u16, 256>, count> tables{};
  for (u32 byte = 0; byte < 256; ++byte) {
    u32 crc = register_after(byte);
    for (std::size_t n = 0; n < count; ++n) {
      tables[n][byte] = static_cast<u16>(crc);
      crc = register_after(crc & 0xFF) ^ crc >> 8;
    }
  }
  return tables;
}

template <std::size_t count>
constexpr auto kSlices = slices<count>();

u16 bitwise(const u8* data, int length) {
  u32 crc = 0xFFFF;
  for (int i = 0; i < length; ++i) crc = register_after((crc ^ data[i]) & 0xFF) ^ crc >> 8;
  return static_cast<u16>(crc);
}

/// `count` bytes at a time, of which the first two meet the register.
template <std::size_t count>
u16 sliced(const u8* data, int length) {
  const auto& tables = kSlices<count>;
  u32 crc = 0xFFFF;
  for (; length >= static_cast<int>(count); length -= static_cast<int>(count), data += count) {
    u32 next =
        tables[count - 1][(crc ^ data[0]) & 0xFF] ^ tables[count - 2][(crc >> 8 ^ data[1]) & 0xFF];
    for (std::size_t i = 2; i < count; ++i) next ^= tables[count - 1 - i][data[i]];
    crc = next;
  }
  for (; length > 0; --length) crc = tables[0][(crc ^ *data++) & 0xFF] ^ crc >> 8;
  return static_cast<u16>(crc);
}

template <u16 (*method)(const u8*, int)>
void crc(benchmark::State& state) {
  std::array<u8, 264> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<u8>(i * 37 + 11);
  const int length = static_cast<int>(state.range(0));
  if (method(bytes.data(), length) != bitwise(bytes.data(), length)) {
    return state.SkipWithError("a wrong CRC");
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(bytes.data());
    benchmark::ClobberMemory();
    benchmark::DoNotOptimize(method(bytes.data(), length));
  }
}

// What the CRC of a request covers: 7 bytes without data, 260 of the longest.
BENCHMARK(crc<bitwise>)->Name("crc_bitwise")->Arg(7)->Arg(260);
BENCHMARK(crc<vlm_udp_getcrc16>)->Name("crc_product")->Arg(7)->Arg(260);
BENCHMARK(crc<sliced<4>>)->Name("crc_slicing_4")->Arg(7)->Arg(260);
BENCHMARK(crc<sliced<8>>)->Name("crc_slicing_8")->Arg(7)->Arg(260);

/// Standard output to the null device while it lives, with a buffer that the programs have.
class NullOutput {
 public:
  NullOutput() : _before(stdout) {
    stdout = std::fopen("/dev/null", "w");
    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
  }
  ~NullOutput() {
    std::fclose(stdout);
    stdout = _before;
  }
  NullOutput(const NullOutput&) = delete;
  NullOutput& operator=(const NullOutput&) = delete;

 private:
  std::FILE* const _before;
};

/// Prints `text` as it is.
void print_ready(benchmark::State& state, const std::string& text) {
  const NullOutput null;
  for (auto _ : state) std::fwrite(text.data(), 1, text.size(), stdout);
}

void hex_dump(benchmark::State& state) {
  const NullOutput null;
  const std::array<u8, 264> bytes{};
  for (auto _ : state) {
    udp_print_bytes("", bytes.data(), static_cast<std::size_t>(state.range(0)));
  }
}
BENCHMARK(hex_dump)->Arg(10)->Arg(264);

void hex_dump_ready(benchmark::State& state) {
  const auto bytes = static_cast<std::size_t>(state.range(0));
  print_ready(state, std::string(5 * bytes + bytes / 8 + 1, '0'));
}
BENCHMARK(hex_dump_ready)->Arg(10)->Arg(264);

void service_line(benchmark::State& state) {
  const NullOutput null;
  for (auto _ : state) udp_say_number(udp_here(), "camera_cmd = ", 4096);
}
BENCHMARK(service_line);

void service_line_ready(benchmark::State& state) {
  print_ready(state, std::string("[") + __FILE__ + ":service_line][142]: camera_cmd = 4096\n");
}
BENCHMARK(service_line_ready);

void trace_log_off(benchmark::State& state) {
  for (auto _ : state) vlm_log_print(4, "LCM request %s failed with: %s", "GET_ISO", "VLM busy");
}
BENCHMARK(trace_log_off);

void trace_log_flags(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(g_log_fd != -1 || g_log_to_console);
}
BENCHMARK(trace_log_flags);

/// Writes to a log in the memory file system while it lives, so that the figures are the log's and not
/// the disk's.
class LogInMemory {
 public:
  LogInMemory() {
    const std::string path = "/dev/shm/vlm_micro_bench." + std::to_string(getpid());
    _fd = open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_SYNC | O_CLOEXEC, 0600);
    unlink(path.c_str());
  }
  ~LogInMemory() { close(_fd); }
  LogInMemory(const LogInMemory&) = delete;
  LogInMemory& operator=(const LogInMemory&) = delete;

  int fd() const { return _fd; }

  /// To be called for each message: empties the log now and then.
  void count(benchmark::State& state) {
    if (++_written % 100000 == 0 && ftruncate(_fd, 0) != 0) state.SkipWithError("ftruncate");
  }

 private:
  int _fd = -1;
  int _written = 0;
};

void trace_log(benchmark::State& state) {
  LogInMemory log;
  g_log_fd = log.fd();
  for (auto _ : state) {
    vlm_log_print(4, "LCM request %s failed with: %s", "GET_ISO", "VLM busy");
    log.count(state);
  }
  g_log_fd = -1;
}
BENCHMARK(trace_log);

void trace_log_calls(benchmark::State& state) {
  LogInMemory log;
  const std::string message = "LCM request GET_ISO failed with: VLM busy, 123456\n";
  for (auto _ : state) {
    if (write(log.fd(), message.data(), message.size()) < 0) state.SkipWithError("write");
    fsync(log.fd());
    log.count(state);
  }
}
BENCHMARK(trace_log_calls);

}  // namespace

BENCHMARK_MAIN();
