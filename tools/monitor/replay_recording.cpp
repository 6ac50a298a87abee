#include "replay_recording.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <utility>

#include "observer.h"
#include "pcapng_reader.h"
#include "recording_input.h"

namespace vlm::monitor {

Loaded load_recording(const std::string& path, const Section& section,
                      std::vector<Observation>& packets, std::string& error) {
  std::ifstream file;
  if (!open_recording(path, file, error)) return Loaded::kNothing;
  PcapngReader reader(file);
  Observer observer;
  Entry entry;
  PcapngReader::Outcome outcome;
  while ((outcome = reader.next(entry)) == PcapngReader::kEntry) {
    for (Observation& observation : observer.take(std::move(entry))) {
      const double since_s = static_cast<double>(observation.since_ns) / 1e9;
      const bool is_packet = observation.number != 0 && observation.decoded.kind != Kind::kNote;
      if (is_packet && since_s >= section.from_s && since_s <= section.to_s) {
        packets.push_back(std::move(observation));
      }
    }
  }
  if (outcome == PcapngReader::kEnd) return Loaded::kWhole;
  error = path + ": " + reader.error();
  return outcome == PcapngReader::kDamaged ? Loaded::kDamaged : Loaded::kNothing;
}

}  // namespace vlm::monitor
