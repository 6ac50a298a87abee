// Word that a descriptor has something to read, without asking the system for it: the system signals
// the one thread that wants to know (SIGURG, which does nothing where it is not handled).
//
// A signal is raised before the call returns that caused it, and taken before the signalled thread
// leaves the system: whoever learns of the change through the system, by a packet, a lock or a
// process's end, has had the signal first.
#ifndef CHANGE_SIGNAL_H
#define CHANGE_SIGNAL_H

namespace vlm::bus {

/// For one thread at a time.
class ChangeSignal {
 public:
  /// True when nothing can have come since this thread's last listen_to(). False also when another
  /// thread was signalled meanwhile, or none can be: then the descriptor has to be read.
  bool is_silent() const;

  /// To be called before all is read from `fd`, always the same. A thread that comes twice in a row
  /// is signalled from then on, unless the program has a use of its own for the signal.
  void listen_to(int fd);

 private:
  unsigned _caller = 0;    // the thread that came last
  unsigned _listener = 0;  // the thread that is signalled, 0 for none
  unsigned _heard = 0;     // the signals that had come by then
};

}  // namespace vlm::bus

#endif  // CHANGE_SIGNAL_H
