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

// sqrt of the sum of term^2, rescaled when the plain sum overflows or underflows.
template <class Term>
QUOREL_KERNEL_INLINE double L2Of(ptrdiff_t n, Term term) {
  if (n <= 0) return kNaN;
  const double ss = WideSumOf(n, [term](ptrdiff_t i) { const double t = term(i); return t * t; });
  if (!(ss == kInf || ss < 0x1p-900)) return std::sqrt(ss);
  const double big = MaxOf(n, [term](ptrdiff_t i) { return std::fabs(term(i)); });
  if (big == 0.0 || big == kInf) return big;
  // 2^-e brings the largest magnitude near 1; e stays in [-1021, 1022] so 2^-e and 2^e are
  // normal. Scaling by multiplication: ldexp could set errno when the norm overflows.
  const int e = std::clamp(std::ilogb(big), -1021, 1022);
  const double s = Pow2(-e);
  const double scaled = WideSumOf(n, [term, s](ptrdiff_t i) { const double t = term(i) * s; return t * t; });
  return std::sqrt(scaled) * Pow2(e);
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

QUOREL_KERNEL double Sum(const double* x, ptrdiff_t n) {
  return SumOf(n, [x](ptrdiff_t i) { return x[i]; });
}
QUOREL_KERNEL TCplx Sum(const TCplx* x, ptrdiff_t n) { return SumOfParts(detail::Parts(x), n); }

double Mean(const double* x, ptrdiff_t n) { return n > 0 ? Sum(x, n) / static_cast<double>(n) : 0.0; }
TCplx Mean(const TCplx* x, ptrdiff_t n) {
  if (n <= 0) return {0.0, 0.0};
  const TCplx s = Sum(x, n);
  const double dn = static_cast<double>(n);
  return {s.Re / dn, s.Im / dn};
}

namespace {
// r * 2^e for e in [-2044, 2044], in two normal steps.
double ScaleByPow2(double r, int e) {
  const int half = e / 2;
  return r * Pow2(half) * Pow2(e - half);
}

// StdDev for data whose mean or squared deviations overflow or underflow. The data are brought
// near 1 for the mean and the deviations near 1 for their squares, both by powers of 2, so where
// nothing overflows or underflows the result equals the plain one. NaN stays NaN.
[[gnu::noinline]] double StdDevRescaled(const double* x, ptrdiff_t n, double plain) {
  const double big = MaxOf(n, [x](ptrdiff_t i) { return std::fabs(x[i]); });
  if (!(big > 0.0 && big < kInf)) return big == 0.0 ? 0.0 : plain;
  const int e1 = std::clamp(std::ilogb(big), -1021, 1022);
  const double s1 = Pow2(-e1);
  const double mean = SumOf(n, [x, s1](ptrdiff_t i) { return x[i] * s1; }) / static_cast<double>(n);
  const double dev = MaxOf(n, [x, s1, mean](ptrdiff_t i) { return std::fabs(x[i] * s1 - mean); });
  if (dev == 0.0) return 0.0;
  const int e2 = std::clamp(std::ilogb(dev), -1021, 1022);
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
  return SumOf(n, [a, b](ptrdiff_t i) { return a[i] * b[i]; });
}
QUOREL_KERNEL TCplx Dot(const TCplx* a, const TCplx* b, ptrdiff_t n) {
  return SumOfC(n, [a, b](ptrdiff_t i) { return CMul(a[i], b[i]); });
}
QUOREL_KERNEL TCplx Dot(const double* a, const TCplx* b, ptrdiff_t n) {
  return SumOfC(n, [a, b](ptrdiff_t i) { return TCplx{a[i] * b[i].Re, a[i] * b[i].Im}; });
}
QUOREL_KERNEL TCplx DotConj(const TCplx* a, const TCplx* b, ptrdiff_t n) {
  return SumOfC(n, [a, b](ptrdiff_t i) { return CMul(TCplx{a[i].Re, -a[i].Im}, b[i]); });
}

QUOREL_KERNEL double Product(const double* x, ptrdiff_t n) {
  double acc[kLanes];
  for (double& a : acc) a = 1.0;
  const auto times = [](double a, double b) { return a * b; };
  FoldLanes(acc, n, [x](ptrdiff_t i) { return x[i]; }, times);
  return Combine(acc, times);
}
QUOREL_KERNEL TCplx Product(const TCplx* x, ptrdiff_t n) {
  TCplx acc[kLanes];
  for (TCplx& a : acc) a = {1.0, 0.0};
  FoldLanes(acc, n, [x](ptrdiff_t i) { return x[i]; }, CMul);
  return Combine(acc, CMul);
}

}  // namespace quorel::kern
