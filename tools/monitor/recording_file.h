// The file that a recording is written to, and its predecessors.
#ifndef MONITOR_RECORDING_FILE_H
#define MONITOR_RECORDING_FILE_H

#include <cstdint>
#include <string>

#include "entry.h"
#include "pcapng_writer.h"
#include "unique_fd.h"

namespace vlm::monitor {

struct Rotation {
  std::uint64_t size = 0;  // bytes after which a new file begins, 0 for never
  unsigned keep = 10;      // files in all: FILE, FILE.1 the one before, FILE.2 ...
};

/// Others cannot read it: mode 0600. One process at a time records to it.
class RecordingFile {
 public:
  /// Creates the file, or empties it. False when that fails: `error` says why.
  bool open(const std::string& path, const Rotation& rotation, std::string& error);

  /// Adds an entry; it is in the file after the next flush().
  void add(const Entry& entry);

  /// Writes what has been added, whole blocks only. False when that fails: `error` says why.
  bool flush(std::string& error);

 private:
  bool create(std::string& error);
  bool claim(std::string& error);
  bool rotate(std::string& error);
  bool fail(const std::string& what, std::string& error) const;

  std::string _path;
  Rotation _rotation;
  bus::UniqueFd _file;
  PcapngWriter _writer;
  std::string _unwritten;
  std::uint64_t _size = 0;
};

}  // namespace vlm::monitor

#endif  // MONITOR_RECORDING_FILE_H
