// Roots, coefficients, trimming and evaluation of polynomials.
#include "poly/poly_util.h"
#include "quorel/poly/polynoms.h"

namespace quorel::test {
namespace {

TEST(PolyRoots, SmallCasesZeroRootsAndAliasing) {
  TVec r;
  PolyRoots(r, Real({1, -3, 2}));
  EXPECT_TRUE(r.Complex());
  EXPECT_LT(MaxRelErr(Sorted(r), {1.0, 2.0}), 8 * kEps);

  // One root left after stripping: the zero root is dropped and the result is real.
  PolyRoots(r, Real({1, 2, 0}));
  EXPECT_FALSE(r.Complex());
  EXPECT_EQ(Values(r), (std::vector<C>{-2}));
  PolyRoots(r, Real({1, 0, 0}));
  EXPECT_EQ(r.Length(), 0);
  PolyRoots(r, Real({0, 1, -4}));
  EXPECT_EQ(Values(r), (std::vector<C>{4}));

  // Complex degree one keeps its kind: (2i) x - 4 has the root -2i.
  PolyRoots(r, Cplx({{0, 2}, {-4, 0}}));
  ASSERT_EQ(r.Length(), 1);
  EXPECT_TRUE(r.Complex());
  EXPECT_LT(std::abs(At(r, 0) - C(0, -2)), 4 * kEps);

  // Zero roots come first; leading zeros pad the end with zero roots.
  PolyRoots(r, Real({1, -3, 2, 0, 0}));  // x^2 (x - 1)(x - 2)
  std::vector<C> got = Values(r);
  ASSERT_EQ(got.size(), 4u);
  EXPECT_EQ(got[0], C(0, 0));
  EXPECT_EQ(got[1], C(0, 0));
  std::sort(got.begin() + 2, got.end(), [](C a, C b) { return a.real() < b.real(); });
  EXPECT_LT(MaxRelErr({got[2], got[3]}, {1.0, 2.0}), 8 * kEps);
  PolyRoots(r, Real({0, 1, -3, 2}));
  ASSERT_EQ(r.Length(), 3);
  EXPECT_EQ(At(r, 2), C(0, 0));

  // Roots may be the source itself.
  TVec p = Real({1, 0, 1});
  PolyRoots(p, p);
  EXPECT_LT(MaxRelErr(Sorted(p), {C(0, -1), C(0, 1)}), 4 * kEps);
}

// Accuracy of the companion-matrix roots, relative, measured: well-separated roots 1e-15; the
// roots 1..10 6e-10; three roots 1e-3 apart 2e-10; the triple root 1 6.6e-6 (the eps^(1/3) of a
// triple root); the double root -2 exact in the real part, split into +-2.7e-8 i (eps^(1/2)).
TEST(PolyRoots, KnownRootsMultipleAndClustered) {
  struct Case { std::vector<double> roots; double tol; };
  const std::vector<Case> cases = {
      {{-3, 0.5, 2, 7}, 200 * kEps},
      {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 2e-9},
      {{1, 1, 1}, 2e-5},
      {{1, 1.001, 1.002}, 1e-8},
      {{-2, -2, 3}, 1e-7},  // a split along the real axis would be as large as the one seen
  };
  for (const auto& c : cases) {
    TVec coeff, got;
    std::vector<C> want(c.roots.begin(), c.roots.end());
    PolyCoeff(FromStd(c.roots), coeff);
    PolyRoots(got, coeff);
    std::sort(want.begin(), want.end(), [](C a, C b) { return a.real() < b.real(); });
    auto g = Sorted(got);
    for (auto& z : g) z = z.real();  // multiple roots split into tiny imaginary pairs
    EXPECT_LT(MaxRelErr(g, want), c.tol) << "degree " << c.roots.size();
    for (int i = 0; i < got.Length(); ++i) EXPECT_LT(std::abs(At(got, i).imag()), std::sqrt(c.tol));
  }
}

// Round trips through PolyRoots are in KnownRootsMultipleAndClustered (real roots) and, for complex
// coefficients, in the partial-fraction tests.
TEST(PolyCoeff, ExpandsRootsAndCharacteristicPolynomials) {
  TVec c;
  PolyCoeff(Real({1, 2}), c);
  EXPECT_EQ(Doubles(c), (std::vector<double>{1, -3, 2}));
  PolyCoeff(Cplx({{0, 1}, {0, -1}}), c);  // x^2 + 1
  EXPECT_TRUE(c.Complex());
  EXPECT_EQ(Doubles(c), (std::vector<double>{1, 0, 0, 0, 1, 0}));
  // Of a matrix: real, also when the eigenvalues are a conjugate pair.
  PolyCoeff(RealMtx(2, 2, {2, 1, 1, 2}), c);  // (x - 1)(x - 3)
  EXPECT_FALSE(c.Complex());
  EXPECT_LT(MaxRelErr(Sorted(c), {-4.0, 1.0, 3.0}), 16 * kEps);
  PolyCoeff(RealMtx(2, 2, {0, -1, 1, 0}), c);  // rotation: x^2 + 1, conjugate pair cancels
  EXPECT_FALSE(c.Complex());
  EXPECT_LT(MaxRelErr(Sorted(c), {0.0, 1.0, 1.0}), 16 * kEps);
  EXPECT_THROW(PolyCoeff(RealMtx(1, 2, {1, 2}), c), EQuorelInvalidArgument);
}

TEST(StripZeros, TrimsBothEndsAndReportsIndexes) {
  TVec d;
  std::int32_t first = 7, last = 7;
  StripZeros(Real({0, 0, 1, 0, 2, 0}), d, first, last);
  EXPECT_EQ(Doubles(d), (std::vector<double>{1, 0, 2}));
  EXPECT_EQ(std::pair(first, last), std::pair(2, 4));
  StripZeros(Real({0, 0}), d, first, last);
  EXPECT_EQ(std::pair(d.Length(), first), std::pair(0, -1));
  // A complex element with only a non-zero imaginary part is not zero.
  StripZeros(Cplx({{0, 0}, {0, 1}, {0, 0}}), d, first, last);
  EXPECT_EQ(std::pair(d.Length(), first), std::pair(1, 1));

  TVec s = Real({0, 0, 3, 0});
  StripLeadZeros(s, s);
  EXPECT_EQ(Doubles(s), (std::vector<double>{3, 0}));
}

TEST(PolyEval, AllOverloads) {
  EXPECT_EQ(PolyEval(2.0, Real({1, 0, -4})), 0);
  EXPECT_EQ(PolyEval(3.0, Real({2, -1, 5})), 20);
  EXPECT_EQ(MessageOf<Exception>([] { PolyEval(1.0, Cplx({{1, 0}})); }), "Coeff.Complex = True");

  EXPECT_EQ(PolyEval(TCplx{2, 0}, Cplx({{0, 1}, {1, 0}})), (TCplx{1, 2}));  // i x + 1 at 2

  TVec y;
  PolyEval(Real({-1, 0, 2}), Real({1, -1}), y);
  EXPECT_EQ(Doubles(y), (std::vector<double>{-2, -1, 1}));
  PolyEval(Cplx({{0, 1}}), Real({1, 0, 1}), y);
  EXPECT_TRUE(y.Complex());
  EXPECT_EQ(At(y, 0), C(0, 0));

  TMtx m;
  PolyEval(Real({0, 1, 2}), RealMtx(2, 2, {1, 1, 2, 0}), m);  // x + 1 and 2x
  ASSERT_EQ(std::pair(m.Rows(), m.Cols()), std::pair(2, 3));
  EXPECT_EQ(Doubles(m), (std::vector<double>{1, 2, 3, 0, 2, 4}));
}

}  // namespace
}  // namespace quorel::test
