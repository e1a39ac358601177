#include "quorel/platform/kernels/math.h"

#include <immintrin.h>

#include <array>
#include <cfloat>
#include <cmath>
#include <cstring>

// sleef.h declares its 256- and 512-bit entry points only to translation units compiled for AVX
// and AVX-512F. This one is compiled for the baseline and calls them only from functions built
// for AVX2 or AVX-512.
#ifndef __AVX__
#define __AVX__ 1
#define QUOREL_SLEEF_AVX_FORCED
#endif
#ifndef __AVX512F__
#define __AVX512F__ 1
#define QUOREL_SLEEF_AVX512_FORCED
#endif
#include <sleef.h>
#ifdef QUOREL_SLEEF_AVX_FORCED
#undef __AVX__
#undef QUOREL_SLEEF_AVX_FORCED
#endif
#ifdef QUOREL_SLEEF_AVX512_FORCED
#undef __AVX512F__
#undef QUOREL_SLEEF_AVX512_FORCED
#endif

#include "quorel/core/constants.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/cplx.h"
#include "quorel/platform/kernels/detail/hyperbolic_edge.h"
#include "quorel/platform/kernels/detail/math_avx512.h"
#include "quorel/platform/kernels/loops.h"

// A block body must be inlined into the clone that calls it: a 256-bit vector crossing a call
// into code built without AVX would change the calling convention.
#define QUOREL_BLOCK_INLINE __attribute__((always_inline))
// The warning about 256-bit values in functions built without AVX concerns exactly those
// always-inlined helpers; a helper that failed to inline would be a compile error instead.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace quorel::kern {

using std::ptrdiff_t;

namespace {

// --- vectors of W doubles and the SLEEF functions on them ---------------------------------

// SLEEF functions of one argument, in the order of Simd<W>::kFn1.
enum Fn1 { kSin, kCos, kTan, kASin, kACos, kATan, kSinh, kCosh, kTanh, kASinh, kACosh, kATanh,
           kExp, kLn, kLog10, kCbrt, kExp2, kExp10, kLog2 };

// SLEEF's 1.0-ulp entry points for vectors of W doubles (d2: SSE2, d4: SLEEF's own AVX/AVX2
// dispatcher, d8: AVX-512F), in the order of Fn1.
#define QUOREL_SLEEF_ENTRIES(W)                                                                           \
  static constexpr decltype(&Sleef_sind##W##_u10) kFn1[] = {                                            \
      Sleef_sind##W##_u10,   Sleef_cosd##W##_u10,   Sleef_tand##W##_u10,   Sleef_asind##W##_u10,        \
      Sleef_acosd##W##_u10,  Sleef_atand##W##_u10,  Sleef_sinhd##W##_u10,  Sleef_coshd##W##_u10,        \
      Sleef_tanhd##W##_u10,  Sleef_asinhd##W##_u10, Sleef_acoshd##W##_u10, Sleef_atanhd##W##_u10,       \
      Sleef_expd##W##_u10,   Sleef_logd##W##_u10,   Sleef_log10d##W##_u10, Sleef_cbrtd##W##_u10,        \
      Sleef_exp2d##W##_u10,  Sleef_exp10d##W##_u10, Sleef_log2d##W##_u10};                              \
  static constexpr auto SinCos = Sleef_sincosd##W##_u10;                                                 \
  static constexpr auto ATan2 = Sleef_atan2d##W##_u10;                                                   \
  static constexpr auto Pow = Sleef_powd##W##_u10;

template <int W>
struct Simd;

template <>
struct Simd<8> {
  using V = __m512d;
  using Index = long long __attribute__((vector_size(64)));
  QUOREL_SLEEF_ENTRIES(8)
  static V Even(V a, V b) QUOREL_BLOCK_INLINE { return __builtin_shuffle(a, b, Index{0, 2, 4, 6, 8, 10, 12, 14}); }
  static V Odd(V a, V b) QUOREL_BLOCK_INLINE { return __builtin_shuffle(a, b, Index{1, 3, 5, 7, 9, 11, 13, 15}); }
  static V Lo(V re, V im) QUOREL_BLOCK_INLINE { return __builtin_shuffle(re, im, Index{0, 8, 1, 9, 2, 10, 3, 11}); }
  static V Hi(V re, V im) QUOREL_BLOCK_INLINE { return __builtin_shuffle(re, im, Index{4, 12, 5, 13, 6, 14, 7, 15}); }
};

template <>
struct Simd<4> {
  using V = __m256d;
  using Index = long long __attribute__((vector_size(32)));
  QUOREL_SLEEF_ENTRIES(4)
  // (re, im) pairs <-> vectors of real and of imaginary parts, in element order.
  static V Even(V a, V b) QUOREL_BLOCK_INLINE { return __builtin_shuffle(a, b, Index{0, 2, 4, 6}); }
  static V Odd(V a, V b) QUOREL_BLOCK_INLINE { return __builtin_shuffle(a, b, Index{1, 3, 5, 7}); }
  static V Lo(V re, V im) QUOREL_BLOCK_INLINE { return __builtin_shuffle(re, im, Index{0, 4, 1, 5}); }
  static V Hi(V re, V im) QUOREL_BLOCK_INLINE { return __builtin_shuffle(re, im, Index{2, 6, 3, 7}); }
};

template <>
struct Simd<2> {
  using V = __m128d;
  using Index = long long __attribute__((vector_size(16)));
  QUOREL_SLEEF_ENTRIES(2)
  static V Even(V a, V b) QUOREL_BLOCK_INLINE { return __builtin_shuffle(a, b, Index{0, 2}); }
  static V Odd(V a, V b) QUOREL_BLOCK_INLINE { return __builtin_shuffle(a, b, Index{1, 3}); }
  static V Lo(V re, V im) QUOREL_BLOCK_INLINE { return __builtin_shuffle(re, im, Index{0, 2}); }
  static V Hi(V re, V im) QUOREL_BLOCK_INLINE { return __builtin_shuffle(re, im, Index{1, 3}); }
};

template <int W>
using Vec = typename Simd<W>::V;

template <int W>
QUOREL_KERNEL_INLINE Vec<W> Load(const double* p) {
  return detail::LoadVector<Vec<W>>(p);
}
template <int W>
QUOREL_KERNEL_INLINE void Store(double* p, Vec<W> v) {
  detail::StoreVector(p, v);
}
template <int W>
QUOREL_KERNEL_INLINE Vec<W> Splat(double s) {
  return Vec<W>{} + s;
}

// A complex vector as its real and imaginary parts.
template <int W>
struct CVec {
  Vec<W> re, im;
};
template <int W>
QUOREL_KERNEL_INLINE CVec<W> LoadC(const double* p) {
  const Vec<W> a = Load<W>(p), b = Load<W>(p + W);
  return {Simd<W>::Even(a, b), Simd<W>::Odd(a, b)};
}
template <int W>
QUOREL_KERNEL_INLINE void StoreC(double* p, CVec<W> z) {
  Store<W>(p, Simd<W>::Lo(z.re, z.im));
  Store<W>(p + W, Simd<W>::Hi(z.re, z.im));
}
template <int W>
QUOREL_KERNEL_INLINE CVec<W> MulC(CVec<W> a, CVec<W> b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
template <int W>
QUOREL_KERNEL_INLINE CVec<W> InvC(CVec<W> b) {
  const Vec<W> s = Splat<W>(1.0) / (b.re * b.re + b.im * b.im);
  return {b.re * s, -b.im * s};
}

// True when a lane of a comparison's result is set.
template <int W, class Mask>
QUOREL_KERNEL_INLINE bool AnyLane(Mask mask) {
  bool any = false;
  for (int k = 0; k < W; ++k) any |= mask[k] != 0;
  return any;
}

// Lanes of x beyond the point where e^|x| overflows but sinh and cosh need not: the value in
// extended precision (rare lanes, one at a time). sh or ch may be null.
template <int W>
QUOREL_KERNEL_INLINE void FixNearOverflow(Vec<W> x, Vec<W>* sh, Vec<W>* ch) {
  const Vec<W> a = x < 0.0 ? -x : x;
  const auto edge = a > detail::kHyperbolicEdge && a <= detail::kHyperbolicTop;
  if (!AnyLane<W>(edge)) return;
  for (int k = 0; k < W; ++k) {
    if (!edge[k]) continue;
    if (sh) (*sh)[k] = detail::SinhNearOverflow(x[k]);
    if (ch) (*ch)[k] = detail::CoshNearOverflow(x[k]);
  }
}

// sinh and cosh from one exponential, deliberately.
template <int W>
struct SinhCoshV {
  Vec<W> sh, ch;
};
template <int W>
QUOREL_KERNEL_INLINE SinhCoshV<W> SinhCoshOf(Vec<W> x) {
  const Vec<W> e = Simd<W>::kFn1[kExp](x);
  const Vec<W> r = Splat<W>(1.0) / e;
  SinhCoshV<W> h{(e - r) * 0.5, (e + r) * 0.5};
  FixNearOverflow<W>(x, &h.sh, &h.ch);
  return h;
}

// --- the loop driver ----------------------------------------------------------------------

// Runs block on groups of W elements of NI input and NO output streams; stream s holds
// kin[s] (kout[s]) doubles per element. The tail goes through the same block on a padded
// copy (padding repeats the tail's first element), so every element gets the same accuracy.
// A block reads all its inputs before it writes, which makes exact aliasing safe.
template <int W, std::size_t NI, std::size_t NO, class Block>
QUOREL_KERNEL_INLINE void Drive(std::array<const double*, NI> in, std::array<int, NI> kin,
                                std::array<double*, NO> out, std::array<int, NO> kout,
                                ptrdiff_t n, Block block) {
  ptrdiff_t i = 0;
  for (; i + W <= n; i += W) {
    std::array<const double*, NI> src;
    std::array<double*, NO> dst;
    for (std::size_t s = 0; s < NI; ++s) src[s] = in[s] + i * kin[s];
    for (std::size_t s = 0; s < NO; ++s) dst[s] = out[s] + i * kout[s];
    block(src, dst);
  }
  const ptrdiff_t m = n - i;
  if (m <= 0) return;
  alignas(32) double bin[NI][2 * W];
  alignas(32) double bout[NO][2 * W];
  std::array<const double*, NI> src;
  std::array<double*, NO> dst;
  for (std::size_t s = 0; s < NI; ++s) {
    for (int j = 0; j < W; ++j) {
      const ptrdiff_t e = j < m ? j : 0;
      for (int c = 0; c < kin[s]; ++c) bin[s][j * kin[s] + c] = in[s][(i + e) * kin[s] + c];
    }
    src[s] = bin[s];
  }
  for (std::size_t s = 0; s < NO; ++s) dst[s] = bout[s];
  block(src, dst);
  for (std::size_t s = 0; s < NO; ++s)
    for (ptrdiff_t j = 0; j < m * kout[s]; ++j) out[s][i * kout[s] + j] = bout[s][j];
}

using In1 = std::array<const double*, 1>;
using In2 = std::array<const double*, 2>;
using Out1 = std::array<double*, 1>;
using Out2 = std::array<double*, 2>;

// --- choice of the code path --------------------------------------------------------------

TKernelIsa DetectIsa() {
  __builtin_cpu_init();
  const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  // Every processor with DQ has the other three; the coders of the narrow formats use them all.
  const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw") &&
                      __builtin_cpu_supports("avx512cd");
  if (avx2 && avx512) return TKernelIsa::Avx512;
  return avx2 ? TKernelIsa::Avx2Fma : TKernelIsa::Sse2;
}
// Set while the library loads; a kernel called before that runs the SSE2 path.
TKernelIsa g_isa = DetectIsa();

template <class Op, class... A>
[[gnu::target("avx512f,avx512dq,avx512vl,avx2,fma")]] void RunAvx512(A... a) {
  Op::template Run<8>(a...);
}
template <class Op, class... A>
[[gnu::target("avx2,fma")]] void RunAvx2(A... a) {
  Op::template Run<4>(a...);
}
template <class Op, class... A>
void RunSse2(A... a) {
  Op::template Run<2>(a...);
}
// Calls Op::Run<W> built for the selected instruction set.
template <class Op, class... A>
void Run(A... a) {
  if (g_isa == TKernelIsa::Avx512) {
    RunAvx512<Op>(a...);
  } else if (g_isa == TKernelIsa::Avx2Fma) {
    RunAvx2<Op>(a...);
  } else {
    RunSse2<Op>(a...);
  }
}

// --- operations ---------------------------------------------------------------------------

template <Fn1 F>
struct UnaryOp {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const double* x, double* r, ptrdiff_t n) {
    Drive<W>(In1{x}, {1}, Out1{r}, {1}, n, [](const In1& s, const Out1& d) QUOREL_BLOCK_INLINE {
      Store<W>(d[0], Simd<W>::kFn1[F](Load<W>(s[0])));
    });
  }
};

// SLEEF's asinh and acosh overflow for arguments beyond about 1.3e154. There both equal
// ln(2|x|) (asinh with the sign of x; acosh is NaN for negative x) far below an ulp (the next term is 1/(4x^2)), taken from the 1-ulp logarithm:
// ln(2a) directly, or ln(a/2) + ln 4 where 2a would overflow (the sum stays in one binade).
template <Fn1 F>
struct LogOfTwiceForLargeOp {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const double* x, double* r, ptrdiff_t n) {
    Drive<W>(In1{x}, {1}, Out1{r}, {1}, n, [](const In1& s, const Out1& d) QUOREL_BLOCK_INLINE {
      using V = Vec<W>;
      const V v = Load<W>(s[0]);
      V y = Simd<W>::kFn1[F](v);
      const V a = v < 0.0 ? -v : v;
      const auto large = a > 0x1p500;
      if (AnyLane<W>(large)) {
        const auto top = a >= 0x1p1022;
        const V l = Simd<W>::kFn1[kLn](top ? a * 0.5 : a * 2.0);
        const V ln2a = top ? l + 2 * LN2 : l;
        // asinh is odd; acosh has no real value below 1
        const V below = F == kACosh ? Splat<W>(NAN) : -ln2a;
        y = large ? (v < 0.0 ? below : ln2a) : y;
      }
      Store<W>(d[0], y);
    });
  }
};

// --- our own kernels on the AVX-512 path ---------------------------------------------------
// SLEEF's 1-ulp variants are slower than they need to be on this path; ours (math_avx512.cpp)
// reach about 0.5 ulp with table lookups and short polynomials. The other paths keep SLEEF.

template <Fn1 F>
constexpr detail::TFastFn kFast = F == kLn      ? detail::TFastFn::Ln
                                  : F == kLog2  ? detail::TFastFn::Log2
                                  : F == kLog10 ? detail::TFastFn::Log10
                                  : F == kExp   ? detail::TFastFn::Exp
                                  : F == kExp2  ? detail::TFastFn::Exp2
                                  : F == kExp10 ? detail::TFastFn::Exp10
                                  : F == kSinh  ? detail::TFastFn::Sinh
                                  : F == kSin   ? detail::TFastFn::Sin
                                  : F == kCos   ? detail::TFastFn::Cos
                                  : F == kTan   ? detail::TFastFn::Tan
                                  : F == kTanh  ? detail::TFastFn::Tanh
                                  : F == kATan  ? detail::TFastFn::ATan
                                                : detail::TFastFn::Cosh;

template <Fn1 F>
struct FastUnaryOp {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const double* x, double* r, ptrdiff_t n) {
    if constexpr (W == 8) {
      detail::FastUnaryAvx512(kFast<F>, x, r, n);
    } else if constexpr (F == kSinh || F == kCosh) {
      Drive<W>(In1{x}, {1}, Out1{r}, {1}, n, [](const In1& s, const Out1& d) QUOREL_BLOCK_INLINE {
        const Vec<W> v = Load<W>(s[0]);
        Vec<W> y = Simd<W>::kFn1[F](v);
        FixNearOverflow<W>(v, F == kSinh ? &y : nullptr, F == kCosh ? &y : nullptr);
        Store<W>(d[0], y);
      });
    } else {
      UnaryOp<F>::template Run<W>(x, r, n);
    }
  }
};

struct ATan2Op {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const double* y, const double* x, double* r, ptrdiff_t n) {
    Drive<W>(In2{y, x}, {1, 1}, Out1{r}, {1}, n, [](const In2& s, const Out1& d) QUOREL_BLOCK_INLINE {
      Store<W>(d[0], Simd<W>::ATan2(Load<W>(s[0]), Load<W>(s[1])));
    });
  }
};

struct PowOp {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const double* a, const double* b, double* r, ptrdiff_t n) {
    if constexpr (W == 8) {
      detail::FastPowAvx512(a, b, r, n);
      return;
    }
    Drive<W>(In2{a, b}, {1, 1}, Out1{r}, {1}, n, [](const In2& s, const Out1& d) QUOREL_BLOCK_INLINE {
      Store<W>(d[0], Simd<W>::Pow(Load<W>(s[0]), Load<W>(s[1])));
    });
  }
};

struct PowxOp {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const double* x, double v, double* r, ptrdiff_t n) {
    if constexpr (W == 8) {
      detail::FastPowxAvx512(x, v, r, n);
      return;
    }
    const Vec<W> e = Splat<W>(v);
    Drive<W>(In1{x}, {1}, Out1{r}, {1}, n, [e](const In1& s, const Out1& d) QUOREL_BLOCK_INLINE {
      Store<W>(d[0], Simd<W>::Pow(Load<W>(s[0]), e));
    });
  }
};

struct SinCosOp {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const double* x, double* sn, double* cs, ptrdiff_t n) {
    Drive<W>(In1{x}, {1}, Out2{sn, cs}, {1, 1}, n, [](const In1& s, const Out2& d) QUOREL_BLOCK_INLINE {
      const auto sc = Simd<W>::SinCos(Load<W>(s[0]));
      Store<W>(d[0], sc.x);
      Store<W>(d[1], sc.y);
    });
  }
};

struct SinhCoshOp {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const double* x, double* sh, double* ch, ptrdiff_t n) {
    Drive<W>(In1{x}, {1}, Out2{sh, ch}, {1, 1}, n, [](const In1& s, const Out2& d) QUOREL_BLOCK_INLINE {
      const SinhCoshV<W> h = SinhCoshOf<W>(Load<W>(s[0]));
      Store<W>(d[0], h.sh);
      Store<W>(d[1], h.ch);
    });
  }
};

// 1/sqrt and 1/cbrt: the quotient of two correctly rounded or 1-ulp steps can be off by more
// than an ulp, so one Newton step follows, with the residual 1 - x*y^k formed exactly by
// fused multiply-adds (deliberate FMA use). Zeros, infinities and NaN keep the plain quotient.
QUOREL_KERNEL_INLINE double RefineInvSqrt(double x, double y0) {
  const double p = x * y0;
  const double ep = std::fma(x, y0, -p);
  const double e = std::fma(-p, y0, 1.0) - ep * y0;
  const double y = y0 + 0.5 * y0 * e;
  return x > 0.0 && x <= DBL_MAX ? y : y0;
}
QUOREL_KERNEL_INLINE double RefineInvCbrt(double x, double y0) {
  const double p = x * y0;
  const double ep = std::fma(x, y0, -p);
  const double q = p * y0;
  const double eq = std::fma(p, y0, -q);
  const double e = std::fma(-q, y0, 1.0) - (eq + ep * y0) * y0;
  const double y = y0 + y0 * e * (1.0 / 3.0);
  return std::fabs(x) <= DBL_MAX && x != 0.0 ? y : y0;
}

struct InvSqrtOp {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const double* x, double* r, ptrdiff_t n) {
    for (ptrdiff_t i = 0; i < n; ++i) r[i] = RefineInvSqrt(x[i], 1.0 / std::sqrt(x[i]));
  }
};

struct InvCbrtOp {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const double* x, double* r, ptrdiff_t n) {
    constexpr ptrdiff_t kBlock = 64;
    alignas(32) double c[kBlock];
    for (ptrdiff_t b = 0; b < n; b += kBlock) {
      const ptrdiff_t len = n - b < kBlock ? n - b : kBlock;
      UnaryOp<kCbrt>::Run<W>(x + b, c, len);
      for (ptrdiff_t j = 0; j < len; ++j) r[b + j] = RefineInvCbrt(x[b + j], 1.0 / c[j]);
    }
  }
};

// Complex element-wise functions: F maps (re, im) vectors to a complex vector.
template <class F>
struct ComplexOp {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const TCplx* x, TCplx* r, ptrdiff_t n) {
    Drive<W>(In1{detail::Parts(x)}, {2}, Out1{detail::Parts(r)}, {2}, n, [](const In1& s, const Out1& d) QUOREL_BLOCK_INLINE {
      const CVec<W> z = LoadC<W>(s[0]);
      StoreC<W>(d[0], F::template Of<W>(z.re, z.im));
    });
  }
};

// f * s, s the sine of `arg`: where arg is a zero, s is that signed zero and the product is a
// signed zero even when f has overflowed (inf * 0 would be NaN).
template <int W>
QUOREL_KERNEL_INLINE Vec<W> TimesSine(Vec<W> f, Vec<W> s, Vec<W> arg) {
  const Vec<W> big = Splat<W>(0x1.fffffffffffffp+1023);
  const Vec<W> finite = f > big ? big : (f < -big ? -big : f);
  return arg == 0.0 ? finite * s : f * s;
}

// sin, cos (kHyp false: of x + iy from the sine and cosine of x and the sinh and cosh of y) and
// sinh, cosh (kHyp true: the roles of x and y swapped).
template <bool kHyp, bool kCos>
struct CTrigF {
  template <int W>
  QUOREL_KERNEL_INLINE static CVec<W> Of(Vec<W> x, Vec<W> y) {
    const Vec<W> t = kHyp ? y : x;
    const auto sc = Simd<W>::SinCos(t);
    const SinhCoshV<W> h = SinhCoshOf<W>(kHyp ? x : y);
    if constexpr (kHyp) {
      return kCos ? CVec<W>{h.ch * sc.y, TimesSine<W>(h.sh, sc.x, t)} : CVec<W>{h.sh * sc.y, TimesSine<W>(h.ch, sc.x, t)};
    }
    return kCos ? CVec<W>{sc.y * h.ch, -TimesSine<W>(h.sh, sc.x, t)} : CVec<W>{TimesSine<W>(h.ch, sc.x, t), sc.y * h.sh};
  }
};
using CSinF = CTrigF<false, false>;
using CCosF = CTrigF<false, true>;
using CSinhF = CTrigF<true, false>;
using CCoshF = CTrigF<true, true>;
// tanh of a + ib for |a| beyond this is +-1 in double precision; the other part is
// sin 2b / (cosh 2a + cos 2b) = 4 sin b cos b e^(-2|a|) to well within an ulp.
inline constexpr double kTanhSaturated = 20.0;

// Lanes of a tangent-like quotient whose hyperbolic argument a has |a| > kTanhSaturated: the
// quotient's squared denominator overflows from |a| of about 355 on, so those lanes take the
// limit instead (unit: the part that tends to +-1; small: the other, from sin b and cos b).
template <int W>
QUOREL_KERNEL_INLINE void SaturateTanh(Vec<W> a, Vec<W> sb, Vec<W> cb, Vec<W>& unit, Vec<W>& small) {
  const Vec<W> abs = a < 0.0 ? -a : a;
  const auto big = abs > kTanhSaturated;
  if (!AnyLane<W>(big)) return;
  const Vec<W> e = Simd<W>::kFn1[kExp](-2.0 * abs);
  // Beyond the exponential's range the part is 0 even where sin b or cos b is not finite.
  const Vec<W> tail = e == 0.0 ? Splat<W>(0.0) : 4.0 * sb * cb * e;
  unit = big ? (a < 0.0 ? Splat<W>(-1.0) : Splat<W>(1.0)) : unit;
  small = big ? tail : small;
}

// tan and tanh as the quotient of sin and cos (sinh and cosh), each factor computed once.
struct CTanF {
  template <int W>
  QUOREL_KERNEL_INLINE static CVec<W> Of(Vec<W> x, Vec<W> y) {
    const auto sc = Simd<W>::SinCos(x);
    const SinhCoshV<W> h = SinhCoshOf<W>(y);
    CVec<W> t = MulC<W>(CVec<W>{sc.x * h.ch, sc.y * h.sh}, InvC<W>(CVec<W>{sc.y * h.ch, -(sc.x * h.sh)}));
    SaturateTanh<W>(y, sc.x, sc.y, t.im, t.re);
    return t;
  }
};
struct CTanhF {
  template <int W>
  QUOREL_KERNEL_INLINE static CVec<W> Of(Vec<W> x, Vec<W> y) {
    const auto sc = Simd<W>::SinCos(y);
    const SinhCoshV<W> h = SinhCoshOf<W>(x);
    CVec<W> t = MulC<W>(CVec<W>{h.sh * sc.y, h.ch * sc.x}, InvC<W>(CVec<W>{h.ch * sc.y, h.sh * sc.x}));
    SaturateTanh<W>(x, sc.x, sc.y, t.re, t.im);
    return t;
  }
};
// e^x beyond this overflows, though e^x cos y or e^x sin y may not.
inline constexpr double kExpOverflow = 0x1.62e42fefa39efp+9;

struct CExpF {
  template <int W>
  QUOREL_KERNEL_INLINE static CVec<W> Of(Vec<W> x, Vec<W> y) {
    const auto sc = Simd<W>::SinCos(y);
    const Vec<W> e = Simd<W>::kFn1[kExp](x);
    CVec<W> r{e * sc.y, TimesSine<W>(e, sc.x, y)};
    const auto over = x > kExpOverflow;
    if (AnyLane<W>(over)) {
      // e^(x/2) f e^(x/2): finite where the product is (about an ulp more rounding); a zero y
      // is its own imaginary part.
      const Vec<W> h = Simd<W>::kFn1[kExp](0.5 * x);
      r.re = over ? (h * sc.y) * h : r.re;
      r.im = over ? (y == 0.0 ? y : (h * sc.x) * h) : r.im;
    }
    return r;
  }
};

struct PhaseOp {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const TCplx* x, double* r, ptrdiff_t n) {
    Drive<W>(In1{detail::Parts(x)}, {2}, Out1{r}, {1}, n, [](const In1& s, const Out1& d) QUOREL_BLOCK_INLINE {
      const CVec<W> z = LoadC<W>(s[0]);
      Store<W>(d[0], Simd<W>::ATan2(z.im, z.re));
    });
  }
};

struct PolarToCartOp {
  template <int W>
  QUOREL_KERNEL_INLINE static void Run(const double* mag, const double* phase, TCplx* r, ptrdiff_t n) {
    Drive<W>(In2{mag, phase}, {1, 1}, Out1{detail::Parts(r)}, {2}, n, [](const In2& s, const Out1& d) QUOREL_BLOCK_INLINE {
      const Vec<W> m = Load<W>(s[0]);
      const auto sc = Simd<W>::SinCos(Load<W>(s[1]));
      StoreC<W>(d[0], CVec<W>{m * sc.y, m * sc.x});
    });
  }
};

}  // namespace

TKernelIsa KernelIsa() { return g_isa; }

bool SetKernelIsa(TKernelIsa isa) {
  if (static_cast<int>(isa) > static_cast<int>(DetectIsa())) return false;
  g_isa = isa;
  return true;
}

void Sin(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kSin>>(x, r, n); }
void Cos(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kCos>>(x, r, n); }
void Tan(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kTan>>(x, r, n); }
void SinCos(const double* x, double* s, double* c, ptrdiff_t n) { Run<SinCosOp>(x, s, c, n); }
void ArcSin(const double* x, double* r, ptrdiff_t n) { Run<UnaryOp<kASin>>(x, r, n); }
void ArcCos(const double* x, double* r, ptrdiff_t n) { Run<UnaryOp<kACos>>(x, r, n); }
void ArcTan(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kATan>>(x, r, n); }
void ArcTan2(const double* y, const double* x, double* r, ptrdiff_t n) { Run<ATan2Op>(y, x, r, n); }
void Sinh(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kSinh>>(x, r, n); }
void Cosh(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kCosh>>(x, r, n); }
void Tanh(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kTanh>>(x, r, n); }
void SinhCosh(const double* x, double* s, double* c, ptrdiff_t n) { Run<SinhCoshOp>(x, s, c, n); }
void ArcSinh(const double* x, double* r, ptrdiff_t n) { Run<LogOfTwiceForLargeOp<kASinh>>(x, r, n); }
void ArcCosh(const double* x, double* r, ptrdiff_t n) { Run<LogOfTwiceForLargeOp<kACosh>>(x, r, n); }
void ArcTanh(const double* x, double* r, ptrdiff_t n) { Run<UnaryOp<kATanh>>(x, r, n); }
void Exp(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kExp>>(x, r, n); }
void Ln(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kLn>>(x, r, n); }
void Log10(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kLog10>>(x, r, n); }
void Exp2(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kExp2>>(x, r, n); }
void Exp10(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kExp10>>(x, r, n); }
void Log2(const double* x, double* r, ptrdiff_t n) { Run<FastUnaryOp<kLog2>>(x, r, n); }
void Pow(const double* a, const double* b, double* r, ptrdiff_t n) { Run<PowOp>(a, b, r, n); }
void Powx(const double* x, double v, double* r, ptrdiff_t n) { Run<PowxOp>(x, v, r, n); }
void Cbrt(const double* x, double* r, ptrdiff_t n) { Run<UnaryOp<kCbrt>>(x, r, n); }
void InvSqrt(const double* x, double* r, ptrdiff_t n) { Run<InvSqrtOp>(x, r, n); }
void InvCbrt(const double* x, double* r, ptrdiff_t n) { Run<InvCbrtOp>(x, r, n); }

void Sin(const TCplx* x, TCplx* r, ptrdiff_t n) { Run<ComplexOp<CSinF>>(x, r, n); }
void Cos(const TCplx* x, TCplx* r, ptrdiff_t n) { Run<ComplexOp<CCosF>>(x, r, n); }
void Tan(const TCplx* x, TCplx* r, ptrdiff_t n) { Run<ComplexOp<CTanF>>(x, r, n); }
void Sinh(const TCplx* x, TCplx* r, ptrdiff_t n) { Run<ComplexOp<CSinhF>>(x, r, n); }
void Cosh(const TCplx* x, TCplx* r, ptrdiff_t n) { Run<ComplexOp<CCoshF>>(x, r, n); }
void Tanh(const TCplx* x, TCplx* r, ptrdiff_t n) { Run<ComplexOp<CTanhF>>(x, r, n); }
void Exp(const TCplx* x, TCplx* r, ptrdiff_t n) { Run<ComplexOp<CExpF>>(x, r, n); }

void Phase(const TCplx* x, double* r, ptrdiff_t n) { Run<PhaseOp>(x, r, n); }
void CartToPolar(const TCplx* x, double* mag, double* phase, ptrdiff_t n) {
  Phase(x, phase, n);
  Mag(x, mag, n);
}
void PolarToCart(const double* mag, const double* phase, TCplx* r, ptrdiff_t n) {
  Run<PolarToCartOp>(mag, phase, r, n);
}

namespace detail {

// Long double carries 11 bits beyond a double and its range holds e^|x|; the C library's
// sinhl/coshl are within an ulp of that format, so one rounding to double stays within 0.51 ulp.
double SinhNearOverflow(double x) { return static_cast<double>(sinhl(x)); }
double CoshNearOverflow(double x) { return static_cast<double>(coshl(x)); }

}  // namespace detail

}  // namespace quorel::kern
