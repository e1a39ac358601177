// Piecewise polynomials, linear and spline interpolation against closed forms.
#include "poly/poly_util.h"
#include "quorel/poly/interpolation.h"

namespace quorel::test {
namespace {

double Cubic(double x) { return 0.5 * x * x * x - 2 * x * x + x - 3; }

TVec Grid(std::initializer_list<double> v) { return Real(v); }

TEST(Spline1D, NotAKnotReproducesCubicsWithDerivatives) {
  // Uneven knots: a cubic is its own not-a-knot spline, so values and derivatives are exact.
  TVec x = Grid({-2, -1.3, 0, 0.4, 1.7, 2.2, 4}), y = x;
  for (double& v : y) v = Cubic(v);
  TPiecePoly pp, d1, d2;
  Spline1D(x, y, pp, seNotAKnot);
  EXPECT_EQ(std::pair(pp.Pieces(), pp.Order()), std::pair(6, 3));
  pp.Derivative(d1);
  d1.Derivative(d2);
  TVec xi = Grid({-3, -2, -1.5, 0.1, 1, 2.0, 3.9, 5}), yi, di;
  pp.Evaluate(xi, yi);  // the vector form; the scalar form must agree exactly
  for (int i = 0; i < xi.Length(); ++i) {
    const double t = *xi.PValues(i);
    EXPECT_NEAR(*yi.PValues(i), Cubic(t), 10 * kClose * (1 + std::fabs(Cubic(t)))) << t;
    EXPECT_EQ(pp.Evaluate(t), *yi.PValues(i));
    EXPECT_NEAR(d1.Evaluate(t), 1.5 * t * t - 4 * t + 1, 100 * kClose) << t;
    EXPECT_NEAR(d2.Evaluate(t), 3 * t - 4, 100 * kClose) << t;
  }
  // Derivative in place: the third derivative of the cubic is the constant 3.
  d2.Derivative(d2);
  EXPECT_NEAR(d2.Evaluate(0.7), 3, 100 * kClose);

  // The builders write into the result: a rebuild over the result's own breaks (as data) and an
  // evaluation in place stay right. y = x is the line through the knots.
  Spline1D(pp.Breaks(), pp.Breaks(), pp, seNatural);
  Linear1D(x, pp.Breaks(), d1);
  pp.Evaluate(xi, yi);
  d1.Evaluate(xi, di);
  xi.Copy(yi);
  pp.Evaluate(xi, xi);
  for (int i = 0; i < xi.Length(); ++i) {
    EXPECT_NEAR(*yi.PValues(i), *di.PValues(i), 10 * kClose * (1 + std::fabs(*di.PValues(i))));
    EXPECT_NEAR(*xi.PValues(i), *yi.PValues(i), 10 * kClose * (1 + std::fabs(*yi.PValues(i))));
  }
}

TEST(Spline1D, ClosedFormsOfSmallSplines) {
  TVec yi;
  // Natural spline through (0,0), (1,1), (2,0): -x^3/2 + 3x/2 on [0, 1], mirrored on [1, 2].
  Spline1D(Grid({0, 1, 2}), Grid({0, 1, 0}), Grid({0.5, 1.5, 1}), yi, seNatural);
  EXPECT_NEAR(*yi.PValues(0), 0.6875, kClose);
  EXPECT_NEAR(*yi.PValues(1), 0.6875, kClose);
  EXPECT_NEAR(*yi.PValues(2), 1, kClose);
  // Three knots, not-a-knot: the parabola through them (x^2 here).
  Spline1D(Grid({0, 1, 3}), Grid({0, 1, 9}), Grid({-1, 2, 4}), yi, seNotAKnot);
  EXPECT_NEAR(*yi.PValues(0), 1, kClose);
  EXPECT_NEAR(*yi.PValues(1), 4, kClose);
  EXPECT_NEAR(*yi.PValues(2), 16, kClose);
  // Two knots: the line, whatever the end condition.
  Spline1D(Grid({1, 3}), Grid({2, 6}), Grid({0, 2}), yi, seNatural);
  EXPECT_EQ(Doubles(yi), (std::vector<double>{0, 4}));
  // Natural ends: zero second derivative at both ends on larger random-ish data.
  TPiecePoly pp, d1, d2;
  Spline1D(Grid({0, 0.3, 1, 1.2, 2.5, 3}), Grid({1, -1, 2, 0, 0.5, 3}), pp, seNatural);
  pp.Derivative(d1);
  d1.Derivative(d2);
  EXPECT_NEAR(d2.Evaluate(0), 0, 10 * kClose);
  EXPECT_NEAR(d2.Evaluate(3), 0, 10 * kClose);
}

TEST(Interpolate, LinearEquallySpacedAndDispatch) {
  TVec yi;
  Linear1D(Grid({0, 1, 3}), Grid({0, 2, 0}), Grid({-1, 0.5, 1, 2, 4}), yi);
  EXPECT_EQ(Doubles(yi), (std::vector<double>{-2, 1, 2, 1, -1}));  // end segments extrapolate
  // Unsorted query points take the searching path.
  Interpolate(Grid({0, 1, 3}), Grid({0, 2, 0}), Grid({2, -1, 0.5}), yi, itLinear);
  EXPECT_EQ(Doubles(yi), (std::vector<double>{1, -2, 1}));
  // Equally spaced knots give what the explicit knots give.
  TVec y = Grid({1, 3, 2, 5, 4}), a, b;
  InterpolateEqd(10, 0.5, y, Grid({10.2, 11.1, 11.9}), a, itNotAKnotSpline);
  Interpolate(Grid({10, 10.5, 11, 11.5, 12}), y, Grid({10.2, 11.1, 11.9}), b, itNotAKnotSpline);
  EXPECT_EQ(Doubles(a), Doubles(b));
  InterpolateEqd(0, 1, y, Grid({0.5}), a, itNaturalSpline);
  Spline1D(Grid({0, 1, 2, 3, 4}), y, Grid({0.5}), b, seNatural);
  EXPECT_EQ(Doubles(a), Doubles(b));
}

TEST(Interpolate, BadKnots) {
  TVec yi = Grid({7});
  TPiecePoly pp;
  ExpectMessages<EQuorelInvalidArgument>({
      {[&] { Spline1D(Grid({0, 1}), Grid({0}), pp, seNatural); }, "Spline1D: X.Length <> Y.Length"},
      {[&] { Spline1D(Grid({0}), Grid({0}), pp, seNatural); }, "Spline1D: X.Length < 2"},
      {[&] { Spline1D(Grid({0, 1, 1}), Grid({0, 1, 2}), pp, seNotAKnot); }, "Spline1D: X not strictly increasing"},
      {[&] { Linear1D(Grid({0, NAN}), Grid({0, 1}), Grid({0}), yi); }, "Linear1D: X not strictly increasing"},
      {[&] { Linear1D(Cplx({{0, 0}, {1, 0}}), Grid({0, 1}), Grid({0}), yi); }, "Linear1D: complex data"},
      {[&] { InterpolateEqd(0, 0, Grid({1, 2}), Grid({0}), yi, itLinear); }, "InterpolateEqd: dx <= 0"},
      {[&] { TPiecePoly(Grid({0, 1, 2}), RealMtx(1, 2, {1, 1})); }, "TPiecePoly: Coeffs.Rows <> Breaks.Length - 1"},
  });
  EXPECT_EQ(Doubles(yi), (std::vector<double>{7}));
  EXPECT_EQ(pp.Pieces(), 0);
}

}  // namespace
}  // namespace quorel::test
