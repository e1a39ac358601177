#include "quorel/platform/kernels_arith.h"

#include <cerrno>

#include <gtest/gtest.h>

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

using std::ptrdiff_t;
using D = double;
using C = TCplx;

// Textbook complex product and quotient (one reciprocal of |b|^2), written out here.
C RefMul(C a, C b) { return {a.Re * b.Re - a.Im * b.Im, a.Re * b.Im + a.Im * b.Re}; }
C RefDiv(C a, C b) {
  const double s = 1.0 / (b.Re * b.Re + b.Im * b.Im);
  return {(a.Re * b.Re + a.Im * b.Im) * s, (a.Im * b.Re - a.Re * b.Im) * s};
}

// Kernel overloads by their operand types.
template <class A, class B, class R>
auto Pick(void (*k)(const A*, const B*, R*, ptrdiff_t)) { return k; }

TEST(KernelsArith, ArrayWithArrayInAllFourForms) {
  CheckBinary<D, D, D>("Add dd", Pick<D, D, D>(Add), [](D a, D b) { return a + b; });
  CheckBinary<C, C, C>("Add cc", Pick<C, C, C>(Add), [](C a, C b) { return C{a.Re + b.Re, a.Im + b.Im}; });
  CheckBinary<C, D, C>("Add cd", Pick<C, D, C>(Add), [](C a, D b) { return C{a.Re + b, a.Im}; });
  CheckBinary<D, C, C>("Add dc", Pick<D, C, C>(Add), [](D a, C b) { return C{a + b.Re, b.Im}; });

  CheckBinary<D, D, D>("Sub dd", Pick<D, D, D>(Sub), [](D a, D b) { return a - b; });
  CheckBinary<C, C, C>("Sub cc", Pick<C, C, C>(Sub), [](C a, C b) { return C{a.Re - b.Re, a.Im - b.Im}; });
  CheckBinary<C, D, C>("Sub cd", Pick<C, D, C>(Sub), [](C a, D b) { return C{a.Re - b, a.Im}; });
  CheckBinary<D, C, C>("Sub dc", Pick<D, C, C>(Sub), [](D a, C b) { return C{a - b.Re, -b.Im}; });

  CheckBinary<D, D, D>("Mul dd", Pick<D, D, D>(Mul), [](D a, D b) { return a * b; });
  CheckBinary<C, C, C>("Mul cc", Pick<C, C, C>(Mul), RefMul);
  CheckBinary<C, D, C>("Mul cd", Pick<C, D, C>(Mul), [](C a, D b) { return C{a.Re * b, a.Im * b}; });
  CheckBinary<D, C, C>("Mul dc", Pick<D, C, C>(Mul), [](D a, C b) { return C{a * b.Re, a * b.Im}; });

  CheckBinary<D, D, D>("Div dd", Pick<D, D, D>(Div), [](D a, D b) { return a / b; });
  CheckBinary<C, C, C>("Div cc", Pick<C, C, C>(Div), RefDiv);
  CheckBinary<C, D, C>("Div cd", Pick<C, D, C>(Div), [](C a, D b) { return C{a.Re / b, a.Im / b}; });
  CheckBinary<D, C, C>("Div dc", Pick<D, C, C>(Div), [](D a, C b) {
    const double s = 1.0 / (b.Re * b.Re + b.Im * b.Im);
    return C{a * b.Re * s, -(a * b.Im) * s};
  });
}

TEST(KernelsArith, ComplexProductsAndQuotientsInClosedForm) {
  const C a[] = {{1, 2}, {2, 0}, {0, 1}};
  const C b[] = {{3, 4}, {1, 1}, {0, 1}};
  C r[3];
  Mul(a, b, r, 3);
  EXPECT_TRUE(Same(r[0], C{-5, 10}));
  EXPECT_TRUE(Same(r[2], C{-1, 0}));
  Div(a, b, r, 3);
  EXPECT_NEAR(r[0].Re, 0.44, 2 * kEps);
  EXPECT_NEAR(r[0].Im, 0.08, 2 * kEps);
  EXPECT_TRUE(Same(r[1], C{1, -1}));
  EXPECT_TRUE(Same(r[2], C{1, 0}));
  const D two[] = {2, 2, 2};
  Div(two, b, r, 3);  // 2 / (1 + i) = 1 - i
  EXPECT_TRUE(Same(r[1], C{1, -1}));
}

TEST(KernelsArith, ArrayWithScalarInAllFourForms) {
  const D v = 2.5;
  const C w{-1.5, 3.0};
  auto add_d = [v](const D* x, D* r, ptrdiff_t n) { AddValue(x, v, r, n); };
  auto add_cd = [v](const C* x, C* r, ptrdiff_t n) { AddValue(x, v, r, n); };
  auto add_c = [w](const C* x, C* r, ptrdiff_t n) { AddValue(x, w, r, n); };
  auto add_dc = [w](const D* x, C* r, ptrdiff_t n) { AddValue(x, w, r, n); };
  CheckUnary<D, D>("AddValue d", add_d, [v](D a) { return a + v; });
  CheckUnary<C, C>("AddValue cd", add_cd, [v](C a) { return C{a.Re + v, a.Im}; });
  CheckUnary<C, C>("AddValue c", add_c, [w](C a) { return C{a.Re + w.Re, a.Im + w.Im}; });
  CheckUnary<D, C>("AddValue dc", add_dc, [w](D a) { return C{a + w.Re, w.Im}; });

  auto sub_d = [v](const D* x, D* r, ptrdiff_t n) { SubFromValue(x, v, r, n); };
  auto sub_cd = [v](const C* x, C* r, ptrdiff_t n) { SubFromValue(x, v, r, n); };
  auto sub_c = [w](const C* x, C* r, ptrdiff_t n) { SubFromValue(x, w, r, n); };
  auto sub_dc = [w](const D* x, C* r, ptrdiff_t n) { SubFromValue(x, w, r, n); };
  CheckUnary<D, D>("SubFromValue d", sub_d, [v](D a) { return v - a; });
  CheckUnary<C, C>("SubFromValue cd", sub_cd, [v](C a) { return C{v - a.Re, -a.Im}; });
  CheckUnary<C, C>("SubFromValue c", sub_c, [w](C a) { return C{w.Re - a.Re, w.Im - a.Im}; });
  CheckUnary<D, C>("SubFromValue dc", sub_dc, [w](D a) { return C{w.Re - a, w.Im}; });

  auto scale_d = [v](const D* x, D* r, ptrdiff_t n) { ScaleByValue(x, v, r, n); };
  auto scale_cd = [v](const C* x, C* r, ptrdiff_t n) { ScaleByValue(x, v, r, n); };
  auto scale_c = [w](const C* x, C* r, ptrdiff_t n) { ScaleByValue(x, w, r, n); };
  auto scale_dc = [w](const D* x, C* r, ptrdiff_t n) { ScaleByValue(x, w, r, n); };
  CheckUnary<D, D>("ScaleByValue d", scale_d, [v](D a) { return a * v; });
  CheckUnary<C, C>("ScaleByValue cd", scale_cd, [v](C a) { return C{a.Re * v, a.Im * v}; });
  CheckUnary<C, C>("ScaleByValue c", scale_c, [w](C a) { return RefMul(a, w); });
  CheckUnary<D, C>("ScaleByValue dc", scale_dc, [w](D a) { return C{a * w.Re, a * w.Im}; });

  auto div_d = [v](const D* x, D* r, ptrdiff_t n) { DivideValue(x, v, r, n); };
  auto div_cd = [v](const C* x, C* r, ptrdiff_t n) { DivideValue(x, v, r, n); };
  auto div_c = [w](const C* x, C* r, ptrdiff_t n) { DivideValue(x, w, r, n); };
  auto div_dc = [w](const D* x, C* r, ptrdiff_t n) { DivideValue(x, w, r, n); };
  CheckUnary<D, D>("DivideValue d", div_d, [v](D a) { return v / a; });
  CheckUnary<C, C>("DivideValue cd", div_cd, [v](C a) {
    const double s = 1.0 / (a.Re * a.Re + a.Im * a.Im);
    return C{v * a.Re * s, -(v * a.Im) * s};
  });
  CheckUnary<C, C>("DivideValue c", div_c, [w](C a) { return RefDiv(w, a); });
  CheckUnary<D, C>("DivideValue dc", div_dc, [w](D a) { return C{w.Re / a, w.Im / a}; });
}

TEST(KernelsArith, AddProductAccumulatesIntoTheOutput) {
  Values values(7);
  for (ptrdiff_t n : kLengths) {
    Guarded<D> a(n, 1), b(n, 2), r(n, 3);
    Guarded<C> ca(n, 0), cb(n, 1), cr(n, 2);
    std::vector<D> r0(n);
    std::vector<C> cr0(n);
    for (ptrdiff_t i = 0; i < n; ++i) {
      a[i] = values.Plain(), b[i] = values.Plain(), r[i] = r0[i] = values.Plain();
      ca[i] = {values.Plain(), values.Plain()}, cb[i] = {values.Plain(), values.Plain()};
      cr[i] = cr0[i] = {values.Plain(), values.Plain()};
    }
    AddProduct(a.data(), b.data(), r.data(), n);
    AddProduct(ca.data(), cb.data(), cr.data(), n);
    for (ptrdiff_t i = 0; i < n; ++i) {
      ASSERT_TRUE(Same(r[i], r0[i] + a[i] * b[i])) << i;
      const C p = RefMul(ca[i], cb[i]);
      ASSERT_TRUE(Same(cr[i], C{cr0[i].Re + p.Re, cr0[i].Im + p.Im})) << i;
    }
    EXPECT_TRUE(r.GuardsIntact() && cr.GuardsIntact());
  }
  // r == a: r += r * b.
  D x[3] = {1, 2, 3};
  const D y[3] = {4, 5, 6};
  AddProduct(x, y, x, 3);
  EXPECT_TRUE(Same(x[2], 21.0));
}

TEST(KernelsArith, PowersRootsReciprocalsAndAbs) {
  const D neg[] = {-4.0, -kInf};
  D out[2];
  errno = 0;
  Sqrt(neg, out, 2);  // NaN, not a libm call that sets errno
  EXPECT_EQ(errno, 0);
  EXPECT_TRUE(std::isnan(out[0]) && std::isnan(out[1]));
  CheckUnary<D, D>("Sqr d", [](const D* x, D* r, ptrdiff_t n) { Sqr(x, r, n); }, [](D a) { return a * a; });
  CheckUnary<C, C>("Sqr c", [](const C* x, C* r, ptrdiff_t n) { Sqr(x, r, n); },
                   [](C a) { return C{a.Re * a.Re - a.Im * a.Im, 2 * a.Re * a.Im}; });
  CheckUnary<D, D>("Sqrt d", [](const D* x, D* r, ptrdiff_t n) { Sqrt(x, r, n); }, [](D a) { return std::sqrt(a); });
  CheckUnary<D, D>("Inv d", Inv, [](D a) { return 1.0 / a; });
  CheckUnary<D, D>("Abs d", Abs, [](D a) { return std::fabs(a); });
}

TEST(KernelsArith, ComplexSqrtIsThePrincipalRoot) {
  const C z[] = {{-4, 0}, {-4, -0.0}, {0, 0}, {3, 4}, {-3, 4}, {-3, -4}, {0, 2}, {4, -0.0}, {-1e-300, 1e-300}};
  const C want[] = {{0, 2}, {0, 2}, {0, 0}, {2, 1}, {1, 2}, {1, -2}, {1, 1}, {2, -0.0}};
  C r[9];
  Sqrt(z, r, 9);
  for (int i = 0; i < 8; ++i) EXPECT_TRUE(Same(r[i], want[i])) << i << " got " << Show(r[i]);
  EXPECT_GT(r[8].Re, 0.0);  // tiny values: no underflow to (0, 0) of the root itself
  EXPECT_GT(r[8].Im, r[8].Re);
  // Random values: the root squared gives z back, with Re >= 0.
  Values values(11);
  std::vector<C> x(1001), y(1001);
  for (C& c : x) c = {values.Plain(), values.Plain()};
  Sqrt(x.data(), y.data(), 1001);
  for (std::size_t i = 0; i < x.size(); ++i) {
    ASSERT_GE(y[i].Re, 0.0);
    const C back{y[i].Re * y[i].Re - y[i].Im * y[i].Im, 2 * y[i].Re * y[i].Im};
    const double scale = std::hypot(x[i].Re, x[i].Im);
    ASSERT_NEAR(back.Re, x[i].Re, 8 * kEps * scale) << i;
    ASSERT_NEAR(back.Im, x[i].Im, 8 * kEps * scale) << i;
  }
  // In place.
  C w[2] = {{-9, 0}, {0, -8}};
  Sqrt(w, w, 2);
  EXPECT_TRUE(Same(w[0], C{0, 3}));
  EXPECT_TRUE(Same(w[1], C{2, -2}));
}

TEST(KernelsArith, ClampedReciprocalKeepsSignAndPhase) {
  const D x[] = {0.5, -0.5, 0.0, -0.0, 4.0, -4.0, kNaN, kInf};
  D r[8];
  LTInv(x, 2.0, r, 8);
  const D want[] = {0.5, -0.5, 0.5, -0.5, 0.25, -0.25, kNaN, 0.0};
  for (int i = 0; i < 8; ++i) EXPECT_TRUE(Same(r[i], want[i])) << i << " got " << r[i];

  const C z[] = {{0.3, 0.4}, {0, 0}, {3, 4}, {-0.6, 0.8}};
  C cr[4];
  LTInv(z, 2.0, cr, 4);
  // |0.3 + 0.4i| = 0.5 < 2: becomes 2 * (0.6 + 0.8i), inverse (0.3, -0.4).
  EXPECT_NEAR(cr[0].Re, 0.3, 4 * kEps);
  EXPECT_NEAR(cr[0].Im, -0.4, 4 * kEps);
  EXPECT_NEAR(cr[1].Re, 0.5, 4 * kEps);
  EXPECT_EQ(cr[1].Im, 0.0);
  EXPECT_NEAR(cr[2].Re, 0.12, 4 * kEps);  // |3 + 4i| = 5 >= 2: plain inverse
  EXPECT_NEAR(cr[2].Im, -0.16, 4 * kEps);
  EXPECT_NEAR(cr[3].Re, -0.3, 4 * kEps);
  EXPECT_NEAR(cr[3].Im, -0.4, 4 * kEps);
  // Sweep: each result equals the scalar rule.
  const double level = 3.0;
  CheckUnary<C, C>("LTInv c", [level](const C* a, C* b, ptrdiff_t n) { LTInv(a, level, b, n); }, [level](C a) {
    const double m = std::sqrt(a.Re * a.Re + a.Im * a.Im);
    C w = a;
    if (m < level) w = m == 0.0 ? C{level, 0.0} : C{a.Re * (level / m), a.Im * (level / m)};
    const double s = 1.0 / (w.Re * w.Re + w.Im * w.Im);
    return C{w.Re * s, -w.Im * s};
  });
}

TEST(KernelsArith, NormalizeInThreeForms) {
  const C sub{1.0, -2.0}, div{0.5, 2.0};
  CheckUnary<D, D>("Normalize d", [](const D* x, D* r, ptrdiff_t n) { Normalize(x, 1.5, 4.0, r, n); },
                   [](D a) { return (a - 1.5) / 4.0; });
  CheckUnary<C, C>("Normalize c d", [sub](const C* x, C* r, ptrdiff_t n) { Normalize(x, sub, 4.0, r, n); },
                   [sub](C a) { return C{(a.Re - sub.Re) / 4.0, (a.Im - sub.Im) / 4.0}; });
  CheckUnary<C, C>("Normalize c c", [sub, div](const C* x, C* r, ptrdiff_t n) { Normalize(x, sub, div, r, n); },
                   [sub, div](C a) { return RefDiv(C{a.Re - sub.Re, a.Im - sub.Im}, div); });
}

}  // namespace
}  // namespace quorel::kern::test
