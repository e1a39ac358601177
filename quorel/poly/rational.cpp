// Polynomial division, partial fractions of rational functions, and IIR filtering.
#include <algorithm>
#include <cmath>
#include <string>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/poly/detail/poly_util.h"
#include "quorel/poly/polynoms.h"

namespace quorel {

using namespace detail;

namespace {
// dst := src as complex numbers (a copy when src already is complex).
void ToComplex(const TVec& src, TVec& dst) {
  dst.Size(src.Length(), true);
  TCplx* d = Ptr<TCplx>(dst);
  OnKind(src.Complex(), [&](auto t) {
    using T = decltype(t);
    const T* s = Ptr<T>(src);
    for (std::int32_t i = 0; i < src.Length(); ++i) d[i] = ToCplx(s[i]);
  });
}

// dst := src, real when every imaginary part is below tol times the largest modulus.
void CopyMaybeReal(const TVec& src, TVec& dst, double tol) {
  const TCplx* s = Ptr<TCplx>(src);
  const std::int32_t n = src.Length();
  double big = 0, im = 0;
  for (std::int32_t i = 0; i < n; ++i) {
    big = std::max(big, std::hypot(s[i].Re, s[i].Im));
    im = std::max(im, std::fabs(s[i].Im));
  }
  if (im > tol * big) {
    dst.Copy(src);
    return;
  }
  TWorkVec re;
  re->Size(n, false);
  for (std::int32_t i = 0; i < n; ++i) *re->PValues(i) = s[i].Re;
  dst.Copy(*re);
}

// All Length(c) - 1 roots of the complex c (c[0] != 0). PolyRoots drops the zero roots when one
// non-zero root is left, so the zero roots are counted here.
void AllRoots(const TVec& c, TVec& roots) {
  const TCplx* pc = Ptr<TCplx>(c);
  std::int32_t n = c.Length();
  while (n > 1 && IsZero(pc[n - 1])) --n;
  const std::int32_t zeros = c.Length() - n;
  TWorkVec head, nz;
  head->Size(n, true);
  head->Copy(c, 0, 0, n);
  PolyRoots(*nz, *head);
  roots.Size(c.Length() - 1, true);
  TCplx* r = Ptr<TCplx>(roots);
  std::fill(r, r + zeros, TCplx{0, 0});
  std::copy(Ptr<TCplx>(*nz), Ptr<TCplx>(*nz) + (n - 1), r + zeros);
}

// Long division on complex or real arrays: num (length nb) is overwritten by the remainder, q
// (length nb - na + 1) receives the quotient.
template <Element T>
void Divide(T* num, std::int32_t nb, const T* den, std::int32_t na, T* q) {
  for (std::int32_t i = 0; i + na <= nb; ++i) {
    const T f = Div(num[i], den[0]);
    q[i] = f;
    num[i] = T{};
    for (std::int32_t j = 1; j < na; ++j) num[i + j] = Sub(num[i + j], Mul(f, den[j]));
  }
}
}  // namespace

void DeConv(const TVec& b, const TVec& a, TVec& q, TVec& r) {
  Require(b.Length() > 0 && a.Length() > 0, "DeConv: empty polynomial");
  const bool cplx = a.Complex() || b.Complex();
  const bool leadZero = OnKind(a.Complex(), [&](auto t) { return IsZero(*Ptr<decltype(t)>(a)); });
  Require(!leadZero, "DeConv: A[0] = 0");
  const std::int32_t nb = b.Length(), na = a.Length();
  TWorkVec num, den, quo;
  if (cplx) {
    ToComplex(b, *num);
    ToComplex(a, *den);
  } else {
    num->Copy(b);
    den->Copy(a);
  }
  if (nb < na) {
    quo->Size(1, cplx);
    OnKind(cplx, [&](auto t) { *Ptr<decltype(t)>(*quo) = {}; });
  } else {
    quo->Size(nb - na + 1, cplx);
    OnKind(cplx, [&](auto t) {
      using T = decltype(t);
      Divide(Ptr<T>(*num), nb, Ptr<T>(*den), na, Ptr<T>(*quo));
    });
  }
  // Both outputs are checked before the first is written.
  q.RequireSizable(*quo, quo->Complex());
  r.RequireSizable(*num, num->Complex());
  q.Copy(*quo);
  r.Copy(*num);
}

namespace {
// Poles closer than this, relative to their size (at least 1), are one repeated pole: the
// eigenvalues of a root of multiplicity m spread by about eps^(1/m) around it.
constexpr double kPoleGroupTol = 1e-3;

// c (n coefficients, descending) := its Taylor coefficients at x: c[n-1-k] = c^(k)(x) / k!, k < n,
// by repeated synthetic division. Written into t[0, m) for k < m.
void TaylorAt(TCplx* c, std::int32_t n, TCplx x, TCplx* t, std::int32_t m) {
  for (std::int32_t k = 0; k < m; ++k) {
    const std::int32_t len = n - k;
    if (len <= 0) {
      t[k] = {0, 0};
      continue;
    }
    for (std::int32_t i = 1; i < len; ++i) c[i] = CAdd(c[i], CMul(x, c[i - 1]));
    t[k] = c[len - 1];
  }
}

// c (length n + 1 after the call) := c (length n) times (s - x).
void MulLinear(TCplx* c, std::int32_t n, TCplx x) {
  c[n] = {0, 0};
  for (std::int32_t i = n; i > 0; --i) c[i] = CSub(c[i], CMul(x, c[i - 1]));
}
}  // namespace

void ResExtract(const TVec& b, const TVec& a, TVec& r, TVec& p, TVec& k) {
  Require(b.Length() > 0 && a.Length() > 0, "ResExtract: empty polynomial");
  TWorkVec ta, tb, poles, num, den, quo, groups;
  // Leading zeros of A would hide its degree; those of B do not matter.
  StripLeadZeros(a, *ta);
  Require(ta->Length() > 0, "ResExtract: A = 0");
  StripLeadZeros(b, *tb);
  ToComplex(*ta, *den);
  if (tb->Length() == 0) {
    num->Size(1, true);
    *num->PCValues(0) = {0, 0};
  } else {
    ToComplex(*tb, *num);
  }
  const std::int32_t na = den->Length(), nb = num->Length();

  // Direct term: the quotient; the proper remainder is left in num.
  if (nb >= na) {
    quo->Size(nb - na + 1, true);
    Divide(Ptr<TCplx>(*num), nb, Ptr<TCplx>(*den), na, Ptr<TCplx>(*quo));
  } else {
    quo->Size(0, true);
  }
  AllRoots(*den, *poles);
  const std::int32_t np = poles->Length();
  TCplx* pp = Ptr<TCplx>(*poles);

  // Group the roots: each group's members move next to each other and take the group's mean
  // (the mean of a perturbed multiple root is far more accurate than any member). groups[i] is
  // the multiplicity at the first entry of a group.
  groups->Size(np, false);
  double* mult = Ptr<double>(*groups);
  for (std::int32_t i = 0; i < np;) {
    std::int32_t end = i + 1;
    for (std::int32_t j = i + 1; j < np; ++j)
      if (Abs(Sub(pp[j], pp[i])) <= kPoleGroupTol * std::max(1.0, Abs(pp[i]))) std::swap(pp[j], pp[end++]);
    TCplx mean{0, 0};
    for (std::int32_t j = i; j < end; ++j) mean = CAdd(mean, pp[j]);
    mean = CMul(mean, 1.0 / (end - i));
    for (std::int32_t j = i; j < end; ++j) pp[j] = mean, mult[j] = 0;
    mult[i] = end - i;
    i = end;
  }

  // At a pole x of multiplicity m, A = (s - x)^m Q and G = B / Q: the coefficient of
  // 1/(s - x)^j is G^(m-j)(x) / (m-j)!, from the Taylor series of B and Q at x.
  TWorkVec res, qs, bs, series;
  res->Size(np, true);
  qs->Size(na, true);
  bs->Size(nb, true);
  series->Size(3 * std::max(np, 1), true);
  TCplx* pr = Ptr<TCplx>(*res);
  TCplx *q = Ptr<TCplx>(*qs), *bc = Ptr<TCplx>(*bs), *tq = Ptr<TCplx>(*series), *tbs = tq + np, *g = tbs + np;
  for (std::int32_t i = 0; i < np; i += static_cast<std::int32_t>(mult[i])) {
    const auto m = static_cast<std::int32_t>(mult[i]);
    const TCplx x = pp[i];
    std::int32_t nq = 1;
    q[0] = *den->PCValues(0);
    for (std::int32_t j = 0; j < np; j += static_cast<std::int32_t>(mult[j]))
      if (j != i)
        for (std::int32_t e = 0; e < static_cast<std::int32_t>(mult[j]); ++e) MulLinear(q, nq++, pp[j]);
    std::copy(Ptr<TCplx>(*num), Ptr<TCplx>(*num) + nb, bc);
    TaylorAt(q, nq, x, tq, m);
    TaylorAt(bc, nb, x, tbs, m);
    for (std::int32_t e = 0; e < m; ++e) {  // g = tb / tq as power series
      TCplx acc = tbs[e];
      for (std::int32_t f = 1; f <= e; ++f) acc = CSub(acc, CMul(tq[f], g[e - f]));
      g[e] = CDiv(acc, tq[0]);
    }
    for (std::int32_t j = 1; j <= m; ++j) pr[i + j - 1] = g[m - j];
  }
  r.Copy(*res);
  p.Copy(*poles);
  if (quo->Length() > 0 && !a.Complex() && !b.Complex()) CopyMaybeReal(*quo, k, 0);
  else k.Copy(*quo);
}

void ResCompose(const TVec& r, const TVec& p, const TVec& k, TVec& b, TVec& a) {
  Require(r.Length() == p.Length(), "ResCompose: R.Length <> P.Length");
  const std::int32_t np = p.Length();
  TWorkVec cp, cr, den, num, tmp, quo;
  ToComplex(p, *cp);
  ToComplex(r, *cr);
  PolyCoeff(*cp, *den);  // monic, degree np
  // Numerator: sum over the terms r / (s - x)^j of r A(s) / (s - x)^j, plus K(s) A(s).
  const std::int32_t nk = k.Length();
  const std::int32_t nn = std::max(np, np + nk);  // length of the numerator
  num->Size(nn, true);
  quo->Size(np + 1, true);
  TCplx* pn = Ptr<TCplx>(*num);
  TCplx* pq = Ptr<TCplx>(*quo);
  const TCplx* pa = Ptr<TCplx>(*den);
  const TCplx* ppole = Ptr<TCplx>(*cp);
  const TCplx* pres = Ptr<TCplx>(*cr);
  std::fill(pn, pn + nn, TCplx{0, 0});
  for (std::int32_t i = 0; i < np;) {
    // A run of equal entries is one pole; its j-th entry carries the term of power j.
    const TCplx x = ppole[i];
    std::copy(pa, pa + np + 1, pq);
    std::int32_t len = np + 1;
    for (std::int32_t j = i; j < np && ppole[j].Re == x.Re && ppole[j].Im == x.Im; ++j, ++i) {
      for (std::int32_t e = 1; e < len; ++e) pq[e] = CAdd(pq[e], CMul(x, pq[e - 1]));
      --len;  // exact division by (s - x): the remainder pq[len] is zero
      for (std::int32_t e = 0; e < len; ++e) pn[nn - len + e] = CAdd(pn[nn - len + e], CMul(pres[j], pq[e]));
    }
  }
  if (nk > 0) {
    ToComplex(k, *tmp);
    const TCplx* pk = Ptr<TCplx>(*tmp);
    for (std::int32_t i = 0; i < nk; ++i)
      for (std::int32_t j = 0; j <= np; ++j) pn[i + j] = CAdd(pn[i + j], CMul(pk[i], pa[j]));
  }
  CopyMaybeReal(*num, b, 1e-10);
  CopyMaybeReal(*den, a, 1e-10);
}

// --- IIR filtering -----------------------------------------------------------------------------------
namespace {
template <Element T>
void FilterDF2T(const T* b, const T* a, std::int32_t ns, const T* x, T* y, std::int32_t n, T* z) {
  // b and a hold ns + 1 coefficients normalised by a[0]; z holds the ns delays.
  for (std::int32_t i = 0; i < n; ++i) {
    const T xi = x[i];
    const T yi = ns > 0 ? Add(Mul(b[0], xi), z[0]) : Mul(b[0], xi);
    for (std::int32_t j = 0; j + 1 < ns; ++j) z[j] = Sub(Add(Mul(b[j + 1], xi), z[j + 1]), Mul(a[j + 1], yi));
    if (ns > 0) z[ns - 1] = Sub(Mul(b[ns], xi), Mul(a[ns], yi));
    y[i] = yi;
  }
}
}  // namespace

void IIRFilter(const TVec& b, const TVec& a, const TVec& x, TVec& y) { IIRFilter(b, a, x, y, nullptr, nullptr); }

void IIRFilter(const TVec& b, const TVec& a, const TVec& x, TVec& y, const TVec* zi, TVec* zf) {
  Require(a.Length() > 0 && b.Length() > 0, "IIRFilter: empty coefficients");
  const bool leadZero = OnKind(a.Complex(), [&](auto t) { return IsZero(*Ptr<decltype(t)>(a)); });
  Require(!leadZero, "IIRFilter: A[0] = 0");
  const std::int32_t ns = std::max(a.Length(), b.Length()) - 1;
  if (zi) Require(zi->Length() == ns, "IIRFilter: Zi.Length <> state length");
  const bool cplx = a.Complex() || b.Complex() || x.Complex() || (zi && zi->Complex());
  TWorkVec cb, ca, cx, cz, out;
  for (TVec* v : {cb.get(), ca.get(), cz.get()}) {
    v->Size(ns + 1, cplx);
    OnKind(cplx, [&](auto t) {
      using T = decltype(t);
      std::fill(Ptr<T>(*v), Ptr<T>(*v) + ns + 1, T{});
    });
  }
  // Widen every input to the common kind; coefficients padded with zeros to ns + 1.
  auto widen = [&](const TVec& src, TVec& dst) {
    OnKind(cplx, [&](auto t) {
      using T = decltype(t);
      T* d = Ptr<T>(dst);
      OnKind(src.Complex(), [&](auto s) {
        using S = decltype(s);
        const S* ps = Ptr<S>(src);
        for (std::int32_t i = 0; i < src.Length(); ++i) {
          if constexpr (IsCplx<T>) d[i] = ToCplx(ps[i]);
          else if constexpr (!IsCplx<S>) d[i] = ps[i];
        }
      });
    });
  };
  widen(b, *cb);
  widen(a, *ca);
  if (zi) widen(*zi, *cz);
  const TVec* px = &x;
  if (cplx && !x.Complex()) {
    ToComplex(x, *cx);
    px = cx.get();
  }
  out->Size(x.Length(), cplx);
  OnKind(cplx, [&](auto t) {
    using T = decltype(t);
    T* pb = Ptr<T>(*cb);
    T* pa = Ptr<T>(*ca);
    const T a0 = pa[0];
    for (std::int32_t i = 0; i <= ns; ++i) {
      pb[i] = Div(pb[i], a0);
      pa[i] = Div(pa[i], a0);
    }
    FilterDF2T(pb, pa, ns, Ptr<T>(*px), Ptr<T>(*out), x.Length(), Ptr<T>(*cz));
  });
  // Both outputs are checked before the first is written.
  y.RequireSizable(*out, cplx);
  if (zf) zf->RequireSizable(ns, cplx);
  y.Copy(*out);
  if (zf) {
    zf->Size(ns, cplx);  // Size does not keep values, so copy the ns delays explicitly
    zf->Copy(*cz, 0, 0, ns);
  }
}

}  // namespace quorel
