#include "quorel/platform/kernels/sliding.h"

#include <algorithm>

#include "quorel/platform/kernels/loops.h"
#include "quorel/platform/kernels/math.h"

// Vectors of W doubles cross no call boundary: every helper below is inlined into its
// instruction set's entry point.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace quorel::kern {

using std::ptrdiff_t;

namespace {

template <int W>
struct VecOf {
  typedef double type __attribute__((vector_size(8 * W)));
};
template <int W>
using Vec = typename VecOf<W>::type;

// What the block loop needs of its element type: E doubles per element, the coefficient of a
// tap prepared once, and its products with one element of s and with a vector of s.
template <int W>
struct RealTerms {
  static constexpr int E = 1;
  struct Coef {
    double c;
    Vec<W> v;
  };
  QUOREL_KERNEL_INLINE static Coef Prepare(const double* c, ptrdiff_t j, bool) {
    return {c[j], c[j] - Vec<W>{}};  // a broadcast: x - (+0) is x, -0 included
  }
  QUOREL_KERNEL_INLINE static void Add(double* acc, const Coef& k, const double* sp) { acc[0] += k.c * sp[0]; }
  QUOREL_KERNEL_INLINE static Vec<W> Term(const Coef& k, Vec<W> v) { return k.v * v; }
};

// Complex elements as (re, im) pairs of doubles. A term is s c, with the parts formed as the
// scalar product forms them: (sr cr - si ci, si cr + sr ci); in the vector form the negation
// rides on the coefficient, which changes no bit.
template <int W>
struct CplxTerms {
  static constexpr int E = 2;
  struct Coef {
    double re, im;
    Vec<W> vre, vim;  // cr in every lane; -ci, ci alternating
  };
  QUOREL_KERNEL_INLINE static Coef Prepare(const double* c, ptrdiff_t j, bool conj) {
    Vec<W> alternate;
    for (int l = 0; l < W; ++l) alternate[l] = l % 2 ? 1.0 : -1.0;
    const double re = c[2 * j], im = conj ? -c[2 * j + 1] : c[2 * j + 1];
    return {re, im, re - Vec<W>{}, (im - Vec<W>{}) * alternate};
  }
  QUOREL_KERNEL_INLINE static void Add(double* acc, const Coef& k, const double* sp) {
    const double sr = sp[0], si = sp[1];
    acc[0] += sr * k.re - si * k.im;
    acc[1] += si * k.re + sr * k.im;
  }
  QUOREL_KERNEL_INLINE static Vec<W> Term(const Coef& k, Vec<W> v) {
    Vec<W> swapped;  // (si, sr) in each pair; the compiler makes it one in-lane permute
    for (int l = 0; l < W; ++l) swapped[l] = v[l ^ 1];
    return v * k.vre + swapped * k.vim;
  }
};

// Outputs go in blocks of U vectors of W doubles, each block's sums held in registers while the
// coefficients stream past: one load, one product and one sum per lane and coefficient, where
// the textbook loop (y[o + j] += c[j] s[o] over o for each j) also loads and stores y.
// Element l of the block starting at o0 reads s[r + l] for coefficient j, r = base + o0 -+ j. A
// coefficient whose reads all fall inside s goes through the vector registers; the few at the
// ends of its range, where only some elements read inside s, update those alone (a plain loop
// over a run of elements). Coefficients are taken in increasing order either way, so each output
// adds its terms in the same order as the written-out sum.
template <int W, int U, TSlide kSlide, class T>
QUOREL_KERNEL_INLINE void SlideBlocks(const double* c, ptrdiff_t nc, const double* s, ptrdiff_t ns, ptrdiff_t base,
                                      double* y, ptrdiff_t count, bool add) {
  constexpr ptrdiff_t E = T::E, B = W / E * U;  // elements per block
  constexpr ptrdiff_t dir = kSlide == TSlide::Convolution ? -1 : 1;
  constexpr bool conj = kSlide == TSlide::Correlation;
  for (ptrdiff_t o0 = 0; o0 < count; o0 += B) {
    const ptrdiff_t q = base + o0;
    // Coefficients that reach any element: -B < r < ns; that reach every one: 0 <= r <= ns - B.
    ptrdiff_t j0, j1, f0, f1;  // [j0, j1) and [f0, f1)
    if constexpr (dir < 0) {
      j0 = q - ns + 1, j1 = q + B;
      f0 = q - (ns - B), f1 = q + 1;
    } else {
      j0 = -(q + B - 1), j1 = ns - q;
      f0 = -q, f1 = ns - B - q + 1;
    }
    j0 = std::max<ptrdiff_t>(j0, 0), j1 = std::min(j1, nc);
    f0 = std::max(f0, j0), f1 = std::min(f1, j1);
    if (f0 >= f1) f0 = f1 = j1;

    // Set and copied by vectors: for 256 bytes, string instructions take longer to start.
    alignas(64) double acc[B * E];
    double* yb = y + E * o0;
    const ptrdiff_t kept = E * std::min(B, count - o0);
    const bool whole = kept == B * E;
    for (int u = 0; u < U; ++u) detail::StoreVector(acc + u * W, add && whole ? detail::LoadVector<Vec<W>>(yb + u * W) : Vec<W>{});
    if (add && !whole)
      for (ptrdiff_t i = 0; i < kept; ++i) acc[i] = yb[i];
    const auto partial = [&](ptrdiff_t j) __attribute__((always_inline)) {
      const ptrdiff_t r = q + dir * j;
      const ptrdiff_t lb = std::max<ptrdiff_t>(0, -r), le = std::min(B, ns - r);
      const auto k = T::Prepare(c, j, conj);
      for (ptrdiff_t l = lb; l < le; ++l) T::Add(acc + E * l, k, s + E * (r + l));
    };
    for (ptrdiff_t j = j0; j < f0; ++j) partial(j);
    if (f0 < f1) {
      Vec<W> a[U];
      for (int u = 0; u < U; ++u) a[u] = detail::LoadVector<Vec<W>>(acc + u * W);
      for (ptrdiff_t j = f0; j < f1; ++j) {
        const auto k = T::Prepare(c, j, conj);
        const double* row = s + E * (q + dir * j);
        for (int u = 0; u < U; ++u) a[u] = a[u] + T::Term(k, detail::LoadVector<Vec<W>>(row + u * W));
      }
      for (int u = 0; u < U; ++u) detail::StoreVector(acc + u * W, a[u]);
    }
    for (ptrdiff_t j = f1; j < j1; ++j) partial(j);
    // The elements past count read only inside s as well; they are just not kept.
    if (whole) {
      for (int u = 0; u < U; ++u) detail::StoreVector(yb + u * W, detail::LoadVector<Vec<W>>(acc + u * W));
    } else {
      for (ptrdiff_t i = 0; i < kept; ++i) yb[i] = acc[i];
    }
  }
}

template <int W, int U, template <int> class T>
QUOREL_KERNEL_INLINE void Slide(TSlide slide, const double* c, ptrdiff_t nc, const double* s, ptrdiff_t ns,
                                ptrdiff_t base, double* y, ptrdiff_t count, bool add) {
  if (slide == TSlide::Convolution) SlideBlocks<W, U, TSlide::Convolution, T<W>>(c, nc, s, ns, base, y, count, add);
  else SlideBlocks<W, U, TSlide::Correlation, T<W>>(c, nc, s, ns, base, y, count, add);
}

// The arguments of SlidingSums, with complex arrays as their doubles.
struct Args {
  TSlide slide;
  const double* c;
  ptrdiff_t nc;
  const double* s;
  ptrdiff_t ns, base;
  double* y;
  ptrdiff_t count;
  bool add;
};

// Few outputs over long operands (a correlation at a few lags) take narrower blocks: the
// elements of a block past count are summed for nothing.
template <int W, int U, template <int> class T>
QUOREL_KERNEL_INLINE void SlideFitted(const Args& a) {
  if constexpr (U > 2) {
    if (a.count <= W / T<W>::E * U / 2) return SlideFitted<W, U / 2, T>(a);
  }
  Slide<W, U, T>(a.slide, a.c, a.nc, a.s, a.ns, a.base, a.y, a.count, a.add);
}

template <int W, int U>
QUOREL_KERNEL_INLINE void SlideEither(bool complex, const Args& a) {
  if (complex) SlideFitted<W, U, CplxTerms>(a);
  else SlideFitted<W, U, RealTerms>(a);
}

// Processors with AVX-512 take this path too: the loads of the sliding window are rarely
// aligned, and a 512-bit load crosses a cache line 7 times in 8 where a 256-bit one does 3 times
// in 8 (measured: 512-bit vectors 5% slower). Built without FMA: GCC 12 fuses the complex
// products and sums into multiply-add-subtract instructions even with contraction off, and those
// round once where the written-out sum rounds three times.
[[gnu::target("avx2")]] void SlideAvx2(bool complex, const Args& a) { SlideEither<4, 8>(complex, a); }
void SlideSse2(bool complex, const Args& a) { SlideEither<2, 4>(complex, a); }

void Dispatch(bool complex, const Args& a) {
  if (KernelIsa() == TKernelIsa::Sse2) SlideSse2(complex, a);
  else SlideAvx2(complex, a);
}

}  // namespace

void SlidingSums(TSlide slide, const double* c, ptrdiff_t nc, const double* s, ptrdiff_t ns, ptrdiff_t base, double* y,
                 ptrdiff_t count, bool add) {
  Dispatch(false, {slide, c, nc, s, ns, base, y, count, add});
}

void SlidingSums(TSlide slide, const TCplx* c, ptrdiff_t nc, const TCplx* s, ptrdiff_t ns, ptrdiff_t base, TCplx* y,
                 ptrdiff_t count, bool add) {
  Dispatch(true, {slide, detail::Parts(c), nc, detail::Parts(s), ns, base, detail::Parts(y), count, add});
}

}  // namespace quorel::kern
