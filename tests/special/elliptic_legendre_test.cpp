// Complete and Jacobi elliptic functions and associated Legendre functions: accuracy against
// high-precision references, the established special cases, messages and NaN rules.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"
#include "quorel/special/special_funcs.h"
#include "support/support.h"

namespace quorel {
namespace {

constexpr double kEps = 0x1p-52;
const double kTol = 0x1p-52;

// Raises the runtime's base exception itself, not one of the library's EQuorel classes.
template <class F>
void ExpectBaseException(F&& f, const char* msg) {
  try {
    f();
    ADD_FAILURE() << "no exception, expected " << msg;
  } catch (const EQuorelException& e) {
    ADD_FAILURE() << "EQuorelException " << e.what();
  } catch (const Exception& e) {
    EXPECT_STREQ(e.what(), msg);
  }
}

// A tolerance double cannot reach (zero, negative, below an ulp) gives the converged values: the
// AGM ends once a and b stop approaching, instead of cycling until its terms overflow.
TEST(SpecialElliptic, AgainstReferenceForEveryTolerance) {
  auto rows = test::ReadReference("special_elliptic.txt");
  for (double tol : {kTol, 0.0, -1.0, 1e-20, 1e-17}) {
    for (const auto& r : rows.at("K")) {
      double e = -1;
      double k = EllipComplete(r[0], tol, e);
      EXPECT_LE(test::RelativeError(k, r[1]), 4 * kEps) << "K(" << r[0] << ") Tol " << tol;
      EXPECT_LE(test::RelativeError(e, r[2]), 4 * kEps) << "E(" << r[0] << ") Tol " << tol;
    }
    for (const auto& r : rows.at("J")) {
      double sn, cn, dn;
      EllipJacoby(r[0], r[1], tol, sn, cn, dn);
      // The angle recursion carries an absolute error growing with |u|.
      double tolAbs = 4 * kEps * std::max(1.0, std::fabs(r[0]));
      EXPECT_NEAR(sn, r[2], tolAbs) << "u=" << r[0] << " m=" << r[1] << " Tol " << tol;
      EXPECT_NEAR(cn, r[3], tolAbs) << "u=" << r[0] << " m=" << r[1] << " Tol " << tol;
      EXPECT_NEAR(dn, r[4], tolAbs) << "u=" << r[0] << " m=" << r[1] << " Tol " << tol;
    }
  }
}

TEST(SpecialElliptic, SpecialValuesAndMessages) {
  double e = 0;
  EXPECT_EQ(EllipComplete(0, kTol, e), M_PI / 2);
  EXPECT_EQ(e, M_PI / 2);
  EXPECT_EQ(EllipComplete(1, kTol, e), std::numeric_limits<double>::infinity());
  EXPECT_EQ(e, 1);
  for (double m : {1.5, -0.25, std::numeric_limits<double>::infinity()})
    ExpectBaseException([&] { EllipComplete(m, kTol, e); }, "EllipComplete: (m < 0) or (1 < m)");
  ExpectBaseException([&] { EllipComplete(1.0000000000000002); }, "EllipComplete: (m < 0) or (1 < m)");
  for (double u : {0.3, -1.1, 4.0}) {
    double sn, cn, dn;
    EllipJacoby(u, 0, kTol, sn, cn, dn);  // no AGM step: the angle is doubled
    EXPECT_EQ(sn, std::sin(2 * u));
    EXPECT_EQ(cn, std::cos(2 * u));
    EXPECT_EQ(dn, 1);
    EllipJacoby(u, 1, kTol, sn, cn, dn);
    EXPECT_EQ(sn, std::tanh(u));
    EXPECT_EQ(cn, 1 / std::cosh(u));
    EXPECT_EQ(dn, 1 / std::cosh(u));
    EllipJacoby(u, 1, 0, sn, cn, dn);  // unreachable tolerance: still ends
    EXPECT_EQ(sn, std::tanh(u));
  }
  double sn = 7, cn = 7, dn = 7;
  ExpectBaseException([&] { EllipJacoby(1, 1.5, kTol, sn, cn, dn); }, "EllipJacoby: (m < 0) or (1 < m)");
  ExpectBaseException([&] { EllipJacoby(1, -1e-300, kTol, sn, cn, dn); }, "EllipJacoby: (m < 0) or (1 < m)");
  EXPECT_EQ(sn, 7);
}

TEST(SpecialLegendre, ScalarAgainstReference) {
  auto rows = test::ReadReference("special_elliptic.txt");
  double worst = 0;
  for (const auto& r : rows.at("P")) {
    auto n = static_cast<std::int32_t>(r[0]), m = static_cast<std::int32_t>(r[1]);
    double got = LegendreP(n, m, r[2]), want = r[3];
    // Relative to the size of the function on [-1, 1], since P has zeros inside.
    double size = std::max({std::fabs(want), std::fabs(LegendreP(n, m, 0.0)), std::fabs(LegendreP(n, m, 0.5)),
                            std::fabs(LegendreP(n, m, -0.9))});
    double err = std::fabs(got - want) / size;
    worst = std::max(worst, err / kEps);
    EXPECT_LE(err, 16 * kEps) << "P(" << n << ", " << m << ", " << r[2] << ") = " << got << " want " << want;
  }
  RecordProperty("legendre_worst_eps", static_cast<int>(worst));
}

TEST(SpecialLegendre, NaNRulesAndSpecialValues) {
  struct Case { std::int32_t n, m; double x; };
  for (Case c : {Case{2, 3, 0.5}, Case{1, 0, 1.5}, Case{3, -1, 0.2}, Case{2, 0, -1.0000000000000002},
                 Case{2, 1, std::numeric_limits<double>::quiet_NaN()}})
    EXPECT_TRUE(std::isnan(LegendreP(c.n, c.m, c.x))) << c.n << " " << c.m << " " << c.x;
  for (double x : {-1.0, -0.6, 0.0, 0.3, 1.0}) {
    EXPECT_DOUBLE_EQ(LegendreP(1, 1, x), -std::sqrt(1 - x * x)) << x;
  }
  EXPECT_EQ(LegendreP(40, 1.0), 1);
  EXPECT_EQ(LegendreP(41, -1.0), -1);
}

TEST(SpecialLegendre, VectorForm) {
  TVec res;
  LegendreP(12, -0.35, res);
  ASSERT_EQ(res.Length(), 13);
  EXPECT_FALSE(res.Complex());
  for (std::int32_t k = 0; k <= 12; ++k) EXPECT_EQ(res[k], LegendreP(k, -0.35)) << k;
  LegendreP(3, 2.0, res);
  for (std::int32_t k = 0; k <= 3; ++k) EXPECT_TRUE(std::isnan(res[k]));
  // Refused input leaves Res as it was.
  TVec c;
  c.Size(2, true);
  ExpectBaseException([&] { LegendreP(3, 0.5, c); }, "Result = Complex");
  EXPECT_EQ(c.Length(), 2);
  LegendreP(2, 0.5, res);
  ExpectBaseException([&] { LegendreP(-1, 0.5, res); }, "n < 0");
  EXPECT_EQ(res.Length(), 3);
  EXPECT_EQ(res[2], LegendreP(2, 0.5));
}

}  // namespace
}  // namespace quorel
