#include "quorel/platform/kernels_convert.h"
#include "quorel/platform/kernels_round.h"

#include <cfenv>
#include <cfloat>
#include <climits>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

using std::ptrdiff_t;
using D = double;
using C = TCplx;

double SgnRef(double b) {
  if (b > 0) return 1.0;
  if (b < 0) return -1.0;
  return 0.0;  // zero and NaN
}
double SgnRef(C b) { return b.Re != 0.0 ? SgnRef(b.Re) : SgnRef(b.Im); }

template <class A, class B, class R>
auto Pick(void (*k)(const A*, const B*, R*, ptrdiff_t)) { return k; }

TEST(KernelsRound, CeilFloorFracAndTruncAndFrac) {
  CheckUnary<D, D>("Ceil", Ceil, [](D x) { return std::ceil(x); });
  CheckUnary<D, D>("Floor", Floor, [](D x) { return std::floor(x); });
  CheckUnary<D, D>("Frac", Frac, [](D x) { return x - std::trunc(x); });
  const D x[] = {2.75, -2.75, -0.5, 1e300, kInf, kNaN, -0.0};
  D t[7], f[7];
  TruncAndFrac(x, t, f, 7);
  const D want_t[] = {2, -2, -0.0, 1e300, kInf, kNaN, -0.0};
  const D want_f[] = {0.75, -0.75, -0.5, 0, kNaN, kNaN, 0.0};
  for (int i = 0; i < 7; ++i) {
    EXPECT_TRUE(Same(t[i], want_t[i])) << i << " " << t[i];
    EXPECT_TRUE(Same(f[i], want_f[i])) << i << " " << f[i];
  }
}

TEST(KernelsRound, RemainderKeepsTheSignOfX) {
  CheckBinary<D, D, D>("Rem", Pick<D, D, D>(Rem), [](D x, D y) { return x - y * std::trunc(x / y); });
  CheckUnary<D, D>("Rem value", [](const D* x, D* r, ptrdiff_t n) { Rem(x, 2.5, r, n); },
                   [](D x) { return x - 2.5 * std::trunc(x / 2.5); });
  const D x[] = {-7, 7, 7, 1};
  const D y[] = {3, -3, 6.283185307179586, 0};
  D r[4];
  Rem(x, y, r, 4);
  EXPECT_EQ(r[0], -1.0);
  EXPECT_EQ(r[1], 1.0);
  EXPECT_EQ(r[2], 7 - 6.283185307179586);
  EXPECT_TRUE(std::isnan(r[3]));
}

TEST(KernelsRound, SignMultiplyInFourForms) {
  CheckBinary<D, D, D>("SgnMul dd", Pick<D, D, D>(SgnMul), [](D a, D b) { return a * SgnRef(b); });
  CheckBinary<C, C, C>("SgnMul cc", Pick<C, C, C>(SgnMul), [](C a, C b) {
    const double s = SgnRef(b);
    return C{a.Re * s, a.Im * s};
  });
  CheckBinary<C, D, C>("SgnMul cd", Pick<C, D, C>(SgnMul), [](C a, D b) { return C{a.Re * SgnRef(b), a.Im * SgnRef(b)}; });
  CheckBinary<D, C, D>("SgnMul dc", Pick<D, C, D>(SgnMul), [](D a, C b) { return a * SgnRef(b); });
  const D five[] = {5, 5, 5};
  const D s[] = {2, -3, 0};
  D r[3];
  SgnMul(five, s, r, 3);
  EXPECT_TRUE(Same(r[0], 5.0) && Same(r[1], -5.0) && Same(r[2], 0.0));
  // The complex sign looks at Im only when Re is zero.
  const C z[] = {{0, -2}, {0, 0}, {-0.0, 3}, {-1, 100}};
  D q[4];
  const D ones[] = {1, 1, 1, 1};
  SgnMul(ones, z, q, 4);
  EXPECT_EQ(q[0], -1.0);
  EXPECT_EQ(q[1], 0.0);
  EXPECT_EQ(q[2], 1.0);
  EXPECT_EQ(q[3], -1.0);
}

// Reference: NaN -> 0, saturation at the type's limits, rounding as asked.
template <class I>
I ToIntRef(double x, TRounding rounding) {
  if (std::isnan(x)) return 0;
  const double r = rounding == rnRound ? std::nearbyint(x) : std::trunc(x);
  if (r <= static_cast<double>(std::numeric_limits<I>::min())) return std::numeric_limits<I>::min();
  if (r >= static_cast<double>(std::numeric_limits<I>::max())) return std::numeric_limits<I>::max();
  return static_cast<I>(r);
}

template <class I>
void SweepToInt(const char* name) {
  Values values(99);
  const double range = 2.5 * static_cast<double>(std::numeric_limits<I>::max());
  for (ptrdiff_t n : kLengths) {
    Guarded<D> x(n, 1);
    for (ptrdiff_t i = 0; i < n; ++i)
      x[i] = i % 5 == 0 ? values.Real() * 1e9 : std::uniform_real_distribution<double>(-range, range)(values.gen());
    for (TRounding rounding : {rnRound, rnTrunc}) {
      Guarded<I> r(n, 3);
      Convert(x.data(), r.data(), n, rounding);
      for (ptrdiff_t i = 0; i < n; ++i)
        ASSERT_EQ(r[i], ToIntRef<I>(x[i], rounding)) << name << " x=" << Show(x[i]) << " mode " << int(rounding);
      ASSERT_TRUE(r.GuardsIntact()) << name << " n=" << n;
      Guarded<D> back(n, 2);
      Convert(r.data(), back.data(), n);
      for (ptrdiff_t i = 0; i < n; ++i) ASSERT_EQ(back[i], static_cast<double>(r[i])) << name;
    }
  }
}

TEST(KernelsConvert, DoubleToIntegersSaturatesAndRounds) {
  const D x[] = {3e9, -3e9, 2.5, 3.5, -2.5, -0.5, 1.5, -1.7, kNaN, kInf, -kInf, 2147483647.6, -2147483648.9};
  const std::int32_t round[] = {INT_MAX, INT_MIN, 2, 4, -2, 0, 2, -2, 0, INT_MAX, INT_MIN, INT_MAX, INT_MIN};
  const std::int32_t trunc[] = {INT_MAX, INT_MIN, 2, 3, -2, 0, 1, -1, 0, INT_MAX, INT_MIN, INT_MAX, INT_MIN};
  std::int32_t r[13];
  Convert(x, r, 13, rnRound);
  for (int i = 0; i < 13; ++i) EXPECT_EQ(r[i], round[i]) << "round " << x[i];
  Convert(x, r, 13, rnTrunc);
  for (int i = 0; i < 13; ++i) EXPECT_EQ(r[i], trunc[i]) << "trunc " << x[i];

  // Ties go to even whatever the processor's rounding mode.
  const int mode = std::fegetround();
  std::fesetround(FE_UPWARD);
  Convert(x + 2, r, 3, rnRound);
  std::fesetround(mode);
  EXPECT_EQ(r[0], 2);
  EXPECT_EQ(r[1], 4);
  EXPECT_EQ(r[2], -2);

  const D small[] = {300, -300, 255.5, -128.5, 65535.5, -1};
  std::uint8_t u8[6];
  std::int8_t i8[6];
  std::uint16_t u16[6];
  std::uint32_t u32[6];
  Convert(small, u8, 6, rnRound);
  Convert(small, i8, 6, rnRound);
  Convert(small, u16, 6, rnRound);
  Convert(small, u32, 6, rnTrunc);
  EXPECT_EQ(u8[0], 255);
  EXPECT_EQ(u8[1], 0);
  EXPECT_EQ(u8[2], 255);  // 255.5 ties to 256, saturated
  EXPECT_EQ(i8[3], -128);
  EXPECT_EQ(u16[4], 65535);
  EXPECT_EQ(u32[5], 0u);
}

TEST(KernelsConvert, EveryIntegerTypeOverTheSweep) {
  SweepToInt<std::int32_t>("int32");
  SweepToInt<std::uint32_t>("uint32");
  SweepToInt<std::int16_t>("int16");
  SweepToInt<std::uint16_t>("uint16");
  SweepToInt<std::int8_t>("int8");
  SweepToInt<std::uint8_t>("uint8");
}

TEST(KernelsConvert, DoubleToSingleSaturatesFiniteValues) {
  const D x[] = {1e39, -1e39, kInf, -kInf, kNaN, 0.1, 3.4028235677973366e38, 1e-50, -0.0};
  float r[9];
  Convert(x, r, 9);
  EXPECT_EQ(r[0], FLT_MAX);
  EXPECT_EQ(r[1], -FLT_MAX);
  EXPECT_EQ(r[2], std::numeric_limits<float>::infinity());
  EXPECT_EQ(r[3], -std::numeric_limits<float>::infinity());
  EXPECT_TRUE(std::isnan(r[4]));
  EXPECT_EQ(r[5], 0.1f);
  EXPECT_EQ(r[6], FLT_MAX);
  EXPECT_EQ(r[7], 0.0f);
  EXPECT_TRUE(std::signbit(r[8]));
  double back[9];
  Convert(r, back, 9);
  EXPECT_EQ(back[5], static_cast<double>(0.1f));
  // Tails of the vector loop.
  for (ptrdiff_t n : kLengths) {
    Guarded<D> v(n, 1);
    Guarded<float> f(n, 2);
    for (ptrdiff_t i = 0; i < n; ++i) v[i] = (i % 2 ? -1.0 : 1.0) * (i + 0.1) * 1e37;
    Convert(v.data(), f.data(), n);
    for (ptrdiff_t i = 0; i < n; ++i)
      ASSERT_EQ(f[i], std::fabs(v[i]) > FLT_MAX ? std::copysign(FLT_MAX, v[i]) : static_cast<float>(v[i]));
    ASSERT_TRUE(f.GuardsIntact());
  }
}

}  // namespace
}  // namespace quorel::kern::test
