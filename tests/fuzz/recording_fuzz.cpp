// Recordings into the reader, and what it makes of them into all outputs of the monitor.
//
// Input: the file. For a second reading it is cut off somewhere.
#include <algorithm>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "latency_picture.h"
#include "line.h"
#include "observer.h"
#include "payload_values.h"
#include "pcapng_reader.h"
#include "pcapng_writer.h"
#include "statistics.h"

using namespace vlm::monitor;

namespace {

std::vector<Entry> entries_of(const std::string& file, PcapngReader::Outcome& outcome) {
  std::istringstream in(file);
  PcapngReader reader(in);
  std::vector<Entry> all;
  Entry entry;
  while ((outcome = reader.next(entry)) == PcapngReader::kEntry) all.push_back(entry);
  must(outcome == PcapngReader::kEnd || !reader.error().empty(), "a fault is told");
  return all;
}

bool equal(const Entry& one, const Entry& other) {
  return one.time_ns == other.time_ns && one.channel == other.channel &&
         one.packet == other.packet && one.comment == other.comment;
}

bool begins_with(const std::vector<Entry>& all, const std::vector<Entry>& some) {
  return some.size() <= all.size() && std::equal(some.begin(), some.end(), all.begin(), equal);
}

std::string written(const std::vector<Entry>& entries) {
  std::string file;
  PcapngWriter writer;
  writer.begin("fuzz", file);
  for (const Entry& entry : entries) writer.add(entry, file);
  return file;
}

void show(const std::vector<Entry>& entries) {
  Observer observer;
  Statistics statistics;
  LatencyPicture picture;
  for (Entry entry : entries) {
    redact(entry);
    for (const Observation& observation : observer.take(entry)) {
      const std::string line = text_line(observation, {});
      must(line.find('\n') == line.size() - 1, "one line an entry");
      const std::string json = json_line(observation, true);
      must(json.find('\n') == json.size() - 1, "one line an object");
      statistics.add(observation);
      picture.add(observation);
    }
  }
  statistics.text();
  statistics.json();
  picture.svg();
  picture.csv();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string file(bytes, bytes + size);
  const std::size_t cut = std::accumulate(bytes, bytes + size, std::size_t{0}) % (size + 1);
  PcapngReader::Outcome outcome{};
  const std::vector<Entry> entries = entries_of(file, outcome);
  PcapngReader::Outcome cut_outcome{};
  must(begins_with(entries, entries_of(file.substr(0, cut), cut_outcome)),
       "a file that is cut off reads to its last whole block");
  const std::vector<Entry> again = entries_of(written(entries), outcome);
  must(again.size() == entries.size() && begins_with(again, entries), "what is written is read");
  show(entries);
  return 0;
}
