#include <cstdio>

#include "quorel/quorel.h"

int main() {
  using namespace quorel;
  TCplx q = CDiv(TCplx{1, 2}, TCplx{3, 4});
  bool ok = PI > 3.14159 && AllignMem(std::intptr_t{24}) == 64 && Equal(q, TCplx{0.44, 0.08}, 1e-15);
  std::printf("%s\n", ok ? "consumer ok" : "consumer wrong");
  return ok ? 0 : 1;
}
