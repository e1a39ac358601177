// Special values and the accuracy-critical corners of the elementary real functions.
#include <cmath>

#include <gtest/gtest.h>

#include "accuracy.h"
#include "quorel/core/constants.h"
#include "quorel/core/scalar_real.h"

namespace quorel {
namespace {

using test::UlpDistance;

TEST(RealFunctions, DomainErrorsGiveNanOrInfinity) {
  EXPECT_EQ(Ln(0), -INF);
  EXPECT_TRUE(std::isnan(Ln(-1)));
  EXPECT_EQ(Ln(INF), INF);
  EXPECT_EQ(Ln1(-1), -INF);
  EXPECT_TRUE(std::isnan(Ln1(-2)));
  EXPECT_EQ(Log2(1), 0);
  EXPECT_EQ(Log2X(1), 0);
  EXPECT_TRUE(std::isnan(Log10(-1e-300)));
  EXPECT_TRUE(std::isnan(ArcSin(1.0000000000000002)));
  EXPECT_TRUE(std::isnan(ArcCos(-2)));
  EXPECT_TRUE(std::isnan(ArcCosh(0.5)));
  EXPECT_EQ(ArcTanh(1), INF);
  EXPECT_EQ(ArcTanh(-1), -INF);
  EXPECT_TRUE(std::isnan(ArcTanh(1.5)));
  EXPECT_TRUE(std::isnan(ArcSec(0.5)));
  EXPECT_TRUE(std::isnan(ArcSech(-0.5)));
  EXPECT_TRUE(std::isnan(ArcCoth(0.5)));
  EXPECT_EQ(Exp(-INF), 0);
  EXPECT_EQ(Exp(710), INF);
  EXPECT_TRUE(std::isnan(Power(-8, 1.0 / 3)));
  EXPECT_EQ(IntPower(0, -1), INF);
  EXPECT_EQ(IntPower(NaN, 0), 1);
  EXPECT_TRUE(std::isnan(Sin(INF)));
  EXPECT_TRUE(std::isnan(Sin(NaN)));
}

TEST(RealFunctions, SignsOfZerosAndLimits) {
  EXPECT_TRUE(std::signbit(ArcSin(-0.0)));
  EXPECT_TRUE(std::signbit(TanhX(-0.0)));
  EXPECT_EQ(TanhX(1000), 1);
  EXPECT_EQ(TanhX(-1000), -1);
  EXPECT_EQ(ArcCot(0.0), PIDIV2);
  EXPECT_EQ(ArcCot(-0.0), -PIDIV2);
  EXPECT_EQ(ArcCot(-1.0), -PI / 4);
  EXPECT_EQ(ArcSec(-1.0), PI);
  EXPECT_EQ(ArcSec(INF), PIDIV2);
  EXPECT_EQ(ArcTan2(0.0, -1.0), PI);
  EXPECT_EQ(ArcTan2(-0.0, -1.0), -PI);
  EXPECT_EQ(ArcTan(INF), PIDIV2);
}

TEST(RealFunctions, SmallArgumentsKeepRelativeAccuracy) {
  // Values whose correctly rounded results are known in closed form to double precision.
  EXPECT_EQ(Ln1(1e-300), 1e-300);
  EXPECT_LE(UlpDistance(Ln1(-1e-10), -1.00000000005000000000333e-10), 1u);
  EXPECT_LE(UlpDistance(Log2X(1 + 0x1p-52), 0x1p-52 / 0.69314718055994530942), 1u);
  EXPECT_LE(UlpDistance(Log2X(0.8), -0.32192809488736234787), 1u);
  EXPECT_LE(UlpDistance(ArcCos(1 - 0x1p-53), 1.4901161193847656803e-8), 1u);
  EXPECT_EQ(Tanh(1e-300), 1e-300);
  EXPECT_EQ(TanhX(1e-300), 1e-300);
  EXPECT_EQ(Sinh(1e-300), 1e-300);
  EXPECT_LE(UlpDistance(IntPower(2, -1074), 4.9406564584124654e-324), 0u);
  EXPECT_EQ(IntPower(-2, 3), -8);
  EXPECT_EQ(IntPower(10, 22), 1e22);
  EXPECT_EQ(Pythag(3e300, 4e300), 5e300);
  EXPECT_EQ(Pythag(3e-300, 4e-300), 5e-300);
}

}  // namespace
}  // namespace quorel
