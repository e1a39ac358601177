// A short tour of the library; `make demo` builds and runs it.
#include <cstdio>

#include "quorel/quorel.h"

using namespace quorel;

namespace {

void Print(const char* label, const TVec& v) {
  std::printf("  %-28s", label);
  if (v.Complex()) {
    for (const TCplx& z : v.CValues()) std::printf(" (%g, %g)", z.Re, z.Im);
  } else {
    for (double x : v.Values()) std::printf(" %g", x);
  }
  std::printf("   [Length %d%s]\n", v.Length(), v.Complex() ? ", complex" : "");
}

void Vectors() {
  std::printf("\nVectors\n-------\n");
  TVec v;
  v.SetIt(false, {1, 2, 3, 4, 5, 6});
  Print("a real vector:", v);

  // Sub-ranges: every method sees only the selected elements.
  v.SetSubRange(2, 3);
  v.SetVal(0);
  v.SetFullRange();
  Print("after zeroing elements 2..4:", v);

  // Real and complex share storage: six doubles are three complex numbers.
  v.set_Complex(true);
  Print("the same doubles as complex:", v);
  v.set_Complex(false);

  // Work vectors come from a pre-allocated cache and go back at the end of the scope.
  {
    TWorkVec w;
    w->SetCplx({{1, 2}, {3, -4}});
    Print("a cached work vector:", *w);
    std::printf("  cache: %d of %d vectors in use, %d doubles each\n", Controller->VecCacheUsed(),
                Controller->VecCacheSize(), Controller->VecCacheElements());
  }
  std::printf("  after the scope: %d in use\n", Controller->VecCacheUsed());

  // Block-wise processing walks a long vector in pieces of QuorelBlockSize elements.
  TVec longVec;
  longVec.SetLength(2000);
  longVec.SetVal(1.0);
  int blocks = 0;
  for (longVec.BlockInit(); !longVec.BlockEnd(); longVec.BlockNext()) ++blocks;
  std::printf("  2000 elements in blocks of %d: %d blocks\n", QuorelBlockSize, blocks);
}

}  // namespace

int main() {
  std::printf("Quorel tour\n===========\n");
  std::printf("\nConstants: PI = %.17g, MACHEP = %.17g\n", PI, MACHEP);
  Vectors();
  return 0;
}
