// Functions of a matrix through its eigen-decomposition, integer powers, the Sylvester equation.
#include <complex>
#include <cstdlib>

#include "quorel/core/detail/checks.h"
#include "quorel/dense/detail/lapack_util.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/fpu_scope.h"
#include "quorel/platform/lapack/lapack_eig.h"

namespace quorel {

using namespace detail;

namespace {

// Column k of m scaled by d[k] (m and d both complex, or both real).
void ScaleColumns(TMtx& m, const TVec& d) {
  OnKind(m.Complex(), [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < m.Rows(); ++i)
      for (std::int32_t k = 0; k < m.Cols(); ++k) {
        T& x = Ptr<T>(m)[std::int64_t{i} * m.LeadingCols() + k];
        const T s = Ptr<T>(d)[k];
        if constexpr (lapack::kComplex<T>) x = {x.Re * s.Re - x.Im * s.Im, x.Re * s.Im + x.Im * s.Re};
        else x *= s;
      }
  });
}

void PowerOfValues(TVec& values, std::span<const TCplx> params) {
  if (params.size() != 1) ERaise("Power: Length(Params) <> 1");
  const std::complex<double> e(params[0].Re, params[0].Im);
  for (std::int32_t i = 0; i < values.Length(); ++i) {
    TCplx& z = *values.PCValues(i);
    // A zero eigenvalue: the complex pow goes through log 0 and gives NaN even where 0^e is 1
    // (e = 0, so that A^0 = I for singular A too) or 0 (Re e > 0).
    if (z.Re == 0 && z.Im == 0 && (e == 0.0 || e.real() > 0)) {
      z = {e == 0.0 ? 1.0 : 0.0, 0};
      continue;
    }
    const std::complex<double> r = std::pow(std::complex<double>(z.Re, z.Im), e);
    z = {r.real(), r.imag()};
  }
}

// out := base^n (n >= 1) by the squaring loop: odd n takes one factor of the running square
// into the result, even n squares it.
void SquaringPower(const TMtx& base, std::int64_t n, TMtx& out) {
  TWorkMtx s, r, t;
  TMtx *ps = s.get(), *pr = r.get(), *pt = t.get();
  ps->Copy(base);
  bool first = true;
  while (n != 0) {
    if (n % 2 != 0) {
      --n;
      if (first) pr->Copy(*ps), first = false;
      else pt->Mul(*pr, *ps, opNone, opNone), std::swap(pr, pt);
    } else {
      n /= 2;
      pt->Mul(*ps, *ps, opNone, opNone);
      std::swap(ps, pt);
    }
  }
  out.Copy(*pr);
}

}  // namespace

TMtx& TMtx::MtxFunction(const TMtx& src, std::span<const TCplx> params, TMtxFunction func, TMtxType mtxType) {
  Require(src.Quadratic(), "not Src.Quadratic");
  TWorkMtx e, v, w;
  TWorkVec d;
  e->Assign(src);
  if (e->AutoMtxType()) mtxType = e->DetectMtxType(false);
  e->SetAutoMtxType(false);
  const bool symmetric = mtxType != mtGeneral && mtxType != mtTriangle;
  e->Eig(nullptr, *d, v.get(), mtxType, vfEig);
  if (!d->Complex()) d->ExtendToComplex(true);
  func(*d, params);
  bool realValues = true;
  for (std::int32_t i = 0; i < d->Length(); ++i) realValues = realValues && d->PCValues(i)->Im == 0;
  if (symmetric && !v->Complex() && realValues) {
    TWorkVec re;
    re->Size(d->Length(), false);
    for (std::int32_t i = 0; i < d->Length(); ++i) *re->PValues(i) = d->PCValues(i)->Re;
    w->Copy(*v);
    ScaleColumns(*w, *re);
    Mul(*w, *v, opNone, opTran);
    return *this;
  }
  if (!v->Complex()) v->ExtendToComplex(true);
  w->Copy(*v);
  ScaleColumns(*w, *d);
  if (symmetric) {
    Mul(*w, *v, opNone, opHerm);
  } else {
    v->Inv(mtGeneral);
    Mul(*w, *v, opNone, opNone);
  }
  return *this;
}

TMtx& TMtx::MtxPower(const TMtx& src, const TCplx& exponent, TMtxType mtxType) {
  const TCplx params[1] = {exponent};
  return MtxFunction(src, params, PowerOfValues, mtxType);
}

TMtx& TMtx::MtxPower(const TMtx& src, double exponent, TMtxType mtxType) {
  return MtxPower(src, TCplx{exponent, 0}, mtxType);
}

TMtx& TMtx::MtxSqrt(const TMtx& src, TMtxType mtxType) { return MtxPower(src, 0.5, mtxType); }

TMtx& TMtx::MtxIntPower(const TMtx& src, std::int32_t exponent) {
  Require(src.Quadratic(), "Quadratic = False");
  if (exponent == 0) {
    Size(src.Rows(), src.Cols(), src.Complex());
    return Eye();
  }
  const std::int64_t n = std::llabs(std::int64_t{exponent});
  if (!src.Complex() || n < 5) {
    TWorkMtx r;
    SquaringPower(src, n, *r);
    if (exponent < 0) r->Inv(mtGeneral);
    Copy(*r);
    return *this;
  }
  // Complex with |exponent| >= 5: magnitudes and phases handled apart, as established.
  TWorkMtx c, amp, phase, ampPower;
  c->Copy(src);
  amp->Size(src.Rows(), src.Cols(), false);
  phase->Size(src.Rows(), src.Cols(), false);
  c->CartToPolar(*amp, *phase);
  SquaringPower(*amp, n, *ampPower);
  phase->Mul(static_cast<double>(exponent));
  if (exponent < 0) ampPower->Inv(mtGeneral);
  Size(src.Rows(), src.Cols(), true);
  PolarToCart(*ampPower, *phase);
  return *this;
}

TMtx& TMtx::Sylvester(const TMtx& a, const TMtx& b, const TMtx& c, TSign sign, TMtxOperation opA,
                      TMtxOperation opB) {
  RequireSameComplex(a, b, "A.Complex <> B.Complex");
  Require(a.Quadratic(), "not A.Quadratic");
  Require(b.Quadratic(), "not B.Quadratic");
  Require(c.Rows() == a.Rows(), "C.Rows <> A.Rows");
  Require(c.Cols() == b.Cols(), "C.Cols <> B.Cols");
  RequireSameComplex(a, c, "C.Complex <> A.Complex");
  Require(!a.Complex() || (opA != opTran && opB != opTran), "Sylvester: complex operands take opNone or opHerm");
  const FInt m = a.Rows(), n = b.Rows();
  lapack::TLapackWork work;
  FpuScope fpu;
  OnKind(a.Complex(), [&](auto t) {
    using T = decltype(t);
    auto tr = [](TMtxOperation op) { return op == opNone ? 'N' : lapack::kComplex<T> ? 'C' : 'T'; };
    T *pa = ColMajorCopy<T>(work, a), *pb = ColMajorCopy<T>(work, b), *pc = ColMajorCopy<T>(work, c);
    double scale = 1;
    const FInt info = lapack::trsyl<T>(tr(opA), tr(opB), sign == siPlus ? 1 : -1, m, n, pa, std::max(m, 1), pb,
                                       std::max(n, 1), pc, std::max(m, 1), scale);
    if (info < 0) RaiseInfo(info, "");  // info = 1 (close eigenvalues, perturbed) still gives a solution
    FromColMajor<T>(*this, pc, m, n, std::max(m, 1));
  });
  return *this;
}

}  // namespace quorel
