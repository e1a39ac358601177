#include "quorel/platform/kernels_threshold.h"

#include <gtest/gtest.h>

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

using std::ptrdiff_t;
using D = double;
using C = TCplx;

double Modulus(C z) { return std::sqrt(z.Re * z.Re + z.Im * z.Im); }

// z moved to modulus level along its own direction; 0 goes to (level, 0).
C OnCircle(C z, double level) {
  const double m = Modulus(z);
  return m == 0.0 ? C{level, 0.0} : C{z.Re * (level / m), z.Im * (level / m)};
}

TEST(KernelsThreshold, RealFormsAgainstTheRule) {
  CheckUnary<D, D>("LT", [](const D* x, D* r, ptrdiff_t n) { ThresholdLT(x, -1.5, r, n); },
                   [](D x) { return x < -1.5 ? -1.5 : x; });
  CheckUnary<D, D>("GT", [](const D* x, D* r, ptrdiff_t n) { ThresholdGT(x, 2.0, r, n); },
                   [](D x) { return x > 2.0 ? 2.0 : x; });
  CheckUnary<D, D>("LTVal", [](const D* x, D* r, ptrdiff_t n) { ThresholdLTVal(x, 0.5, -7.0, r, n); },
                   [](D x) { return x < 0.5 ? -7.0 : x; });
  CheckUnary<D, D>("GTVal", [](const D* x, D* r, ptrdiff_t n) { ThresholdGTVal(x, 0.5, 7.0, r, n); },
                   [](D x) { return x > 0.5 ? 7.0 : x; });
  CheckUnary<D, D>("LTValGTVal",
                   [](const D* x, D* r, ptrdiff_t n) { ThresholdLTValGTVal(x, -1.0, -100.0, 1.0, 100.0, r, n); },
                   [](D x) { return x < -1.0 ? -100.0 : (x > 1.0 ? 100.0 : x); });
  const D x[] = {kNaN, -kInf, kInf, -1.0, 1.0};
  D r[5];
  ThresholdLTValGTVal(x, -1.0, -2.0, -1.0, 2.0, r, 5);  // equal levels are fine
  EXPECT_TRUE(std::isnan(r[0]));
  EXPECT_EQ(r[1], -2.0);
  EXPECT_EQ(r[2], 2.0);
  EXPECT_EQ(r[3], -1.0);
  EXPECT_EQ(r[4], 2.0);
}

TEST(KernelsThreshold, ComplexFormsCompareModuliAndKeepThePhase) {
  CheckUnary<C, C>("LT c", [](const C* x, C* r, ptrdiff_t n) { ThresholdLT(x, 3.0, r, n); },
                   [](C z) { return Modulus(z) < 3.0 ? OnCircle(z, 3.0) : z; });
  CheckUnary<C, C>("GT c", [](const C* x, C* r, ptrdiff_t n) { ThresholdGT(x, 3.0, r, n); },
                   [](C z) { return Modulus(z) > 3.0 ? OnCircle(z, 3.0) : z; });
  const C v{1, -1};
  CheckUnary<C, C>("LTVal c", [v](const C* x, C* r, ptrdiff_t n) { ThresholdLTVal(x, 3.0, v, r, n); },
                   [v](C z) { return Modulus(z) < 3.0 ? v : z; });
  CheckUnary<C, C>("GTVal c", [v](const C* x, C* r, ptrdiff_t n) { ThresholdGTVal(x, 3.0, v, r, n); },
                   [v](C z) { return Modulus(z) > 3.0 ? v : z; });
  const C z[] = {{0.3, 0.4}, {0, 0}, {3, 4}, {kNaN, 1}};
  C r[4];
  ThresholdLT(z, 1.0, r, 4);
  EXPECT_NEAR(r[0].Re, 0.6, 2 * kEps);
  EXPECT_NEAR(r[0].Im, 0.8, 2 * kEps);
  EXPECT_TRUE(Same(r[1], C{1, 0}));
  EXPECT_TRUE(Same(r[2], C{3, 4}));
  EXPECT_TRUE(std::isnan(r[3].Re));
  ThresholdGT(z, 1.0, r, 4);
  EXPECT_NEAR(r[2].Re, 0.6, 2 * kEps);
  EXPECT_NEAR(r[2].Im, 0.8, 2 * kEps);
  EXPECT_TRUE(Same(r[0], z[0]));
}

}  // namespace
}  // namespace quorel::kern::test
