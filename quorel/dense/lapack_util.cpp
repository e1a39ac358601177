// Messages made from LAPACK's info, and triangle fills.
#include "quorel/dense/detail/lapack_util.h"

#include "quorel/core/errors.h"
#include "quorel/objects/detail/kind.h"

namespace quorel::detail {

std::string FactorMessage(TFactorKind kind, FInt info, bool blank) {
  const std::string k = std::to_string(info);
  if (info < 0) return k + (blank ? " " : "") + "parameter is invalid!";
  switch (kind) {
    case TFactorKind::Cholesky: return "Cholesky: leading minor of order " + k + " is not positive definite";
    case TFactorKind::BunchKaufman: return "Bunch Kauffman: singular at D(" + k + "," + k + ") = 0";
    case TFactorKind::LU: return "LU factorization: U(" + k + "," + k + ") = 0 (singular)";
    case TFactorKind::Factorization: return "Factorization: U(" + k + "," + k + ") = 0 (singular)";
  }
  return {};
}

std::string WithInfo(const char* prefix, FInt info) { return prefix + std::to_string(info); }

void RaiseInfo(FInt info, const char* failure, bool withInfo) {
  if (info < 0) ERaise(std::to_string(info) + " parameter is invalid!");
  if (info > 0) ERaise(withInfo ? WithInfo(failure, info) : std::string(failure));
}

namespace {
template <class T>
T Conj(const T& x, bool conjugate) {
  if constexpr (std::is_same_v<T, TCplx>) return conjugate ? TCplx{x.Re, -x.Im} : x;
  else return x;
}
}  // namespace

void MirrorTriangle(TMtx& a, TTriangleForm tf, bool conjugate) {
  OnKind(a.Complex(), [&](auto t) {
    using T = decltype(t);
    const std::int64_t ld = a.LeadingCols();
    T* p = Ptr<T>(a);
    for (std::int32_t i = 0; i < a.Rows(); ++i)
      for (std::int32_t j = i + 1; j < a.Cols(); ++j) {
        if (tf == tfLower) p[i * ld + j] = Conj(p[j * ld + i], conjugate);
        else p[j * ld + i] = Conj(p[i * ld + j], conjugate);
      }
  });
}

void ZeroOtherTriangle(TMtx& a, TTriangleForm tf) {
  OnKind(a.Complex(), [&](auto t) {
    using T = decltype(t);
    const std::int64_t ld = a.LeadingCols();
    T* p = Ptr<T>(a);
    for (std::int32_t i = 0; i < a.Rows(); ++i)
      for (std::int32_t j = i + 1; j < a.Cols(); ++j) (tf == tfLower ? p[i * ld + j] : p[j * ld + i]) = T{};
  });
}

}  // namespace quorel::detail
