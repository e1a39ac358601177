#include "quorel/platform/kernels/sliding.h"

#include <algorithm>
#include <cstring>

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

template <int W>
QUOREL_KERNEL_INLINE Vec<W> LoadU(const double* p) {
  Vec<W> v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
template <int W>
QUOREL_KERNEL_INLINE void StoreU(double* p, Vec<W> v) {
  std::memcpy(p, &v, sizeof v);
}

// Outputs go in blocks of U vectors of W lanes, each block's sums held in registers while the
// coefficients stream past: one load, one product and one sum per lane and coefficient, where
// the textbook loop (y[o + j] += c[j] s[o] over o for each j) also loads and stores y.
// Lane l of the block starting at o0 reads s[r + l] for coefficient j, r = base + o0 -+ j. A
// coefficient whose reads all fall inside s goes through the vector registers; the few at the
// ends of its range, where only some lanes read inside s, update those lanes alone (a plain loop
// over a run of lanes). Coefficients are taken in increasing order either way, so each output
// adds its terms in the same order as the written-out sum.
template <int W, int U, TSlide kSlide>
QUOREL_KERNEL_INLINE void SlideBlocks(const double* c, ptrdiff_t nc, const double* s, ptrdiff_t ns, ptrdiff_t base,
                                      double* y, ptrdiff_t count, bool add) {
  constexpr ptrdiff_t B = W * U;
  constexpr ptrdiff_t dir = kSlide == TSlide::Convolution ? -1 : 1;
  for (ptrdiff_t o0 = 0; o0 < count; o0 += B) {
    const ptrdiff_t q = base + o0;
    // Coefficients that reach any lane: -B < r < ns; that reach every lane: 0 <= r <= ns - B.
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
    alignas(64) double acc[B];
    const bool whole = count - o0 >= B;
    for (int u = 0; u < U; ++u) StoreU<W>(acc + u * W, add && whole ? LoadU<W>(y + o0 + u * W) : Vec<W>{});
    if (add && !whole)
      for (ptrdiff_t l = 0; l < count - o0; ++l) acc[l] = y[o0 + l];
    const auto partial = [&](ptrdiff_t j) __attribute__((always_inline)) {
      const ptrdiff_t r = q + dir * j;
      const ptrdiff_t lb = std::max<ptrdiff_t>(0, -r), le = std::min(B, ns - r);
      const double cj = c[j];
      for (ptrdiff_t l = lb; l < le; ++l) acc[l] += cj * s[r + l];
    };
    for (ptrdiff_t j = j0; j < f0; ++j) partial(j);
    if (f0 < f1) {
      Vec<W> a[U];
      for (int u = 0; u < U; ++u) a[u] = LoadU<W>(acc + u * W);
      for (ptrdiff_t j = f0; j < f1; ++j) {
        const Vec<W> cj = c[j] - Vec<W>{};  // a broadcast: x - (+0) is x, -0 included
        const double* row = s + q + dir * j;
        for (int u = 0; u < U; ++u) a[u] = a[u] + cj * LoadU<W>(row + u * W);
      }
      for (int u = 0; u < U; ++u) StoreU<W>(acc + u * W, a[u]);
    }
    for (ptrdiff_t j = f1; j < j1; ++j) partial(j);
    // The lanes past count read only inside s as well; they are just not kept.
    if (whole) {
      for (int u = 0; u < U; ++u) StoreU<W>(y + o0 + u * W, LoadU<W>(acc + u * W));
    } else {
      for (ptrdiff_t l = 0; l < count - o0; ++l) y[o0 + l] = acc[l];
    }
  }
}

template <int W, int U>
QUOREL_KERNEL_INLINE void Slide(TSlide slide, const double* c, ptrdiff_t nc, const double* s, ptrdiff_t ns,
                                ptrdiff_t base, double* y, ptrdiff_t count, bool add) {
  if (slide == TSlide::Convolution) SlideBlocks<W, U, TSlide::Convolution>(c, nc, s, ns, base, y, count, add);
  else SlideBlocks<W, U, TSlide::Correlation>(c, nc, s, ns, base, y, count, add);
}

// Processors with AVX-512 take this path too: the loads of the sliding window are rarely
// aligned, and a 512-bit load crosses a cache line 7 times in 8 where a 256-bit one does 3 times
// in 8 (measured: 512-bit vectors 5% slower).
[[gnu::target("avx2,fma")]] void SlideAvx2(TSlide slide, const double* c, ptrdiff_t nc, const double* s, ptrdiff_t ns,
                                           ptrdiff_t base, double* y, ptrdiff_t count, bool add) {
  Slide<4, 8>(slide, c, nc, s, ns, base, y, count, add);
}
void SlideSse2(TSlide slide, const double* c, ptrdiff_t nc, const double* s, ptrdiff_t ns, ptrdiff_t base, double* y,
               ptrdiff_t count, bool add) {
  Slide<2, 4>(slide, c, nc, s, ns, base, y, count, add);
}

}  // namespace

void SlidingSums(TSlide slide, const double* c, ptrdiff_t nc, const double* s, ptrdiff_t ns, ptrdiff_t base, double* y,
                 ptrdiff_t count, bool add) {
  switch (KernelIsa()) {
    case TKernelIsa::Avx512:
    case TKernelIsa::Avx2Fma: return SlideAvx2(slide, c, nc, s, ns, base, y, count, add);
    case TKernelIsa::Sse2: return SlideSse2(slide, c, nc, s, ns, base, y, count, add);
  }
}

}  // namespace quorel::kern
