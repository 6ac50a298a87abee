// A directory of its own for a test, removed with all it holds when the object goes.
#ifndef TEMP_DIR_H
#define TEMP_DIR_H

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

class TempDir {
 public:
  /// In memory where the machine has that: some units sync every line.
  TempDir() : _path(access("/dev/shm", W_OK) == 0 ? "/dev/shm/vlm_XXXXXX" : "/tmp/vlm_XXXXXX") {
    if (mkdtemp(_path.data()) == nullptr) throw std::runtime_error("no temporary directory");
  }
  ~TempDir() { std::filesystem::remove_all(_path); }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return _path; }
  std::string path(const std::string& name) const { return _path + "/" + name; }

  bool has(const std::string& name) const { return std::filesystem::exists(path(name)); }

  void write(const std::string& name, const std::string& text = "") const {
    std::ofstream(path(name), std::ios::binary) << text;
  }

  std::string read(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  void make_dir(const std::string& name) const { std::filesystem::create_directory(path(name)); }

 private:
  std::string _path;
};

#endif  // TEMP_DIR_H
