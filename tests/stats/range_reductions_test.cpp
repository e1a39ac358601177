// Reductions on objects at the edges: NaN rows of the infinity norm, values near the top of the
// double range (whose partial results overflow although the result does not), and the memory
// the median borrows for its copy.
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <vector>

#include <gtest/gtest.h>

#include "quorel/core/constants.h"
#include "quorel/elementwise/statistics.h"
#include "quorel/objects/controller.h"
#include "support/allocation_counter.h"
#include "support/support.h"

namespace quorel {
namespace {

using test::Cplx;
using test::CplxMtx;
using test::Real;
using test::RealMtx;

TEST(MatrixNorms, InfinityNormKeepsNaN) {
  // A NaN row sum is not dropped by the maximum, wherever the row is; Norm1 agrees.
  const TMtx cases[] = {RealMtx(1, 1, {NaN}), RealMtx(2, 2, {1, 2, NaN, 3}), RealMtx(3, 1, {INF, NaN, 1}),
                        RealMtx(2, 2, {NaN, 1, 5, 6}), CplxMtx(1, 2, {{NaN, 0}, {1, 0}})};
  for (const TMtx& a : cases) {
    EXPECT_TRUE(std::isnan(a.NormInf())) << a.Rows() << "x" << a.Cols();
    EXPECT_TRUE(std::isnan(NormInf(a)));
    EXPECT_TRUE(std::isnan(a.Norm1()));
  }
  EXPECT_EQ(RealMtx(2, 2, {1, -2, 3, 4}).NormInf(), 7.0);
  EXPECT_EQ(RealMtx(2, 1, {INF, 1}).NormInf(), INF);
  TMtx no_cols;
  no_cols.Size(3, 0);
  EXPECT_EQ(no_cols.NormInf(), 0.0);
}

// 1e308 and -1e308 (or 1e300 and 1e-300) in turn: the lanes of the reductions hold every
// eighth value, so some lanes overflow and others cancel or underflow.
TVec Alternating(std::int32_t n, double even, double odd) {
  TVec x;
  x.SetLength(n);
  for (std::int32_t i = 0; i < n; ++i) x[i] = i % 2 ? odd : even;
  return x;
}

TEST(Reductions, PartialResultsBeyondTheRange) {
  const TVec top = Real({1.5e308, 1.5e308});  // the sum itself is beyond the range
  EXPECT_EQ((std::vector{top.Mean(), top.RMS(), RMS(top, 0, 2), top.Sum()}),
            (std::vector{1.5e308, 1.5e308, 1.5e308, INF}));
  const TVec ztop = Cplx({{1.2e308, 0.9e308}, {-0.9e308, 1.2e308}});
  EXPECT_NEAR(ztop.RMS(), 1.5e308, 4 * test::kEps * 1.5e308);
  const TCplx zmean = ztop.Meanc();
  EXPECT_NEAR(zmean.Re, 0.15e308, 4 * test::kEps * 1.2e308);
  EXPECT_NEAR(zmean.Im, 1.05e308, 4 * test::kEps * 1.05e308);

  // Short (one kernel) and long (the threaded dot product) forms.
  for (std::int32_t n : {16, 40000}) {
    const TVec pm = Alternating(n, 1e308, -1e308);
    const TVec ones = Alternating(n, 1, 1);
    TMtx row(1, n);
    for (std::int32_t j = 0; j < n; ++j) row.Values(0, j) = pm[j];
    TVec sums;
    row.SumRows(sums);
    EXPECT_EQ((std::vector{pm.Sum(), pm.Mean(), pm.DotProd(ones), sums[0]}), std::vector(4, 0.0)) << n;
    TVec with_nan = pm;
    with_nan[n - 1] = NaN;
    EXPECT_TRUE(std::isnan(with_nan.DotProd(ones)) && std::isnan(with_nan.Sum())) << n;
  }

  // A product whose running value never leaves the range is finite (1 up to rounding).
  const TVec ratios = Alternating(16, 1e300, 1e-300);
  EXPECT_NEAR(ratios.Product(), 1.0, 16 * test::kEps);
  EXPECT_NEAR(Alternating(17, -1e300, 1e-300).Product(), -1e300, 17 * test::kEps * 1e300);
  TVec zratios;
  zratios.Size(16, true);
  for (std::int32_t i = 0; i < 16; ++i) *zratios.PCValues(i) = i % 2 ? TCplx{1e-300, 0} : TCplx{0, 1e300};
  const TCplx zp = zratios.Productc();  // i^8
  EXPECT_NEAR(zp.Re, 1.0, 16 * test::kEps);
  EXPECT_EQ(zp.Im, 0.0);
}

long ResidentKiB() {
  std::ifstream statm("/proc/self/statm");
  long size = 0, resident = 0;
  statm >> size >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

TEST(Median, CopyIsGivenBack) {
  // Once warm, a small median allocates nothing.
  const TVec small = Real({5, 1, 4, 2, 3});
  EXPECT_EQ(small.Median(), 3.0);
  double m = 0;
  const long allocations = test::AllocationsDuring([&] { m = small.Median(); });
  EXPECT_EQ(m, 3.0);
  if (test::AllocationCounting()) EXPECT_EQ(allocations, 0);

  // A large median leaves no copy of its range behind once the cache lets go of spare blocks.
  constexpr std::int32_t n = 1 << 21;  // 16 MiB of doubles
  TVec x;
  x.SetLength(n);
  for (std::int32_t i = 0; i < n; ++i) x[i] = static_cast<double>((i * 7919LL) % n);
  const long before = ResidentKiB();
  EXPECT_EQ(x.Median(), (n - 1) * 0.5);
  Controller->FreeMKLMemory();
  // Sanitizer allocators hold freed blocks in quarantine: resident memory says nothing there.
  if (test::AllocationCounting()) EXPECT_LT(ResidentKiB() - before, 4096);
  EXPECT_EQ(x[1], 7919.0);  // Self keeps its order
}

}  // namespace
}  // namespace quorel
