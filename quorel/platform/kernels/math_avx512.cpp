// Our own vector elementary functions, AVX-512. Everything in this file is built for AVX-512
// (and called only when the processor has it): the FMA and permute intrinsics could not be
// inlined into code built for the baseline.
//
// log (for pow): x = 2^k z with z in [0.69, 1.38); a 32-entry table gives 1/c and log c for the
// subinterval of z; r = z/c - 1 is formed exactly as a pair of doubles (|r| <= 2^-6), and
// log(1 + r) = r - r^2/2 + r^3 P(r), P of degree 7 fitted. The sum k ln 2 + log c + log(1 + r) is
// carried as a pair of doubles, accurate to about 2^-66 relative, so that pow can multiply it
// by y without losing the last bits. Ln, Log2 and Log10 alone use 16-entry tables (one permute
// each) with tables of log c in their own base: see LogFast.
// exp: a = (m + j/16) ln 2 + r with |r| <= ln 2 / 32; 2^(j/16) from a 16-entry table as a pair
// of doubles; e^r - 1 by a degree-7 polynomial; the result rounds once (about 0.51 ulp).
// cosh, sinh: e^|x| and e^-|x| from one such reduction, without a division (see Hyperbolic).
// atan: 16 bins of t or 1/t and one division (see ATanOf).
// sin, cos, tan: an exact Cody-Waite reduction by pi/2; sin and cos evaluate one polynomial per
// lane, tan a rational fit (see SinOrCosOfReduced and TanOfReduced). Sine and tangent decide the
// reduction for two blocks at once (see TrigPair).
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

#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>

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
#include "quorel/platform/kernels/detail/hyperbolic_edge.h"

namespace quorel::kern::detail {

namespace {

using std::ptrdiff_t;
using V = __m512d;
using I = __m512i;
using M = __mmask8;

#define QUOREL_AVX512_INLINE [[gnu::always_inline]] inline
// For lambdas: a kernel called out of line per block reloads every constant and table.
#define QUOREL_AVX512_LAMBDA_INLINE __attribute__((always_inline))

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
  const I i = _mm512_srli_epi64(tmp, kShift);  // Lookup32 reads only its low 5 bits
  const V kd = _mm512_cvtepi64_pd(_mm512_srai_epi64(tmp, 52));
  const V z = _mm512_castsi512_pd(
      _mm512_sub_epi64(ix, _mm512_and_si512(tmp, _mm512_set1_epi64(static_cast<long long>(0xfffULL << 52)))));
  const V invc = Lookup32(kLogInvC, i);
  const V ch = Lookup32(kLogCHi, i);
  const V cl = Lookup32(kLogCLo, i);
  // r = z invc - 1 exactly: p - 1 is exact (p is near 1), the fused step gives the product's
  // rounding error; normalised, so that r.lo r^2 is negligible.
  const V p = _mm512_mul_pd(z, invc);
  const Pair r = FastTwoSum(p - 1.0, Fma(z, invc, -p));  // p - 1 is 0 or at least ulp(p) > |pe|
  const V r2 = r.hi * r.hi;
  const V r2e = Fma(r.hi, r.hi, -r2);
  const V half = -0.5 * r2;  // exact
  const V bh = r.hi + half;  // |r| > r^2/2
  const V bl = (r.hi - bh) + half;
  // k ln 2 (high part) + log c (high part) is exact: the latter are multiples of ulp(kLn2Hi).
  // The sum is 0 or larger than r.hi - r^2/2: log c is 0 (c = 1) or larger than r in every subinterval.
  const Pair s = FastTwoSum(Fma(kd, Set(kLn2Hi), ch), bh);
  const V poly = Horner(r.hi, kLogCoef);
  // log(1 + r.hi + r.lo) = log(1 + r.hi) + r.lo (1 - r.hi) + O(2^-64 r.lo).
  const V small = Fma(Set(-0.5), r2e, _mm512_fnmadd_pd(r.lo, r.hi, r.lo));
  const V lo = Fma(r2 * r.hi, poly, ((s.lo + bl) + Fma(kd, Set(kLn2Lo), cl)) + small);
  const V hi = s.hi + lo;
  return {hi, lo - (hi - s.hi)};
}

// log_B x alone (B = e, 2 or 10), rounded once: 16 subintervals, each table one permute, and
// log_B(1 + r) = r / ln B + r^2 Q(r), Q of degree 7 fitted in each base, -0.0295 <= r <= 2^-5;
// about 0.55 ulp.
// The high parts of log_B c are multiples of ulp(k log_B 2 high part), so s1 = k log_B 2 + log_B c
// is one exact fused step; s1 + r / ln B is an exact two-sum (s1 is 0 or at least twice as large:
// |log c| >= 0.03 away from the subinterval holding 1, where c = 1). Outside lanes give garbage
// (see LogOutside).
template <TFastFn F>
QUOREL_AVX512_INLINE V LogFast(V x) {
  constexpr bool kNatural = F == TFastFn::Ln, kBase2 = F == TFastFn::Log2;
  // log_B 2 as a high part with 42 bits (k times it is exact) and the rest; 1 / ln B likewise.
  constexpr double kHi = kNatural ? kLn2Hi : kBase2 ? 1.0 : 0x1.34413509f7800p-2;
  constexpr double kLo = kNatural ? kLn2Lo : kBase2 ? 0.0 : 0x1.fef311f12b358p-46;
  constexpr double kInvHi = kBase2 ? kInvLn2 : kInvLn10;
  constexpr double kInvLo = kBase2 ? kInvLn2Rest : kInvLn10Rest;
  constexpr const double* kCHi = kNatural ? kLog16CHi : kBase2 ? kLog16C2Hi : kLog16C10Hi;
  constexpr const double* kCLo = kNatural ? kLog16CLo : kBase2 ? kLog16C2Lo : kLog16C10Lo;
  constexpr const auto& kCoef = kNatural ? kLog16Coef : kBase2 ? kLog16Coef2 : kLog16Coef10;
  constexpr int kShift = 52 - kLog16TableBits;
  const I ix = _mm512_castpd_si512(x);
  const I tmp = _mm512_sub_epi64(ix, _mm512_set1_epi64(static_cast<long long>(kLog16Offset)));
  const I i = _mm512_srli_epi64(tmp, kShift);  // the permutes read only its low 4 bits
  const V kd = _mm512_cvtepi64_pd(_mm512_srai_epi64(tmp, 52));
  const V z = _mm512_castsi512_pd(
      _mm512_sub_epi64(ix, _mm512_and_si512(tmp, _mm512_set1_epi64(static_cast<long long>(0xfffULL << 52)))));
  // r = z / c - 1 = (p - 1) + pe exactly (p - 1 is exact): rounding r would cost half an ulp of
  // the result next to the subinterval holding 1, where log_B c and r nearly cancel.
  const V invc = Lookup16(kLog16InvC, i);
  const V p = z * invc;
  const V pe = Fma(z, invc, -p);
  const V r = p - 1.0;
  const V s1 = Fma(kd, Set(kHi), Lookup16(kCHi, i));
  // log(1 + r + pe) = log(1 + r) + pe - r pe + O(pe r^2): pe goes into lo, -r pe into the tail r h.
  V lo = Lookup16(kCLo, i), h, s2, e2;
  if constexpr (kNatural) {
    lo += pe;
    h = Fma(r, Horner(r, kCoef), -pe);
    s2 = s1 + r;
    e2 = (s1 - s2) + r;
  } else {
    const V q = pe * kInvHi;  // the fused units are the busier ones: adds where they do
    lo += q;
    h = Fma(r, Horner(r, kCoef), kInvLo - q);
    // s1 + r / ln B rounded once, and its error: s1 - s2 is exact as in a two-sum (|s1| is 0 or
    // at least twice r / ln B), so the second fused step leaves only the tiny error to round.
    s2 = Fma(r, Set(kInvHi), s1);
    e2 = Fma(r, Set(kInvHi), s1 - s2);
  }
  if constexpr (!kBase2) lo = Fma(kd, Set(kLo), lo);
  return s2 + Fma(r, h, e2 + lo);
}

// Lanes where LogPair and LogFast do not apply: zero, negative, subnormal, infinite or NaN.
QUOREL_AVX512_INLINE M LogOutside(V x) { return _mm512_fpclass_pd_mask(x, 0xff); }

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

// cosh x = (e^a + e^-a) / 2 and sinh x = (e^a - e^-a) / 2, a = |x|, from one reduction and no
// division: a = (16 m + j) ln 2 / 16 + r gives -a = -(16 m + j) ln 2 / 16 - r, so e^-a takes
// the table entry and the power of 2 of the negated index n = -(16 m + j) (j' = n mod 16,
// m' = floor(n / 16)), and e^-r - 1 = even - odd where e^r - 1 = even + odd. Each exponential
// is a pair, scaled by 2^(m - 1) or 2^(m' - 1) (normal for a <= kExpFastMax), rounded once.
// sinh below a = 1/2 is its odd series instead (the difference would cancel).
template <bool kSinh>
QUOREL_AVX512_INLINE V Hyperbolic(V x) {
  constexpr double kInvLn2N = 0x1.71547652b82fep+4;  // 16 / ln 2
  constexpr double kLn2NHi = 0x1.62e42fefa39efp-5, kLn2NLo = 0x1.abc9e3b39803fp-60;
  const V a = _mm512_abs_pd(x);
  const V kd0 = Fma(a, Set(kInvLn2N), Set(kShifter));
  const I ki = _mm512_castpd_si512(kd0);  // j in the low 4 bits, m above
  const I ni = _mm512_sub_epi64(_mm512_setzero_si512(), ki);
  const V kd = kd0 - kShifter;
  V r = Fma(kd, Set(-kLn2NHi), a);
  r = Fma(kd, Set(-kLn2NLo), r);
  // |r| <= ln 2 / 32: the next term, r^8 / 8!, is below 2^-59.
  const V r2 = r * r;
  const V even = r2 * Fma(r2, Fma(r2, Set(1.0 / 720), Set(1.0 / 24)), Set(0.5));
  const V odd = Fma(r * r2, Fma(r2, Fma(r2, Set(1.0 / 5040), Set(1.0 / 120)), Set(1.0 / 6)), r);
  const V qp = even + odd, qm = even - odd;
  const V th = Lookup16(kExp2Hi, ki), fh = Lookup16(kExp2Hi, ni);
  const V el = Fma(th, qp, Lookup16(kExp2Lo, ki)), fl = Fma(fh, qm, Lookup16(kExp2Lo, ni));
  // 2^(m - 1) from the bits of ki above the index (the shifter's own bits leave through the top).
  const auto half_scale = [](I k) {
    return _mm512_castsi512_pd(
        _mm512_slli_epi64(_mm512_add_epi64(_mm512_srai_epi64(k, kExpTableBits), _mm512_set1_epi64(1022)), 52));
  };
  const V s = half_scale(ki), sn = kSinh ? -half_scale(ni) : half_scale(ni);
  const Pair e = FastTwoSum(th * s, fh * sn);  // e^a >= e^-a
  V y = e.hi + (Fma(s, el, sn * fl) + e.lo);
  if constexpr (kSinh) {
    const M small = _mm512_cmp_pd_mask(a, Set(0.5), _CMP_LT_OQ);
    if (small) {
      const V z = a * a;
      y = _mm512_mask_blend_pd(small, y, Fma(a * z, Horner(z, kSinhCoef), a));
    }
    // The sign of x (odd function).
    y = _mm512_castsi512_pd(_mm512_or_si512(_mm512_castpd_si512(y),
                                            _mm512_and_si512(_mm512_castpd_si512(x), _mm512_set1_epi64(INT64_MIN))));
  }
  const M out = ExpOutside(a);
  if (out) {
    y = _mm512_mask_blend_pd(out, y, kSinh ? Sleef_sinhd8_u10(x) : Sleef_coshd8_u10(x));
    // SLEEF's e^|x| overflows before sinh and cosh do.
    const M edge = _mm512_mask_cmp_pd_mask(out, a, Set(kHyperbolicEdge), _CMP_GT_OQ) &
                   _mm512_cmp_pd_mask(a, Set(kHyperbolicTop), _CMP_LE_OQ);
    if (edge) {
      alignas(64) double xs[8], ys[8];
      _mm512_store_pd(xs, x);
      _mm512_store_pd(ys, y);
      for (int k = 0; k < 8; ++k)
        if (edge >> k & 1) ys[k] = kSinh ? SinhNearOverflow(xs[k]) : CoshNearOverflow(xs[k]);
      y = _mm512_load_pd(ys);
    }
  }
  return y;
}

// x = n pi/2 + r, r = rh + rl good to about 2^-100 relative, for |x| <= kTrigFastMax (either sign:
// the quadrant's low bits are those of n even where n < 0, and a signed reduction spares the
// symmetry fix-ups). r1 = x - n c1 is exact (|n| < 2^20, and r1 is a multiple of 2^-53 below 1 where
// n != 0); rh + rl = r1 - p - pe, with p + pe = n c2 exactly, is an exact two-sum even when r1 and
// p nearly cancel (r1 is then a multiple of ulp(p)). Within kTrigNarrowMax (|n| <= 2^10) a c2 of
// 43 bits makes p exact by itself, which saves forming pe; there the signs are arranged so that a
// zero x gives rh = x and rl of the same sign. The shifter also adds kQuarter to n, and kTrigBias
// (which leaves n's low bits as they are): n in [-1024, 1024) then fills exactly the low 11 bits of
// the shifted sum t (see TrigPair).
constexpr double kTrigFastMax = 0x1p20, kTrigNarrowMax = 0x1p10, kTrigBias = 1024;
struct Quadrant {
  V rh, rl;
  I n;  // n in the low bits
};
template <int kQuarter>
constexpr double kTrigShift = kShifter + kTrigBias + kQuarter;
template <int kQuarter>
QUOREL_AVX512_INLINE V ShiftedQuadrant(V x) {
  constexpr double kTwoOverPi = 0x1.45f306dc9c883p-1;
  return Fma(x, Set(kTwoOverPi), Set(kTrigShift<kQuarter>));
}
// The reduction given t = ShiftedQuadrant<kQuarter>(x).
template <bool kWide, int kQuarter>
QUOREL_AVX512_INLINE Quadrant ReduceHalfPiFrom(V x, V t) {
  constexpr double kPio2A = 0x1.921fb54442d18p+0;
  const V n = t - kTrigShift<kQuarter>;
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
    // -(n c3) - ((rh - r1) + p): -0 for a zero x of either sign, where r1 - rh - p - n c3 is +0.
    return {rh, _mm512_fnmsub_pd(n, Set(kPio2C), (rh - r1) + p), _mm512_castpd_si512(t)};
  }
}
template <bool kWide, int kQuarter>
QUOREL_AVX512_INLINE Quadrant ReduceHalfPi(V x) {
  return ReduceHalfPiFrom<kWide, kQuarter>(x, ShiftedQuadrant<kQuarter>(x));
}

// y, with x itself where x is a zero (fixup table: x's class "zero" (2) answers x (1); every other
// class keeps y).
QUOREL_AVX512_INLINE V ZeroAsItself(V y, V x) { return _mm512_fixupimm_pd(y, x, _mm512_set1_epi64(1 << 8), 0); }

// f(reduction of x) with the cheaper reduction where every lane allows it; lanes beyond
// kTrigFastMax or NaN take fallback(x), SLEEF's value. For the odd functions (kOdd) a zero x is
// its own result (the sums in f would turn -0 into +0): zeros take the slower way, which mends them.
template <int kQuarter, bool kOdd, class F, class G>
QUOREL_AVX512_INLINE V Trig(V x, F f, G fallback) {
  const V a = _mm512_abs_pd(x);
  M wide;
  if constexpr (kOdd) {
    // |x| - 1 in the bits wraps round for zeros: one unsigned compare finds zeros, large
    // arguments and NaNs (mask-producing instructions compete with the FMAs for their ports).
    const I b = _mm512_sub_epi64(_mm512_castpd_si512(a), _mm512_set1_epi64(1));
    wide = _mm512_cmp_epu64_mask(b, _mm512_castpd_si512(Set(kTrigNarrowMax)), _MM_CMPINT_NLT);
  } else {
    wide = _mm512_cmp_pd_mask(a, Set(kTrigNarrowMax), _CMP_NLE_UQ);
  }
  if (!wide) return f(ReduceHalfPi<false, kQuarter>(x));
  V y = f(ReduceHalfPi<true, kQuarter>(x));
  if constexpr (kOdd) y = ZeroAsItself(y, x);
  const M out = _mm512_cmp_pd_mask(a, Set(kTrigFastMax), _CMP_NLE_UQ);
  if (out) y = _mm512_mask_blend_pd(out, y, fallback(x));
  return y;
}

// Two blocks' results, stored together.
struct TwoBlocks {
  V a, b;
};

// Trig<0, true> of two blocks. Where every n of both lies in [-1024, 1024), which one test of the
// high bits of both shifted sums finds, both take the narrow reduction at once: one vector step
// for sixteen lanes where Trig's test takes three for eight. Zeros are mended unless f keeps them
// (kZeroKept).
template <bool kZeroKept, class F, class G>
QUOREL_AVX512_INLINE TwoBlocks TrigPair(V a, V b, F f, G fallback) {
  const V ta = ShiftedQuadrant<0>(a), tb = ShiftedQuadrant<0>(b);
  constexpr long long kLow = 0x7ff;
  const I high = _mm512_set1_epi64(std::bit_cast<long long>(kTrigShift<0>) & ~kLow);
  // (ta ^ high) | (tb ^ high): nothing above the low 11 bits where both are narrow.
  const I off = _mm512_ternarylogic_epi64(_mm512_castpd_si512(ta), _mm512_castpd_si512(tb), high, 0x7e);
  if (_mm512_test_epi64_mask(off, _mm512_set1_epi64(~kLow)))
    return {Trig<0, true>(a, f, fallback), Trig<0, true>(b, f, fallback)};
  const V ya = f(ReduceHalfPiFrom<false, 0>(a, ta)), yb = f(ReduceHalfPiFrom<false, 0>(b, tb));
  if constexpr (kZeroKept) return {ya, yb};
  else return {ZeroAsItself(ya, a), ZeroAsItself(yb, b)};
}

// y with its sign flipped where bit 1 of n is set (0x78: y ^ (s & sign bit)).
QUOREL_AVX512_INLINE V FlipByBit1(V y, I n) {
  return _mm512_castsi512_pd(_mm512_ternarylogic_epi64(_mm512_castpd_si512(y), _mm512_slli_epi64(n, 62),
                                                        _mm512_set1_epi64(INT64_MIN), 0x78));
}

// What sine and cosine of r = rh + rl share: z = rh^2 and 1 - rh^2/2 as the pair w - nwe
// (hr = rh/2 is exact, and so is w - 1, as w lies in [0.69, 1]).
struct Squares {
  V z, w, nwe;
};
QUOREL_AVX512_INLINE Squares SquaresOf(V rh) {
  const V hr = rh * 0.5;
  const V w = _mm512_fnmadd_pd(hr, rh, Set(1.0));
  return {rh * rh, w, Fma(hr, rh, w - Set(1.0))};
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
//   cos r = w + (z^2 C(z) - nwe - rh rl)
// Each is about 0.5 ulp once added: |y P + e| < |h| / 2 and h is exact. The tail is formed negated
// and subtracted: from a narrow reduction of a zero (rh = x, rl = -0) the tail is then +0 and
// h - tail keeps x's sign.
QUOREL_AVX512_INLINE V SinOrCosOfReduced(const Quadrant& q) {
  const M c = _mm512_test_epi64_mask(q.n, _mm512_set1_epi64(1));  // lanes taking cos r
  const Squares s = SquaresOf(q.rh);
  const V p = HornerEither(s.z, c, kSinCoef, kCosCoef);
  const V y0 = s.z * _mm512_mask_blend_pd(c, q.rh, s.z);
  const V ne = _mm512_fnmadd_pd(_mm512_mask_blend_pd(c, s.w, -q.rh), q.rl, _mm512_maskz_mov_pd(c, s.nwe));
  return FlipByBit1(_mm512_mask_blend_pd(c, q.rh, s.w) - _mm512_fnmadd_pd(y0, p, ne), q.n);
}
constexpr auto kSinOrCosOfReduced = [](const Quadrant& q) QUOREL_AVX512_LAMBDA_INLINE { return SinOrCosOfReduced(q); };
constexpr auto kSleefSin = [](V v) { return Sleef_sind8_u10(v); };

template <bool kCos>
QUOREL_AVX512_INLINE V SinOrCos(V x) {
  if constexpr (kCos) return Trig<1, false>(x, kSinOrCosOfReduced, [](V v) { return Sleef_cosd8_u10(v); });
  else return Trig<0, true>(x, kSinOrCosOfReduced, kSleefSin);
}
QUOREL_AVX512_INLINE TwoBlocks SinPair(V a, V b) { return TrigPair<true>(a, b, kSinOrCosOfReduced, kSleefSin); }

// tan x = nu / de (n even) or de / -nu (n odd), from the rational fit nu / de = tan rh:
//   nu = rh + rh z P(z),  de = 1 - z/4 + z^2 Q(z)
// (the fixed z/4 leaves nu a tail below 5%, so its rounding errors weigh little). de is carried
// as K + dt with the constant K = 7/8 near its low end (0.82 at |r| = pi/4, where the errors
// count most): dt is then small and has few bits to round. dt starts from 1 - K - z/4 with the
// rounded z; the exact rh^2/4 would cost one more product for 0.15 ulp (worst 0.96 ulp, not 0.8).
// One quotient t of the two sums, its residual rho brought back by a fused step, all added to t in
// one rounding. Q is split in two halves (Estrin) to shorten the chain.
// From a narrow reduction a zero comes out as itself: every sum below then adds zeros of its sign.
QUOREL_AVX512_INLINE V TanOfReduced(const Quadrant& q) {
  constexpr double kDenHi = 0.875;
  const V z = q.rh * q.rh;
  const V z2 = z * z;
  // rl moves tan and -cot alike by rl (1 + t^2). nu += rl (1 + z) moves the quotient by
  // rl (1 + z) / de, within 3.2% of that over the whole range (correcting de as well would
  // cost a step and come no closer), and takes no step of its own: z (rh P + rl) + rl.
  const V nt = Fma(z, Fma(q.rh, Horner(z, kTanNum), q.rl), q.rl);
  static_assert(std::size(kTanDen) == 4, "Q is evaluated as two halves of two terms");
  const V qa = Fma(z, Set(kTanDen[1]), Set(kTanDen[0])), qb = Fma(z, Set(kTanDen[3]), Set(kTanDen[2]));
  const V carry = Fma(z, Set(-0.25), Set(1.0 - kDenHi));
  const V dt = Fma(z2, Fma(z2, qb, qa), carry);
  const M odd = _mm512_test_epi64_mask(q.n, _mm512_set1_epi64(1));
  const V zero = _mm512_setzero_pd();
  const V k = Set(kDenHi);
  const Pair num = {_mm512_mask_blend_pd(odd, q.rh, k), _mm512_mask_blend_pd(odd, nt, dt)};
  const Pair den = {_mm512_mask_sub_pd(k, odd, zero, q.rh), _mm512_mask_sub_pd(dt, odd, zero, nt)};
  const V d = den.hi + den.lo;
  const V t = (num.hi + num.lo) / d;
  // -rho as two independent residuals, summed (the chain after the quotient is one step shorter);
  // -rho rather than rho keeps the sign of a zero t.
  const V nrho = _mm512_fmsub_pd(t, den.hi, num.hi) + _mm512_fmsub_pd(t, den.lo, num.lo);
  return _mm512_fnmadd_pd(nrho, _mm512_rcp14_pd(d), t);
}

constexpr auto kTanOfReduced = [](const Quadrant& q) QUOREL_AVX512_LAMBDA_INLINE { return TanOfReduced(q); };
constexpr auto kSleefTan = [](V v) { return Sleef_tand8_u10(v); };
QUOREL_AVX512_INLINE V TanOf(V x) { return Trig<0, true>(x, kTanOfReduced, kSleefTan); }
QUOREL_AVX512_INLINE TwoBlocks TanPair(V a, V b) { return TrigPair<true>(a, b, kTanOfReduced, kSleefTan); }

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
    const V rho = _mm512_fnmadd_pd(q, dh, Set(1.0)) - q * dl;
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

// atan t = atan c + atan u, u = (t - c) / (1 + c t), t = |x|, with c from 16 bins: c = k / K for
// t < 1, k = round(K t), and c = K / k beyond, k = round(K / t) from the approximate reciprocal
// (K = kATanScale, a little below 7.5, keeps k <= 7; c = 2^60 for k = 0), so |u| <= 0.0668 and
// a polynomial of five terms. For t < 1, t - c is exact and 1 + c t an exact pair (c t < 1), and
// the quotient gets its rounding error back from one fused residual: u enters as a pair. Beyond
// 1 the result is at least pi/4 and u rounded is enough.
QUOREL_AVX512_INLINE V ATanOf(V x) {
  // Beyond 2^100, u vanishes against atan c; NaN stays NaN.
  const V t = _mm512_min_pd(Set(0x1p100), _mm512_abs_pd(x));
  const M beyond = _mm512_cmp_pd_mask(t, Set(1.0), _CMP_GE_OQ);
  const V w = _mm512_mask_blend_pd(beyond, t, _mm512_rcp14_pd(t));
  I k = _mm512_castpd_si512(Fma(w, Set(kATanScale), Set(kShifter)));  // k in the low 3 bits
  k = _mm512_mask_or_epi64(k, beyond, k, _mm512_set1_epi64(8));
  const V c = Lookup16(kATanC, k);
  const V num = t - c;
  const V p = c * t;
  const V dh = 1.0 + p;
  const V dl = _mm512_maskz_add_pd(static_cast<M>(~beyond), (1.0 - dh) + p, Fma(c, t, -p));
  const V uh = num / dh;
  const V ul = _mm512_fnmadd_pd(uh, dl, _mm512_fnmadd_pd(uh, dh, num)) * _mm512_rcp14_pd(dh);
  const V z = uh * uh;
  const V ah = Lookup16(kATanHi, k);
  const V sh = ah + uh;  // |uh| <= atan c, or atan c = 0
  const V sl = (ah - sh) + uh;
  const V y = sh + Fma(uh * z, Horner(z, kATanCoef), (sl + Lookup16(kATanLo, k)) + ul);
  // The sign of x (odd function): y ^ (x & sign bit).
  return _mm512_castsi512_pd(
      _mm512_ternarylogic_epi64(_mm512_castpd_si512(y), _mm512_castpd_si512(x), _mm512_set1_epi64(INT64_MIN), 0x78));
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
  const V b = Fma(y, l.lo, Fma(y, l.hi, -a));
  V p = ExpOf(a, b);
  const M out = LogOutside(x) | ExpOutside(a);
  if (out) p = _mm512_mask_blend_pd(out, p, Sleef_powd8_u10(x, y));
  return p;
}

// From 8 MB on the results cannot stay in the caches anyway: storing them around the caches
// (non-temporal stores) saves reading each destination line before it is overwritten.
constexpr ptrdiff_t kStreamMin = ptrdiff_t{1} << 20;

// r[i, i + 8) = g(i, m) over [0, n): g reads its inputs from element i, 1.0 in the lanes outside
// the mask m of a partial block; g2(i) gives the full blocks at i and i + 8 together. Long results
// that overlap no input are streamed.
constexpr M kAll = 0xff;
template <class G, class G2>
QUOREL_AVX512_INLINE void Blocks(double* r, ptrdiff_t n, bool apart, G g, G2 g2) {
  ptrdiff_t i = 0;
  if (apart && n >= kStreamMin && reinterpret_cast<std::uintptr_t>(r) % 8 == 0) {
    // Up to the first 64-byte line of r, then whole lines.
    const auto head = static_cast<ptrdiff_t>((0 - reinterpret_cast<std::uintptr_t>(r) / 8) % 8);
    if (head != 0) {
      const M m = static_cast<M>((1u << head) - 1);
      _mm512_mask_storeu_pd(r, m, g(0, m));
      i = head;
    }
    for (; i + 16 <= n; i += 16) {
      const TwoBlocks y = g2(i);
      _mm512_stream_pd(r + i, y.a);
      _mm512_stream_pd(r + i + 8, y.b);
    }
    _mm_sfence();
  }
  // Two independent vectors per step give the long dependency chains something to overlap with.
  for (; i + 16 <= n; i += 16) {
    const TwoBlocks y = g2(i);
    _mm512_storeu_pd(r + i, y.a);
    _mm512_storeu_pd(r + i + 8, y.b);
  }
  for (; i + 8 <= n; i += 8) _mm512_storeu_pd(r + i, g(i, kAll));
  if (i < n) {
    const M m = static_cast<M>((1u << (n - i)) - 1);
    _mm512_mask_storeu_pd(r + i, m, g(i, m));
  }
}

template <class G>
QUOREL_AVX512_INLINE void Blocks(double* r, ptrdiff_t n, bool apart, G g) {
  const auto g2 = [g](ptrdiff_t i) QUOREL_AVX512_LAMBDA_INLINE { return TwoBlocks{g(i, kAll), g(i + 8, kAll)}; };
  Blocks(r, n, apart, g, g2);
}

// Block i of x, 1.0 outside the mask m.
QUOREL_AVX512_INLINE V LoadBlock(const double* x, ptrdiff_t i, M m) {
  return m == 0xff ? _mm512_loadu_pd(x + i) : _mm512_mask_loadu_pd(Set(1.0), m, x + i);
}
QUOREL_AVX512_INLINE bool Apart(const double* x, const double* r, ptrdiff_t n) { return x + n <= r || r + n <= x; }

// r[i] = f(x[i]).
template <class F>
QUOREL_AVX512_INLINE void Blocks1(const double* x, double* r, ptrdiff_t n, F f) {
  Blocks(r, n, Apart(x, r, n), [x, f](ptrdiff_t i, M m) QUOREL_AVX512_LAMBDA_INLINE { return f(LoadBlock(x, i, m)); });
}

template <TFastFn F>
void UnaryLoop(const double* x, double* r, ptrdiff_t n) {
  if constexpr (F == TFastFn::Tan || F == TFastFn::Sin) {
    // Sine and tangent reduce two blocks at a time (see TrigPair).
    const auto one = [x](ptrdiff_t i, M m) QUOREL_AVX512_LAMBDA_INLINE { return Unary<F>(LoadBlock(x, i, m)); };
    const auto two = [x](ptrdiff_t i) QUOREL_AVX512_LAMBDA_INLINE {
      const V a = _mm512_loadu_pd(x + i), b = _mm512_loadu_pd(x + i + 8);
      return F == TFastFn::Tan ? TanPair(a, b) : SinPair(a, b);
    };
    Blocks(r, n, Apart(x, r, n), one, two);
  } else {
    Blocks1(x, r, n, [](V v) QUOREL_AVX512_LAMBDA_INLINE { return Unary<F>(v); });
  }
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
  Blocks(r, n, Apart(a, r, n) && Apart(b, r, n), [a, b](ptrdiff_t i, M m) QUOREL_AVX512_LAMBDA_INLINE {
    return PowOf(LoadBlock(a, i, m), LoadBlock(b, i, m));
  });
}

void FastPowxAvx512(const double* x, double v, double* r, ptrdiff_t n) {
  const V e = Set(v);
  Blocks1(x, r, n, [e](V b) QUOREL_AVX512_LAMBDA_INLINE { return PowOf(b, e); });
}

}  // namespace quorel::kern::detail
