// A directory of its own for a test, removed with all it holds when the object goes.
#ifndef TEMPORARY_DIRECTORY_H
#define TEMPORARY_DIRECTORY_H

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

class TemporaryDirectory {
 public:
  /// In memory where the machine has that: some units sync every line.
  TemporaryDirectory()
      : _path(access("/dev/shm", W_OK) == 0 ? "/dev/shm/vlm_test.XXXXXX" : "/tmp/vlm_test.XXXXXX") {
    if (mkdtemp(_path.data()) == nullptr) throw std::runtime_error("no temporary directory");
  }
  ~TemporaryDirectory() { std::filesystem::remove_all(_path); }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::string& path() const { return _path; }
  std::string operator/(const std::string& name) const { return _path + "/" + name; }

  bool has(const std::string& name) const { return std::filesystem::exists(*this / name); }

  void write(const std::string& name, const std::string& text = "") const {
    std::ofstream(*this / name, std::ios::binary) << text;
  }

  std::string read(const std::string& name) const {
    std::ifstream file(*this / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  void make_dir(const std::string& name) const { std::filesystem::create_directory(*this / name); }

 private:
  std::string _path;
};

#endif  // TEMPORARY_DIRECTORY_H
