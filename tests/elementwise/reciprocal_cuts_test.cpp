// The vector inverse functions of 1/x on their branch cuts: a zero part's sign picks the side, as
// in the scalar functions, through the complex reciprocal they start from.
#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "quorel/core/complex_arith.h"
#include "quorel/core/complex_compare.h"
#include "support/support.h"

namespace quorel {
namespace {

using test::Cplx;

// The results below are closed forms; 1/x is exact at these points, so only the function rounds.
constexpr double kTol = 1e-15;

TEST(ReciprocalInverses, ZeroSignSelectsTheSideOfTheCut) {
  const double acosh2 = std::acosh(2.0), acoth2 = 0.5 * std::log(3.0);
  using Member = TVec& (TVec::*)(const TDenseQuorel&);
  struct Case {
    const char* name;
    Member f;
    TCplx onCut;  // the zero part is +0
    TCplx want;   // the limit from the +0 side
  };
  const Case cases[] = {
      {"ArcSec", &TVec::ArcSec, {0.5, 0.0}, {0, acosh2}},          {"ArcCsc", &TVec::ArcCsc, {-0.5, 0.0}, {-PIDIV2, -acosh2}},
      {"ArcCoth", &TVec::ArcCoth, {0.5, 0.0}, {acoth2, -PIDIV2}},  {"ArcSech", &TVec::ArcSech, {2.0, 0.0}, {0, -PI / 3}},
      {"ArcCot", &TVec::ArcCot, {0.0, 0.5}, {PIDIV2, -acoth2}},    {"ArcCsch", &TVec::ArcCsch, {0.0, 0.5}, {acosh2, -PIDIV2}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    // The other side: the zero part negated; the conjugate on the real axis, and -conj on the
    // imaginary one (ArcCot and ArcCsch are odd).
    const bool realAxis = c.onCut.Im == 0;
    const TVec x = Cplx({c.onCut, realAxis ? TCplx{c.onCut.Re, -0.0} : TCplx{-0.0, c.onCut.Im}});
    TVec r;
    (r.*c.f)(x);
    const TCplx wantBelow = realAxis ? Conj(c.want) : Neg(Conj(c.want));
    EXPECT_TRUE(Equal(r.CValues()[0], c.want, kTol)) << r.CValues()[0].Re << ", " << r.CValues()[0].Im;
    EXPECT_TRUE(Equal(r.CValues()[1], wantBelow, kTol)) << r.CValues()[1].Re << ", " << r.CValues()[1].Im;
  }
}

}  // namespace
}  // namespace quorel
