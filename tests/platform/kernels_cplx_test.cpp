#include "quorel/platform/kernels_cplx.h"

#include <gtest/gtest.h>

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

using std::ptrdiff_t;
using D = double;
using C = TCplx;

TEST(KernelsCplx, ConjugatesFlipsAndMulI) {
  CheckUnary<C, C>("Conj", Conj, [](C z) { return C{z.Re, -z.Im}; });
  CheckUnary<C, C>("Flip", Flip, [](C z) { return C{z.Im, z.Re}; });
  CheckUnary<C, C>("FlipConj", FlipConj, [](C z) { return C{z.Im, -z.Re}; });
  CheckUnary<C, C>("MulI", MulI, [](C z) { return C{-z.Im, z.Re}; });
}

TEST(KernelsCplx, ModuliAndParts) {
  CheckUnary<C, D>("Mag", Mag, [](C z) { return std::sqrt(z.Re * z.Re + z.Im * z.Im); });
  CheckUnary<C, D>("PowerSpectrum", PowerSpectrum, [](C z) { return z.Re * z.Re + z.Im * z.Im; });
  CheckUnary<C, D>("RealPart", RealPart, [](C z) { return z.Re; });
  CheckUnary<C, D>("ImagPart", ImagPart, [](C z) { return z.Im; });
  const C z[] = {{3, 4}, {-5, 12}, {0, -0.0}};
  D r[3];
  Mag(z, r, 3);
  EXPECT_EQ(r[0], 5.0);
  EXPECT_EQ(r[1], 13.0);
  EXPECT_EQ(r[2], 0.0);
}

TEST(KernelsCplx, SplitAndJoinParts) {
  Values values(3);
  for (ptrdiff_t n : kLengths) {
    Guarded<C> z(n, 1), back(n, 2);
    Guarded<D> re(n, 0), im(n, 3);
    values.Fill(z.data(), n);
    CplxToReal(z.data(), re.data(), im.data(), n);
    RealToCplx(re.data(), im.data(), back.data(), n);
    for (ptrdiff_t i = 0; i < n; ++i) {
      ASSERT_TRUE(Same(re[i], z[i].Re) && Same(im[i], z[i].Im)) << i;
      ASSERT_TRUE(Same(back[i], z[i])) << i;
    }
    EXPECT_TRUE(re.GuardsIntact() && im.GuardsIntact() && back.GuardsIntact()) << n;
  }
}

TEST(KernelsCplx, NarrowingInPlaceOverwritesTheSameStorage) {
  C z[5] = {{3, 4}, {1, 2}, {-6, 8}, {0, 1}, {5, 12}};
  D* r = &z[0].Re;
  Mag(z, r, 5);
  const D want[] = {5, std::sqrt(5.0), 10, 1, 13};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(r[i], want[i]) << i;
  C w[3] = {{1, 2}, {3, 4}, {5, 6}};
  ImagPart(w, &w[0].Re, 3);
  EXPECT_EQ(w[0].Re, 2.0);
  EXPECT_EQ(w[0].Im, 4.0);
  EXPECT_EQ(w[1].Re, 6.0);
}

TEST(KernelsCplx, WideningWithZerosOrDuplicates) {
  CheckUnary<D, C>("SampleUp2", SampleUp2, [](D x) { return C{x, 0.0}; });
  CheckUnary<D, C>("Duplicate", Duplicate, [](D x) { return C{x, x}; });
  // In place: the n reals at the start of storage for 2n doubles become n complex values.
  for (ptrdiff_t n : kLengths) {
    std::vector<D> store(2 * n + 1), dup(2 * n + 1);
    for (ptrdiff_t i = 0; i < n; ++i) store[i] = dup[i] = static_cast<D>(i + 1);
    SampleUp2(store.data(), reinterpret_cast<C*>(store.data()), n);
    Duplicate(dup.data(), reinterpret_cast<C*>(dup.data()), n);
    for (ptrdiff_t i = 0; i < n; ++i) {
      ASSERT_EQ(store[2 * i], i + 1.0) << n;
      ASSERT_EQ(store[2 * i + 1], 0.0) << n;
      ASSERT_EQ(dup[2 * i], i + 1.0) << n;
      ASSERT_EQ(dup[2 * i + 1], i + 1.0) << n;
    }
  }
}

}  // namespace
}  // namespace quorel::kern::test
