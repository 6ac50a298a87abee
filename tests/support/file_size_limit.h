// A card that is full: while it lives, no file of this process grows beyond `bytes`. What tests
// capture is a file, too.
#ifndef FILE_SIZE_LIMIT_H
#define FILE_SIZE_LIMIT_H

#include <sys/resource.h>

#include <csignal>

class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);  // the write fails instead
    getrlimit(RLIMIT_FSIZE, &_before);
    const rlimit limit{bytes, _before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &_before); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit _before{};
};

#endif  // FILE_SIZE_LIMIT_H
