// A short tour of the library; `make demo` builds and runs it.
#include <cstdio>

#include "quorel/quorel.h"

using namespace quorel;

int main() {
  std::printf("Quorel tour\n===========\n\n");
  std::printf("Constants: PI = %.17g, MACHEP = %.17g\n", PI, MACHEP);
  return 0;
}
