// Our own vector elementary functions, AVX-512. Everything in this file is built for AVX-512
// (and called only when the processor has it): the FMA and permute intrinsics could not be
// inlined into code built for the baseline.
//
// log (for pow): x = 2^k z with z in [0.69, 1.38); a 32-entry table gives 1/c and log c for the
// subinterval of z; r = z/c - 1 is formed exactly as a pair of doubles (|r| <= 2^-6), and
// log(1 + r) = r - r^2/2 + r^3 P(r), P of degree 9. The sum k ln 2 + log c + log(1 + r) is
// carried as a pair of doubles, accurate to about 2^-66 relative, so that pow can multiply it
// by y without losing the last bits. Ln, Log2 and Log10 alone use 16-entry tables (one permute
// each) with tables of log c in their own base: see LogFast.
// exp: a = (m + j/16) ln 2 + r with |r| <= ln 2 / 32; 2^(j/16) from a 16-entry table as a pair
// of doubles; e^r - 1 by a degree-7 polynomial; the result rounds once (about 0.51 ulp).
// sin, cos, tan: an exact Cody-Waite reduction by pi/2; sin and cos evaluate one polynomial per
// lane, tan a rational fit (see SinOrCos and TanOf).
// The tables are looked up with permutes: gathers are far slower on some processors with AVX-512.
// Lanes outside the ranges these formulas cover (zero, negative, subnormal, infinite or NaN
// arguments; results near overflow or underflow; trigonometric arguments beyond 2^20) take
// SLEEF's 1-ulp value instead.
#pragma GCC target("avx512f,avx512dq,avx512vl,avx2,fma")
// Vectors cross no boundary to baseline code here; the compiler's shift intrinsics leave a
// deliberately undefined source operand it then warns about.
#pragma GCC diagnostic ignored "-Wpsabi"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"

#include "quorel/platform/kernels/detail/math_avx512.h"

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#ifndef __AVX512F__
#define __AVX512F__ 1
#define QUOREL_SLEEF_AVX512_FORCED
#endif
#include <sleef.h>
#ifdef QUOREL_SLEEF_AVX512_FORCED
#undef __AVX512F__
#undef QUOREL_SLEEF_AVX512_FORCED
#endif

#include "quorel/platform/kernels/detail/math_tables.h"
#include "quorel/platform/kernels/detail/math_tables_trig.h"

namespace quorel::kern::detail {

namespace {

using std::ptrdiff_t;
using V = __m512d;
using I = __m512i;
using M = __mmask8;

#define QUOREL_AVX512_INLINE [[gnu::always_inline]] inline
#define QUOREL_AVX512_INLINE_LAMBDA __attribute__((always_inline))

QUOREL_AVX512_INLINE V Set(double v) { return _mm512_set1_pd(v); }
QUOREL_AVX512_INLINE V Fma(V a, V b, V c) { return _mm512_fmadd_pd(a, b, c); }
// t[i] for a 32-entry table t and indices i < 32.
QUOREL_AVX512_INLINE V Lookup32(const double* t, I i) {
  const V lo = _mm512_permutex2var_pd(_mm512_loadu_pd(t), i, _mm512_loadu_pd(t + 8));
  const V hi = _mm512_permutex2var_pd(_mm512_loadu_pd(t + 16), i, _mm512_loadu_pd(t + 24));
  return _mm512_mask_blend_pd(_mm512_test_epi64_mask(i, _mm512_set1_epi64(16)), lo, hi);
}
static_assert(kLogTableBits == 5, "Lookup32 reads 32-entry tables");
// t[i mod 16] for a 16-entry table t: one permute.
QUOREL_AVX512_INLINE V Lookup16(const double* t, I i) {
  return _mm512_permutex2var_pd(_mm512_loadu_pd(t), i, _mm512_loadu_pd(t + 8));
}

// c[0] + c[1] z + ... + c[N-1] z^(N-1), by Horner's rule with fused steps.
template <std::size_t N>
QUOREL_AVX512_INLINE V Horner(V z, const double (&c)[N]) {
  V p = Fma(z, Set(c[N - 1]), Set(c[N - 2]));
  for (std::size_t k = N - 2; k-- > 0;) p = Fma(z, p, Set(c[k]));
  return p;
}

// An unevaluated sum hi + lo.
struct Pair {
  V hi, lo;
};
// a + b as a pair when |a| >= |b| or a = 0.
QUOREL_AVX512_INLINE Pair FastTwoSum(V a, V b) {
  const V s = a + b;
  return {s, b - (s - a)};
}
QUOREL_AVX512_INLINE Pair TwoSum(V a, V b) {
  const V s = _mm512_add_pd(a, b);
  const V bb = _mm512_sub_pd(s, a);
  return {s, _mm512_add_pd(_mm512_sub_pd(a, _mm512_sub_pd(s, bb)), _mm512_sub_pd(b, bb))};
}

// ln 2 with 42 significant bits (k ln2Hi is exact for every exponent k) and the rest.
constexpr double kLn2Hi = 0x1.62e42fefa3800p-1, kLn2Lo = 0x1.ef35793c76730p-45;
// Adding 0x1.8p52 rounds a double below 2^51 to an integer held in the low bits.
constexpr double kShifter = 0x1.8p52;
// ln 2, ln 10, 1/ln 2 and 1/ln 10 as high and low parts.
constexpr double kLn2 = 0x1.62e42fefa39efp-1, kLn2Rest = 0x1.abc9e3b39803fp-56;
constexpr double kLn10 = 0x1.26bb1bbb55516p+1, kLn10Rest = -0x1.f48ad494ea3e9p-53;
constexpr double kInvLn2 = 0x1.71547652b82fep+0, kInvLn2Rest = 0x1.777d0ffda0d24p-56;
constexpr double kInvLn10 = 0x1.bcb7b1526e50ep-2, kInvLn10Rest = 0x1.95355baaafad3p-57;

// log x as a normalised pair for positive, normal, finite x (other lanes give garbage), good to
// 2^-66 relative, as y log x in pow needs.
QUOREL_AVX512_INLINE Pair LogPair(V x) {
  constexpr int kShift = 52 - kLogTableBits;
  const I ix = _mm512_castpd_si512(x);
  const I tmp = _mm512_sub_epi64(ix, _mm512_set1_epi64(static_cast<long long>(kLogOffset)));
  const I i = _mm512_and_si512(_mm512_srli_epi64(tmp, kShift), _mm512_set1_epi64((1 << kLogTableBits) - 1));
  const V kd = _mm512_cvtepi64_pd(_mm512_srai_epi64(tmp, 52));
  const V z = _mm512_castsi512_pd(
      _mm512_sub_epi64(ix, _mm512_and_si512(tmp, _mm512_set1_epi64(static_cast<long long>(0xfffULL << 52)))));
  const V invc = Lookup32(kLogInvC, i);
  const V ch = Lookup32(kLogCHi, i);
  const V cl = Lookup32(kLogCLo, i);
  // r = z invc - 1 exactly: p - 1 is exact (p is near 1), pe is the product's rounding error.
  const V p = _mm512_mul_pd(z, invc);
  const V pe = Fma(z, invc, -p);
  const Pair r = FastTwoSum(p - 1.0, pe);  // p - 1 is 0 or at least ulp(p) > |pe|
  const V r2 = r.hi * r.hi;
  const V r2e = Fma(r.hi, r.hi, -r2);
  const V half = -0.5 * r2;  // exact
  const V bh = r.hi + half;  // |r| > r^2/2
  const V bl = (r.hi - bh) + half;
  // k ln 2 is 0 or larger than any log c; log c is 0 (c = 1) or larger than r in every subinterval.
  const Pair a = FastTwoSum(kd * kLn2Hi, ch);
  const Pair s = FastTwoSum(a.hi, bh);
  V poly = Fma(r.hi, Set(-1.0 / 12), Set(1.0 / 11));
  poly = Fma(r.hi, poly, Set(-1.0 / 10));
  poly = Fma(r.hi, poly, Set(1.0 / 9));
  poly = Fma(r.hi, poly, Set(-1.0 / 8));
  poly = Fma(r.hi, poly, Set(1.0 / 7));
  poly = Fma(r.hi, poly, Set(-1.0 / 6));
  poly = Fma(r.hi, poly, Set(1.0 / 5));
  poly = Fma(r.hi, poly, Set(-1.0 / 4));
  poly = Fma(r.hi, poly, Set(1.0 / 3));
  // log(1 + r.hi + r.lo) = log(1 + r.hi) + r.lo (1 - r.hi) + O(2^-64 r.lo).
  const V lo = s.lo + a.lo + bl + Fma(kd, Set(kLn2Lo), cl) + r2 * r.hi * poly + (Fma(-r.lo, r.hi, r.lo) - 0.5 * r2e);
  const V hi = s.hi + lo;
  return {hi, lo - (hi - s.hi)};
}

// log_B x alone (B = e, 2 or 10), rounded once: 16 subintervals, each table one permute,
// |r| <= 2^-5 rounded once (as in LogPair), and a polynomial of degree 7 for the rest of
// log(1 + r) after r - r^2/2. s1 = k log_B 2 + log_B c and s1 + r / ln B are exact two-sums:
// s1 is 0 or larger than r / ln B (log c >= 0.06 away from the subinterval holding 1).
template <TFastFn F>
QUOREL_AVX512_INLINE V LogFast(V x) {
  constexpr bool kNatural = F == TFastFn::Ln;
  // log_B 2 as a high part with 42 bits (k times it is exact) and the rest; 1 / ln B.
  constexpr double kHi = kNatural ? kLn2Hi : F == TFastFn::Log2 ? 1.0 : 0x1.34413509f7800p-2;
  constexpr double kLo = kNatural ? kLn2Lo : F == TFastFn::Log2 ? 0.0 : 0x1.fef311f12b358p-46;
  constexpr double kInvHi = F == TFastFn::Log2 ? kInvLn2 : kInvLn10;
  constexpr double kInvLo = F == TFastFn::Log2 ? kInvLn2Rest : kInvLn10Rest;
  constexpr const double* kCHi = kNatural ? kLog16CHi : F == TFastFn::Log2 ? kLog16C2Hi : kLog16C10Hi;
  constexpr const double* kCLo = kNatural ? kLog16CLo : F == TFastFn::Log2 ? kLog16C2Lo : kLog16C10Lo;
  constexpr int kShift = 52 - kLog16TableBits;
  const I ix = _mm512_castpd_si512(x);
  const I tmp = _mm512_sub_epi64(ix, _mm512_set1_epi64(static_cast<long long>(kLog16Offset)));
  const I i = _mm512_srli_epi64(tmp, kShift);  // the permutes read only its low 4 bits
  const V kd = _mm512_cvtepi64_pd(_mm512_srai_epi64(tmp, 52));
  const V z = _mm512_castsi512_pd(
      _mm512_sub_epi64(ix, _mm512_and_si512(tmp, _mm512_set1_epi64(static_cast<long long>(0xfffULL << 52)))));
  const auto lookup = [i](const double* t) { return Lookup16(t, i); };
  const V r = Fma(z, lookup(kLog16InvC), Set(-1.0));
  const V p = kd * kHi;
  const V ch = lookup(kCHi);
  const V s1 = p + ch;
  const V e1 = (p - s1) + ch;
  const V g = Horner(r, kLog16Coef);
  V tail = (r * r) * Fma(r, g, Set(-0.5));
  V lead = r;
  if constexpr (!kNatural) {
    lead = r * kInvHi;
    tail = Fma(tail, Set(kInvHi), Fma(r, Set(kInvHi), -lead) + r * kInvLo);
  }
  const V s2 = s1 + lead;
  const V e2 = (s1 - s2) + lead;
  V lo = lookup(kCLo);
  if constexpr (F != TFastFn::Log2) lo = Fma(kd, Set(kLo), lo);
  return s2 + ((e1 + e2) + lo + tail);
}

// Lanes where LogPair does not apply: below the normal range, infinite or NaN.
QUOREL_AVX512_INLINE M LogOutside(V x) {
  return _mm512_cmp_pd_mask(x, Set(0x1p-1022), _CMP_NGE_UQ) | _mm512_cmp_pd_mask(x, Set(0x1.fffffffffffffp1023), _CMP_NLE_UQ);
}

// e^(a + b) = 2^m 2^(j/16) e^r split for |a| <= kExpFastMax and |b| <= 2^-40 |a|: the table
// value th + tl and q = e^r - 1; m sits in the bits of ki above the table index.
constexpr double kExpFastMax = 707.0;
struct ExpParts {
  V th, tl, q;
  I ki;
};
QUOREL_AVX512_INLINE ExpParts ExpSplit(V a, V b) {
  static_assert(kExpTableBits == 4, "the constants below and Lookup16 are for 16 subintervals");
  constexpr double kInvLn2N = 0x1.71547652b82fep+4;  // 16 / ln 2
  constexpr double kLn2NHi = 0x1.62e42fefa39efp-5, kLn2NLo = 0x1.abc9e3b39803fp-60;
  const V kd0 = Fma(a, Set(kInvLn2N), Set(kShifter));
  const I ki = _mm512_castpd_si512(kd0);  // j in the low 4 bits, m above
  const V kd = kd0 - kShifter;
  V r = Fma(kd, Set(-kLn2NHi), a);
  r = Fma(kd, Set(-kLn2NLo), r) + b;
  // |r| <= ln 2 / 32: the next term, r^8 / 8!, is below 2^-59 relative.
  V poly = Fma(r, Set(1.0 / 5040), Set(1.0 / 720));
  poly = Fma(r, poly, Set(1.0 / 120));
  poly = Fma(r, poly, Set(1.0 / 24));
  poly = Fma(r, poly, Set(1.0 / 6));
  poly = Fma(r, poly, Set(0.5));
  return {Lookup16(kExp2Hi, ki), Lookup16(kExp2Lo, ki), Fma(r * r, poly, r), ki};
}

// e^(a + b), rounded once (other lanes than ExpSplit's give garbage).
QUOREL_AVX512_INLINE V ExpOf(V a, V b) {
  const ExpParts p = ExpSplit(a, b);
  const V e = p.th + Fma(p.th, p.q, p.tl);
  // 2^m into the exponent field; the shifter's own bits leave through the top.
  const I scale = _mm512_slli_epi64(_mm512_srai_epi64(p.ki, kExpTableBits), 52);
  return _mm512_castsi512_pd(_mm512_add_epi64(_mm512_castpd_si512(e), scale));
}

QUOREL_AVX512_INLINE M ExpOutside(V a) {
  return _mm512_cmp_pd_mask(_mm512_abs_pd(a), Set(kExpFastMax), _CMP_NLE_UQ);
}

// e^a as a pair, without the last rounding.
QUOREL_AVX512_INLINE Pair ExpPair(V a) {
  const ExpParts p = ExpSplit(a, _mm512_setzero_pd());
  // 2^m as a double (a normal one for |a| <= kExpFastMax): it scales the low part too.
  const V scale = _mm512_castsi512_pd(_mm512_slli_epi64(
      _mm512_add_epi64(_mm512_srai_epi64(p.ki, kExpTableBits), _mm512_set1_epi64(1023)), 52));
  const Pair e = FastTwoSum(p.th, Fma(p.th, p.q, p.tl));
  return {e.hi * scale, e.lo * scale};
}

// cosh x = (e^|x| + e^-|x|) / 2 and sinh x = (e^|x| - e^-|x|) / 2 from one exponential and its
// reciprocal as pairs, rounded once; sinh below |x| = 1/2 by its odd series (8 terms) instead of the difference.
template <bool kSinh>
QUOREL_AVX512_INLINE V Hyperbolic(V x) {
  const V a = _mm512_abs_pd(x);
  const Pair e = ExpPair(a);
  // e^-|x| as the reciprocal pair: one division and a correction step.
  const V r0 = 1.0 / e.hi;
  const Pair f = {r0, r0 * (Fma(-e.hi, r0, Set(1.0)) - e.lo * r0)};
  V y;
  if constexpr (kSinh) {
    const Pair d = FastTwoSum(e.hi, -f.hi);
    y = (d.hi + (d.lo + e.lo - f.lo)) * 0.5;
    const V x2 = x * x;
    V p = Fma(x2, Set(1.0 / 355687428096000.0), Set(1.0 / 1307674368000.0));
    p = Fma(x2, p, Set(1.0 / 6227020800.0));
    p = Fma(x2, p, Set(1.0 / 39916800.0));
    p = Fma(x2, p, Set(1.0 / 362880.0));
    p = Fma(x2, p, Set(1.0 / 5040.0));
    p = Fma(x2, p, Set(1.0 / 120.0));
    p = Fma(x2, p, Set(1.0 / 6.0));
    const V small = Fma(a * x2, p, a);
    y = _mm512_mask_blend_pd(_mm512_cmp_pd_mask(a, Set(0.5), _CMP_LT_OQ), y, small);
    // The sign of x (odd function).
    y = _mm512_castsi512_pd(_mm512_or_si512(_mm512_castpd_si512(y),
                                            _mm512_and_si512(_mm512_castpd_si512(x), _mm512_set1_epi64(INT64_MIN))));
  } else {
    const Pair s = FastTwoSum(e.hi, f.hi);
    y = (s.hi + (s.lo + e.lo + f.lo)) * 0.5;
  }
  const M out = ExpOutside(a);
  if (out) y = _mm512_mask_blend_pd(out, y, kSinh ? Sleef_sinhd8_u10(x) : Sleef_coshd8_u10(x));
  return y;
}

// x = n pi/2 + r, r = rh + rl good to about 2^-100 relative, for |x| <= kTrigFastMax (either sign:
// the quadrant's low bits are those of n even where n < 0, and a signed reduction spares the
// symmetry fix-ups). r1 = x - n c1 is exact (|n| < 2^20, and r1 is a multiple of 2^-53 below 1 where
// n != 0); rh + rl = r1 - p - pe, with p + pe = n c2 exactly, is an exact two-sum even when r1 and
// p nearly cancel (r1 is then a multiple of ulp(p)). Within kTrigNarrowMax (|n| < 2^10) a c2 of
// 43 bits makes p exact by itself, which saves forming pe. The shifter also adds kQuarter to n.
constexpr double kTrigFastMax = 0x1p20, kTrigNarrowMax = 0x1p10;
struct Quadrant {
  V rh, rl;
  I n;  // n in the low bits
};
template <bool kWide, int kQuarter>
QUOREL_AVX512_INLINE Quadrant ReduceHalfPi(V x) {
  constexpr double kTwoOverPi = 0x1.45f306dc9c883p-1, kShift = kShifter + kQuarter;
  constexpr double kPio2A = 0x1.921fb54442d18p+0;
  const V t = Fma(x, Set(kTwoOverPi), Set(kShift));
  const V n = t - kShift;
  const V r1 = Fma(n, Set(-kPio2A), x);
  if constexpr (kWide) {
    constexpr double kPio2B = 0x1.1a62633145c07p-54, kPio2C = -0x1.f1976b7ed8fbcp-110;
    const V p = n * kPio2B;
    const V rh = r1 - p;
    return {rh, Fma(n, Set(-kPio2C), ((r1 - rh) - p) - Fma(n, Set(kPio2B), -p)), _mm512_castpd_si512(t)};
  } else {
    constexpr double kPio2B = 0x1.1a62633145cp-54, kPio2C = 0x1.b839a252049c1p-104;
    const V p = n * kPio2B;
    const V rh = r1 - p;
    return {rh, Fma(n, Set(-kPio2C), (r1 - rh) - p), _mm512_castpd_si512(t)};
  }
}

// f(reduction of x) with the cheaper reduction where every lane allows it; lanes beyond
// kTrigFastMax or NaN take fallback(x), SLEEF's value. For the odd functions (kOdd) a zero x is
// its own result (the sums in f would turn -0 into +0): zeros take the slower way, which mends them.
template <int kQuarter, bool kOdd, class F, class G>
QUOREL_AVX512_INLINE V Trig(V x, F f, G fallback) {
  const V a = _mm512_abs_pd(x);
  M wide = _mm512_cmp_pd_mask(a, Set(kTrigNarrowMax), _CMP_NLE_UQ);
  if constexpr (kOdd) wide |= _mm512_fpclass_pd_mask(x, 0x06);  // +0, -0
  if (!wide) return f(ReduceHalfPi<false, kQuarter>(x));
  V y = f(ReduceHalfPi<true, kQuarter>(x));
  // Table: x's class "zero" (2) answers x itself (1); every other class keeps y.
  if constexpr (kOdd) y = _mm512_fixupimm_pd(y, x, _mm512_set1_epi64(1 << 8), 0);
  const M out = _mm512_cmp_pd_mask(a, Set(kTrigFastMax), _CMP_NLE_UQ);
  if (out) y = _mm512_mask_blend_pd(out, y, fallback(x));
  return y;
}

// y with its sign flipped where bit 1 of n is set (0x78: y ^ (s & sign bit)).
QUOREL_AVX512_INLINE V FlipByBit1(V y, I n) {
  return _mm512_castsi512_pd(_mm512_ternarylogic_epi64(_mm512_castpd_si512(y), _mm512_slli_epi64(n, 62),
                                                        _mm512_set1_epi64(INT64_MIN), 0x78));
}

// What sine and cosine of r = rh + rl share: z = rh^2 and 1 - rh^2/2 as the pair w + we
// (hr = rh/2 is exact, and so is 1 - w, as w lies in [0.69, 1]).
struct Squares {
  V z, w, we;
};
QUOREL_AVX512_INLINE Squares SquaresOf(V rh) {
  const V hr = rh * 0.5;
  const V w = Fma(-hr, rh, Set(1.0));
  return {rh * rh, w, Fma(-hr, rh, Set(1.0) - w)};
}

// Horner's rule with the coefficients of a in the lanes of m clear and those of b in the lanes set.
template <std::size_t N>
QUOREL_AVX512_INLINE V HornerEither(V z, M m, const double (&a)[N], const double (&b)[N]) {
  V p = _mm512_mask_blend_pd(m, Set(a[N - 1]), Set(b[N - 1]));
  for (std::size_t k = N - 1; k-- > 0;) p = Fma(z, p, _mm512_mask_blend_pd(m, Set(a[k]), Set(b[k])));
  return p;
}

// Sine (kCos false) or cosine of x: quadrant n picks +-sin r or +-cos r (cos x = sin(x + pi/2), one
// quadrant further), and each lane evaluates only the one it needs, as h + (y P(z) + e) with P's
// coefficients chosen per lane:
//   sin r = rh + (rh z S(z) + rl w)         (w is cos rh to 2^-6: rl w is the first-order term)
//   cos r = w + (z^2 C(z) + we - rh rl)
// Each is about 0.5 ulp once added: |y P + e| < |h| / 2 and h is exact.
template <bool kCos>
QUOREL_AVX512_INLINE V SinOrCos(V x) {
  const auto f = [](const Quadrant& q) QUOREL_AVX512_INLINE_LAMBDA {
    const M c = _mm512_test_epi64_mask(q.n, _mm512_set1_epi64(1));  // lanes taking cos r
    const Squares s = SquaresOf(q.rh);
    const V p = HornerEither(s.z, c, kSinCoef, kCosCoef);
    const V y0 = s.z * _mm512_mask_blend_pd(c, q.rh, s.z);
    const V e = Fma(_mm512_mask_blend_pd(c, s.w, -q.rh), q.rl, _mm512_maskz_mov_pd(c, s.we));
    return FlipByBit1(_mm512_mask_blend_pd(c, q.rh, s.w) + Fma(y0, p, e), q.n);
  };
  return Trig<kCos ? 1 : 0, !kCos>(x, f, [](V v) { return kCos ? Sleef_cosd8_u10(v) : Sleef_sind8_u10(v); });
}

// tan x = nu / de (n even) or de / -nu (n odd), from the rational fit nu / de = tan rh with the
// large part of de carried exactly, as for cosine (qr = rh/4 is exact, and so is 1 - w):
//   nu = rh + rh z P(z),  de = w + (we + z^2 Q(z)),  w + we = 1 - rh^2/4
// (the fixed z/4 leaves nu a tail below 5%, so its rounding errors weigh little). One quotient t of
// the two sums, its residual rho brought back by a fused step, and rl by the derivative 1 + t^2
// (of tan, and of -cot), all added to t in one rounding.
QUOREL_AVX512_INLINE V TanOf(V x) {
  const auto f = [](const Quadrant& q) QUOREL_AVX512_INLINE_LAMBDA {
    const V qr = q.rh * 0.25, z = q.rh * q.rh;
    const V w = Fma(-qr, q.rh, Set(1.0));
    const V we = Fma(-qr, q.rh, Set(1.0) - w);
    // rl enters as nu += rl de, de -= rl nu (either way round): that moves the quotient by
    // rl (1 + t^2), the derivative of tan and of -cot alike.
    const V nt = Fma(q.rl, w, (q.rh * z) * Horner(z, kTanNum));
    const V dt = _mm512_fnmadd_pd(q.rl, q.rh, Fma(z * z, Horner(z, kTanDen), we));
    const M odd = _mm512_test_epi64_mask(q.n, _mm512_set1_epi64(1));
    const V zero = _mm512_setzero_pd();
    const Pair num = {_mm512_mask_blend_pd(odd, q.rh, w), _mm512_mask_blend_pd(odd, nt, dt)};
    const Pair den = {_mm512_mask_sub_pd(w, odd, zero, q.rh), _mm512_mask_sub_pd(dt, odd, zero, nt)};
    const V d = den.hi + den.lo;
    const V t = (num.hi + num.lo) / d;
    const V rho = _mm512_fnmadd_pd(t, den.lo, _mm512_fnmadd_pd(t, den.hi, num.hi) + num.lo);
    return Fma(rho, _mm512_rcp14_pd(d), t);
  };
  return Trig<0, true>(x, f, [](V v) { return Sleef_tand8_u10(v); });
}

// tanh |x| = 1 - 2 / (e^2|x| + 1) with the exponential and the quotient as pairs; below 1/8 an odd
// polynomial (the pair form would lose its relative accuracy as tanh x goes to 0).
QUOREL_AVX512_INLINE V TanhOf(V x) {
  const V a = _mm512_abs_pd(x);
  const M small = _mm512_cmp_pd_mask(a, Set(0.125), _CMP_LT_OQ);
  V y = _mm512_setzero_pd();
  if (small != 0xff) {
    // Beyond 2|x| = 40 the quotient is below half an ulp of 1; NaN stays NaN.
    const Pair e = ExpPair(_mm512_min_pd(Set(40.0), a + a));
    const V dh = e.hi + 1.0;
    const V dl = ((e.hi - dh) + 1.0) + e.lo;
    const V q = 1.0 / dh;  // 1 / (e + 1) = q (1 + rho)
    const V rho = Fma(-q, dh, Set(1.0)) - q * dl;
    const V s = Fma(Set(-2.0), q, Set(1.0));  // its rounding error is exact in the next fused step
    y = s + (Fma(Set(-2.0), q, 1.0 - s) - 2.0 * q * rho);
  }
  if (small) {
    const V z = a * a;
    const V p = Horner(z, kTanhCoef);
    y = _mm512_mask_blend_pd(small, y, Fma(a * z, p, a));
  }
  return _mm512_castsi512_pd(_mm512_or_si512(_mm512_castpd_si512(y),
                                             _mm512_and_si512(_mm512_castpd_si512(x), _mm512_set1_epi64(INT64_MIN))));
}

// atan |x| = atan c + atan u, u = (t - c) / (1 + t c), with c = 0, 1/2, 1, 3/2 on the bins
// [0, 7/16), [7/16, 11/16), [11/16, 19/16), [19/16, 39/16), and atan t = pi/2 + atan(-1/t) beyond.
// u = N / D with N = m t + b exact and D = c t + m as an exact pair; the quotient gets its
// rounding error back from one fused residual, so |u| <= 7/16 enters the polynomial as a pair.
QUOREL_AVX512_INLINE V ATanOf(V x) {
  alignas(64) static constexpr double kM[8] = {1, 2, 1, 1, 0, 0, 0, 0};
  alignas(64) static constexpr double kB[8] = {0, -1, -1, -1.5, -1, 0, 0, 0};
  alignas(64) static constexpr double kC[8] = {0, 1, 1, 1.5, 1, 0, 0, 0};
  alignas(64) static constexpr double kAtHi[8] = {0, 0x1.dac670561bb4fp-2, 0x1.921fb54442d18p-1, 0x1.f730bd281f69bp-1,
                                                  0x1.921fb54442d18p+0, 0, 0, 0};
  alignas(64) static constexpr double kAtLo[8] = {0, 0x1.a2b7f222f65e2p-56, 0x1.1a62633145c07p-55, 0x1.007887af0cbbdp-56,
                                                  0x1.1a62633145c07p-54, 0, 0, 0};
  // Beyond 2^60, -1/t vanishes against pi/2; NaN stays NaN.
  const V t = _mm512_min_pd(Set(0x1p60), _mm512_abs_pd(x));
  I k = _mm512_setzero_si512();
  const I one = _mm512_set1_epi64(1);
  for (double edge : {7.0 / 16, 11.0 / 16, 19.0 / 16, 39.0 / 16})
    k = _mm512_mask_add_epi64(k, _mm512_cmp_pd_mask(t, Set(edge), _CMP_GE_OQ), k, one);
  const V m = _mm512_permutexvar_pd(k, _mm512_load_pd(kM));
  const V c = _mm512_permutexvar_pd(k, _mm512_load_pd(kC));
  const V num = Fma(m, t, _mm512_permutexvar_pd(k, _mm512_load_pd(kB)));
  const V p = c * t;
  const V dh = m + p;  // exact as a pair: m is 0, or a multiple of ulp(dh) at least as large as p's
  const V dl = (p - (dh - m)) + Fma(c, t, -p);
  const V uh = num / dh;
  const V ul = Fma(-uh, dl, Fma(-uh, dh, num)) * _mm512_rcp14_pd(dh);
  const V z = uh * uh;
  const V poly = Horner(z, kATanCoef);
  const V ah = _mm512_permutexvar_pd(k, _mm512_load_pd(kAtHi));
  const V sh = ah + uh;  // |uh| <= atan c, or atan c = 0
  const V sl = (ah - sh) + uh;
  const V lo = sl + _mm512_permutexvar_pd(k, _mm512_load_pd(kAtLo)) + Fma(-ul, z, ul) + uh * z * poly;
  const V y = sh + lo;
  return _mm512_castsi512_pd(_mm512_xor_si512(_mm512_castpd_si512(y),
                                              _mm512_and_si512(_mm512_castpd_si512(x), _mm512_set1_epi64(INT64_MIN))));
}

template <TFastFn F>
QUOREL_AVX512_INLINE V Unary(V x) {
  if constexpr (F == TFastFn::Tan) {
    return TanOf(x);
  } else if constexpr (F == TFastFn::Tanh) {
    return TanhOf(x);
  } else if constexpr (F == TFastFn::ATan) {
    return ATanOf(x);
  } else if constexpr (F == TFastFn::Sin || F == TFastFn::Cos) {
    return SinOrCos<F == TFastFn::Cos>(x);
  } else if constexpr (F == TFastFn::Sinh || F == TFastFn::Cosh) {
    return Hyperbolic<F == TFastFn::Sinh>(x);
  } else if constexpr (F == TFastFn::Ln || F == TFastFn::Log2 || F == TFastFn::Log10) {
    V y = LogFast<F>(x);
    const M out = LogOutside(x);
    if (out) {
      const V s = F == TFastFn::Ln ? Sleef_logd8_u10(x) : F == TFastFn::Log2 ? Sleef_log2d8_u10(x) : Sleef_log10d8_u10(x);
      y = _mm512_mask_blend_pd(out, y, s);
    }
    return y;
  } else {
    V a = x, b = _mm512_setzero_pd();
    if constexpr (F != TFastFn::Exp) {
      // The argument times ln 2 or ln 10 as a pair.
      const double chi = F == TFastFn::Exp2 ? kLn2 : kLn10, clo = F == TFastFn::Exp2 ? kLn2Rest : kLn10Rest;
      a = x * chi;
      b = Fma(x, Set(chi), -a) + x * clo;
    }
    V y = ExpOf(a, b);
    const M out = ExpOutside(a);
    if (out) {
      const V s = F == TFastFn::Exp ? Sleef_expd8_u10(x) : F == TFastFn::Exp2 ? Sleef_exp2d8_u10(x) : Sleef_exp10d8_u10(x);
      y = _mm512_mask_blend_pd(out, y, s);
    }
    return y;
  }
}

// x^y = e^(y log x) with log x as a pair of doubles.
QUOREL_AVX512_INLINE V PowOf(V x, V y) {
  const Pair l = LogPair(x);
  const V a = y * l.hi;
  const V b = Fma(y, l.hi, -a) + y * l.lo;
  V p = ExpOf(a, b);
  const M out = LogOutside(x) | ExpOutside(a);
  if (out) p = _mm512_mask_blend_pd(out, p, Sleef_powd8_u10(x, y));
  return p;
}

// Runs f on blocks of 8; the tail reads 1.0 in its unused lanes and writes only its own.
template <class F>
QUOREL_AVX512_INLINE void Blocks1(const double* x, double* r, ptrdiff_t n, F f) {
  ptrdiff_t i = 0;
  // Two independent vectors per step give the long dependency chains something to overlap with.
  for (; i + 16 <= n; i += 16) {
    const V a = f(_mm512_loadu_pd(x + i)), b = f(_mm512_loadu_pd(x + i + 8));
    _mm512_storeu_pd(r + i, a);
    _mm512_storeu_pd(r + i + 8, b);
  }
  for (; i + 8 <= n; i += 8) _mm512_storeu_pd(r + i, f(_mm512_loadu_pd(x + i)));
  if (i < n) {
    const M m = static_cast<M>((1u << (n - i)) - 1);
    _mm512_mask_storeu_pd(r + i, m, f(_mm512_mask_loadu_pd(Set(1.0), m, x + i)));
  }
}

template <TFastFn F>
void UnaryLoop(const double* x, double* r, ptrdiff_t n) {
  Blocks1(x, r, n, [](V v) { return Unary<F>(v); });
}

}  // namespace

void FastUnaryAvx512(TFastFn f, const double* x, double* r, ptrdiff_t n) {
  switch (f) {
    case TFastFn::Ln: return UnaryLoop<TFastFn::Ln>(x, r, n);
    case TFastFn::Log2: return UnaryLoop<TFastFn::Log2>(x, r, n);
    case TFastFn::Log10: return UnaryLoop<TFastFn::Log10>(x, r, n);
    case TFastFn::Exp: return UnaryLoop<TFastFn::Exp>(x, r, n);
    case TFastFn::Exp2: return UnaryLoop<TFastFn::Exp2>(x, r, n);
    case TFastFn::Exp10: return UnaryLoop<TFastFn::Exp10>(x, r, n);
    case TFastFn::Sin: return UnaryLoop<TFastFn::Sin>(x, r, n);
    case TFastFn::Cos: return UnaryLoop<TFastFn::Cos>(x, r, n);
    case TFastFn::Tan: return UnaryLoop<TFastFn::Tan>(x, r, n);
    case TFastFn::Tanh: return UnaryLoop<TFastFn::Tanh>(x, r, n);
    case TFastFn::ATan: return UnaryLoop<TFastFn::ATan>(x, r, n);
    case TFastFn::Sinh: return UnaryLoop<TFastFn::Sinh>(x, r, n);
    case TFastFn::Cosh: return UnaryLoop<TFastFn::Cosh>(x, r, n);
  }
}

void FastPowAvx512(const double* a, const double* b, double* r, ptrdiff_t n) {
  ptrdiff_t i = 0;
  for (; i + 8 <= n; i += 8) _mm512_storeu_pd(r + i, PowOf(_mm512_loadu_pd(a + i), _mm512_loadu_pd(b + i)));
  if (i < n) {
    const M m = static_cast<M>((1u << (n - i)) - 1);
    const V p = PowOf(_mm512_mask_loadu_pd(Set(1.0), m, a + i), _mm512_mask_loadu_pd(Set(1.0), m, b + i));
    _mm512_mask_storeu_pd(r + i, m, p);
  }
}

void FastPowxAvx512(const double* x, double v, double* r, ptrdiff_t n) {
  const V e = Set(v);
  Blocks1(x, r, n, [e](V b) { return PowOf(b, e); });
}

}  // namespace quorel::kern::detail
