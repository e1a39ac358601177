// Evaluation of polynomials by Horner's rule.
#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/poly/detail/poly_util.h"
#include "quorel/poly/polynoms.h"

namespace quorel {

using namespace detail;

double PolyEval(double x, const TVec& coeff) {
  if (coeff.Complex()) throw Exception("Coeff.Complex = True");
  return Horner(x, Ptr<double>(coeff), coeff.Length());
}

TCplx PolyEval(const TCplx& x, const TVec& coeff) {
  return OnKind(coeff.Complex(), [&](auto t) {
    using T = decltype(t);
    return Horner(x, Ptr<T>(coeff), coeff.Length());
  });
}

namespace {
// out[i] := c at x[i] for n points; X is the point type, R the result type.
template <Element R>
void EvalPoints(const TVec& x, const void* cRaw, bool cCplx, std::int32_t nc, R* out) {
  const std::int32_t n = x.Length();
  OnKind(x.Complex(), [&](auto tx) {
    using X = decltype(tx);
    OnKind(cCplx, [&](auto tc) {
      using C = decltype(tc);
      const X* px = Ptr<X>(x);
      const C* c = static_cast<const C*>(cRaw);
      for (std::int32_t i = 0; i < n; ++i) {
        if constexpr (IsCplx<R>) out[i] = Horner(ToCplx(px[i]), c, nc);
        else if constexpr (!IsCplx<X> && !IsCplx<C>) out[i] = Horner(px[i], c, nc);
      }
    });
  });
}
}  // namespace

void PolyEval(const TVec& x, const TVec& coeff, TVec& result) {
  const bool cplx = x.Complex() || coeff.Complex();
  TWorkVec r;
  r->Size(x.Length(), cplx);
  OnKind(cplx, [&](auto t) {
    using R = decltype(t);
    EvalPoints<R>(x, Ptr<double>(coeff), coeff.Complex(), coeff.Length(), Ptr<R>(*r));
  });
  result.Copy(*r);
}

void PolyEval(const TVec& x, const TMtx& coeffs, TMtx& result) {
  const bool cplx = x.Complex() || coeffs.Complex();
  const std::int32_t rows = coeffs.Rows(), n = x.Length(), nc = coeffs.Cols();
  TWorkMtx r;
  r->Size(rows, n, cplx);
  OnKind(cplx, [&](auto t) {
    using R = decltype(t);
    for (std::int32_t k = 0; k < rows; ++k) {
      const double* row = coeffs.Complex() ? reinterpret_cast<const double*>(coeffs.PCValues(k, 0)) : coeffs.PValues(k, 0);
      EvalPoints<R>(x, row, coeffs.Complex(), nc, Ptr<R>(*r, std::int64_t{k} * n));
    }
  });
  result.Copy(*r);
}

}  // namespace quorel
