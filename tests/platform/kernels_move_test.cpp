#include "quorel/platform/kernels_move.h"

#include <numeric>

#include <gtest/gtest.h>

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

using std::ptrdiff_t;
using D = double;
using C = TCplx;

TEST(KernelsMove, CopyAndFill) {
  Values values(5);
  for (ptrdiff_t n : kLengths) {
    Guarded<D> x(n, 1), r(n, 2);
    Guarded<C> cx(n, 0), cr(n, 3);
    values.Fill(x.data(), n);
    values.Fill(cx.data(), n);
    Copy(x.data(), r.data(), n);
    Copy(cx.data(), cr.data(), n);
    for (ptrdiff_t i = 0; i < n; ++i) ASSERT_TRUE(Same(r[i], x[i]) && Same(cr[i], cx[i]));
    Fill(-2.5, r.data(), n);
    Fill(C{1, -1}, cr.data(), n);
    for (ptrdiff_t i = 0; i < n; ++i) ASSERT_TRUE(Same(r[i], -2.5) && Same(cr[i], C{1, -1}));
    EXPECT_TRUE(r.GuardsIntact() && cr.GuardsIntact());
  }
  D same[2] = {1, 2};
  Copy(same, same, 2);
  EXPECT_EQ(same[1], 2.0);
}

TEST(KernelsMove, MoveHandlesOverlapBothWays) {
  std::vector<D> up(10), down(10);
  std::iota(up.begin(), up.end(), 0.0);
  std::iota(down.begin(), down.end(), 0.0);
  Move(up.data(), up.data() + 2, 7);  // shift up by 2
  Move(down.data() + 2, down.data(), 7);  // shift down by 2
  const std::vector<D> want_up = {0, 1, 0, 1, 2, 3, 4, 5, 6, 9};
  const std::vector<D> want_down = {2, 3, 4, 5, 6, 7, 8, 7, 8, 9};
  EXPECT_EQ(up, want_up);
  EXPECT_EQ(down, want_down);
  C z[4] = {{1, 1}, {2, 2}, {3, 3}, {4, 4}};
  Move(z, z + 1, 3);
  EXPECT_TRUE(Same(z[3], C{3, 3}) && Same(z[1], C{1, 1}));
}

TEST(KernelsMove, ReverseOutOfPlaceAndInPlace) {
  for (ptrdiff_t n : kLengths) {
    Guarded<D> x(n, 1), r(n, 3);
    Guarded<C> cx(n, 2), cr(n, 0);
    for (ptrdiff_t i = 0; i < n; ++i) x[i] = static_cast<D>(i), cx[i] = {static_cast<D>(i), -static_cast<D>(i)};
    Reverse(x.data(), r.data(), n);
    Reverse(cx.data(), cr.data(), n);
    for (ptrdiff_t i = 0; i < n; ++i) {
      ASSERT_EQ(r[i], static_cast<D>(n - 1 - i));
      ASSERT_EQ(cr[i].Im, -static_cast<D>(n - 1 - i));
    }
    Reverse(x.data(), x.data(), n);
    Reverse(cx.data(), cx.data(), n);
    for (ptrdiff_t i = 0; i < n; ++i) {
      ASSERT_EQ(x[i], static_cast<D>(n - 1 - i)) << "in place n=" << n;
      ASSERT_EQ(cx[i].Re, static_cast<D>(n - 1 - i)) << "in place n=" << n;
    }
    EXPECT_TRUE(r.GuardsIntact() && cr.GuardsIntact() && x.GuardsIntact() && cx.GuardsIntact());
  }
}

TEST(KernelsMove, CumSumRunsLeftToRight) {
  D x[5] = {1, 2, 3, 4, 5};
  D r[5];
  CumSum(x, r, 5);
  const D want[] = {1, 3, 6, 10, 15};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(r[i], want[i]);
  CumSum(x, x, 5);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(x[i], want[i]);
  // Left-to-right order is visible in rounding: 1 + 1e-16 + 1e-16 stays 1 each step.
  const D tiny[3] = {1.0, 1e-16, 1e-16};
  CumSum(tiny, r, 3);
  EXPECT_EQ(r[2], 1.0);
  C z[3] = {{1, -1}, {2, -2}, {kNaN, 0}};
  CumSum(z, z, 3);
  EXPECT_TRUE(Same(z[1], C{3, -3}));
  EXPECT_TRUE(std::isnan(z[2].Re) && z[2].Im == -3.0);
}

}  // namespace
}  // namespace quorel::kern::test
