#include "quorel/platform/kernels/arith.h"

#include <emmintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "quorel/platform/kernels/loops.h"

namespace quorel::kern {

using detail::CDiv;
using detail::CInv;
using detail::CMul;
using detail::CNorm;
using detail::Map;
using std::ptrdiff_t;

// The cache-friendly loops behind Add, Sub, Mul and Div of real arrays. Clones are declared as
// such before their first use (clang insists).
QUOREL_KERNEL_WIDE void AddCached(const double* a, const double* b, double* r, ptrdiff_t n);
QUOREL_KERNEL_WIDE void SubCached(const double* a, const double* b, double* r, ptrdiff_t n);
QUOREL_KERNEL_WIDE void MulCached(const double* a, const double* b, double* r, ptrdiff_t n);
QUOREL_KERNEL_WIDE void DivCached(const double* a, const double* b, double* r, ptrdiff_t n);
QUOREL_KERNEL void MulCachedC(const TCplx* a, const TCplx* b, TCplx* r, ptrdiff_t n);

// --- long arrays: results past the caches ------------------------------------------------

namespace {

// From 8 MB per array on, the result cannot stay in the caches anyway: storing it around them
// (non-temporal stores) saves reading each destination line before it is overwritten.
constexpr ptrdiff_t kStreamMin = ptrdiff_t{1} << 20;

bool Streams(const double* a, const double* b, const double* r, ptrdiff_t n) {
  const auto apart = [n](const double* x, const double* y) { return x + n <= y || y + n <= x; };
  return n >= kStreamMin && reinterpret_cast<std::uintptr_t>(r) % 8 == 0 && apart(r, a) && apart(r, b);
}

// r[i] = f(a[i], b[i]) with streaming stores of whole cache lines; f takes doubles and pairs.
template <class F>
void StreamMap(const double* a, const double* b, double* r, ptrdiff_t n, F f) {
  using V2 = double __attribute__((vector_size(16)));
  ptrdiff_t i = 0;
  for (; i < n && reinterpret_cast<std::uintptr_t>(r + i) % 64 != 0; ++i) r[i] = f(a[i], b[i]);
  for (; i + 8 <= n; i += 8) {
    for (int k = 0; k < 8; k += 2) {
      V2 x, y;
      std::memcpy(&x, a + i + k, sizeof x);
      std::memcpy(&y, b + i + k, sizeof y);
      _mm_stream_pd(r + i + k, f(x, y));
    }
  }
  _mm_sfence();
  for (; i < n; ++i) r[i] = f(a[i], b[i]);
}

// Complex products streamed the same way, two products per cache-line half.
bool StreamsC(const TCplx* a, const TCplx* b, const TCplx* r, ptrdiff_t n) {
  return reinterpret_cast<std::uintptr_t>(r) % 16 == 0 && Streams(detail::Parts(a), detail::Parts(b), detail::Parts(r), 2 * n);
}
void StreamMulC(const TCplx* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  using V2 = double __attribute__((vector_size(16)));
  ptrdiff_t i = 0;
  for (; i < n && reinterpret_cast<std::uintptr_t>(r + i) % 64 != 0; ++i) r[i] = CMul(a[i], b[i]);
  for (; i + 4 <= n; i += 4) {
    for (int k = 0; k < 4; ++k) {
      const TCplx z = CMul(a[i + k], b[i + k]);
      _mm_stream_pd(detail::Parts(r + i + k), V2{z.Re, z.Im});
    }
  }
  _mm_sfence();
  for (; i < n; ++i) r[i] = CMul(a[i], b[i]);
}

constexpr auto kPlus = [](auto x, auto y) { return x + y; };
constexpr auto kMinus = [](auto x, auto y) { return x - y; };
constexpr auto kTimes = [](auto x, auto y) { return x * y; };
constexpr auto kOver = [](auto x, auto y) { return x / y; };

}  // namespace

void Add(const double* a, const double* b, double* r, ptrdiff_t n) {
  if (Streams(a, b, r, n)) return StreamMap(a, b, r, n, kPlus);
  AddCached(a, b, r, n);
}
void Sub(const double* a, const double* b, double* r, ptrdiff_t n) {
  if (Streams(a, b, r, n)) return StreamMap(a, b, r, n, kMinus);
  SubCached(a, b, r, n);
}
void Mul(const double* a, const double* b, double* r, ptrdiff_t n) {
  if (Streams(a, b, r, n)) return StreamMap(a, b, r, n, kTimes);
  MulCached(a, b, r, n);
}
void Div(const double* a, const double* b, double* r, ptrdiff_t n) {
  if (Streams(a, b, r, n)) return StreamMap(a, b, r, n, kOver);
  DivCached(a, b, r, n);
}

// --- array with array ---------------------------------------------------------------------

QUOREL_KERNEL_WIDE void AddCached(const double* a, const double* b, double* r, ptrdiff_t n) {
  Map(a, b, r, n, [](double x, double y) { return x + y; });
}
// Part by part, complex sums and differences are the real ones on twice the length.
void Add(const TCplx* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  Add(detail::Parts(a), detail::Parts(b), detail::Parts(r), 2 * n);
}
QUOREL_KERNEL_PAIRS void Add(const TCplx* a, const double* b, TCplx* r, ptrdiff_t n) {
  Map(a, b, r, n, [](TCplx x, double y) { return TCplx{x.Re + y, x.Im}; });
}
QUOREL_KERNEL_PAIRS void Add(const double* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  Map(a, b, r, n, [](double x, TCplx y) { return TCplx{x + y.Re, y.Im}; });
}

QUOREL_KERNEL_WIDE void SubCached(const double* a, const double* b, double* r, ptrdiff_t n) {
  Map(a, b, r, n, [](double x, double y) { return x - y; });
}
void Sub(const TCplx* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  Sub(detail::Parts(a), detail::Parts(b), detail::Parts(r), 2 * n);
}
QUOREL_KERNEL_PAIRS void Sub(const TCplx* a, const double* b, TCplx* r, ptrdiff_t n) {
  Map(a, b, r, n, [](TCplx x, double y) { return TCplx{x.Re - y, x.Im}; });
}
QUOREL_KERNEL_PAIRS void Sub(const double* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  Map(a, b, r, n, [](double x, TCplx y) { return TCplx{x - y.Re, -y.Im}; });
}

QUOREL_KERNEL_WIDE void MulCached(const double* a, const double* b, double* r, ptrdiff_t n) {
  Map(a, b, r, n, [](double x, double y) { return x * y; });
}
QUOREL_KERNEL void MulCachedC(const TCplx* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  Map(a, b, r, n, CMul);
}
void Mul(const TCplx* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  if (StreamsC(a, b, r, n)) return StreamMulC(a, b, r, n);
  MulCachedC(a, b, r, n);
}
QUOREL_KERNEL_PAIRS void Mul(const TCplx* a, const double* b, TCplx* r, ptrdiff_t n) {
  Map(a, b, r, n, [](TCplx x, double y) { return TCplx{x.Re * y, x.Im * y}; });
}
QUOREL_KERNEL_PAIRS void Mul(const double* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  Map(a, b, r, n, [](double x, TCplx y) { return TCplx{x * y.Re, x * y.Im}; });
}

QUOREL_KERNEL_WIDE void DivCached(const double* a, const double* b, double* r, ptrdiff_t n) {
  Map(a, b, r, n, [](double x, double y) { return x / y; });
}
QUOREL_KERNEL void Div(const TCplx* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  Map(a, b, r, n, CDiv);
}
QUOREL_KERNEL void Div(const TCplx* a, const double* b, TCplx* r, ptrdiff_t n) {
  Map(a, b, r, n, [](TCplx x, double y) { return TCplx{x.Re / y, x.Im / y}; });
}
QUOREL_KERNEL_PAIRS void Div(const double* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  Map(a, b, r, n, [](double x, TCplx y) {
    const double s = 1.0 / CNorm(y);
    return TCplx{x * y.Re * s, -(x * y.Im) * s};
  });
}

// --- array with scalar --------------------------------------------------------------------

QUOREL_KERNEL_WIDE void AddValue(const double* x, double v, double* r, ptrdiff_t n) {
  Map(x, r, n, [v](double a) { return a + v; });
}
QUOREL_KERNEL void AddValue(const TCplx* x, double v, TCplx* r, ptrdiff_t n) {
  detail::MapParts(x, r, n, [v](double re) { return re + v; }, [](double im) { return im; });
}
QUOREL_KERNEL void AddValue(const TCplx* x, TCplx v, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [v](TCplx a) { return TCplx{a.Re + v.Re, a.Im + v.Im}; });
}
QUOREL_KERNEL void AddValue(const double* x, TCplx v, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [v](double a) { return TCplx{a + v.Re, v.Im}; });
}

QUOREL_KERNEL_WIDE void SubFromValue(const double* x, double v, double* r, ptrdiff_t n) {
  Map(x, r, n, [v](double a) { return v - a; });
}
QUOREL_KERNEL void SubFromValue(const TCplx* x, double v, TCplx* r, ptrdiff_t n) {
  detail::MapParts(x, r, n, [v](double re) { return v - re; }, [](double im) { return -im; });
}
QUOREL_KERNEL void SubFromValue(const TCplx* x, TCplx v, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [v](TCplx a) { return TCplx{v.Re - a.Re, v.Im - a.Im}; });
}
QUOREL_KERNEL void SubFromValue(const double* x, TCplx v, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [v](double a) { return TCplx{v.Re - a, v.Im}; });
}

QUOREL_KERNEL_WIDE void ScaleByValue(const double* x, double v, double* r, ptrdiff_t n) {
  Map(x, r, n, [v](double a) { return a * v; });
}
QUOREL_KERNEL void ScaleByValue(const TCplx* x, double v, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [v](TCplx a) { return TCplx{a.Re * v, a.Im * v}; });
}
QUOREL_KERNEL void ScaleByValue(const TCplx* x, TCplx v, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [v](TCplx a) { return CMul(a, v); });
}
QUOREL_KERNEL_PAIRS void ScaleByValue(const double* x, TCplx v, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [v](double a) { return TCplx{a * v.Re, a * v.Im}; });
}

QUOREL_KERNEL_WIDE void DivByValue(const double* x, double v, double* r, ptrdiff_t n) {
  Map(x, r, n, [v](double a) { return a / v; });
}
QUOREL_KERNEL void DivByValue(const TCplx* x, double v, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [v](TCplx a) { return TCplx{a.Re / v, a.Im / v}; });
}

QUOREL_KERNEL void DivideValue(const double* x, double v, double* r, ptrdiff_t n) {
  Map(x, r, n, [v](double a) { return v / a; });
}
QUOREL_KERNEL_PAIRS void DivideValue(const TCplx* x, double v, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [v](TCplx a) {
    const double s = 1.0 / CNorm(a);
    return TCplx{v * a.Re * s, -(v * a.Im) * s};
  });
}
QUOREL_KERNEL void DivideValue(const TCplx* x, TCplx v, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [v](TCplx a) { return CDiv(v, a); });
}
QUOREL_KERNEL void DivideValue(const double* x, TCplx v, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [v](double a) { return TCplx{v.Re / a, v.Im / a}; });
}

// --- products, powers, reciprocals --------------------------------------------------------

QUOREL_KERNEL void AddProduct(const double* a, const double* b, double* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = r[i] + a[i] * b[i];
}
QUOREL_KERNEL void AddProduct(const TCplx* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) {
    const TCplx p = CMul(a[i], b[i]);
    r[i] = TCplx{r[i].Re + p.Re, r[i].Im + p.Im};
  }
}

QUOREL_KERNEL void Sqr(const double* x, double* r, ptrdiff_t n) {
  Map(x, r, n, [](double a) { return a * a; });
}
QUOREL_KERNEL_PAIRS void Sqr(const TCplx* x, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [](TCplx a) { return TCplx{a.Re * a.Re - a.Im * a.Im, 2.0 * a.Re * a.Im}; });
}

QUOREL_KERNEL void Sqrt(const double* x, double* r, ptrdiff_t n) {
  Map(x, r, n, [](double a) { return std::sqrt(a); });
}
QUOREL_KERNEL void Sqrt(const TCplx* x, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [](TCplx z) {
    const double t = std::sqrt((std::sqrt(CNorm(z)) + std::fabs(z.Re)) * 0.5);
    const double h = 0.5 / t;
    const TCplx w = z.Re >= 0.0 ? TCplx{t, z.Im * h} : TCplx{std::fabs(z.Im) * h, z.Im < 0.0 ? -t : t};
    return t == 0.0 ? TCplx{0.0, 0.0} : w;
  });
}

QUOREL_KERNEL bool NormsInRange(const TCplx* x, ptrdiff_t n) {
  bool all = true;
  for (ptrdiff_t i = 0; i < n; ++i) all &= detail::NormInRange(x[i]);
  return all;
}

QUOREL_KERNEL void Inv(const double* x, double* r, ptrdiff_t n) {
  Map(x, r, n, [](double a) { return 1.0 / a; });
}
QUOREL_KERNEL void LTInv(const double* x, double level, double* r, ptrdiff_t n) {
  Map(x, r, n, [level](double a) { return 1.0 / (std::fabs(a) < level ? std::copysign(level, a) : a); });
}
QUOREL_KERNEL void LTInv(const TCplx* x, double level, TCplx* r, ptrdiff_t n) {
  detail::MapUnlessRare(
      x, r, n, detail::NormInRange,
      [level](TCplx z) {
        const double m = std::sqrt(CNorm(z));
        return CInv(detail::ToModulus(z, m, level, m < level));
      },
      [level](TCplx z) {
        // Here 1/z is formed through the modulus, whose square is out of range.
        const double m = std::hypot(z.Re, z.Im);
        const TCplx w = detail::ToModulusWide(z, m, level, m < level);
        const double mw = m < level ? level : m;
        return TCplx{w.Re / mw / mw, -w.Im / mw / mw};
      });
}

QUOREL_KERNEL void Abs(const double* x, double* r, ptrdiff_t n) {
  Map(x, r, n, [](double a) { return std::fabs(a); });
}

QUOREL_KERNEL void Normalize(const double* x, double sub, double div, double* r, ptrdiff_t n) {
  Map(x, r, n, [sub, div](double a) { return (a - sub) / div; });
}
QUOREL_KERNEL void Normalize(const TCplx* x, TCplx sub, double div, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [sub, div](TCplx a) { return TCplx{(a.Re - sub.Re) / div, (a.Im - sub.Im) / div}; });
}
QUOREL_KERNEL void Normalize(const TCplx* x, TCplx sub, TCplx div, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [sub, div](TCplx a) { return CDiv(TCplx{a.Re - sub.Re, a.Im - sub.Im}, div); });
}

}  // namespace quorel::kern
