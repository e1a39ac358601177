// The two-output, two-source and parameter-after-source lines of the element-wise table: which
// check runs first, which runs only under ConditionCheck, and that nothing is written on refusal.
#include <cmath>
#include <functional>

#include <gtest/gtest.h>

#include "quorel/core/errors.h"
#include "support/support.h"

namespace quorel {
namespace {

using test::Cplx;
using test::MessageOf;
using test::Real;
using E = EQuorelInvalidArgument;

TEST(TableShapes, TwoOutputsCheckOrder) {
  TVec x = Real({0.5, 1});
  TVec s = Real({7, 7}), c = Real({7, 7}), z = Cplx({{1, 1}, {2, 2}});
  // Real source: the Self checks and the output kinds of the range form follow ConditionCheck.
  EXPECT_EQ(MessageOf<E>([&] { x.SinCos(x, c); }), "TQuorel.SinCos: Sinx = Self");
  EXPECT_EQ(MessageOf<E>([&] { x.SinCos(s, x); }), "TVec.SinCos: Cosx = Self");
  EXPECT_EQ(MessageOf<E>([&] { z.SinhCosh(s, c); }), "TQuorel.SinhCosh: Complex = True");
  EXPECT_EQ(MessageOf<E>([&] { x.SinhCosh(s, z, 0, 0, 0, 2); }), "TVec.SinhCosh: CoshX.Complex = True");
  EXPECT_TRUE(s.IsEqual(Real({7, 7})));
  x.SetConditionCheck(false);
  x.SinCos(s, c, 1, 0, 0, 1);  // unchecked range form writes into what it is given
  EXPECT_DOUBLE_EQ(s[1], std::sin(0.5));
  EXPECT_DOUBLE_EQ(c[0], std::cos(0.5));
  // Complex source: the output kinds of the range form are checked whatever ConditionCheck says,
  // and the range form has no Self check.
  TVec re = Real({0, 0}), im = Real({0, 0});
  z.SetConditionCheck(false);
  EXPECT_EQ(MessageOf<E>([&] { z.CartToPolar(re, z, 0, 0, 0, 2); }), "PhaseVec.Complex = True");
  EXPECT_EQ(MessageOf<E>([&] { z.CplxToReal(z, im, 0, 0, 0, 2); }), "ReVec.Complex = True");
  z.SetConditionCheck(true);
  TVec zc = z, zre;  // Self as an output: split from a copy
  zc.CplxToReal(zre, zc);
  EXPECT_TRUE(zre.IsEqual(Real({1, 2})) && zc.IsEqual(Real({1, 2})));
  z.CplxToReal(re, im, 1, 0, 1, 1);
  EXPECT_TRUE(re.IsEqual(Real({0, 2})) && im.IsEqual(Real({2, 0})));
}

TEST(TableShapes, TwoOutputsRefusedKeepTheFirstOutput) {
  // The second output cannot change length: the call refuses before the first output is touched.
  const TVec x = Real({0.25, 1.5, -2.75}), z = Cplx({{1, 2}, {3, 4}, {5, 6}});
  const std::function<void(TVec&, TVec&)> calls[] = {
      [&](TVec& a, TVec& b) { TVec(z).CplxToReal(a, b); }, [&](TVec& a, TVec& b) { TVec(z).CartToPolar(a, b); },
      [&](TVec& a, TVec& b) { TVec(x).SinCos(a, b); }, [&](TVec& a, TVec& b) { TVec(x).TruncAndFrac(a, b); },
  };
  for (const auto& call : calls) {
    TVec first = Real({11, 12}), store = Real({40, 40, 40, 40}), second;
    second.SetSubRange(store, 0, 2);
    EXPECT_EQ(MessageOf<EQuorelException>([&] { call(first, second); }), "IsSubRange = True!");
    EXPECT_TRUE(first.Length() == 2 && first[0] == 11 && first[1] == 12);
    EXPECT_TRUE(store.IsEqual(Real({40, 40, 40, 40})));
  }
}

TEST(TableShapes, TwoOutputsLenToSelfsEnd) {
  // Index and Len address Self: -1 runs to Self's end even when the outputs are longer, checked or not.
  for (const bool checked : {true, false}) {
    TVec x = Real({0.5, 1, 1.5, 2.5});
    TVec z = Cplx({{1, 2}, {3, 4}, {5, 6}, {7, 8}});
    TVec a = Real({9, 9, 9, 9, 9, 9}), b = a;
    x.SetConditionCheck(checked);
    z.SetConditionCheck(checked);
    x.SinCos(a, b, 2, 2, 1, -1);
    EXPECT_TRUE(a.IsEqual(Real({9, 9, std::sin(1.0), std::sin(1.5), std::sin(2.5), 9}))) << checked;
    EXPECT_EQ(b[5], 9) << checked;
    z.CplxToReal(a, b, 2, 2, 1, -1);
    EXPECT_TRUE(a.IsEqual(Real({9, 9, 3, 5, 7, 9})) && b.IsEqual(Real({9, 9, 4, 6, 8, 9}))) << checked << " CplxToReal";
    x.TruncAndFrac(a, b, 2, 2, 1, -1);
    EXPECT_TRUE(a.IsEqual(Real({9, 9, 1, 1, 2, 9})) && b.IsEqual(Real({9, 9, 0, 0.5, 0.5, 9}))) << checked << " Trunc";
  }
}

TEST(TableShapes, TwoRealSourcesToComplex) {
  TVec r = Real({1, 2}), i = Real({3, 4});
  TVec out = Cplx({{9, 9}, {9, 9}, {9, 9}});
  EXPECT_EQ(MessageOf<E>([&] { r.RealToCplx(r, i); }), "(Self = ReVec) or (Self = ImVec)");
  TVec realOut = Real({0, 0});
  EXPECT_EQ(MessageOf<E>([&] { realOut.PolarToCart(r, i, 0, 0, 0, 2); }), "Complex = False");
  EXPECT_TRUE(out.RealToCplx(r, i, 1, 0, 2, 1).IsEqual(Cplx({{9, 9}, {9, 9}, {2, 3}})));
  EXPECT_TRUE(out.PolarToCart(Real({2}), Real({0})).IsEqual(Cplx({{2, 0}})));
}

TEST(TableShapes, ParameterAfterSource) {
  TVec a = Real({0.5, -4, 8});
  TVec r;
  r.Inv(a, 1.0);  // |x| below the threshold gives 1/threshold with the sign kept
  EXPECT_TRUE(r.IsEqual(Real({1, -0.25, 0.125})));
  r.Inv(Real({2, 4}), 1.0, 1, 0, 1);
  EXPECT_DOUBLE_EQ(r[0], 0.25);
  EXPECT_EQ(MessageOf<E>([&] { r.Inv(r, 1.0); }), "Inv: X = Self");
  // The complex-valued threshold refuses real data; its Self check comes first.
  TVec c = Cplx({{3, 4}});
  EXPECT_EQ(MessageOf<E>([&] { c.ThresholdGT(c, 1.0, TCplx{0, 1}); }), "TQuorel.ThresholdGT: Vec = Self");
  EXPECT_EQ(MessageOf<E>([&] { a.ThresholdLT(1.0, TCplx{0, 1}); }), "TQuorel.ThresholdLT: Self is not Complex");
  EXPECT_EQ(MessageOf<E>([&] { c.ThresholdLT(a, 1.0, TCplx{0, 1}); }), "TQuorel.ThresholdLT: Vec is not Complex");
  EXPECT_TRUE(c.ThresholdGT(1.0, TCplx{0, 1}).IsEqual(Cplx({{0, 1}})));
  // The ranges are validated before the level order.
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { a.ThresholdGT_LT(1, 0, 0, 0, 5, 5); }),
            "Self params out of range: Index: 5, Len: 5, Length: 3");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { a.ThresholdGT_LT(Real({1}), 1, 0, 0, 0, 0, 3, 1); }),
            "Self params out of range: Index: 3, Len: 1, Length: 3");
  EXPECT_EQ(MessageOf<E>([&] { a.ThresholdGT_LT(1, 0, 0, 0, 0, 3); }), "TQuorel.ThresholdGT_LT: LTLevel > GTLevel");
  EXPECT_TRUE(a.IsEqual(Real({0.5, -4, 8})));
}

}  // namespace
}  // namespace quorel
