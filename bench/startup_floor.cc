// A minimal dynamically linked C++ program that prints one line: the start-up
// floor host_bench measures `aurimo` against, built with the same flags.
#include <iostream>

int main() {
  std::cout << "{}\n";
  return 0;
}
