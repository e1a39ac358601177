// Polynomial division, partial fractions and IIR filtering.
#include <random>

#include "poly/poly_util.h"
#include "quorel/poly/polynoms.h"

namespace quorel::test {
namespace {

TEST(DeConv, QuotientAndRemainder) {
  TVec q, r;
  using V = std::vector<double>;
  const auto qr = [&] { return std::pair(Doubles(q), Doubles(r)); };
  DeConv(Real({1, 0, 0, -1}), Real({1, -1}), q, r);  // (x^3 - 1) / (x - 1)
  EXPECT_EQ(qr(), std::pair(V{1, 1, 1}, V{0, 0, 0, 0}));
  DeConv(Real({1, 0, 1}), Real({2, 2}), q, r);  // x^2 + 1 = (2x + 2)(x/2 - 1/2) + 2
  EXPECT_EQ(qr(), std::pair(V{0.5, -0.5}, V{0, 0, 2}));
  DeConv(Real({3}), Real({1, 1}), q, r);  // divisor longer than dividend
  EXPECT_EQ(qr(), std::pair(V{0}, V{3}));
  DeConv(Cplx({{1, 0}, {0, 0}, {1, 0}}), Real({1, 0}), q, r);  // complex dividend
  EXPECT_TRUE(q.Complex());
  EXPECT_EQ(Values(r), (std::vector<C>{0, 0, 1}));
  TVec keep = Real({5});
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { DeConv(Real({1, 2}), Real({0, 1}), keep, keep); }), "DeConv: A[0] = 0");
  EXPECT_EQ(Doubles(keep), (std::vector<double>{5}));
  // A remainder that cannot take its length (a sub-range view) fails before the quotient is written.
  TVec locked(8);
  locked.SetSubRange(0, 2);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { DeConv(Real({1, 2, 3, 4}), Real({1, 1}), keep, locked); }),
            "IsSubRange = True!");
  EXPECT_EQ(Doubles(keep), (std::vector<double>{5}));
  locked.SetFullRange();
}

// Partial fractions against hand expansions, then composed back. Repeated poles come from
// eigenvalues spread around the multiple root (about 1e-5 for a triple root); the grouping undoes it.
TEST(Residues, ExtractKnownExpansionsAndComposeBack) {
  constexpr double kRepeated = 1e-9;  // the group mean of a triple root is good to ~eps / spread
  struct Case {
    std::vector<double> b, a, k;
    std::vector<C> poles, residues;  // group by group, increasing power
    double tol = kClose;
  };
  const C i1(0, 1);
  const std::vector<Case> cases{
      {{1, 0, 0}, {1, 3, 2}, {1}, {-1, -2}, {1, -4}},                   // s^2/(s^2+3s+2): a direct term
      {{1}, {1, 0, 1, 0}, {}, {0, i1, -i1}, {1, -0.5, -0.5}},           // 1/(s(s^2+1)): a zero pole, a pair
      {{1}, {1, 2, 1}, {}, {-1, -1}, {0, 1}, kRepeated},                     // 1/(s+1)^2
      {{1}, {1, -1, -1, 1}, {}, {1, 1, -1}, {-0.25, 0.5, 0.25}, kRepeated},  // 1/((s-1)^2 (s+1))
      {{1, 0, 0}, {1, -6, 12, -8}, {}, {2, 2, 2}, {1, 4, 4}, kRepeated},     // s^2/(s-2)^3
      {{1, 2, 3}, {1, 0, 0, 0}, {}, {0, 0, 0}, {1, 2, 3}, kRepeated},        // (s^2+2s+3)/s^3
  };
  for (const Case& c : cases) {
    TVec r, p, k, b, a;
    ResExtract(FromStd(c.b), FromStd(c.a), r, p, k);
    EXPECT_EQ(Doubles(k), c.k);
    ASSERT_EQ(p.Length(), static_cast<int>(c.poles.size()));
    // Groups come in eigenvalue order: find each expected group by its pole.
    for (std::size_t i = 0; i < c.poles.size();) {
      std::size_t m = 1;
      while (i + m < c.poles.size() && c.poles[i + m] == c.poles[i]) ++m;
      int at = 0;
      while (at < p.Length() && std::abs(At(p, at) - c.poles[i]) > 1e-6) ++at;
      ASSERT_LE(at + static_cast<int>(m), p.Length()) << "pole " << c.poles[i];
      for (std::size_t j = 0; j < m; ++j) {
        EXPECT_LT(std::abs(At(p, at + int(j)) - c.poles[i]), c.tol);
        EXPECT_LT(std::abs(At(r, at + int(j)) - c.residues[i + j]), c.tol) << "power " << j + 1;
      }
      i += m;
    }
    ResCompose(r, p, k, b, a);
    EXPECT_FALSE(b.Complex() || a.Complex());
    std::vector<C> wantB(std::max<std::size_t>(c.a.size() - 1, c.b.size()) - c.b.size(), 0.0);
    wantB.insert(wantB.end(), c.b.begin(), c.b.end());
    EXPECT_LT(MaxRelErr(Values(b), wantB), c.tol);
    EXPECT_LT(MaxRelErr(Values(a), std::vector<C>(c.a.begin(), c.a.end())), c.tol);
  }
}

// y[n] = (sum b[j] x[n-j] - sum_{j>=1} a[j] y[n-j]) / a[0], straight from the definition.
std::vector<double> Direct(const std::vector<double>& b, const std::vector<double>& a, const std::vector<double>& x) {
  std::vector<double> y(x.size());
  for (std::size_t n = 0; n < x.size(); ++n) {
    double s = 0;
    for (std::size_t j = 0; j < b.size() && j <= n; ++j) s += b[j] * x[n - j];
    for (std::size_t j = 1; j < a.size() && j <= n; ++j) s -= a[j] * y[n - j];
    y[n] = s / a[0];
  }
  return y;
}

TEST(IIRFilter, MatchesDifferenceEquationAndResumesFromState) {
  std::mt19937 gen(3);
  std::normal_distribution<double> g;
  std::vector<double> x(200);
  for (double& v : x) v = g(gen);
  struct Case { std::vector<double> b, a; };
  for (const Case& c : {Case{{0.2, 0.3, 0.1}, {2, -0.8, 0.3, -0.05}}, Case{{1, -1, 0.5, 0.25}, {1, -0.5}},
                        Case{{0.5}, {1}}, Case{{0.5, 0.5}, {1, 0.9}}}) {
    const std::vector<double> want = Direct(c.b, c.a, x);
    TVec y;
    IIRFilter(FromStd(c.b), FromStd(c.a), FromStd(x), y);
    ASSERT_EQ(y.Length(), 200);
    for (int i = 0; i < 200; ++i) EXPECT_NEAR(*y.PValues(i), want[i], kClose * (1 + std::fabs(want[i])));

    // Two blocks joined through the final state give the one-shot result.
    const std::size_t split = 77;
    TVec y1, y2, z;
    IIRFilter(FromStd(c.b), FromStd(c.a), FromStd({x.begin(), x.begin() + split}), y1, nullptr, &z);
    EXPECT_EQ(z.Length(), static_cast<int>(std::max(c.a.size(), c.b.size())) - 1);
    IIRFilter(FromStd(c.b), FromStd(c.a), FromStd({x.begin() + split, x.end()}), y2, &z, &z);
    for (int i = 0; i < 200; ++i) {
      const double got = i < int(split) ? *y1.PValues(i) : *y2.PValues(i - int(split));
      EXPECT_NEAR(got, *y.PValues(i), kClose * (1 + std::fabs(want[i])));
    }
  }
  // Complex coefficients promote: y = i x.
  TVec y;
  IIRFilter(Cplx({{0, 1}}), Real({1}), Real({1, 2}), y);
  EXPECT_EQ(Values(y), (std::vector<C>{C(0, 1), C(0, 2)}));

  TVec keep = Real({4});
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { IIRFilter(Real({1}), Real({0, 1}), Real({1}), keep); }, "IIRFilter: A[0] = 0"},
      {[&] { TVec zi = Real({1}); IIRFilter(Real({1, 2, 3}), Real({1}), Real({1}), keep, &zi, nullptr); },
       "IIRFilter: Zi.Length <> state length"},
  });
  EXPECT_EQ(Doubles(keep), (std::vector<double>{4}));
  // A final state that cannot take its length fails before the output is written.
  TVec zf(8);
  zf.SetSubRange(0, 1);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { IIRFilter(Real({1, 2, 3}), Real({1}), Real({1, 2}), keep, nullptr, &zf); }),
            "IsSubRange = True!");
  EXPECT_EQ(Doubles(keep), (std::vector<double>{4}));
  zf.SetFullRange();
}

}  // namespace
}  // namespace quorel::test
