#include <cstdio>

#include "quorel/quorel.h"

// A user's own namespace named like the library's internal one: with `using namespace quorel;`
// below, detail:: must still mean this one (no public header may declare quorel::detail).
namespace detail {
inline int Scale() { return 2; }
}  // namespace detail

using namespace quorel;

int main() {
  TCplx q = CDiv(TCplx{1, 2}, TCplx{3, 4});
  TVec v;
  v.SetIt(false, {1.0, -2.0});
  v.Mul(v).Scale(detail::Scale());
  bool ok = PI > 3.14159 && AllignMem(std::intptr_t{24}) == 64 && Equal(q, TCplx{0.44, 0.08}, 1e-15) &&
            v[0] == 2 && v[1] == 8;
  std::printf("%s\n", ok ? "consumer ok" : "consumer wrong");
  return ok ? 0 : 1;
}
