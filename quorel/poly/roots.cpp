// Roots and coefficients of polynomials; trimming of zero coefficients.
#include <algorithm>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/poly/detail/poly_util.h"
#include "quorel/poly/polynoms.h"

namespace quorel {

using namespace detail;

namespace {
template <Element T>
void FindNonZero(const TVec& v, std::int32_t& first, std::int32_t& last) {
  const T* p = Ptr<T>(v);
  const std::int32_t n = v.Length();
  first = 0;
  while (first < n && IsZero(p[first])) ++first;
  if (first == n) {
    first = last = -1;
    return;
  }
  last = n - 1;
  while (IsZero(p[last])) --last;
}
// dst := src[from .. from + len - 1]; dst may be src.
void CopyRange(const TVec& src, std::int32_t from, std::int32_t len, TVec& dst) {
  TWorkVec t;
  t->Size(len, src.Complex());
  t->Copy(src, from, 0, len);
  dst.Copy(*t);
}
}  // namespace

void StripZeros(const TVec& src, TVec& dst, std::int32_t& first, std::int32_t& last) {
  std::int32_t f, l;
  OnKind(src.Complex(), [&](auto t) { FindNonZero<decltype(t)>(src, f, l); });
  if (f < 0) dst.Size(0, src.Complex());
  else CopyRange(src, f, l - f + 1, dst);
  first = f;
  last = l;
}

void StripLeadZeros(const TVec& src, TVec& dst) {
  const std::int32_t n = src.Length();
  std::int32_t lead = OnKind(src.Complex(), [&](auto t) {
    using T = decltype(t);
    const T* p = Ptr<T>(src);
    std::int32_t i = 0;
    while (i < n && IsZero(p[i])) ++i;
    return i;
  });
  if (lead == n) dst.Size(0, src.Complex());
  else CopyRange(src, lead, n - lead, dst);
}

void PolyRoots(TVec& roots, const TVec& poly) {
  const std::int32_t len = poly.Length();
  const bool cplx = poly.Complex();
  TWorkVec p, d;
  TWorkMtx companion;
  std::int32_t first, last;
  StripZeros(poly, *p, first, last);
  const std::int32_t n = p->Length();
  if (n < 2) {
    roots.Size(0, true);
    return;
  }
  if (n == 2) {
    // Degree one: -p1/p0 from the unnormalised coefficients, the trailing-zero roots dropped.
    OnKind(cplx, [&](auto t) {
      using T = decltype(t);
      const T* c = Ptr<T>(*p);
      const T root = Div(Sub(T{}, c[1]), c[0]);
      roots.Size(1, cplx);
      *Ptr<T>(roots) = root;
    });
    return;
  }
  // Normalise to -p / p0: the first row of the companion matrix.
  OnKind(cplx, [&](auto t) {
    using T = decltype(t);
    T* c = Ptr<T>(*p);
    const T scale = Div(FromReal<T>(-1.0), c[0]);
    for (std::int32_t i = 0; i < n; ++i) c[i] = Mul(c[i], scale);
    const std::int32_t m = n - 1;
    companion->Size(m, m, cplx);
    T* a = Ptr<T>(*companion);
    std::fill(a, a + std::int64_t{m} * m, T{});
    for (std::int32_t j = 0; j < m; ++j) a[j] = c[j + 1];
    for (std::int32_t i = 1; i < m; ++i) a[std::int64_t{i} * m + i - 1] = FromReal<T>(1.0);
  });
  companion->Eig(*d, mtGeneral);
  const std::int32_t zeros = len - last - 1;
  roots.Size(len - 1, true);
  TCplx* r = Ptr<TCplx>(roots);
  std::fill(r, r + (len - 1), TCplx{0, 0});
  const TCplx* ev = Ptr<TCplx>(*d);
  std::copy(ev, ev + d->Length(), r + zeros);
}

void PolyCoeff(const TVec& roots, TVec& coeff) {
  const std::int32_t n = roots.Length();
  const bool cplx = roots.Complex();
  TWorkVec c;
  c->Size(n + 1, cplx);
  OnKind(cplx, [&](auto t) {
    using T = decltype(t);
    const T* r = Ptr<T>(roots);
    T* pc = Ptr<T>(*c);
    std::fill(pc, pc + n + 1, T{});
    pc[0] = FromReal<T>(1.0);
    // Multiply by (x - r_k) in place, from the back so each old coefficient is read before it is overwritten.
    for (std::int32_t k = 0; k < n; ++k)
      for (std::int32_t i = k + 1; i >= 1; --i) pc[i] = Sub(pc[i], Mul(pc[i - 1], r[k]));
  });
  coeff.Copy(*c);
}

void PolyCoeff(const TMtx& a, TVec& coeff) {
  Require(a.Rows() == a.Cols(), "PolyCoeff: A is not square");
  if (a.Rows() == 0) {
    coeff.Size(1, false);
    *coeff.PValues(0) = 1;
    return;
  }
  TWorkMtx m;
  TWorkVec ev;
  m->Copy(a);
  m->Eig(*ev, mtGeneral);
  TWorkVec c;
  PolyCoeff(*ev, *c);
  if (!a.Complex() && c->Complex()) {
    // Conjugate pairs: the exact coefficients are real, drop the rounding left in the imaginary parts.
    TVec& out = *c;
    const std::int32_t n = out.Length();
    TWorkVec re;
    re->Size(n, false);
    for (std::int32_t i = 0; i < n; ++i) *re->PValues(i) = out.PCValues(i)->Re;
    coeff.Copy(*re);
    return;
  }
  coeff.Copy(*c);
}

}  // namespace quorel
