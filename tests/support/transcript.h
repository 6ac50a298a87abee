// Holds what the process prints on standard output, or standard error, while the object lives.
#ifndef TRANSCRIPT_H
#define TRANSCRIPT_H

#include <unistd.h>

#include <string>

/// Redirects a descriptor into memory from construction to destruction. One at a time for each.
class Transcript {
 public:
  explicit Transcript(int descriptor = STDOUT_FILENO);
  ~Transcript();
  Transcript(const Transcript&) = delete;
  Transcript& operator=(const Transcript&) = delete;

  /// Everything printed so far.
  std::string text() const;

 private:
  int _descriptor;
  int _saved;
  int _captured;
};

/// `text` with the figure in each "took: 12 ms" replaced by N: the one part of a transcript that
/// depends on the machine.
std::string without_durations(const std::string& text);

/// What `action` prints.
template <typename Action>
std::string transcript_of(Action&& action) {
  const Transcript transcript;
  action();
  return transcript.text();
}

#endif  // TRANSCRIPT_H
