// A short tour of the library; `make demo` builds and runs it.
#include <cstdio>

#include "quorel/quorel.h"

using namespace quorel;

namespace {
void Show(const char* label, const TCplx& z) { std::printf("  %-26s (%.17g, %.17g)\n", label, z.Re, z.Im); }
}  // namespace

int main() {
  double start = Now();
  std::printf("Quorel tour\n===========\n\n");
  std::printf("Constants: PI = %.17g, MACHEP = %.17g\n\n", PI, MACHEP);

  std::printf("Scalars (extended precision inside, one rounding to double):\n");
  std::printf("  Ln(10)                     %.17g\n", Ln(10));
  std::printf("  Ln1(1e-12)                 %.17g\n", Ln1(1e-12));
  std::printf("  Gamma(0.5)^2               %.17g (pi)\n", Gamma(0.5) * Gamma(0.5));
  std::printf("  Fact(20)                   %.17g\n", Fact(20));
  std::printf("  BesselJ0(2.404825557695773) %.3g (next to the first zero)\n\n", BesselJ0(2.404825557695773));

  std::printf("Complex arithmetic:\n");
  TCplx a = Cplx(1, 2), b = Cplx(3, 4);
  Show("a * b", CMul(a, b));
  Show("a / b", CDiv(a, b));
  Show("CSqrt(-4)", CSqrt(Cplx(-4)));
  Show("Power(i, i)", Power(C_I, C_I));
  Show("Root(8, k = 1, n = 3)", Root(Cplx(8), 1, 3));
  Show("ArcSin(2 + 0i)", ArcSin(Cplx(2, 0)));
  Show("ArcSin(2 - 0i)", ArcSin(Cplx(2, -0.0)));
  std::printf("\n");

  std::printf("Comparisons:\n");
  std::printf("  Equal(0.1 + 0.2, 0.3)          %d\n", Equal(0.1 + 0.2, 0.3));
  std::printf("  Equal(0.1 + 0.2, 0.3, 1e-15)   %d\n", Equal(0.1 + 0.2, 0.3, 1e-15));
  std::printf("  Equal(INF, -INF)               %d (infinities compare by class)\n", Equal(INF, -INF));
  std::printf("  Bigger(2, 1, 1)                %d (needs more than the tolerance)\n", Bigger(2.0, 1.0, 1.0));
  std::printf("  Bigger(i, 1)                   %d (equal modulus: larger phase wins)\n", Bigger(C_I, C_ONE));
  std::printf("  Max(1 + 2i, 2 + 1i)            (%g, %g)\n\n", Max(a, Cplx(2, 1)).Re, Max(a, Cplx(2, 1)).Im);

  std::printf("Elapsed: %s\n", ClockIt(start).c_str());
  return 0;
}
