#include "quorel/platform/kernels/reduce.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cmath>
#include <limits>

#include "quorel/platform/kernels/loops.h"

namespace quorel::kern {

using detail::CMul;
using std::ptrdiff_t;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Independent partial results: lane k takes the terms i = k (mod kLanes). Wide enough to hide
// the latency of the additions and to fill two AVX registers.
constexpr int kLanes = 8;

template <class T, int N, class Term, class Op>
QUOREL_KERNEL_INLINE void FoldLanes(T (&acc)[N], ptrdiff_t n, Term term, Op op) {
  ptrdiff_t i = 0;
  for (; i + N <= n; i += N)
    for (int k = 0; k < N; ++k) acc[k] = op(acc[k], term(i + k));
  for (int k = 0; i < n; ++i, ++k) acc[k] = op(acc[k], term(i));
}

QUOREL_KERNEL_INLINE double Plus(double a, double b) { return a + b; }
QUOREL_KERNEL_INLINE TCplx PlusC(TCplx a, TCplx b) { return {a.Re + b.Re, a.Im + b.Im}; }

// Pairwise combination of the lanes.
template <class T, class Op>
QUOREL_KERNEL_INLINE T Combine(const T (&acc)[kLanes], Op op) {
  return op(op(op(acc[0], acc[1]), op(acc[2], acc[3])), op(op(acc[4], acc[5]), op(acc[6], acc[7])));
}

// Four times the lanes of a sum, for scans that gain from more independent chains: extremes, which
// do not depend on the order of comparison, and the sums of squares of the norms (shorter partial
// sums are no less accurate, and norms are the hot reduction of iterative methods). Plain sums
// keep kLanes, whose order fixes their rounding.
constexpr int kWideLanes = 4 * kLanes;

// The kWideLanes partial results brought down to one.
template <class Op>
QUOREL_KERNEL_INLINE double CombineWide(const double (&acc)[kWideLanes], Op op) {
  double folded[kLanes];
  for (int k = 0; k < kLanes; ++k)
    folded[k] = op(op(acc[k], acc[k + kLanes]), op(acc[k + 2 * kLanes], acc[k + 3 * kLanes]));
  return Combine(folded, op);
}

template <class Term>
QUOREL_KERNEL_INLINE double SumOf(ptrdiff_t n, Term term) {
  double acc[kLanes] = {};
  FoldLanes(acc, n, term, Plus);
  return Combine(acc, Plus);
}

template <class Term>
QUOREL_KERNEL_INLINE double WideSumOf(ptrdiff_t n, Term term) {
  double acc[kWideLanes] = {};
  FoldLanes(acc, n, term, Plus);
  return CombineWide(acc, Plus);
}

template <class Term>
QUOREL_KERNEL_INLINE TCplx SumOfC(ptrdiff_t n, Term term) {
  TCplx acc[kLanes] = {};
  FoldLanes(acc, n, term, PlusC);
  return Combine(acc, PlusC);
}

// Sum over the 2n doubles of a complex array, split into real and imaginary parts: with an
// even lane count, even lanes hold real parts and odd lanes imaginary parts.
QUOREL_KERNEL_INLINE TCplx SumOfParts(const double* d, ptrdiff_t n) {
  double acc[kLanes] = {};
  FoldLanes(acc, 2 * n, [d](ptrdiff_t i) { return d[i]; }, Plus);
  return {(acc[0] + acc[2]) + (acc[4] + acc[6]), (acc[1] + acc[3]) + (acc[5] + acc[7])};
}

// Largest term; NaN sticks once seen.
template <class Term>
QUOREL_KERNEL_INLINE double MaxOf(ptrdiff_t n, Term term) {
  double acc[kWideLanes];
  for (double& a : acc) a = -kInf;
  const auto op = [](double a, double t) { return a != a ? a : (!(t <= a) ? t : a); };
  FoldLanes(acc, n, term, op);
  return CombineWide(acc, op);
}

// 2^e for a normal exponent e.
double Pow2(int e) { return std::bit_cast<double>(static_cast<std::uint64_t>(e + 1023) << 52); }

// 2^-e brings a magnitude `big` (finite, not 0) near 1; e stays in [-1021, 1022] so 2^-e and 2^e
// are normal. Scaling by multiplication: ldexp could set errno when a result overflows.
int ScaleExponent(double big) { return std::clamp(std::ilogb(big), -1021, 1022); }

// sqrt of (the sum of term^2 / count), rescaled when the plain sum overflows or underflows.
// Dividing before scaling back lets an RMS stand whose norm is beyond the range.
template <class Term>
QUOREL_KERNEL_INLINE double L2Of(ptrdiff_t n, Term term, double count = 1.0) {
  if (n <= 0) return kNaN;
  const double ss = WideSumOf(n, [term](ptrdiff_t i) { const double t = term(i); return t * t; });
  if (!(ss == kInf || ss < 0x1p-900)) return std::sqrt(ss / count);
  const double big = MaxOf(n, [term](ptrdiff_t i) { return std::fabs(term(i)); });
  if (big == 0.0 || big == kInf) return big;
  const int e = ScaleExponent(big);
  const double s = Pow2(-e);
  const double scaled = WideSumOf(n, [term, s](ptrdiff_t i) { const double t = term(i) * s; return t * t; });
  return std::sqrt(scaled / count) * Pow2(e);
}

QUOREL_KERNEL_INLINE double Modulus(TCplx z) { return std::sqrt(detail::CNorm(z)); }

// Running extreme over blocks: each block's extreme comes from the lane fold, and only the
// first block that attained the final extreme is searched again for its position.
template <class Better>
struct ExtremeScan {
  static constexpr ptrdiff_t kBlock = 256;
  double worst;
  double best;
  ptrdiff_t from = -1;

  explicit ExtremeScan(double w) : worst(w), best(w) {}

  QUOREL_KERNEL_INLINE void Block(const double* x, ptrdiff_t b, ptrdiff_t len) {
    double acc[kWideLanes];
    for (double& a : acc) a = worst;
    const auto pick = [](double a, double t) { return Better{}(t, a) ? t : a; };
    FoldLanes(acc, len, [x, b](ptrdiff_t i) { return x[b + i]; }, pick);
    const double m = CombineWide(acc, pick);
    if (Better{}(m, best)) {
      best = m;
      from = b;
    }
  }

  // First position of the extreme; when nothing beat `worst`, the first `worst` value, else
  // every value is NaN.
  TIndexedValue Locate(const double* x, ptrdiff_t n) const {
    for (ptrdiff_t i = from < 0 ? 0 : from; i < n; ++i)
      if (x[i] == best) return {x[i], i};
    return {kNaN, 0};
  }
};

struct Greater {
  bool operator()(double a, double b) const { return a > b; }
};
struct Less {
  bool operator()(double a, double b) const { return a < b; }
};

template <class Better>
QUOREL_KERNEL_INLINE TIndexedValue ExtremeIndex(const double* x, ptrdiff_t n, double worst) {
  if (n <= 0) return {kNaN, -1};
  ExtremeScan<Better> scan(worst);
  for (ptrdiff_t b = 0; b < n; b += scan.kBlock) scan.Block(x, b, std::min(scan.kBlock, n - b));
  return scan.Locate(x, n);
}

}  // namespace

namespace {
// r * 2^e for e in [-2044, 2044], in two normal steps.
double ScaleByPow2(double r, int e) {
  const int half = e / 2;
  return r * Pow2(half) * Pow2(e - half);
}

bool Finite(double v) { return v - v == 0.0; }
bool Finite(TCplx z) { return Finite(z.Re) && Finite(z.Im); }

// Sum of left(i) * right(i), divided by `divisor`, for sums whose lane evaluation came out INF or
// NaN. Partial sums in lanes can overflow (or overflow with opposite signs and make NaN) where the
// result is representable: finite data are summed again with each side scaled by a power of 2
// from its largest magnitude. NaN in the data gives NaN; infinities give the IEEE sum of their
// terms, which no finite term can change.
template <class Left, class Right>
[[gnu::noinline]] double RescaledDotOf(ptrdiff_t n, Left left, Right right, double divisor) {
  const double bigL = MaxOf(n, [left](ptrdiff_t i) { return std::fabs(left(i)); });
  const double bigR = MaxOf(n, [right](ptrdiff_t i) { return std::fabs(right(i)); });
  if (bigL != bigL || bigR != bigR) return kNaN;
  if (bigL == kInf || bigR == kInf) {
    return SumOf(n, [left, right](ptrdiff_t i) {
             const double l = left(i), r = right(i);
             return std::isinf(l) || std::isinf(r) ? l * r : 0.0;
           }) / divisor;
  }
  if (bigL == 0.0 || bigR == 0.0) return 0.0;
  const int eL = ScaleExponent(bigL), eR = ScaleExponent(bigR);
  const double sL = Pow2(-eL), sR = Pow2(-eR);
  const double s = SumOf(n, [left, right, sL, sR](ptrdiff_t i) { return (left(i) * sL) * (right(i) * sR); });
  return ScaleByPow2(s / divisor, eL + eR);
}

// The sum of x (or of one part of complex data, with stride 2), divided by `divisor`, rescaled.
double RescaledSum(const double* x, ptrdiff_t n, ptrdiff_t stride, double divisor) {
  return RescaledDotOf(n, [x, stride](ptrdiff_t i) { return x[i * stride]; }, [](ptrdiff_t) { return 1.0; },
                       divisor);
}

// Complex sum over n values divided by `divisor`; a part whose lane sum is not finite is redone.
QUOREL_KERNEL_INLINE TCplx SumOfCplx(const TCplx* x, ptrdiff_t n, double divisor) {
  const double* d = detail::Parts(x);
  const TCplx s = SumOfParts(d, n);
  TCplx r{s.Re / divisor, s.Im / divisor};
  if (!Finite(s.Re)) [[unlikely]]
    r.Re = RescaledSum(d, n, 2, divisor);
  if (!Finite(s.Im)) [[unlikely]]
    r.Im = RescaledSum(d + 1, n, 2, divisor);
  return r;
}
}  // namespace

QUOREL_KERNEL double Sum(const double* x, ptrdiff_t n) {
  const double s = SumOf(n, [x](ptrdiff_t i) { return x[i]; });
  return Finite(s) ? s : RescaledSum(x, n, 1, 1.0);
}
QUOREL_KERNEL TCplx Sum(const TCplx* x, ptrdiff_t n) { return SumOfCplx(x, n, 1.0); }

QUOREL_KERNEL double Mean(const double* x, ptrdiff_t n) {
  if (n <= 0) return 0.0;
  const double dn = static_cast<double>(n);
  const double s = SumOf(n, [x](ptrdiff_t i) { return x[i]; });
  return Finite(s) ? s / dn : RescaledSum(x, n, 1, dn);
}
QUOREL_KERNEL TCplx Mean(const TCplx* x, ptrdiff_t n) {
  if (n <= 0) return {0.0, 0.0};
  return SumOfCplx(x, n, static_cast<double>(n));
}

namespace {
// StdDev for data whose mean or squared deviations overflow or underflow. The data are brought
// near 1 for the mean and the deviations near 1 for their squares, both by powers of 2, so where
// nothing overflows or underflows the result equals the plain one. NaN stays NaN.
[[gnu::noinline]] double StdDevRescaled(const double* x, ptrdiff_t n, double plain) {
  const double big = MaxOf(n, [x](ptrdiff_t i) { return std::fabs(x[i]); });
  if (!(big > 0.0 && big < kInf)) return big == 0.0 ? 0.0 : plain;
  const int e1 = ScaleExponent(big);
  const double s1 = Pow2(-e1);
  const double mean = SumOf(n, [x, s1](ptrdiff_t i) { return x[i] * s1; }) / static_cast<double>(n);
  const double dev = MaxOf(n, [x, s1, mean](ptrdiff_t i) { return std::fabs(x[i] * s1 - mean); });
  if (dev == 0.0) return 0.0;
  const int e2 = ScaleExponent(dev);
  const double s2 = Pow2(-e2);
  const double ss = SumOf(n, [x, s1, s2, mean](ptrdiff_t i) {
    const double d = (x[i] * s1 - mean) * s2;
    return d * d;
  });
  return ScaleByPow2(std::sqrt(ss / static_cast<double>(n - 1)), e1 + e2);
}
}  // namespace

QUOREL_KERNEL double StdDev(const double* x, ptrdiff_t n) {
  if (n < 2) return kNaN;
  const double mean = SumOf(n, [x](ptrdiff_t i) { return x[i]; }) / static_cast<double>(n);
  const double ss = SumOf(n, [x, mean](ptrdiff_t i) { const double d = x[i] - mean; return d * d; });
  const double plain = std::sqrt(ss / static_cast<double>(n - 1));
  // Squares above 2^-900 keep their digits; INF or NaN may come from an overflowing sum.
  if (ss >= 0x1p-900 && ss < kInf) return plain;
  return StdDevRescaled(x, n, plain);
}

QUOREL_KERNEL double SumOfSquares(const double* x, ptrdiff_t n) {
  return SumOf(n, [x](ptrdiff_t i) { return x[i] * x[i]; });
}
double SumOfSquares(const TCplx* x, ptrdiff_t n) { return SumOfSquares(detail::Parts(x), 2 * n); }

QUOREL_KERNEL TIndexedValue MaxIndex(const double* x, ptrdiff_t n) {
  return ExtremeIndex<Greater>(x, n, -kInf);
}
QUOREL_KERNEL TIndexedValue MinIndex(const double* x, ptrdiff_t n) {
  return ExtremeIndex<Less>(x, n, kInf);
}
QUOREL_KERNEL TMinMax MinMaxIndex(const double* x, ptrdiff_t n) {
  if (n <= 0) return {{kNaN, -1}, {kNaN, -1}};
  ExtremeScan<Less> lo(kInf);
  ExtremeScan<Greater> hi(-kInf);
  for (ptrdiff_t b = 0; b < n; b += lo.kBlock) {
    const ptrdiff_t len = std::min(lo.kBlock, n - b);
    lo.Block(x, b, len);
    hi.Block(x, b, len);
  }
  return {lo.Locate(x, n), hi.Locate(x, n)};
}

QUOREL_KERNEL double NormL1(const double* x, ptrdiff_t n) {
  return n > 0 ? SumOf(n, [x](ptrdiff_t i) { return std::fabs(x[i]); }) : kNaN;
}
QUOREL_KERNEL double NormL1(const TCplx* x, ptrdiff_t n) {
  return n > 0 ? SumOf(n, [x](ptrdiff_t i) { return Modulus(x[i]); }) : kNaN;
}
QUOREL_KERNEL double NormL2(const double* x, ptrdiff_t n) {
  return L2Of(n, [x](ptrdiff_t i) { return x[i]; });
}
double NormL2(const TCplx* x, ptrdiff_t n) { return NormL2(detail::Parts(x), 2 * n); }
double RMS(const double* x, ptrdiff_t n) {
  return L2Of(n, [x](ptrdiff_t i) { return x[i]; }, static_cast<double>(n));
}
double RMS(const TCplx* x, ptrdiff_t n) {
  const double* d = detail::Parts(x);
  return L2Of(2 * n, [d](ptrdiff_t i) { return d[i]; }, static_cast<double>(n));
}
QUOREL_KERNEL double NormInf(const double* x, ptrdiff_t n) {
  return n > 0 ? MaxOf(n, [x](ptrdiff_t i) { return std::fabs(x[i]); }) : kNaN;
}
QUOREL_KERNEL double NormInf(const TCplx* x, ptrdiff_t n) {
  return n > 0 ? MaxOf(n, [x](ptrdiff_t i) { return Modulus(x[i]); }) : kNaN;
}

QUOREL_KERNEL double NormDiffL1(const double* a, const double* b, ptrdiff_t n) {
  return n > 0 ? SumOf(n, [a, b](ptrdiff_t i) { return std::fabs(a[i] - b[i]); }) : kNaN;
}
QUOREL_KERNEL double NormDiffL1(const TCplx* a, const TCplx* b, ptrdiff_t n) {
  return n > 0 ? SumOf(n, [a, b](ptrdiff_t i) { return Modulus({a[i].Re - b[i].Re, a[i].Im - b[i].Im}); })
               : kNaN;
}
QUOREL_KERNEL double NormDiffL2(const double* a, const double* b, ptrdiff_t n) {
  return L2Of(n, [a, b](ptrdiff_t i) { return a[i] - b[i]; });
}
double NormDiffL2(const TCplx* a, const TCplx* b, ptrdiff_t n) {
  return NormDiffL2(detail::Parts(a), detail::Parts(b), 2 * n);
}
QUOREL_KERNEL double NormDiffInf(const double* a, const double* b, ptrdiff_t n) {
  return n > 0 ? MaxOf(n, [a, b](ptrdiff_t i) { return std::fabs(a[i] - b[i]); }) : kNaN;
}
QUOREL_KERNEL double NormDiffInf(const TCplx* a, const TCplx* b, ptrdiff_t n) {
  return n > 0 ? MaxOf(n, [a, b](ptrdiff_t i) { return Modulus({a[i].Re - b[i].Re, a[i].Im - b[i].Im}); })
               : kNaN;
}

QUOREL_KERNEL double Dot(const double* a, const double* b, ptrdiff_t n) {
  const double s = SumOf(n, [a, b](ptrdiff_t i) { return a[i] * b[i]; });
  if (Finite(s)) [[likely]]
    return s;
  return RescaledDotOf(n, [a](ptrdiff_t i) { return a[i]; }, [b](ptrdiff_t i) { return b[i]; }, 1.0);
}
namespace {
// Each part of a complex dot product is a real one over 2n terms: Re = sum a.Re b.Re - a.Im b.Im,
// Im = sum a.Re b.Im + a.Im b.Re (a conjugated: the signs of a.Im flip). A part whose lane sum
// left the range is redone from these, so overflowing products that cancel (1e200 (1 + i) times
// 1e200 (1 - i)) no longer give INF - INF = NaN.
template <bool kConj>
[[gnu::noinline]] TCplx CplxDotRedone(TCplx s, const TCplx* a, const TCplx* b, ptrdiff_t n) {
  const double* pa = detail::Parts(a);
  const double* pb = detail::Parts(b);
  const auto left = [pa](ptrdiff_t i) { return pa[i]; };
  const double im = kConj ? -1.0 : 1.0;  // the sign a.Im enters with
  if (!Finite(s.Re))
    s.Re = RescaledDotOf(2 * n, left, [pb, im](ptrdiff_t i) { return i & 1 ? -im * pb[i] : pb[i]; }, 1.0);
  if (!Finite(s.Im))
    s.Im = RescaledDotOf(2 * n, left, [pb, im](ptrdiff_t i) { return i & 1 ? im * pb[i - 1] : pb[i + 1]; }, 1.0);
  return s;
}
}  // namespace

QUOREL_KERNEL TCplx Dot(const TCplx* a, const TCplx* b, ptrdiff_t n) {
  const TCplx s = SumOfC(n, [a, b](ptrdiff_t i) { return CMul(a[i], b[i]); });
  if (Finite(s)) [[likely]]
    return s;
  return CplxDotRedone<false>(s, a, b, n);
}
QUOREL_KERNEL TCplx Dot(const double* a, const TCplx* b, ptrdiff_t n) {
  TCplx s = SumOfC(n, [a, b](ptrdiff_t i) { return TCplx{a[i] * b[i].Re, a[i] * b[i].Im}; });
  if (Finite(s)) [[likely]]
    return s;
  const double* pb = detail::Parts(b);
  const auto left = [a](ptrdiff_t i) { return a[i]; };
  if (!Finite(s.Re)) s.Re = RescaledDotOf(n, left, [pb](ptrdiff_t i) { return pb[2 * i]; }, 1.0);
  if (!Finite(s.Im)) s.Im = RescaledDotOf(n, left, [pb](ptrdiff_t i) { return pb[2 * i + 1]; }, 1.0);
  return s;
}
QUOREL_KERNEL TCplx DotConj(const TCplx* a, const TCplx* b, ptrdiff_t n) {
  const TCplx s = SumOfC(n, [a, b](ptrdiff_t i) { return CMul(TCplx{a[i].Re, -a[i].Im}, b[i]); });
  if (Finite(s)) [[likely]]
    return s;
  return CplxDotRedone<true>(s, a, b, n);
}

namespace {
bool IsZero(double v) { return v == 0.0; }
bool IsZero(TCplx z) { return z.Re == 0.0 && z.Im == 0.0; }

// m * 2^e rounded once, for |m| in [2^-513, 1] (or 0) and any e.
double ScaleWide(double m, std::int64_t e) {
  if (e >= 0) {
    const auto a = static_cast<int>(std::min<std::int64_t>(e, 1000));
    return m * Pow2(a) * Pow2(static_cast<int>(std::min<std::int64_t>(e - a, 1023)));
  }
  const auto a = static_cast<int>(std::max<std::int64_t>(e, -500));
  return m * Pow2(a) * Pow2(static_cast<int>(std::max<std::int64_t>(e - a, -1022)));
}

// Products whose lanes overflowed or underflowed (1e300 and 1e-300 in alternate lanes give
// INF * 0): the factors in order, as mantissa and separate exponent, so no partial product leaves
// the range. Each finite factor brings a mantissa in [0.5, 1); renormalising the running one every
// 512 factors keeps it above 2^-512. Zeros, infinities and NaN multiply in as themselves.
[[gnu::noinline]] double ScaledProduct(const double* x, ptrdiff_t n) {
  double m = 1.0;
  std::int64_t e = 0;
  for (ptrdiff_t i = 0; i < n; ++i) {
    int k = 0;
    m *= Finite(x[i]) ? std::frexp(x[i], &k) : x[i];
    e += k;
    if ((i & 511) == 511 && Finite(m)) {
      m = std::frexp(m, &k);
      e += k;
    }
  }
  return Finite(m) ? ScaleWide(m, e) : m;
}

// z scaled by a power of 2 so that its larger part lies in [0.5, 1); the power goes to e.
void Normalize(TCplx& z, std::int64_t& e) {
  const double big = std::max(std::fabs(z.Re), std::fabs(z.Im));
  if (!(big > 0.0 && big < kInf)) return;
  int k = 0;
  std::frexp(big, &k);
  z = {ScaleByPow2(z.Re, -k), ScaleByPow2(z.Im, -k)};
  e += k;
}

// The complex form of ScaledProduct.
[[gnu::noinline]] TCplx ScaledProduct(const TCplx* x, ptrdiff_t n) {
  TCplx m{1.0, 0.0};
  std::int64_t e = 0;
  for (ptrdiff_t i = 0; i < n; ++i) {
    TCplx f = x[i];
    Normalize(f, e);
    m = CMul(m, f);
    Normalize(m, e);
  }
  if (!Finite(m)) return m;
  return {ScaleWide(m.Re, e), ScaleWide(m.Im, e)};
}

// A lane product that came out INF, NaN or 0: 0 stands when a factor is 0, anything else is
// done again in order.
template <class T>
[[gnu::noinline]] T ProductRedone(T p, const T* x, ptrdiff_t n) {
  if (Finite(p)) {
    bool zero = false;
    for (ptrdiff_t i = 0; i < n; ++i) zero |= IsZero(x[i]);
    if (zero) return p;
  }
  return ScaledProduct(x, n);
}
}  // namespace

QUOREL_KERNEL double Product(const double* x, ptrdiff_t n) {
  double acc[kLanes];
  for (double& a : acc) a = 1.0;
  const auto times = [](double a, double b) { return a * b; };
  FoldLanes(acc, n, [x](ptrdiff_t i) { return x[i]; }, times);
  const double p = Combine(acc, times);
  if (Finite(p) && p != 0.0) [[likely]]
    return p;
  return ProductRedone(p, x, n);
}
QUOREL_KERNEL TCplx Product(const TCplx* x, ptrdiff_t n) {
  TCplx acc[kLanes];
  for (TCplx& a : acc) a = {1.0, 0.0};
  FoldLanes(acc, n, [x](ptrdiff_t i) { return x[i]; }, CMul);
  const TCplx p = Combine(acc, CMul);
  if (Finite(p) && !IsZero(p)) [[likely]]
    return p;
  return ProductRedone(p, x, n);
}

}  // namespace quorel::kern
