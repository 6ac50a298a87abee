// What a C++ program with a thread costs before it does anything.
#include <cstdio>
#include <string>
#include <thread>

int main(int argc, char**) {
  std::thread([] {}).join();
  std::puts(std::to_string(argc).c_str());
}
