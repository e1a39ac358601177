// The element-wise frame, exercised once per overload shape: checks and their order, sizing,
// real/complex promotion, empty objects, and temporaries returned on every path.
#include <cmath>
#include <functional>

#include <gtest/gtest.h>

#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "self_source.h"
#include "support/support.h"

namespace quorel {
namespace {

using test::Cplx;
using test::MessageOf;
using test::Real;
using test::SelfCase;

class Frame : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(Controller->VecCacheUsed(), 0) << "a temporary was not given back"; }
};

TEST_F(Frame, UnaryShapes) {
  TVec a = Real({4, 9, 16});
  EXPECT_TRUE(a.Sqrt().IsEqual(Real({2, 3, 4})));
  EXPECT_TRUE(a.Sqrt(1, 2).IsEqual(Real({2, std::sqrt(3.0), 2}), 0, cmpAbsolute));
  TVec r;
  EXPECT_TRUE(r.Sqrt(Real({1, 4})).IsEqual(Real({1, 2}), 0, cmpAbsolute));
  // sized and typed like the source
  EXPECT_TRUE(r.Sqrt(Cplx({{-4, 0}, {0, 2}})).IsEqual(Cplx({{0, 2}, {1, 1}}), 0, cmpAbsolute));
  EXPECT_TRUE(Real({7, 7, 7}).Sqrt(Real({25, 36}), 1, 1, 1).IsEqual(Real({7, 6, 7})));
}

TEST_F(Frame, UnaryChecksFollowConditionCheck) {
  TVec a = Real({1, 2});
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { a.Sqrt(a); }), "Sqrt: X = Self");
  TVec c = Cplx({{1, 0}, {4, 0}});
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { a.Sqrt(c, 0, 0, 1); }), "Sqrt: Self.Complex <> X.Complex");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { a.Sqrt(1, 2); }),
            "Self params out of range: Index: 1, Len: 2, Length: 2");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { a.Sqrt(Real({1}), 1, 0, 1); }),
            "X params out of range: XIndex: 1, Len: 1, X.Length: 1");
  EXPECT_EQ(a[0], 1);  // nothing written by refused calls
  a.SetConditionCheck(false);
  a.Sqrt(a);  // X = Self is the in-place form when unchecked
  EXPECT_DOUBLE_EQ(a[1], std::sqrt(2.0));
}

TEST_F(Frame, EmptyObjects) {
  TVec e, c = Cplx({}), self;
  e.Sqrt();
  e.Sqrt(0, 0);
  EXPECT_EQ(e.Length(), 0);
  c.Abs();  // an empty complex object just becomes real
  EXPECT_FALSE(c.Complex());
  self.Add(Cplx({}));  // on an empty real Self, a complex operand only sets Complex
  EXPECT_TRUE(self.Length() == 0 && self.Complex());
}

TEST_F(Frame, InPlacePromotion) {
  EXPECT_TRUE(Real({1, 2}).Add(Cplx({{10, 1}, {20, 2}})).IsEqual(Cplx({{11, 1}, {22, 2}})));
  // Self - Vec, not Vec - Self
  EXPECT_TRUE(Real({1, 2}).Sub(Cplx({{10, 1}, {20, 2}})).IsEqual(Cplx({{-9, -1}, {-18, -2}})));
  EXPECT_TRUE(Real({2, 4}).Divide(Cplx({{0, 1}, {2, 0}})).IsEqual(Cplx({{0, -2}, {2, 0}})));
  // a complex value makes a real Self complex of the same length
  EXPECT_TRUE(Real({1, 2, 3}).Add(TCplx{0, 1}).IsEqual(Cplx({{1, 1}, {2, 1}, {3, 1}}), 0, cmpAbsolute));
  // The range form turns all of Self complex first, even for Len 0.
  TVec r = Real({1, 2, 3});
  EXPECT_TRUE(r.Add(Cplx({{5, 5}}), 0, 1, 0).IsEqual(Cplx({{1, 0}, {2, 0}, {3, 0}}), 0, cmpAbsolute));
  EXPECT_TRUE(r.Add(Cplx({{5, 5}}), 0, 1, 1).IsEqual(Cplx({{1, 0}, {7, 5}, {3, 0}}), 0, cmpAbsolute));
}

TEST_F(Frame, TwoSourcesSizeAndMix) {
  TVec r;
  EXPECT_TRUE(r.Add(Real({1, 2}), Cplx({{1, 1}, {1, -1}})).IsEqual(Cplx({{2, 1}, {3, -1}})));
  EXPECT_TRUE(r.Sub(Real({1, 2}), Cplx({{1, 1}, {1, -1}})).IsEqual(Cplx({{0, -1}, {1, 1}})));
  EXPECT_TRUE(r.Mul(Cplx({{1, 1}}), Real({2})).IsEqual(Cplx({{2, 2}})));
  EXPECT_TRUE(r.Divide(Real({1}), Cplx({{0, 2}})).IsEqual(Cplx({{0, -0.5}})));
  TVec a = Real({1, 2}), b = Real({1, 2, 3});
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.Add(a, b); }), "TQuorel.Add: Vec1.Length <> Vec2.Length");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { a.Add(a, b); }), "TQuorel.Add: (Self = Vec1) or (Self = Vec2)");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { a.Add(a); }), "TQuorel.Add: Self = Vec");
  // Mul has no "Self = Vec" refusal: Self times itself squares in place, real and complex.
  TVec sq = Real({-3, 0.5});
  EXPECT_TRUE(sq.Mul(sq).IsEqual(Real({9, 0.25})));
  TVec csq = Cplx({{1, 2}});
  EXPECT_TRUE(csq.Mul(csq).IsEqual(Cplx({{-3, 4}})));
  // And Self scaled by a complex value from itself: the real data is promoted before it is read.
  TVec rot = Real({1, 2});
  EXPECT_TRUE(rot.Mul(rot, TCplx{0, 1}).IsEqual(Cplx({{0, 1}, {0, 2}})));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { a.Sub(b); }), "TVec.Sub: Vec.Length <> Length");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { a.Mul(b); }), "Length <> Vec.Length");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { a.Divide(b); }), "TQuorel.Divide: Length <> Vec.Length");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.Divide(a, b); }), "Num.Length <> Den.Length");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { a.Divide(a, b); }), "(Self = Num) or (Self = Den)");

  TVec out = Real({0, 0, 0});
  EXPECT_TRUE(out.Mul(Real({2, 3}), Real({4, 5, 6}), 1, 2, 0, 1).IsEqual(Real({18, 0, 0})));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { out.Mul(out, b, 0, 0, 0, 1); }),
            "Invalid params: X1 or X2 is equal to Self");
}

TEST_F(Frame, ScalarShapes) {
  TVec a = Real({1, 2, 3});
  EXPECT_TRUE(a.Add(1.0).Scale(2.0).Sub(1.0).IsEqual(Real({3, 5, 7})));
  EXPECT_TRUE(a.SubFrom(10.0, 2, 1).IsEqual(Real({3, 5, 3})));
  EXPECT_TRUE(a.DivideBy(15.0).IsEqual(Real({5, 3, 5})));
  TVec c = Cplx({{1, 1}});
  EXPECT_TRUE(c.Add(2.0).IsEqual(Cplx({{3, 1}}), 0, cmpAbsolute));  // a real value acts on the real parts
  EXPECT_TRUE(c.Mul(TCplx{0, 1}).IsEqual(Cplx({{-1, 3}}), 0, cmpAbsolute));
  TVec r;
  EXPECT_TRUE(r.Add(Real({1, 2}), TCplx{0, 1}).IsEqual(Cplx({{1, 1}, {2, 1}})));
  EXPECT_TRUE(r.SubFrom(1.0, Real({1, 2})).IsEqual(Real({0, -1})));
  EXPECT_TRUE(r.DivideBy(TCplx{0, 2}, Real({2})).IsEqual(Cplx({{0, 1}})));
  // Self as the source of value - element and value / element works in place, also unchecked,
  // and a complex value promotes the data before it is read.
  for (bool checked : {true, false}) {
    TVec x = Real({1, 2, 4});
    x.SetConditionCheck(checked);
    EXPECT_TRUE(x.SubFrom(10.0, x).IsEqual(Real({9, 8, 6})));
    EXPECT_TRUE(x.DivideBy(72.0, x).IsEqual(Real({8, 9, 12})));
    EXPECT_TRUE(x.SubFrom(TCplx{10, 1}, x).IsEqual(Cplx({{2, 1}, {1, 1}, {-2, 1}})));
    EXPECT_TRUE(x.DivideBy(TCplx{0, 5}, x).IsEqual(Cplx({{1, 2}, {2.5, 2.5}, {1, -2}})));
  }
  TVec dst = Cplx({{0, 0}, {0, 0}});
  EXPECT_TRUE(dst.Mul(Real({3, 4}), TCplx{1, 1}, 1, 1, 1).IsEqual(Cplx({{0, 0}, {4, 4}}), 0, cmpAbsolute));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { Real({0, 0}).Mul(Real({3}), TCplx{1, 1}, 0, 0, 1); }),
            "TQuorel.Mul: Self.Complex <> Vec.Complex");
}

TEST_F(Frame, RulesForModulusAndKindRestrictedOperations) {
  TVec c = Cplx({{3, 4}, {0, -2}});
  EXPECT_TRUE(TVec().Abs(c).IsEqual(Real({5, 2})));
  EXPECT_TRUE(c.Abs().IsEqual(Real({5, 2})));  // in place: Self becomes real with the moduli
  TVec r = Real({1}), z = Cplx({{1, 1}});
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { z.FixAngle(); }), "TQuorel.FixAngle: Self is Complex");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.FixAngle(z); }), "TQuorel.FixAngle: Src is Complex");
  // The range-source forms name the object of the wrong kind, Self or source.
  TVec zz = Cplx({{1, 1}, {2, 2}}), rr = Real({7, -7});
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { zz.FixAngle(rr, 0, 0, 2); }), "TQuorel.FixAngle: Self is Complex");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { rr.FixAngle(zz, 0, 0, 2); }), "TQuorel.FixAngle: Src is Complex");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { zz.ThresholdGT_LT(rr, 0, 0, 9, 9, 0, 0, 2); }),
            "TQuorel.ThresholdGT_LT: Self is Complex");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { rr.ThresholdGT_LT(zz, 0, 0, 9, 9, 0, 0, 2); }),
            "TQuorel.ThresholdGT_LT: Vec is Complex");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { rr.Flip(zz, 0, 0, 2); }), "Flip: Complex = False");
  EXPECT_TRUE(zz.IsEqual(Cplx({{1, 1}, {2, 2}})) && rr.IsEqual(Real({7, -7})));
  z.SetConditionCheck(false);
  // Unchecked, only the kind checks that keep a kernel inside storage remain (complex-only data
  // read from a real object), and the in-place FixAngle's.
  EXPECT_THROW(z.FixAngle(), EQuorelInvalidArgument);
  r.SetConditionCheck(false);
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.Flip(); }), "Flip: Complex = False");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { r.Flip(r); }), "Flip: X.Complex = False");
  TVec u, sinX, cosX;
  auto unchecked = [&]() -> TVec& {
    u = z;
    u.SetConditionCheck(false);
    return u;
  };
  for (const auto& call : std::initializer_list<std::function<void()>>{
           [&] { unchecked().Cbrt(); }, [&] { unchecked().InvCbrt(z); },
           [&] { unchecked().ThresholdGT_LT(z, 0, 0, 9, 9); }, [&] { unchecked().ThresholdGT_LT(0, 0, 9, 9); },
           [&] { unchecked().FixAngle(z); }, [&] { unchecked().SinCos(sinX, cosX); },
           [&] { unchecked().SinhCosh(sinX, cosX); }})
    EXPECT_EQ(MessageOf<EQuorelInvalidArgument>(call), "<no exception>");
}

TEST_F(Frame, SelfAsSourceReadsTheOldValues) {
  const TVec r = Real({1.5, -2, 0.25, 4}), z = Cplx({{1, 1}, {2, -1}, {0.5, 0.5}, {-3, 0}});
  TVec o = Cplx({{0, 1}, {1, 0}, {2, 2}, {1, -1}}), im;
  const SelfCase cases[] = {
      {"Abs(X) complex", z, [](TVec& s, TVec& x) { s.Abs(x); }, false},
      {"Norm(X) complex", z, [](TVec& s, TVec& x) { s.Norm(x); }, false},
      {"Abs(X) range", r, [](TVec& s, TVec& x) { s.Abs(x, 0, 1, 3); }, false},
      {"Add(Vec1, Vec2) promoting", r, [&](TVec& s, TVec& x) { s.Add(x, o); }, false},
      {"Sub(Vec1, Vec2) range", r, [&](TVec& s, TVec& x) { s.Sub(Real({1, 1, 1, 1}), x, 0, 0, 1, 3); }, false},
      {"Mul(Vec) range", z, [](TVec& s, TVec& x) { s.Mul(x, 0, 1, 3); }, false},
      {"Add(Vec, Value) range", r, [](TVec& s, TVec& x) { s.Add(x, 1.0, 0, 1, 3); }, false},
      {"SinCos(Self, CosX)", r, [&](TVec& s, TVec& x) { x.SinCos(s, im); }, false},
      {"RealToCplx(Self, ImVec)", r, [](TVec& s, TVec& x) { s.RealToCplx(x, Real({1, 2, 3, 4})); }, false},
      {"PolarToCart(AmpltVec, Self)", r, [](TVec& s, TVec& x) { s.PolarToCart(Real({1, 2, 3, 4}), x); }, false},
      {"CplxToReal(Self, ImVec)", z, [&](TVec& s, TVec& x) { x.CplxToReal(s, im); }, true},
      {"CartToPolar(AmpltVec, Self)", z, [&](TVec& s, TVec& x) { x.CartToPolar(im, s); }, true},
  };
  for (const SelfCase& c : cases) test::ExpectSelfReadAsCopy(c);
}

TEST_F(Frame, TemporariesReturnedWhenAMethodThrows) {
  TVec a = Real({1, 2}), big;
  // Promotion takes a temporary; an out-of-range follow-up check must not leak it.
  EXPECT_THROW(a.Add(Cplx({{1, 1}}), 0, 1, 2), EQuorelRangeError);
  EXPECT_THROW(big.Size(std::numeric_limits<std::int32_t>::max() / 2 + 5, true), EOutOfMemory);
}

TEST(FrameOnMatrices, ResultsKeepTheMatrixShape) {
  TMtx a(2, 3);
  a.SetVal(4.0);
  TMtx r;
  r.Sqrt(a);
  EXPECT_TRUE(r.Rows() == 2 && r.Cols() == 3 && r.Sum() == 12);
  r.Add(TCplx{0, 1});  // promotion keeps rows and columns
  EXPECT_TRUE(r.Complex() && r.Rows() == 2 && r.Cols() == 3);
  TDenseQuorel& base = a;
  base.SetVal(TCplx{1, 1});  // through the base class too
  EXPECT_TRUE(a.Cols() == 3 && a.CValues(1, 2) == (TCplx{1, 1}));
  a.SetConditionCheck(false);
  a.Abs(a);  // Self as the source, read from a copy: still 2 x 3
  EXPECT_TRUE(!a.Complex() && a.Rows() == 2 && a.Cols() == 3 && std::fabs(a.Sum() - 6 * std::sqrt(2.0)) < 1e-14);
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

}  // namespace
}  // namespace quorel
