// Tolerance comparisons of reals and the ordering of complex values.
#include <gtest/gtest.h>

#include "quorel/core/complex_compare.h"
#include "quorel/core/constants.h"

namespace quorel {
namespace {

TEST(RealCompare, SpecialValuesCompareByClassAndTolerances) {
  // The tolerance is inclusive for Equal, strict for the order; NaNs and infinities match by class.
  const struct { double a, b, tol; bool equal; } rows[] = {
      {NaN, NaN, 0, true},  {1, NaN, 1e300, false}, {INF, -INF, 0, true},     {INF, NaN, 1, false},
      {1e308, INF, INF, false}, {1, 1.5, 0.5, true}, {1, 1.5000001, 0.5, false},
      {1e308, -1e308, INF, true}};  // the difference does not overflow
  for (const auto& r : rows) EXPECT_EQ(Equal(r.a, r.b, r.tol), r.equal) << r.a << " " << r.b << " " << r.tol;
  EXPECT_TRUE(Equal(-NaN, NaN) && Equal(-INF, INF) && Equal(-0.0, 0.0));
  EXPECT_FALSE(Equal(NaN, 1) || Equal(0.1 + 0.2, 0.3));
  EXPECT_FALSE(Bigger(2, 1, 1) || Smaller(1, 2, 1) || Bigger(NaN, 1, 0) || Smaller(1, NaN, 0));
  EXPECT_TRUE(Bigger(2.5, 1, 1) && Smaller(1, 2.5, 1) && Bigger(INF, 1, 0));
}

TEST(RealCompare, Classification) {
  EXPECT_TRUE(IsNan(NaN) && !IsNan(INF) && !IsNan(4.9e-324));
  EXPECT_TRUE(IsInf(-INF) && !IsInf(NaN) && !IsInf(1.7976931348623157e308));
  EXPECT_TRUE(IsNanInf(NaN) && IsInfNan(-INF) && !IsNanInf(0.0));
  EXPECT_TRUE(IsNan(TCplx{1, NaN}) && IsInf(TCplx{-INF, 0}) && !IsNanInf(TCplx{1, 2}));
}

TEST(ComplexCompare, EqualIsComponentWise) {
  EXPECT_TRUE(Equal(TCplx{1, 1}, TCplx{1.4, 0.6}, 0.5));  // |difference| = 0.57 > 0.5
  EXPECT_TRUE(Equal(TCplx{NaN, 0}, TCplx{0, NaN}, 0) && Equal(TCplx{INF, 0}, TCplx{0, -INF}));
  EXPECT_FALSE(Equal(TCplx{1, 1}, TCplx{1.6, 1}, 0.5) || Equal(TCplx{INF, 0}, TCplx{1, 0}, 1e300));
  EXPECT_FALSE(Equal(TCplx{1, 2}, TCplx{1, 2.0000001}) || Equal(TCplx{2, 1e-9}, 2.0));
  EXPECT_TRUE(Equal(TCplx{2, 0}, 2.0) && Equal(2.0, TCplx{2, 1e-9}, 1e-8));
}

TEST(ComplexCompare, OrderByModulusThenPhaseAndMaxMin) {
  EXPECT_TRUE(Bigger(TCplx{3, 0}, TCplx{0, 2}) && Smaller(TCplx{1, 0}, TCplx{0, 1}));
  EXPECT_TRUE(Bigger(TCplx{0, 1}, TCplx{1, 0}));  // equal moduli: the phase decides
  EXPECT_FALSE(Bigger(TCplx{0, -1}, TCplx{1, 0}));
  // Equal moduli walk the circle from -pi to pi: each point is bigger than all before it.
  const TCplx circle[] = {{-1, -1e-9}, {-0.6, -0.8}, {0, -1}, {0.6, -0.8}, {1, 0},
                          {0.6, 0.8},  {0, 1},       {-0.6, 0.8}, {-1, 0}};
  for (std::size_t i = 0; i < std::size(circle); ++i) {
    for (std::size_t j = 0; j < std::size(circle); ++j) {
      EXPECT_EQ(Bigger2(circle[i], circle[j]), i > j) << i << " " << j;
      EXPECT_EQ(Smaller2(circle[i], circle[j]), i < j) << i << " " << j;
    }
  }
  // A real operand counts by its modulus, ties broken by phase.
  EXPECT_FALSE(Bigger(TCplx{2, 0}, -3.0));
  EXPECT_TRUE(Bigger(TCplx{0, 4}, -3.0) && Bigger(TCplx{0, 3}, 3.0));
  EXPECT_TRUE(Smaller(TCplx{0, -3}, -3.0));  // class 2 comes before the class 4 of (-3, 0)
  const TCplx a{1, 2}, b{2, 1};
  EXPECT_TRUE(BiggerOrEqual(a, a) && SmallerOrEqual(a, a));
  EXPECT_TRUE(BiggerOrEqual(a, b));  // same modulus, a has the larger phase
  EXPECT_FALSE(SmallerOrEqual(a, b));
  EXPECT_TRUE(Max(a, b) == a && Min(a, b) == b);
}

}  // namespace
}  // namespace quorel
