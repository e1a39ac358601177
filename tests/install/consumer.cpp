#include <cstdio>

#include "quorel/quorel.h"

int main() {
  bool ok = quorel::PI > 3.14159 && quorel::AllignMem(std::intptr_t{24}) == 64;
  std::printf("%s\n", ok ? "consumer ok" : "consumer wrong");
  return ok ? 0 : 1;
}
