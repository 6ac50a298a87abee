// Standard output thrown away, for tests that make the product say more than anyone reads.
#ifndef SILENCE_H
#define SILENCE_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

/// Diverts standard output to /dev/null for as long as the object lives.
class Silence {
 public:
  Silence() : _saved(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(null, STDOUT_FILENO);
    close(null);
  }
  ~Silence() {
    std::fflush(stdout);
    dup2(_saved, STDOUT_FILENO);
    close(_saved);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  int _saved;
};

#endif  // SILENCE_H
