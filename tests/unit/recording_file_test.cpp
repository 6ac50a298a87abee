// The file of a recording: who may read it, and its rotation.
#include "recording_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <string>
#include <vector>

#include "bus_packets.h"
#include "pcapng_reader.h"
#include "temporary_directory.h"

using namespace vlm::monitor;

namespace {

class RecordingFileTest : public testing::Test {
 protected:
  /// The times of the file's packets, in milliseconds.
  std::vector<long> times(const std::string& name) const {
    std::ifstream file(_folder / name, std::ios::binary);
    PcapngReader reader(file);
    std::vector<long> all;
    Entry entry;
    PcapngReader::Outcome outcome;
    while ((outcome = reader.next(entry)) == PcapngReader::kEntry) {
      all.push_back(static_cast<long>((entry.time_ns - kStartNs) / kMsNs));
    }
    EXPECT_EQ(outcome, PcapngReader::kEnd) << name << ": " << reader.error();
    return all;
  }

  const TemporaryDirectory _folder;
  const std::string _path = _folder / "file";
  RecordingFile _file;
  std::string _error;
};

TEST_F(RecordingFileTest, IsForItsOwnerAlone) {
  _folder.write("file", "an older one, for all to read");
  chmod(_path.c_str(), 0666);
  ASSERT_TRUE(_file.open(_path, {}, _error)) << _error;
  struct stat status {};
  ASSERT_EQ(stat(_path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(RecordingFileTest, LeavesADeviceAsItIs) {
  struct stat before {};
  struct stat after {};
  ASSERT_EQ(stat("/dev/null", &before), 0);
  ASSERT_TRUE(_file.open("/dev/null", {}, _error)) << _error;
  EXPECT_FALSE(_file.open("/dev/null", {1, 3}, _error));
  EXPECT_EQ(_error, "cannot rotate /dev/null: it is no file");
  ASSERT_EQ(stat("/dev/null", &after), 0);
  EXPECT_EQ(after.st_mode, before.st_mode);
}

TEST_F(RecordingFileTest, IsOneMonitorsAlone) {
  ASSERT_TRUE(_file.open(_path, {}, _error)) << _error;
  _file.add(request(1, 82));
  ASSERT_TRUE(_file.flush(_error));
  RecordingFile other;
  EXPECT_FALSE(other.open(_path, {}, _error));
  EXPECT_EQ(_error, "cannot write " + _path + ": another monitor records to it");
  EXPECT_EQ(times("file"), std::vector<long>({1}));
  _file = RecordingFile();
  EXPECT_TRUE(other.open(_path, {}, _error));
}

TEST_F(RecordingFileTest, HoldsAfterEachFlushWhatWasAdded) {
  ASSERT_TRUE(_file.open(_path, {}, _error)) << _error;
  EXPECT_EQ(times("file"), std::vector<long>());
  _file.add(request(1, 82));
  EXPECT_EQ(times("file"), std::vector<long>());
  ASSERT_TRUE(_file.flush(_error));
  EXPECT_EQ(times("file"), std::vector<long>({1}));
}

TEST_F(RecordingFileTest, RotatesAndKeepsSoManyFiles) {
  ASSERT_TRUE(_file.open(_path, {1000, 3}, _error)) << _error;
  for (int i = 0; i < 13; ++i) {  // three packets and their interface are more than 1000 bytes
    _file.add(request(i, 82));
    ASSERT_TRUE(_file.flush(_error)) << _error;
  }
  EXPECT_EQ(times("file"), std::vector<long>({12}));
  EXPECT_EQ(times("file.1"), std::vector<long>({9, 10, 11}));
  EXPECT_EQ(times("file.2"), std::vector<long>({6, 7, 8}));
  EXPECT_FALSE(_folder.has("file.3"));
}

TEST_F(RecordingFileTest, SaysWhyItCannotBeWritten) {
  EXPECT_FALSE(_file.open(_folder / "missing/file", {}, _error));
  EXPECT_EQ(_error, "cannot write " + _folder.path() + "/missing/file: No such file or directory");
  RecordingFile full;
  EXPECT_FALSE(full.open("/dev/full", {}, _error));
  EXPECT_EQ(_error, "cannot write /dev/full: No space left on device");
}

}  // namespace
