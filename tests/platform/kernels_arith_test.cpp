#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/threshold.h"

#include <algorithm>
#include <cerrno>

#include "kernel_test_support.h"

namespace quorel::kern::test {
namespace {

// Textbook complex product and quotient (one reciprocal of |b|^2), written out here.
C RefMul(C a, C b) { return {a.Re * b.Re - a.Im * b.Im, a.Re * b.Im + a.Im * b.Re}; }
C RefDiv(C a, C b) {
  const double s = 1.0 / (b.Re * b.Re + b.Im * b.Im);
  return {(a.Re * b.Re + a.Im * b.Im) * s, (a.Im * b.Re - a.Re * b.Im) * s};
}
// a / b for a real a the same way (a = 1: the reciprocal).
C RefRealDiv(D a, C b) {
  const double s = 1.0 / (b.Re * b.Re + b.Im * b.Im);
  return {a * b.Re * s, -(a * b.Im) * s};
}
// Whether Re^2 + Im^2 stays a normal double (or is an exact 0): elsewhere the modulus is taken
// without the squares, and moving z onto a circle divides by it.
bool NormInRange(C z) {
  const double m = z.Re * z.Re + z.Im * z.Im;
  return (m >= 0x1p-1022 || (z.Re == 0.0 && z.Im == 0.0)) && m <= 0x1.fffffffffffffp+1023;
}
double Modulus(C z) { return NormInRange(z) ? std::sqrt(z.Re * z.Re + z.Im * z.Im) : std::hypot(z.Re, z.Im); }
// z moved to modulus level along its own direction; 0 goes to (level, 0), infinities by angle.
C OnCircle(C z, double level) {
  const double m = Modulus(z);
  if (m == 0.0) return {level, 0.0};
  if (NormInRange(z)) return {z.Re * (level / m), z.Im * (level / m)};
  if (std::isinf(m)) return {level * std::cos(std::atan2(z.Im, z.Re)), level * std::sin(std::atan2(z.Im, z.Re))};
  return {z.Re / m * level, z.Im / m * level};
}
// The clamped reciprocal of z; beyond the squares' range 1/z is w / |w|^2 without forming |w|^2.
C ClampedInv(C z, double level) {
  const double m = Modulus(z);
  const C w = m < level ? OnCircle(z, level) : z;
  if (NormInRange(z)) return RefRealDiv(1.0, w);
  const double mw = m < level ? level : m;
  return {w.Re / mw / mw, -w.Im / mw / mw};
}

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
  CheckBinary<D, C, C>("Div dc", Pick<D, C, C>(Div), RefRealDiv);
}

TEST(KernelsArith, ArrayWithScalarInAllFourForms) {
  const D v = 2.5;
  const C w{-1.5, 3.0};
  CheckUnary<D, D>("AddValue d", WithValue<D, D, D>(AddValue, v), [v](D a) { return a + v; });
  CheckUnary<C, C>("AddValue cd", WithValue<C, D, C>(AddValue, v), [v](C a) { return C{a.Re + v, a.Im}; });
  CheckUnary<C, C>("AddValue c", WithValue<C, C, C>(AddValue, w), [w](C a) { return C{a.Re + w.Re, a.Im + w.Im}; });
  CheckUnary<D, C>("AddValue dc", WithValue<D, C, C>(AddValue, w), [w](D a) { return C{a + w.Re, w.Im}; });
  CheckUnary<D, D>("SubFromValue d", WithValue<D, D, D>(SubFromValue, v), [v](D a) { return v - a; });
  CheckUnary<C, C>("SubFromValue cd", WithValue<C, D, C>(SubFromValue, v), [v](C a) { return C{v - a.Re, -a.Im}; });
  CheckUnary<C, C>("SubFromValue c", WithValue<C, C, C>(SubFromValue, w),
                   [w](C a) { return C{w.Re - a.Re, w.Im - a.Im}; });
  CheckUnary<D, C>("SubFromValue dc", WithValue<D, C, C>(SubFromValue, w), [w](D a) { return C{w.Re - a, w.Im}; });
  CheckUnary<D, D>("ScaleByValue d", WithValue<D, D, D>(ScaleByValue, v), [v](D a) { return a * v; });
  CheckUnary<C, C>("ScaleByValue cd", WithValue<C, D, C>(ScaleByValue, v), [v](C a) { return C{a.Re * v, a.Im * v}; });
  CheckUnary<C, C>("ScaleByValue c", WithValue<C, C, C>(ScaleByValue, w), [w](C a) { return RefMul(a, w); });
  CheckUnary<D, C>("ScaleByValue dc", WithValue<D, C, C>(ScaleByValue, w), [w](D a) { return C{a * w.Re, a * w.Im}; });
  CheckUnary<D, D>("DivideValue d", WithValue<D, D, D>(DivideValue, v), [v](D a) { return v / a; });
  CheckUnary<C, C>("DivideValue cd", WithValue<C, D, C>(DivideValue, v), [v](C a) { return RefRealDiv(v, a); });
  CheckUnary<C, C>("DivideValue c", WithValue<C, C, C>(DivideValue, w), [w](C a) { return RefDiv(w, a); });
  CheckUnary<D, C>("DivideValue dc", WithValue<D, C, C>(DivideValue, w), [w](D a) { return C{w.Re / a, w.Im / a}; });
}

TEST(KernelsArith, AddProductAccumulatesIntoTheOutput) {
  // The output starts at 0.5 (or 0.5 - 0.5i); in place separately below.
  CheckBinary<D, D, D, false>("AddProduct d", [](const D* a, const D* b, D* r, ptrdiff_t n) {
    std::fill(r, r + n, 0.5);
    AddProduct(a, b, r, n);
  }, [](D a, D b) { return 0.5 + a * b; });
  CheckBinary<C, C, C, false>("AddProduct c", [](const C* a, const C* b, C* r, ptrdiff_t n) {
    std::fill(r, r + n, C{0.5, -0.5});
    AddProduct(a, b, r, n);
  }, [](C a, C b) { return C{0.5 + RefMul(a, b).Re, -0.5 + RefMul(a, b).Im}; });
  D x[3] = {1, 2, 3};
  const D y[3] = {4, 5, 6};
  AddProduct(x, y, x, 3);  // r == a: r += r * b
  EXPECT_TRUE(Same(x[2], 21.0));
}

TEST(KernelsArith, PowersRootsReciprocalsAndAbs) {
  const D neg[] = {-4.0, -kInf};
  D out[2];
  errno = 0;
  Sqrt(neg, out, 2);  // NaN, not a libm call that sets errno
  EXPECT_EQ(errno, 0);
  EXPECT_TRUE(std::isnan(out[0]) && std::isnan(out[1]));
  CheckUnary<D, D>("Sqr d", Pick<D, D>(Sqr), [](D a) { return a * a; });
  CheckUnary<C, C>("Sqr c", Pick<C, C>(Sqr), [](C a) { return C{a.Re * a.Re - a.Im * a.Im, 2 * a.Re * a.Im}; });
  CheckUnary<D, D>("Sqrt d", Pick<D, D>(Sqrt), [](D a) { return std::sqrt(a); });
  CheckUnary<D, D>("Inv d", Inv, [](D a) { return 1.0 / a; });
  CheckUnary<D, D>("Abs d", Abs, [](D a) { return std::fabs(a); });
}

TEST(KernelsArith, ComplexSqrtIsThePrincipalRoot) {
  const C z[] = {{-4, 0}, {-4, -0.0}, {0, 0}, {3, 4}, {-3, 4}, {-3, -4}, {0, 2}, {4, -0.0}, {-1e-300, 1e-300}};
  const C want[] = {{0, 2}, {0, 2}, {0, 0}, {2, 1}, {1, 2}, {1, -2}, {1, 1}, {2, -0.0}};
  C r[9];
  Sqrt(z, r, 9);
  for (int i = 0; i < 8; ++i) EXPECT_TRUE(Same(r[i], want[i])) << i << " got " << Show(r[i]);
  EXPECT_TRUE(r[8].Re > 0.0 && r[8].Im > r[8].Re);  // tiny values: the root does not underflow
}

TEST(KernelsArith, ClampedReciprocalKeepsSignAndPhase) {
  const D x[] = {0.5, -0.5, 0.0, -0.0, 4.0, -4.0, kNaN, kInf};
  const D want[] = {0.5, -0.5, 0.5, -0.5, 0.25, -0.25, kNaN, 0.0};
  D r[8];
  LTInv(x, 2.0, r, 8);
  for (int i = 0; i < 8; ++i) EXPECT_TRUE(Same(r[i], want[i])) << i << " got " << r[i];
  CheckUnary<C, C>("LTInv c", WithValue<C, D, C>(LTInv, 3.0),
                   [](C a) { return ClampedInv(a, 3.0); });
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

TEST(KernelsThreshold, RealFormsAgainstTheRule) {
  CheckUnary<D, D>("LT", WithValue<D, D, D>(ThresholdLT, -1.5), [](D x) { return x < -1.5 ? -1.5 : x; });
  CheckUnary<D, D>("GT", WithValue<D, D, D>(ThresholdGT, 2.0), [](D x) { return x > 2.0 ? 2.0 : x; });
  CheckUnary<D, D>("LTVal", [](const D* x, D* r, ptrdiff_t n) { ThresholdLTVal(x, 0.5, -7.0, r, n); },
                   [](D x) { return x < 0.5 ? -7.0 : x; });
  CheckUnary<D, D>("GTVal", [](const D* x, D* r, ptrdiff_t n) { ThresholdGTVal(x, 0.5, 7.0, r, n); },
                   [](D x) { return x > 0.5 ? 7.0 : x; });
  CheckUnary<D, D>("LTValGTVal",
                   [](const D* x, D* r, ptrdiff_t n) { ThresholdLTValGTVal(x, -1.0, -100.0, 1.0, 100.0, r, n); },
                   [](D x) { return x < -1.0 ? -100.0 : (x > 1.0 ? 100.0 : x); });
}

TEST(KernelsThreshold, ComplexFormsCompareModuliAndKeepThePhase) {
  CheckUnary<C, C>("LT c", WithValue<C, D, C>(ThresholdLT, 3.0),
                   [](C z) { return Modulus(z) < 3.0 ? OnCircle(z, 3.0) : z; });
  CheckUnary<C, C>("GT c", WithValue<C, D, C>(ThresholdGT, 3.0),
                   [](C z) { return Modulus(z) > 3.0 ? OnCircle(z, 3.0) : z; });
  const C v{1, -1};
  CheckUnary<C, C>("LTVal c", [v](const C* x, C* r, ptrdiff_t n) { ThresholdLTVal(x, 3.0, v, r, n); },
                   [v](C z) { return Modulus(z) < 3.0 ? v : z; });
  CheckUnary<C, C>("GTVal c", [v](const C* x, C* r, ptrdiff_t n) { ThresholdGTVal(x, 3.0, v, r, n); },
                   [v](C z) { return Modulus(z) > 3.0 ? v : z; });
}

}  // namespace
}  // namespace quorel::kern::test
