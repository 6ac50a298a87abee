// Recordings: the bytes that are written, and what is read of whole, cut and foreign files.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "bus_packets.h"
#include "pcapng_reader.h"
#include "pcapng_writer.h"

using namespace vlm::monitor;

namespace {

std::string file_of(const std::vector<Entry>& entries) {
  std::string bytes;
  PcapngWriter writer;
  writer.begin("test", bytes);
  for (const Entry& entry : entries) writer.add(entry, bytes);
  return bytes;
}

struct Read {
  std::vector<Entry> entries;
  PcapngReader::Outcome outcome;
  std::string error;
};

Read read(const std::string& bytes) {
  std::istringstream in(bytes);
  PcapngReader reader(in);
  Read result{};
  Entry entry;
  while ((result.outcome = reader.next(entry)) == PcapngReader::kEntry) {
    result.entries.push_back(entry);
  }
  result.error = reader.error();
  return result;
}

bool equal(const Entry& one, const Entry& other) {
  return one.time_ns == other.time_ns && one.channel == other.channel &&
         one.packet == other.packet && one.comment == other.comment;
}

std::vector<Entry> some_entries() {
  return {request(0, 82), reply(1, 82, {0, 0, 32, 64}), note(2, "5 packets lost"),
          side_packet(3, kRtspRequestChannel, 5, 30), request(4, 1)};
}

// The field's little-endian bytes, for files that the writer does not write.
std::string le(std::uint64_t value, std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i));
  return bytes;
}

std::string be(std::uint64_t value, std::size_t size) {
  std::string bytes = le(value, size);
  std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

using Number = std::string (*)(std::uint64_t, std::size_t);

std::string block(Number number, std::uint32_t type, const std::string& body) {
  const std::string size = number(body.size() + 12, 4);
  return number(type, 4) + size + body + size;
}

std::string section(Number number) {
  return block(number, 0x0A0D0D0A,
               number(0x1A2B3C4D, 4) + number(1, 2) + number(0, 2) + std::string(8, '\xFF'));
}

std::string interface(Number number, std::uint16_t link_type, const std::string& options = "") {
  return block(number, 1, number(link_type, 2) + number(0, 2) + number(0, 4) + options);
}

std::string packet(Number number, std::uint64_t time, std::string bytes,
                   const std::string& options = "") {
  const std::string size = number(bytes.size(), 4);
  bytes.resize((bytes.size() + 3) / 4 * 4);
  return block(number, 6,
               number(0, 4) + number(time >> 32, 4) + number(time & 0xFFFFFFFF, 4) + size + size +
                   bytes + options);
}

const std::string kTags("\0\x0c\0\x08vlm_bus\0\0\0\0\0", 16);

TEST(Pcapng, WritesTheBytesOfTheFormat) {
  Entry entry{0x0102030405060708, "chan", {'a', 'b', 'c'}, "why"};
  const std::string expected =
      block(le, 0x0A0D0D0A,
            le(0x1A2B3C4D, 4) + le(1, 2) + le(0, 2) + std::string(8, '\xFF') + le(4, 2) + le(4, 2) +
                "test" + le(0, 4)) +
      block(le, 1,
            le(252, 2) + le(0, 2) + le(0, 4) + le(2, 2) + le(4, 2) + "chan" + le(9, 2) + le(1, 2) +
                "\x09" + std::string(3, '\0') + le(0, 4)) +
      block(le, 6,
            le(0, 4) + le(0x01020304, 4) + le(0x05060708, 4) + le(19, 4) + le(19, 4) + kTags +
                "abc" + std::string(1, '\0') + le(1, 2) + le(3, 2) + "why" + std::string(1, '\0') +
                le(0, 4));
  EXPECT_EQ(file_of({entry}), expected);
}

TEST(Pcapng, ReadsWhatWasWritten) {
  const auto entries = some_entries();
  const Read result = read(file_of(entries));
  EXPECT_EQ(result.outcome, PcapngReader::kEnd);
  ASSERT_EQ(result.entries.size(), entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i)
    EXPECT_TRUE(equal(result.entries[i], entries[i]));
}

TEST(Pcapng, ReadsAFileCutOffAnywhereToItsLastWholeBlock) {
  const auto entries = some_entries();
  const std::string whole = file_of(entries);
  std::vector<std::size_t> ends;  // of the file after each entry
  for (std::size_t i = 0; i <= entries.size(); ++i) {
    ends.push_back(file_of({entries.begin(), entries.begin() + static_cast<long>(i)}).size());
  }
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    const Read result = read(whole.substr(0, size));
    const auto complete = static_cast<std::size_t>(
        std::count_if(ends.begin() + 1, ends.end(), [&](std::size_t end) { return end <= size; }));
    ASSERT_EQ(result.entries.size(), complete) << size;
    if (size < 4) {
      EXPECT_EQ(result.outcome, PcapngReader::kForeign) << size;
    } else if (size >= 28 && result.outcome == PcapngReader::kDamaged) {
      EXPECT_EQ(result.error.rfind("cut off at byte ", 0), 0U) << size << ' ' << result.error;
    }
  }
}

TEST(Pcapng, SurvivesAnyDamage) {
  const std::string whole = file_of(some_entries());
  std::mt19937 random(20260102);
  for (int round = 0; round < 20000; ++round) {
    std::string bytes = whole;
    for (unsigned changes = random() % 4 + 1; changes > 0; --changes) {
      bytes[random() % bytes.size()] = static_cast<char>(random());
    }
    if (random() % 4 == 0) bytes.resize(random() % bytes.size());
    if (random() % 8 == 0) bytes.insert(random() % (bytes.size() + 1), std::string(4, '\xFF'));
    const Read result = read(bytes);
    ASSERT_LE(result.entries.size(), 6U);
    ASSERT_TRUE(result.outcome == PcapngReader::kEnd || !result.error.empty());
  }
}

TEST(Pcapng, TellsFilesOfOthers) {
  EXPECT_EQ(read("").error, "the file is empty");
  EXPECT_EQ(read("hello, world").error, "not a pcapng file");
  EXPECT_EQ(read("ab").error, "not a pcapng file");
  EXPECT_EQ(read(le(0xA1B2C3D4, 4) + std::string(20, '\0')).error,
            "a pcap file; recordings of the bus are pcapng");
  EXPECT_EQ(read(be(0xA1B2C3D4, 4) + std::string(20, '\0')).error,
            "a pcap file; recordings of the bus are pcapng");
  const Read ethernet = read(section(le) + interface(le, 1) + packet(le, 1, std::string(60, 'e')));
  EXPECT_EQ(ethernet.outcome, PcapngReader::kForeign);
  EXPECT_EQ(ethernet.error, "a pcapng file without a packet of the bus");
  EXPECT_EQ(read(section(le) + interface(le, 1)).outcome, PcapngReader::kForeign)
      << "no packet yet";
  EXPECT_EQ(read(section(le)).outcome, PcapngReader::kEnd) << "as a recording begins";
  std::string other = kTags;
  other[4] = 'x';
  EXPECT_EQ(read(section(le) + interface(le, 252) + packet(le, 1, other + "data")).outcome,
            PcapngReader::kForeign);
}

TEST(Pcapng, PassesOverPacketsOfOthersAmongItsOwn) {
  const Read result = read(section(le) + interface(le, 252) + packet(le, 7, "no tags at all") +
                           packet(le, 8, kTags + "data") + block(le, 3, le(4, 4) + "abcd") +
                           block(le, 0x0BAD, "xxxx"));
  EXPECT_EQ(result.outcome, PcapngReader::kEnd);
  ASSERT_EQ(result.entries.size(), 1U);
  EXPECT_EQ(result.entries[0].packet, Bytes({'d', 'a', 't', 'a'}));
}

TEST(Pcapng, ReadsTheOtherByteOrderAndOtherUnitsOfTime) {
  const auto options = [](Number number, char units) {
    return number(9, 2) + number(1, 2) + units + std::string(3, '\0') + number(0, 4);
  };
  for (const Number number : {le, be}) {
    const auto time_with = [&](char units, std::uint64_t time) {
      const Read result = read(section(number) + interface(number, 252, options(number, units)) +
                               packet(number, time, kTags + "d"));
      EXPECT_EQ(result.outcome, PcapngReader::kEnd);
      return result.entries.size() == 1 ? result.entries[0].time_ns : -1;
    };
    EXPECT_EQ(time_with(9, 1'500'000'001), 1'500'000'001);
    EXPECT_EQ(time_with(6, 1'500'000), 1'500'000'000);
    EXPECT_EQ(time_with(3, 1'500), 1'500'000'000);
    EXPECT_EQ(time_with(12, 1'500'000'000'000), 1'500'000'000);
    EXPECT_EQ(time_with('\x8A', 1536), 1'500'000'000);
    // What no clock shows stays within what can be added and subtracted.
    EXPECT_EQ(time_with(9, UINT64_MAX), std::int64_t{1} << 61);
    EXPECT_EQ(time_with(0, UINT64_MAX), std::int64_t{1} << 61);
    EXPECT_EQ(time_with('\x7F', UINT64_MAX), 0);
  }
  const Read result = read(section(le) + interface(le, 252) + packet(le, 2, kTags + "d"));
  ASSERT_EQ(result.entries.size(), 1U);
  EXPECT_EQ(result.entries[0].time_ns, 2000) << "microseconds where nothing is said";
}

TEST(Pcapng, RefusesBlocksThatContradictThemselves) {
  const std::string good = section(le) + interface(le, 252);
  const auto expect_damaged = [&](const std::string& bad) {
    const Read result = read(good + bad);
    EXPECT_EQ(result.outcome, PcapngReader::kDamaged);
    EXPECT_EQ(result.error, "damaged at byte " + std::to_string(good.size()));
  };
  std::string two_sizes = packet(le, 1, kTags);
  two_sizes[two_sizes.size() - 4] = 0;
  expect_damaged(two_sizes);
  expect_damaged(le(6, 4) + le(13, 4) + std::string(20, 'x'));          // not a multiple of 4
  expect_damaged(le(6, 4) + le(8, 4) + std::string(20, 'x'));           // shorter than its frame
  expect_damaged(le(6, 4) + le(0x40000000, 4) + std::string(20, 'x'));  // absurdly long
  expect_damaged(block(le, 6, le(9, 4) + std::string(16, '\0')));       // no such interface
  expect_damaged(block(le, 6, le(0, 4)));                               // no packet
  expect_damaged(block(le, 6, le(0, 4) + le(0, 8) + le(99, 4) + le(99, 4) + "few "));
  expect_damaged(packet(le, 1, kTags, le(1, 2) + le(500, 2)));  // the comment is not all there
}

TEST(LossComment, IsReadBack) {
  EXPECT_EQ(loss_comment(12), "12 packets lost");
  EXPECT_EQ(loss_in("12 packets lost"), 12U);
  EXPECT_EQ(loss_in("some packets lost"), 0U);
  EXPECT_EQ(loss_in("12 packets lost today"), 0U);
  EXPECT_EQ(loss_in(""), 0U);
}

}  // namespace
