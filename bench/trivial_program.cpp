// What a C++ program with a thread costs before it does anything. Without an argument it waits for the
// end of its input.
#include <cstdio>
#include <string>
#include <thread>

int main(int argc, char**) {
  std::thread([] {}).join();
  std::puts(std::to_string(argc).c_str());
  std::fflush(stdout);
  if (argc < 2) std::getchar();
}
