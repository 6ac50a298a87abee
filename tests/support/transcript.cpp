#include "transcript.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "pattern.h"

Transcript::Transcript(int descriptor) : _descriptor(descriptor) {
  std::fflush(stdout);
  _saved = dup(_descriptor);
  _captured = memfd_create("transcript", MFD_CLOEXEC);
  dup2(_captured, _descriptor);
}

Transcript::~Transcript() {
  std::fflush(stdout);
  dup2(_saved, _descriptor);
  close(_saved);
  close(_captured);
}

std::string Transcript::text() const {
  std::fflush(stdout);
  struct stat status {};
  fstat(_captured, &status);
  std::string text(static_cast<std::size_t>(status.st_size), '\0');
  const ssize_t size = pread(_captured, text.data(), text.size(), 0);
  text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return text;
}

std::string without_durations(const std::string& text) {
  return replaced(text, "took: [0-9]+ ms", "took: N ms");
}
