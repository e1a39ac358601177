// Matrix products through BLAS, choosing the routine by the operands' types.
#include <cstring>
#include <optional>

#include "quorel/core/detail/checks.h"
#include "quorel/dense/detail/lapack_util.h"
#include "quorel/objects/detail/kind.h"

namespace quorel {

using namespace detail;

namespace {

// Row-major C = op1(A) op2(B) is column-major C' = op2(B)' op1(A)' with each matrix's memory read
// column-major as its transpose; the operations keep their LAPACK characters under this reading,
// and the triangles swap.

// A complex matrix declared symmetric positive definite is Hermitian, as the factorisations read it.
bool HermitianKind(TMtxType t) { return IsHermitianType(t) || t == mtSymmPosDef; }

// Which symmetric product an operand allows with its operation: 0 none, 1 symmetric, 2 Hermitian.
int SymmetricKind(TMtxType t, TMtxOperation op, bool complex) {
  if (!complex) return IsSymmetricType(t) || IsHermitianType(t) ? 1 : 0;
  if (HermitianKind(t)) return op != opTran ? 2 : 0;
  if (IsSymmetricType(t) && op != opHerm) return 1;
  return 0;
}

template <class T>
void CopyRows(const TMtx& src, TMtx& dst) {
  for (std::int32_t i = 0; i < src.Rows(); ++i)
    std::memcpy(Ptr<T>(dst, std::int64_t{i} * dst.LeadingCols()), Ptr<T>(src, std::int64_t{i} * src.LeadingCols()),
                sizeof(T) * src.Cols());
}

template <class T>
void MulT(TMtx& c, const TMtx& a, const TMtx& b, TMtxType ta, TMtxType tb, TMtxOperation opa, TMtxOperation opb,
          FInt m, FInt n, FInt k) {
  using namespace lapack;
  if (m == 0 || n == 0) return;
  T* pc = Ptr<T>(c);
  if (k == 0) {
    c.SetZero();
    return;
  }
  const bool cplx = kComplex<T>;
  const FInt lda = a.LeadingCols(), ldb = b.LeadingCols(), ldc = c.LeadingCols();
  const T one = One<T>(), zero = Zero<T>();
  if (int s = SymmetricKind(ta, opa, cplx); s && a.Quadratic() && opb == opNone) {
    symm<T>(s == 2, 'R', SwappedUplo(a.TriangleForm()), n, m, one, Ptr<T>(a), lda, Ptr<T>(b), ldb, zero, pc, ldc);
  } else if (int s2 = SymmetricKind(tb, opb, cplx); s2 && b.Quadratic() && opa == opNone) {
    symm<T>(s2 == 2, 'L', SwappedUplo(b.TriangleForm()), n, m, one, Ptr<T>(b), ldb, Ptr<T>(a), lda, zero, pc, ldc);
  } else if (ta == mtTriangle && a.Quadratic() && opb == opNone) {
    CopyRows<T>(b, c);  // the product works in place
    trmm<T>('R', SwappedUplo(a.TriangleForm()), TransChar(opa), a.TriangleUnit() ? 'U' : 'N', n, m, one, Ptr<T>(a),
            lda, pc, ldc);
  } else if (tb == mtTriangle && b.Quadratic() && opa == opNone) {
    CopyRows<T>(a, c);
    trmm<T>('L', SwappedUplo(b.TriangleForm()), TransChar(opb), b.TriangleUnit() ? 'U' : 'N', n, m, one, Ptr<T>(b),
            ldb, pc, ldc);
  } else {
    gemm<T>(TransChar(opb), TransChar(opa), n, m, k, one, Ptr<T>(b), ldb, Ptr<T>(a), lda, zero, pc, ldc);
  }
}

bool IsStructuredType(TMtxType t) { return IsSymmetricType(t) || IsHermitianType(t) || t == mtTriangle; }

// An operand of a product as MulT can take it. The structured routines read one triangle of their
// operand and take the other operand as stored, so an operation on the other operand is applied to
// a copy first. A complex symmetric operand taken adjoint, or a Hermitian one taken transposed, is
// the conjugate of what its triangle describes: it is expanded and multiplied as a general matrix.
struct TOperand {
  const TMtx* m;
  TMtxType type;
  TMtxOperation op;
  std::optional<TWorkMtx> copy;

  void Apply(const TMtx& src) {
    copy.emplace();
    if (op == opTran) (*copy)->Transp(src);
    else (*copy)->Adjung(src);
    m = copy->get();
    op = opNone;
  }
  void ExpandIfConjugated() {
    const bool symmetric = IsSymmetricType(type) || IsHermitianType(type);
    if (!m->Complex() || !symmetric || SymmetricKind(type, op, true) != 0 || !m->Quadratic()) return;
    TWorkMtx full;
    full->Copy(*m);
    MirrorTriangle(*full, m->TriangleForm(), HermitianKind(type));
    type = mtGeneral;
    Apply(*full);
  }
  bool Structured() const { return IsStructuredType(type) && m->Quadratic(); }
};

}  // namespace

TMtx& TMtx::Mul(const TMtx& mtx1, const TMtx& mtx2, TMtxOperation operation1, TMtxOperation operation2) {
  return Mul(mtx1, mtx2, mtGeneral, mtGeneral, operation1, operation2);
}

TMtx& TMtx::Mul(const TMtx& mtx1, const TMtx& mtx2, TMtxType mtx1Type, TMtxType mtx2Type, TMtxOperation operation1,
                TMtxOperation operation2) {
  Require(&mtx1 != this && &mtx2 != this, "(Self = Mtx1) or (Self = Mtx2)");
  RequireSameComplex(mtx1, mtx2, "Mtx1.Complex <> Mtx2.Complex");
  const bool t1 = operation1 != opNone, t2 = operation2 != opNone;
  if (!t1 && !t2) Require(mtx1.Cols() == mtx2.Rows(), "Mtx1.Cols <> Mtx2.Rows");
  if (!t1 && t2) Require(mtx1.Cols() == mtx2.Cols(), "Mtx1.Cols <> Mtx2.Cols");
  if (t1 && !t2) Require(mtx1.Rows() == mtx2.Rows(), "Mtx1.Rows <> Mtx2.Rows");
  if (t1 && t2) Require(mtx1.Rows() == mtx2.Cols(), "Mtx1.Rows <> Mtx2.Cols");
  Require(!IsSymmetricType(mtx1Type) || mtx1.Quadratic(), "Mtx1.Symmetric and not Mtx1.Quadratic");
  Require(!IsSymmetricType(mtx2Type) || mtx2.Quadratic(), "Mtx2.Symmetric and not Mtx2.Quadratic");
  Require(!IsHermitianType(mtx1Type) || mtx1.Quadratic(), "Mtx1.Hermitian and not Mtx1.Quadratic");
  Require(!IsHermitianType(mtx2Type) || mtx2.Quadratic(), "Mtx2.Hermitian and not Mtx2.Quadratic");
  const FInt m = t1 ? mtx1.Cols() : mtx1.Rows();
  const FInt k = t1 ? mtx1.Rows() : mtx1.Cols();
  const FInt n = t2 ? mtx2.Rows() : mtx2.Cols();
  TOperand a{&mtx1, mtx1Type, operation1, {}}, b{&mtx2, mtx2Type, operation2, {}};
  a.ExpandIfConjugated();
  b.ExpandIfConjugated();
  if (a.Structured() && b.op != opNone) b.Apply(*b.m);
  else if (!a.Structured() && b.Structured() && a.op != opNone) a.Apply(*a.m);
  Size(m, n, mtx1.Complex());
  OnKind(mtx1.Complex(), [&](auto t) { MulT<decltype(t)>(*this, *a.m, *b.m, a.type, b.type, a.op, b.op, m, n, k); });
  return *this;
}

}  // namespace quorel
