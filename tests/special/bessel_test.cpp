// Bessel, Hankel and Airy functions against high-precision references: every value correctly
// rounded, the scaled forms included; the origin, negative orders, error flags and extreme input.

#include <gtest/gtest.h>

#include <complex>
#include <cmath>
#include <limits>

#include "quorel/core/complex_arith.h"
#include "quorel/objects/controller.h"
#include "support/support.h"
#include "quorel/platform/arb.h"
#include "quorel/special/detail/fast_bessel.h"
#include "quorel/special/special_funcs.h"

namespace quorel {
namespace {

// Ulps by which `got` misses the correctly rounded `want`, the larger of the two parts. A part
// below 2^-52 of the other only has to be within 2^-52 of the other (its exact value may be 0).
std::uint64_t CplxUlps(TCplx got, TCplx want) {
  auto part = [](double g, double w, double other) {
    double small = 0x1p-52 * std::fabs(other);
    if (std::fabs(w) < small && std::fabs(g - w) <= small) return std::uint64_t{0};
    return test::UlpDistance(g, w);
  };
  return std::max(part(got.Re, want.Re, want.Im), part(got.Im, want.Im, want.Re));
}

std::string Show(TCplx z) { return "(" + std::to_string(z.Re) + ", " + std::to_string(z.Im) + ")"; }

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TCplx Bessel(const std::string& name, double nu, TCplx z, bool scaled) {
  if (name == "J") return Besj(nu, z, scaled);
  if (name == "Y") return Besy(nu, z, scaled);
  if (name == "I") return Besi(nu, z, scaled);
  if (name == "K") return Besk(nu, z, scaled);
  return Besh(nu, z, scaled, name == "H1");
}

TEST(SpecialBessel, CorrectlyRoundedAgainstReference) {
  auto rows = test::ReadReference("special_bessel.txt");
  ASSERT_EQ(rows.size(), 6u);
  int checked = 0;
  for (const auto& [name, list] : rows) {
    std::uint64_t worstNegative = 0;
    for (const auto& r : list) {
      double nu = r[0];
      TCplx z{r[1], r[2]}, want{r[4], r[5]};
      bool scaled = r[3] != 0;
      TCplx got = Bessel(name, nu, z, scaled);
      ++checked;
      if (nu >= 0) {
        EXPECT_EQ(CplxUlps(got, want), 0u) << name << " nu=" << nu << " z=" << Show(z) << " scaled=" << scaled
                                           << " got " << Show(got) << " want " << Show(want);
        continue;
      }
      // Negative orders combine two rounded values in double: a few ulps of the larger term.
      double scale = std::hypot(want.Re, want.Im);
      double err = std::hypot(got.Re - want.Re, got.Im - want.Im) / scale;
      worstNegative = std::max(worstNegative, static_cast<std::uint64_t>(err / 0x1p-53));
      EXPECT_LT(err, 8 * 0x1p-52) << name << " nu=" << nu << " z=" << Show(z) << " scaled=" << scaled;
    }
    RecordProperty(name + "_negative_order_worst_half_ulps", static_cast<int>(worstNegative));
  }
  EXPECT_GT(checked, 1000);
}

// The series path returns only values it has proved correctly rounded: on a dense sweep of its
// region it must agree bit for bit with the ball evaluation, and it must settle nearly all of them.
// The sweep covers every order it accepts (the 1/Gamma divisor up to 12 factors), integer orders
// (Y and K from the limit formula with digamma weights), orders just off an integer with large
// Re z (K's two terms cancel by up to 2^50 there, and the length of its series follows that
// cancellation), and arguments down to 2^-60 (powers of z far below 1).
TEST(SpecialBessel, SeriesPathMatchesBallEvaluation) {
  using detail::TBesselKind;
  std::uint64_t state = 12345;
  auto uniform = [&state] {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<double>(state >> 11) * 0x1p-53;
  };
  for (TBesselKind kind : {TBesselKind::J, TBesselKind::Y, TBesselKind::I, TBesselKind::K}) {
    int taken = 0, total = 0;
    for (int i = 0; i < 1500; ++i) {
      double nu = 12 * uniform(), r = 12 * std::sqrt(uniform()), t = 2 * M_PI * uniform();
      if (i % 5 == 0) nu = std::floor(nu) + 0.5;
      if (i % 7 == 0) nu = std::floor(nu);
      if (i % 13 == 0) {
        nu = std::round(nu) + (uniform() < 0.5 ? -1 : 1) * std::ldexp(1.0, -4 - static_cast<int>(20 * uniform()));
        t = (uniform() - 0.5) * M_PI * 0.8;
      }
      if (i % 17 == 0) r = 12 * std::ldexp(1.0, -static_cast<int>(64 * uniform()));
      nu = std::fabs(nu);
      TCplx z{r * std::cos(t), i % 11 == 0 ? 0.0 : r * std::sin(t)};
      for (bool scaled : {false, true}) {
        auto scale = scaled ? detail::ScaleOf(kind) : detail::TBesselScale::None;
        TCplx fast, portable;
        ++total;
        // The build without fused multiply-add rounds differently: it must be just as certain.
        const bool tookFast = detail::FastBessel(kind, nu, z, scale, fast);
        const bool tookPortable = detail::FastBesselPortable(kind, nu, z, scale, portable);
        if (!tookFast && !tookPortable) continue;
        taken += tookFast;
        int ierr = 0;
        TCplx ball = detail::ArbBessel(kind, nu, z, scale, ierr);
        if (tookFast)
          ASSERT_EQ(fast, ball) << static_cast<int>(kind) << " nu=" << nu << " z=" << Show(z) << " scaled=" << scaled
                                << " fast " << Show(fast) << " ball " << Show(ball);
        if (tookPortable)
          ASSERT_EQ(portable, ball) << static_cast<int>(kind) << " nu=" << nu << " z=" << Show(z)
                                    << " scaled=" << scaled << " portable " << Show(portable);
      }
    }
    RecordProperty("series_share_" + std::to_string(static_cast<int>(kind)), 100 * taken / total);
    // Each value the series path gives up costs a ball evaluation, about 30 times as much.
    EXPECT_GT(taken, total * 9 / 10) << static_cast<int>(kind);
  }
}

// Tiny arguments and large orders: (z/2)^nu near 1e-160, whose squared modulus (in 1 / (z/2)^nu)
// falls below the normal range. The values near 1e158 once came out a few ulps off.
TEST(SpecialBessel, LargeOrderNextToTheOrigin) {
  struct Case { bool k; double nu; TCplx z; };
  for (const Case& c : {Case{true, 9.3816620002808584, {-4.3170685139430069e-17, 7.1201402685524675e-17}},
                        Case{false, 11.256361622151797, {4.2427244017007898e-14, -4.1790538104311543e-15}},
                        Case{true, 9.5783207560575114, {-6.8911416194450842e-17, 1.5160675419403773e-16}}}) {
    auto kind = c.k ? detail::TBesselKind::K : detail::TBesselKind::Y;
    int ierr = 0;
    TCplx ball = detail::ArbBessel(kind, c.nu, c.z, detail::TBesselScale::None, ierr), fast;
    ASSERT_TRUE(detail::FastBessel(kind, c.nu, c.z, detail::TBesselScale::None, fast)) << c.nu << Show(c.z);
    EXPECT_EQ(fast, ball) << c.nu << Show(c.z);
  }
}

TEST(SpecialBessel, OriginAndPoles) {
  const TCplx zero{0, 0};
  for (double nu : {0.0, 1.5, -0.5, -2.0}) {
    for (bool scaled : {false, true}) {
      EXPECT_EQ(Besj(nu, zero, scaled), (TCplx{-kInf, -kInf})) << nu;
      EXPECT_EQ(Besy(nu, zero, scaled), (TCplx{-kInf, -kInf})) << nu;
      EXPECT_EQ(Besi(nu, zero, scaled), (TCplx{-kInf, -kInf})) << nu;
      EXPECT_EQ(Besk(nu, zero, scaled), (TCplx{kInf, kInf})) << nu;
    }
  }
  EXPECT_EQ(Besj(0, 0.0), (TCplx{-kInf, -kInf}));
  TCplx h = Besh(1, zero);
  EXPECT_TRUE(std::isnan(h.Re) && std::isnan(h.Im));
  // Next to the origin the values are ordinary.
  EXPECT_EQ(Besj(0, TCplx{0x1p-600, 0}), (TCplx{1, 0}));
  EXPECT_EQ(Besi(0, TCplx{0, 0x1p-600}), (TCplx{1, 0}));
}

TEST(SpecialBessel, ReflectionOfNegativeOrders) {
  // Half-integer and integer orders have exact trigonometric factors, so these hold exactly.
  for (TCplx z : {TCplx{0.7, 0}, TCplx{-3, 2}, TCplx{5, -1.5}}) {
    EXPECT_EQ(Besj(-0.5, z), Neg(Besy(0.5, z))) << Show(z);
    EXPECT_EQ(Besj(-3, z), Neg(Besj(3, z))) << Show(z);
    EXPECT_EQ(Besi(-4, z), Besi(4, z)) << Show(z);
    EXPECT_EQ(Besk(-1.3, z, true), Besk(1.3, z, true)) << Show(z);
    // The first kind turns by e^{-i v pi}, the second by e^{+i v pi}: at v = 1/2 by -i and +i.
    TCplx h1 = Besh(0.5, z, false, true), h2 = Besh(0.5, z, false, false);
    EXPECT_EQ(Besh(-0.5, z, false, true), (TCplx{h1.Im, -h1.Re})) << Show(z);
    EXPECT_EQ(Besh(-0.5, z, false, false), (TCplx{-h2.Im, h2.Re})) << Show(z);
  }
}

TEST(SpecialBessel, ScaledFormsDoNotOverflow) {
  // I_0(x) ~ e^x / sqrt(2 pi x) and K_0(x) ~ sqrt(pi / 2x) e^{-x} far past the double range.
  for (double x : {1e3, 1e6, 1e12}) {
    EXPECT_EQ(Besi(0, x).Re, kInf);
    EXPECT_EQ(Besk(0, x).Re, 0);
    double asym = 1 / std::sqrt(2 * M_PI * x);
    EXPECT_NEAR(Besi(0, x, true).Re / asym, 1, 1 / x);
    EXPECT_NEAR(Besk(0, x, true).Re / (M_PI * asym), 1, 1 / x);
  }
  // J of a large imaginary argument grows like e^{|Im z|}.
  TCplx j = Besj(1, TCplx{0, 1e4});
  EXPECT_EQ(j.Re, 0);
  EXPECT_EQ(j.Im, kInf);
  EXPECT_NEAR(Besj(1, TCplx{0, 1e4}, true).Im * std::sqrt(2 * M_PI * 1e4), 1, 1e-3);
  // Where a Hankel function is exponentially small J +- iY cancels completely; the order 1/2 has
  // the closed forms e^{-iz} H1 = -i sqrt(2 / (pi z)) and e^{iz} H2 = i sqrt(2 / (pi z)).
  for (auto [z, first] : {std::pair{std::complex<double>(-3e5, 2e5), true}, {{40, 900}, true},
                          {{1e8, -1e8}, false}, {{-5, -700}, false}}) {
    std::complex<double> want = (first ? -1.0 : 1.0) * std::complex<double>(0, 1) * std::sqrt(2.0 / (M_PI * z));
    TCplx got = Besh(0.5, TCplx{z.real(), z.imag()}, true, first);
    EXPECT_LT(std::abs(std::complex<double>(got.Re, got.Im) - want), 4e-16 * std::abs(want)) << z;
  }
  // Next to an overflowing part the other part is still certified: e^{iz} H2_1(z) ~ -2/pi + i inf.
  TCplx tiny = Besh(1, TCplx{1e-320, 0}, true, false);
  EXPECT_EQ(tiny.Im, kInf);
  EXPECT_NEAR(tiny.Re, -2 / M_PI, 1e-15);
}

TEST(SpecialBessel, NonFiniteAndExtremeInput) {
  for (TCplx z : {TCplx{kNaN, 1}, TCplx{1, kNaN}, TCplx{kInf, 0}, TCplx{0, -kInf}}) {
    TCplx j = Besj(1, z);
    EXPECT_TRUE(std::isnan(j.Re) && std::isnan(j.Im)) << Show(z);
  }
  EXPECT_TRUE(std::isnan(Besk(kNaN, 1.0).Re));
  EXPECT_TRUE(std::isnan(Besy(kInf, 1.0).Re));
  EXPECT_EQ(Besj(1e15, 1.0), (TCplx{0, 0}));  // underflows
  EXPECT_EQ(Besj(1, 1e300).Im, 0);
  EXPECT_TRUE(std::isfinite(Besy(0.3, TCplx{-1e5, 1e-3}).Re));
  // At the turning point nu = x the series cancels through about 0.8 nu bits: certified up to
  // nu ~ 2e4 (J_nu(nu) ~ 0.4473073 / nu^{1/3}); beyond, the precision cap reports a total loss
  // and gives NaN rather than running on.
  int ierr = -1;
  TCplx turn = detail::ArbBessel(detail::TBesselKind::J, 1e4, TCplx{1e4, 0}, detail::TBesselScale::None, ierr);
  EXPECT_EQ(ierr, 0);
  EXPECT_NEAR(turn.Re * std::cbrt(1e4), 0.4473073, 1e-4);
  EXPECT_EQ(Besj(1e4, TCplx{1e4, 0}), turn);
  TCplx lost = detail::ArbBessel(detail::TBesselKind::J, 1e5, TCplx{1e5, 0}, detail::TBesselScale::None, ierr);
  EXPECT_EQ(ierr, 4);
  EXPECT_TRUE(std::isnan(lost.Re) && std::isnan(lost.Im));
}

// Far below the turning point, large orders underflow (J) or overflow (Y) on the real axis even
// where the ball series could never be certified; next to the ends of the double range the values
// are still rounded correctly (mpmath values).
TEST(SpecialBessel, LargeOrderUnderAndOverflowOnTheRealAxis) {
  EXPECT_EQ(Besj(5e4, 4.5e4), (TCplx{0, 0}));
  EXPECT_EQ(Besj(5e4, 4.5e4, true), (TCplx{0, 0}));
  EXPECT_EQ(Besy(1e6, 1.0), (TCplx{-kInf, 0}));
  EXPECT_EQ(Besy(3e5, 2e5), (TCplx{-kInf, 0}));
  EXPECT_EQ(Besj(1000, 362.0).Re, 0);         // 4.1e-325
  EXPECT_EQ(Besj(1000, 363.0).Re, 0x1p-1074);  // 5.4e-324
  EXPECT_EQ(Besy(1000, 373.0).Re, -kInf);      // -6.7e308
  EXPECT_EQ(test::UlpDistance(Besy(1000, 374.0).Re, -5.5963708919979917584e+307), 0u);
}

TEST(SpecialBessel, ValuesSurviveReleaseOfLibraryCaches) {
  TCplx before = Besy(2.5, TCplx{3, -1}, true);
  Controller->FreeMKLMemory();
  EXPECT_EQ(Besy(2.5, TCplx{3, -1}, true), before);
}

TEST(SpecialAiry, CorrectlyRoundedAgainstReference) {
  auto rows = test::ReadReference("special_airy.txt");
  ASSERT_EQ(rows.size(), 4u);
  for (const auto& [name, list] : rows) {
    bool bi = name[0] == 'B', derivative = name.size() == 3;
    for (const auto& r : list) {
      TCplx z{r[0], r[1]}, want{r[3], r[4]};
      bool scaled = r[2] != 0;
      std::int32_t ierr = -1, ierrReal = -1;
      TCplx got = bi ? Biry(z, derivative, scaled, ierr) : Airy(z, derivative, scaled, ierr);
      EXPECT_EQ(CplxUlps(got, want), 0u) << name << " z=" << Show(z) << " scaled=" << scaled << " got "
                                         << Show(got) << " want " << Show(want);
      EXPECT_EQ(ierr, std::isinf(want.Re) || std::isinf(want.Im) ? 2 : 0) << name << Show(z);
      if (z.Im == 0) {
        double x = bi ? Biry(z.Re, derivative, scaled, ierrReal) : Airy(z.Re, derivative, scaled, ierrReal);
        EXPECT_EQ(x, got.Re);
        EXPECT_EQ(ierrReal, ierr);
      }
    }
  }
}

TEST(SpecialAiry, ErrorFlags) {
  std::int32_t ierr = -1;
  // Bi grows like e^{(2/3) x^{3/2}}: infinite at 200 (flag 2), finite when scaled.
  EXPECT_EQ(Biry(200.0, false, false, ierr), kInf);
  EXPECT_EQ(ierr, 2);
  EXPECT_TRUE(std::isfinite(Biry(200.0, true, true, ierr)));
  EXPECT_EQ(ierr, 0);
  // Ai underflows to 0 without a flag; scaled it is ~ 1 / (2 sqrt(pi) x^{1/4}).
  EXPECT_EQ(Airy(1e10, false, false, ierr), 0);
  EXPECT_EQ(ierr, 0);
  EXPECT_NEAR(Airy(1e300, false, true, ierr) * 2 * std::sqrt(M_PI) * std::pow(1e300, 0.25), 1, 1e-12);
  EXPECT_EQ(ierr, 0);
  TCplx r = Airy(TCplx{kNaN, 0}, false, false, ierr);
  EXPECT_TRUE(std::isnan(r.Re) && std::isnan(r.Im));
  EXPECT_EQ(ierr, 1);
  r = Biry(TCplx{0, kInf}, true, false, ierr);
  EXPECT_TRUE(std::isnan(r.Re));
  EXPECT_EQ(ierr, 4);
}

}  // namespace
}  // namespace quorel
