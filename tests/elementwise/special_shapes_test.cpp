// Members with shapes of their own: reordering, running sums, parts, polar forms, guarded
// division, scaled and product accumulation.
#include <cmath>
#include <functional>
#include <utility>

#include <gtest/gtest.h>

#include "quorel/core/errors.h"
#include "self_source.h"
#include "support/support.h"

namespace quorel {
namespace {

using test::Cplx;
using test::MessageOf;
using test::Real;
using test::SelfCase;

TEST(Reorder, ShiftRotateAndReverse) {
  const TVec five = Real({1, 2, 3, 4, 5});
  TVec a;
  // Each step acts on a, which must then hold the values paired with it.
  const std::pair<std::function<void()>, TVec> steps[] = {
      {[&] { a = five, a.Shift(2, 0, 5); }, Real({1, 2, 1, 2, 3})},  // vacated values are kept
      {[&] { a = five, a.Shift(-2); }, Real({3, 4, 5, 4, 5})},
      {[&] { a.Shift(7); }, Real({3, 4, 5, 4, 5})},  // |Offset| >= Len does nothing
      {[&] { a = five, a.Rotate(2); }, Real({4, 5, 1, 2, 3})},
      {[&] { a.Rotate(-2); }, five},
      {[&] { a.Rotate(1, 1, 3); }, Real({1, 4, 2, 3, 5})},
      {[&] { a.Rotate(Cplx({{1, 0}, {2, 0}, {3, 0}}), -1); }, Cplx({{2, 0}, {3, 0}, {1, 0}})},
      {[&] { a.Reverse(); }, Cplx({{1, 0}, {3, 0}, {2, 0}})},
      {[&] { a.Reverse(Real({1, 2, 3})); }, Real({3, 2, 1})},
      {[&] { a.Reverse(0, 2); }, Real({2, 3, 1})},
  };
  for (std::size_t k = 0; k < std::size(steps); ++k) {
    steps[k].first();
    EXPECT_TRUE(a.IsEqual(steps[k].second)) << "step " << k;
  }
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

TEST(RunningSums, CumSumAndDifference) {
  TVec a = Real({1, 2, 3, 4});
  EXPECT_TRUE(a.CumSum().IsEqual(Real({1, 3, 6, 10})));
  TVec d;
  EXPECT_TRUE(d.Difference(a).IsEqual(Real({2, 3, 4})));
  TVec untouched = Real({9});
  EXPECT_TRUE(untouched.Difference(Real({5}), 0, 0, 1).IsEqual(Real({9})));  // Len - 1 < 1: nothing happens
  EXPECT_TRUE(Real({9, 9, 9}).Difference(Real({1, 4, 9, 16}), 0, 0, -1).IsEqual(Real({3, 5, 7})));  // -1: to the end
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { untouched.Difference(Cplx({{1, 1}, {2, 2}}), 0, 0, 2); }),
            "Difference: Complex <> Src.Complex");
  // The ranges are validated before the kinds.
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { untouched.Difference(Cplx({{1, 1}, {2, 2}}), 0, 0, 9); }),
            "X params out of range: XIndex: 0, Len: 8, X.Length: 2");
  // A matrix keeps its shape: a refused Difference leaves it as it was.
  TMtx m(2, 3);
  for (const TVec& src : {Cplx({{1, 1}, {2, 2}, {3, 3}, {4, 4}}), Real({1, 2, 3, 4})}) {
    EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { m.Difference(src); }), "TMtx: Length can not be set. Use Size!");
    EXPECT_TRUE(m.Rows() == 2 && m.Cols() == 3 && !m.Complex());
  }
  EXPECT_TRUE(m.Difference(Real({1, 2, 4, 7, 11, 16, 22})).IsEqual(TMtx({{1, 2, 3}, {4, 5, 6}})));
  TVec c;
  EXPECT_TRUE(c.CumSum(Cplx({{1, 1}, {1, -2}})).IsEqual(Cplx({{1, 1}, {2, -1}})));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { c.CumSum(c); }), "CumSum: X = Self");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { a.Reverse(c, 0, 0, 1); }), "Reverse: Self.Complex <> X.Complex");
}

TEST(Parts, SplitJoinAndSpectra) {
  TVec z = Cplx({{3, 4}, {-1, 0}});
  TVec re, im, back, p;
  z.CplxToReal(re, im);
  EXPECT_TRUE(re.IsEqual(Real({3, -1})) && im.IsEqual(Real({4, 0})));
  EXPECT_TRUE(back.RealToCplx(re, im).IsEqual(z));
  EXPECT_TRUE(p.PowerSpectrum(z).IsEqual(Real({25, 1})));
  p.PhaseSpectrum(z);
  EXPECT_DOUBLE_EQ(p[0], std::atan2(4.0, 3.0));
  EXPECT_DOUBLE_EQ(p[1], PI);
  TVec amp, ph, cart;
  z.CartToPolar(amp, ph);
  EXPECT_TRUE(cart.PolarToCart(amp, ph).IsEqual(z, 1e-15, cmpAbsolute));
  p.RealPart(Real({1, 2}));  // a real vector is its own real part
  EXPECT_TRUE(p.IsEqual(Real({1, 2})));
  EXPECT_TRUE(p.ImagPart(z).IsEqual(Real({4, 0})));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { p.ImagPart(Real({1})); }), "TQuorel.RealPart: Vec must be complex");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { p.PowerSpectrum(Real({1})); }), "Vec.Complex = False");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { back.RealToCplx(re, Real({1})); }), "ReVec.Length <> ImVec.Length");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { back.RealToCplx(z, im); }), "ReVec.Complex = True");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { re.CplxToReal(amp, ph); }), "Complex = False");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { back.PolarToCart(z, ph); }), "AmpltVec.Complex = True");
}

TEST(Parts, ExtendToComplex) {
  EXPECT_TRUE(Real({1, 2}).ExtendToComplex(true).IsEqual(Cplx({{1, 0}, {2, 0}})));
  TVec b;
  EXPECT_TRUE(b.ExtendToComplex(Real({3}), false).IsEqual(Cplx({{3, 3}})));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { b.ExtendToComplex(b, true); }), "ExtendToComplex: X = Self");
}

TEST(Normalize, RealAndComplex) {
  TVec r;
  EXPECT_TRUE(r.Normalize(Real({2, 4, 6}), 4.0, 2.0).IsEqual(Real({-1, 0, 1})));
  EXPECT_TRUE(r.Normalize(Cplx({{2, 2}}), TCplx{1, 1}, TCplx{0, 1}).IsEqual(Cplx({{1, -1}})));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.Normalize(Real({1}), TCplx{1, 1}, 2.0); }), "not Complex");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.Normalize(r, 1.0, 2.0); }), "Self = Vec");
}

TEST(Accumulate, AddScaledAddProductConjMul) {
  TVec a = Real({1, 2});
  EXPECT_TRUE(a.AddScaled(Real({10, 20}), 0.5).IsEqual(Real({6, 12})));
  a.AddScaled(Real({1, 1}), TCplx{0, 1});  // a complex factor makes Self complex
  EXPECT_TRUE(a.IsEqual(Cplx({{6, 1}, {12, 1}})));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { a.AddScaled(a, 1.0, 0.0); }), "TQuorel.Add: Self = Vec");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { a.AddScaled(Real({1}), 2.0); }),
            "TQuorel.Add: Vec.Length <> Length");

  TVec s = Real({1, 1});
  EXPECT_TRUE(s.AddProduct(Real({2, 3}), Real({4, 5})).IsEqual(Real({9, 16})));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { s.AddProduct(Real({1}), Real({1})); }),
            "TVec.AddProduct: Vec1.Length <> Length");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { s.AddProduct(Cplx({{1, 1}, {1, 1}}), Real({1, 1})); }),
            "TVec.AddProduct: Vec1.Complex <> Vec2.Complex");
  // The range form takes ranges of objects of any length; a range that leaves one is a range error.
  EXPECT_TRUE(s.AddProduct(Real({2, 3, 4, 5, 6}), Real({10, 20, 30}), 1, 0, 0, 2).IsEqual(Real({39, 96})));
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { s.AddProduct(Cplx({{1, 0}, {1, 0}}), Real({1, 1}), 0, 0, 0, 3); }),
            "X1 params out of range: Index: 0, Len: 3, Length: 2");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { s.AddProduct(Cplx({{1, 0}}), Real({1, 1}), 0, 0, 0, 1); }),
            "TVec.AddProduct: Vec1.Complex <> Vec2.Complex");
  EXPECT_TRUE(s.IsEqual(Real({39, 96})));

  TVec c;
  EXPECT_TRUE(c.ConjMul(Cplx({{1, 2}}), Cplx({{3, 4}})).IsEqual(Cplx({{11, 2}})));  // (1+2i)(3-4i)
  EXPECT_TRUE(c.ConjMul(Real({2}), Real({3})).IsEqual(Real({6})));  // real Vec2: the plain product
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

TEST(GuardedDivision, ClampedReciprocal) {
  EXPECT_TRUE(Real({1, 1, 1}).Divide(Real({2, 1e-12, -1e-12}), 1e-6).IsEqual(Real({0.5, 1e6, -1e6})));
  // Real Self, complex Vec: Self * (1/Vec) with the reciprocal clamped by modulus.
  EXPECT_TRUE(Real({2, 2}).Divide(Cplx({{0, 2}, {0, 0}}), 0.5).IsEqual(Cplx({{0, -1}, {4, 0}})));
  EXPECT_TRUE(Cplx({{2, 4}}).Divide(Real({2}), 1e-3).IsEqual(Cplx({{1, 2}})));
  // The range form promoting a real Self: elements outside the range become (a, 0).
  TVec d = Real({1, 2, 3, 4});
  EXPECT_TRUE(d.Divide(Cplx({{0, 1}, {2, 0}}), 1e-10, 0, 1, 2).IsEqual(Cplx({{1, 0}, {0, -2}, {1.5, 0}, {4, 0}})));
  // The range form with a real numerator and a complex denominator: 2/i and 4/(1+i).
  TVec s = Cplx({{7, 7}, {7, 7}});
  EXPECT_TRUE(s.Divide(Real({2, 4}), Cplx({{0, 1}, {1, 1}}), 1e-10, 0, 0, 0, 2).IsEqual(Cplx({{0, -2}, {2, -2}})));
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

// Self as a source. Methods with no identity message take it with ConditionCheck on; the others
// refuse it when checked and, unchecked, read it from a copy.
TEST(SelfAsSource, GivesTheResultOfACopy) {
  const TVec r = Real({1.5, -2, 0.25, 4}), z = Cplx({{1, 1}, {2, -1}, {0.5, 0.5}, {-3, 0}});
  const TVec o = Real({2, 0.5, -1, 3});
  const SelfCase cases[] = {
      {"AddProduct(Vec1, Self)", r, [&](TVec& s, TVec& x) { s.AddProduct(o, x); }, true},
      {"RealPart(Self)", z, [](TVec& s, TVec& x) { s.RealPart(x); }, true},
      {"ImagPart(Self)", z, [](TVec& s, TVec& x) { s.ImagPart(x); }, true},
      {"Rotate(Self, 3)", r, [](TVec& s, TVec& x) { s.Rotate(x, 3); }, true},
      {"Difference(Self)", z, [](TVec& s, TVec& x) { s.Difference(x); }, true},
      {"ConjMul(Self)", z, [](TVec& s, TVec& x) { s.ConjMul(x); }, true},
      {"AddProduct range", r, [&](TVec& s, TVec& x) { s.AddProduct(x, o, 0, 0, 1, 3); }, false},
      {"Rotate range", r, [](TVec& s, TVec& x) { s.Rotate(x, 1, 0, 1, 3); }, false},
      {"Difference range", r, [](TVec& s, TVec& x) { s.Difference(x, 0, 1, 3); }, false},
      {"PowerSpectrum(Self)", z, [](TVec& s, TVec& x) { s.PowerSpectrum(x); }, false},
      {"ExtendToComplex(Self, False)", r, [](TVec& s, TVec& x) { s.ExtendToComplex(x, false); }, false},
      {"ConjMul(Self, Vec2)", z, [&](TVec& s, TVec& x) { s.ConjMul(x, z); }, false},
      {"Divide(Num, Self, Threshold)", z, [&](TVec& s, TVec& x) { s.Divide(o, x, 0.1); }, false},
      {"IntPower(Self, 3)", z, [](TVec& s, TVec& x) { s.IntPower(x, 3); }, false},
      {"Power(Value, Self)", r, [](TVec& s, TVec& x) { s.Power(2.0, x); }, false},
      {"Power(Self, CValue)", r, [](TVec& s, TVec& x) { s.Power(x, TCplx{2, 1}); }, false},
      {"Power(CValue, Self)", r, [](TVec& s, TVec& x) { s.Power(TCplx{2, 1}, x); }, false},
      {"PowerVec(Self, Exponent)", r, [&](TVec& s, TVec& x) { s.PowerVec(x, z); }, false},
      {"Expj(Self)", r, [](TVec& s, TVec& x) { s.Expj(x); }, false},
      {"ConjMul(Self, Vec2) promoting", r, [&](TVec& s, TVec& x) { s.ConjMul(x, z); }, false},
      {"AddScaled range", r, [](TVec& s, TVec& x) { s.AddScaled(x, 2.0, 0, 1, 3); }, false},
      {"Normalize range", r, [](TVec& s, TVec& x) { s.Normalize(x, 1.0, 2.0, 0, 1, 3); }, false},
      {"DivideBy(CValue, Self)", Real({3.7, 1.03, -7.77, 2.9}), [](TVec& s, TVec& x) { s.DivideBy(TCplx{1.5, 2}, x); },
       true},
  };
  for (const SelfCase& c : cases) test::ExpectSelfReadAsCopy(c);
  // The identity messages that stay, with ConditionCheck on.
  TVec s = r;
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { s.AddProduct(s, o); }), "TVec.AddProduct: Vec1 = Self");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { s.ConjMul(s, o); }), "(Self = Vec1) or (Self = Vec2)");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { s.Power(2.0, s); }), "Self = Base");
  EXPECT_TRUE(s.IsEqual(r));
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
  // The range form promotes a real Self with the same arithmetic as the whole form.
  TVec whole = Real({3.7, 1.03, -7.77, 2.9}), range = whole;
  whole.DivideBy(TCplx{1.5, 2});
  range.DivideBy(TCplx{1.5, 2}, 0, -1);
  test::ExpectSameBits(range, whole, "DivideBy(CValue, 0, -1)");
}

// A source that is a view over Self's storage (a different object over the same doubles) is read
// as a copy would be, whether it shows exactly Self's elements or elements shifted by one.
TEST(ViewOverSelf, GivesTheResultOfACopy) {
  const TVec r = Real({1.5, -2, 0.25, 4, 3}), p = Real({0.5, 2, 1.25, 4, 3}),
             z = Cplx({{1, 1}, {2, -1}, {0.5, 0.5}, {-3, 0}, {1, 2}});
  const TVec o = Real({2, 0.5, -1, 3, 1}), zo = Cplx({{0, 1}, {1, 0}, {2, 2}, {1, -1}, {3, 1}});
  const SelfCase cases[] = {
      {"Sqr(X)", r, [](TVec& s, TVec& x) { s.Sqr(x); }, true},
      {"IntPower(X, 3)", z, [](TVec& s, TVec& x) { s.IntPower(x, 3); }, true},
      {"CumSum(X)", r, [](TVec& s, TVec& x) { s.CumSum(x); }, true},
      {"Reverse(X)", z, [](TVec& s, TVec& x) { s.Reverse(x); }, true},
      {"Sub(Vec)", r, [](TVec& s, TVec& x) { s.Sub(x); }, true},
      {"Sub(Vec1, Vec2)", z, [&](TVec& s, TVec& x) { s.Sub(x, zo); }, true},
      {"Mul(Vec, Value)", r, [](TVec& s, TVec& x) { s.Mul(x, 3.0); }, true},
      {"Sgn(SgnSrc)", r, [](TVec& s, TVec& x) { s.Sgn(x); }, true},
      {"Normalize(Vec, Sub, Div)", r, [](TVec& s, TVec& x) { s.Normalize(x, 1.0, 2.0); }, true},
      {"AddProduct(Vec1, Vec2)", r, [&](TVec& s, TVec& x) { s.AddProduct(o, x); }, true},
      {"Power(Value, X)", r, [](TVec& s, TVec& x) { s.Power(2.0, x); }, true},
      {"Rotate(X, 2)", r, [](TVec& s, TVec& x) { s.Rotate(x, 2); }, true},
      {"ConjMul(X, X)", z, [](TVec& s, TVec& x) { s.ConjMul(x, x); }, true},
      {"ConjMul(X, Vec2)", z, [&](TVec& s, TVec& x) { s.ConjMul(x, zo); }, true},
      {"Divide(Num, X, Threshold)", p, [&](TVec& s, TVec& x) { s.Divide(o, x, 0.1); }, true},
      {"Divide(X, X, Threshold)", p, [](TVec& s, TVec& x) { s.Divide(x, x, 0.1); }, true},
      {"AddScaled range", r, [](TVec& s, TVec& x) { s.AddScaled(x, 2.0, 0, 1, 3); }, true},
  };
  for (const SelfCase& c : cases)
    for (const std::int32_t shift : {-1, 0, 1}) test::ExpectViewReadAsCopy(c, shift);
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

}  // namespace
}  // namespace quorel
