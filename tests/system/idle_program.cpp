// The smallest C++ program that waits as the console does: one thread beside main, a line printed,
// a line awaited.

#include <unistd.h>

#include <cstdio>
#include <thread>

int main() {
  std::thread([] {
    for (;;) pause();
  }).detach();
  std::puts("ready");
  std::fflush(stdout);
  std::getchar();
}
