// How a program of this build is started on this machine.
#ifndef RUNNABLE_H
#define RUNNABLE_H

#include <string>
#include <vector>

/// `command` as it can be executed here: a program of a build for another machine (the first word,
/// a path into the build) runs under that build's emulator. Other commands stay as they are.
std::vector<std::string> runnable(std::vector<std::string> command);

#endif  // RUNNABLE_H
