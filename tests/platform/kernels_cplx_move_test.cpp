#include "quorel/platform/kernels/cplx.h"
#include "quorel/platform/kernels/move.h"

#include <algorithm>
#include <numeric>

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

// One output of CplxToReal; the other goes to a scratch array.
template <bool Im>
void PartOf(const C* z, D* r, ptrdiff_t n) {
  std::vector<D> other(n);
  Im ? CplxToReal(z, other.data(), r, n) : CplxToReal(z, r, other.data(), n);
}

TEST(KernelsCplx, ConjugatesFlipsModuliAndParts) {
  CheckUnary<C, C>("Conj", Conj, [](C z) { return C{z.Re, -z.Im}; });
  CheckUnary<C, C>("Flip", Flip, [](C z) { return C{z.Im, z.Re}; });
  CheckUnary<C, C>("FlipConj", FlipConj, [](C z) { return C{z.Im, -z.Re}; });
  CheckUnary<C, C>("MulI", MulI, [](C z) { return C{-z.Im, z.Re}; });
  CheckUnary<C, D>("Mag", Mag, [](C z) { return std::sqrt(z.Re * z.Re + z.Im * z.Im); });
  CheckUnary<C, D>("PowerSpectrum", PowerSpectrum, [](C z) { return z.Re * z.Re + z.Im * z.Im; });
  CheckUnary<C, D>("RealPart", RealPart, [](C z) { return z.Re; });
  CheckUnary<C, D>("ImagPart", ImagPart, [](C z) { return z.Im; });
  CheckBinary<D, D, C>("RealToCplx", RealToCplx, [](D re, D im) { return C{re, im}; });
  CheckUnary<C, D>("CplxToReal re", PartOf<false>, [](C z) { return z.Re; });
  CheckUnary<C, D>("CplxToReal im", PartOf<true>, [](C z) { return z.Im; });
}

// Widening in place: the n reals copied to the start of the output's storage first.
template <void (*Widen)(const D*, C*, ptrdiff_t)>
void WidenInPlace(const D* x, C* r, ptrdiff_t n) {
  std::copy(x, x + n, reinterpret_cast<D*>(r));
  Widen(reinterpret_cast<D*>(r), r, n);
}

TEST(KernelsCplx, NarrowingAndWideningInPlace) {
  C z[5] = {{3, 4}, {1, 2}, {-6, 8}, {0, 1}, {5, 12}};
  D* r = &z[0].Re;
  Mag(z, r, 5);  // the moduli over the first five doubles of the same storage
  EXPECT_EQ(std::vector<D>(r, r + 5), (std::vector<D>{5, std::sqrt(5.0), 10, 1, 13}));
  CheckUnary<D, C>("SampleUp2", SampleUp2, [](D x) { return C{x, 0.0}; });
  CheckUnary<D, C>("Duplicate", Duplicate, [](D x) { return C{x, x}; });
  CheckUnary<D, C>("SampleUp2 in place", WidenInPlace<SampleUp2>, [](D x) { return C{x, 0.0}; });
  CheckUnary<D, C>("Duplicate in place", WidenInPlace<Duplicate>, [](D x) { return C{x, x}; });
}

// Reversed twice, out of place and then in place: the input again.
template <class T>
void ReverseTwice(const T* x, T* r, ptrdiff_t n) {
  Reverse(x, r, n);
  Reverse(r, r, n);
}

TEST(KernelsMove, CopyFillAndReverse) {
  CheckUnary<D, D>("Copy d", Pick<D, D>(Copy), [](D a) { return a; });
  CheckUnary<C, C>("Copy c", Pick<C, C>(Copy), [](C a) { return a; });
  CheckUnary<D, D>("Fill d", [](const D*, D* r, ptrdiff_t n) { Fill(-2.5, r, n); }, [](D) { return -2.5; });
  CheckUnary<C, C>("Fill c", [](const C*, C* r, ptrdiff_t n) { Fill(C{1, -1}, r, n); }, [](C) { return C{1, -1}; });
  CheckUnary<D, D>("Reverse d", ReverseTwice<D>, [](D a) { return a; });
  CheckUnary<C, C>("Reverse c", ReverseTwice<C>, [](C a) { return a; });
  const D x[5] = {1, 2, 3, 4, 5};
  D r[5];
  C z[3] = {{1, -1}, {2, -2}, {3, -3}};
  Reverse(x, r, 5);
  Reverse(z, z, 3);
  EXPECT_EQ(std::vector<D>(r, r + 5), (std::vector<D>{5, 4, 3, 2, 1}));
  EXPECT_TRUE(Same(z[0], C{3, -3}) && Same(z[1], C{2, -2}) && Same(z[2], C{1, -1}));
}

TEST(KernelsMove, MoveHandlesOverlapBothWays) {
  std::vector<D> up(10), down(10);
  std::iota(up.begin(), up.end(), 0.0);
  std::iota(down.begin(), down.end(), 0.0);
  Move(up.data(), up.data() + 2, 7);
  Move(down.data() + 2, down.data(), 7);
  EXPECT_EQ(up, (std::vector<D>{0, 1, 0, 1, 2, 3, 4, 5, 6, 9}));
  EXPECT_EQ(down, (std::vector<D>{2, 3, 4, 5, 6, 7, 8, 7, 8, 9}));
  C z[4] = {{1, 1}, {2, 2}, {3, 3}, {4, 4}};
  Move(z, z + 1, 3);
  EXPECT_TRUE(Same(z[1], C{1, 1}) && Same(z[3], C{3, 3}));
}

TEST(KernelsMove, CumSumRunsLeftToRight) {
  D x[5] = {1, 2, 3, 4, 5};
  CumSum(x, x, 5);
  EXPECT_EQ(std::vector<D>(x, x + 5), (std::vector<D>{1, 3, 6, 10, 15}));
  // Left-to-right order is visible in rounding: 1 + 1e-16 + 1e-16 stays 1 each step.
  const D tiny[3] = {1.0, 1e-16, 1e-16};
  D r[3];
  CumSum(tiny, r, 3);
  EXPECT_EQ(r[2], 1.0);
  C z[3] = {{1, -1}, {2, -2}, {kNaN, 0}};
  CumSum(z, z, 3);
  EXPECT_TRUE(Same(z[1], C{3, -3}));
  EXPECT_TRUE(std::isnan(z[2].Re) && z[2].Im == -3.0);
}

}  // namespace
}  // namespace quorel::kern::test
