#pragma once
// The element-wise frame: every overload shape of every element-wise method is written here once.
// A method is an operation object (its kernels and its messages) handed to one of these templates;
// the templates check arguments, size Self, promote real to complex where needed and call the
// operation's kernel once over the whole run.
//
// Internal to the library: included only by the element-wise .cpp files.

#include <cstddef>
#include <cstdint>
#include <algorithm>
#include <optional>
#include <type_traits>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/objects/detail/overlap.h"
#include "quorel/objects/dense.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/kernels/cplx.h"

namespace quorel::detail {

using Index = std::int32_t;

/// What an operation does with complex data.
enum class Rule : std::uint8_t {
  Both,         // own real and complex kernels; the result has the source's kind
  Parts,        // complex data is 2n independent doubles for the real kernel
  ToReal,       // complex data gives a real result (modulus-like)
  RealOnly,     // complex data is refused
  ComplexOnly,  // real data is refused
};

/// Messages of a unary operation; null where the operation has none.
struct UnaryMessages {
  const char* xIsSelf;         // "Sqrt: X = Self"
  const char* complexMismatch; // "Sqrt: Self.Complex <> X.Complex"
  const char* selfComplex = nullptr;  // RealOnly/ComplexOnly: Self of the wrong kind
  const char* srcComplex = nullptr;   // RealOnly/ComplexOnly: source of the wrong kind
};

// --- small accessors shared by the frame --------------------------------------------------------

// Ptr with the constness of the object, so kernels see const sources.
template <Element T>
const T* In(const TDenseQuorel& a, Index i = 0) { return Ptr<T>(a, i); }
template <Element T>
T* Out(TDenseQuorel& a, Index i = 0) { return Ptr<T>(a, i); }
inline double* R(TDenseQuorel& a, Index i = 0) { return Out<double>(a, i); }
inline const double* R(const TDenseQuorel& a, Index i = 0) { return In<double>(a, i); }
inline TCplx* C(TDenseQuorel& a, Index i = 0) { return Out<TCplx>(a, i); }
inline const TCplx* C(const TDenseQuorel& a, Index i = 0) { return In<TCplx>(a, i); }
inline bool Same(const TQuorel& a, const TQuorel& b) { return &a == &b; }

/// The checks of a source-to-Self range form, made only under ConditionCheck: X = Self (when the
/// method has such a message), then the agreement of Self's kind with `resultComplex`.
inline void RequireSourceRange(const TDenseQuorel& self, const TDenseQuorel& x, bool resultComplex,
                               const char* xIsSelf, const char* mismatch) {
  if (!self.ConditionCheck()) return;
  if (xIsSelf) Require(!Same(self, x), xIsSelf);
  Require(self.Complex() == resultComplex, mismatch);
}
inline void RequireSourceRange(const TDenseQuorel& self, const TDenseQuorel& x, const char* xIsSelf,
                               const char* mismatch) {
  RequireSourceRange(self, x, x.Complex(), xIsSelf, mismatch);
}

/// A source as a kernel may read it while Self is written: the source itself or, when its elements
/// share memory with Self's (Self itself, where no identity check forbids it or with ConditionCheck
/// off, or a sub-range view over Self's storage), a copy taken before Self is touched, in a cached
/// work vector. The ordinary call pays one overlap test. Size Self from the source itself, not
/// from the copy, so a matrix keeps its shape.
class SafeSource {
 public:
  SafeSource(const TDenseQuorel& self, const TDenseQuorel& x) : SafeSource(x, SharesStorage(self, x)) {}
  /// `x`, copied when `copy`.
  SafeSource(const TDenseQuorel& x, bool copy) : x_(&x) {
    if (!copy) [[likely]]
      return;
    keep_.emplace();
    (*keep_)->Copy(x);
    x_ = keep_->get();
  }
  SafeSource(const SafeSource&) = delete;
  SafeSource& operator=(const SafeSource&) = delete;
  const TDenseQuorel& operator*() const { return *x_; }

 private:
  const TDenseQuorel* x_;
  std::optional<TWorkVec> keep_;
};

// --- kind checks of kind-restricted operations ---------------------------------------------------
// A complex-only kernel reads and writes two doubles per element, so real data of the wrong kind
// would be run past its end: those checks are always made. A real-only kernel stays inside the
// storage of complex data, so its checks follow ConditionCheck, except where the kernel asks for
// an always-made check of Self in place (kInPlaceKindAlways).

template <class Op>
constexpr bool kInPlaceKindAlways = requires { requires Op::kInPlaceKindAlways; };

/// Self's kind for an in-place form (`inPlace`) or a range form writing into Self.
template <class Op>
void RequireSelfKind(const TDenseQuorel& self, const Op& op, bool inPlace) {
  if constexpr (Op::rule == Rule::RealOnly) {
    if ((inPlace && kInPlaceKindAlways<Op>) || self.ConditionCheck()) Require(!self.Complex(), op.msgs.selfComplex);
  } else if constexpr (Op::rule == Rule::ComplexOnly) {
    Require(self.Complex(), op.msgs.selfComplex);
  }
}

/// The source's kind.
template <class Op>
void RequireSourceKind(const TDenseQuorel& self, const Op& op, const TDenseQuorel& x) {
  if constexpr (Op::rule == Rule::RealOnly) {
    if (self.ConditionCheck()) Require(!x.Complex(), op.msgs.srcComplex);
  } else if constexpr (Op::rule == Rule::ComplexOnly) {
    Require(x.Complex(), op.msgs.srcComplex);
  }
}

/// Re-sizes Self to the same length with `complex` and fills it with `fill(copy, self)`, where
/// copy holds Self's old values in a cached work vector (given back on every path).
template <class Fill>
void Refill(TDenseQuorel& self, bool complex, Fill&& fill) {
  TWorkVec copy;
  copy->Copy(self);
  self.Size(*copy, complex);
  fill(static_cast<const TDenseQuorel&>(*copy), self);
}

// --- unary shapes ----------------------------------------------------------------------------------

template <class Op>
void RunUnary(const Op& op, bool complex, const TDenseQuorel& x, Index xi, TDenseQuorel& r, Index ri, Index n) {
  if (n == 0) return;
  if constexpr (Op::rule == Rule::Parts) {
    const Index k = complex ? 2 : 1;
    op(R(x, xi * k), R(r, ri * k), static_cast<std::ptrdiff_t>(n) * k);
  } else if constexpr (Op::rule == Rule::ToReal) {
    OnKind(complex, [&](auto t) { op(In<decltype(t)>(x, xi), R(r, ri), n); });
  } else if constexpr (Op::rule == Rule::RealOnly) {
    op(R(x, xi), R(r, ri), n);
  } else if constexpr (Op::rule == Rule::ComplexOnly) {
    op(C(x, xi), C(r, ri), n);
  } else {
    OnKind(complex, [&](auto t) { op(In<decltype(t)>(x, xi), Out<decltype(t)>(r, ri), n); });
  }
}

/// F(): in place on all of Self.
template <class Op>
TDenseQuorel& Unary(TDenseQuorel& self, const Op& op) {
  RequireSelfKind(self, op, true);
  if (self.Length() == 0) {
    if constexpr (Op::rule == Rule::ToReal) self.set_Complex(false);
    return self;
  }
  if constexpr (Op::rule == Rule::ToReal) {
    if (self.Complex()) {
      Refill(self, false, [&](const TDenseQuorel& copy, TDenseQuorel& out) { RunUnary(op, true, copy, 0, out, 0, out.Length()); });
      return self;
    }
  }
  RunUnary(op, self.Complex(), self, 0, self, 0, self.Length());
  return self;
}

/// F(Index, Len) once the range is validated.
template <class Op>
TDenseQuorel& UnaryValidated(TDenseQuorel& self, const Op& op, Index index, Index len) {
  RequireSelfKind(self, op, true);
  if constexpr (Op::rule == Rule::ToReal) {
    // A modulus cannot be stored in place of part of a complex object.
    if (self.ConditionCheck()) Require(!self.Complex(), op.msgs.complexMismatch);
  }
  RunUnary(op, self.Complex(), self, index, self, index, len);
  return self;
}

/// F(Index, Len): in place on a range of Self.
template <class Op>
TDenseQuorel& Unary(TDenseQuorel& self, const Op& op, Index index, Index len) {
  self.ValidateParams(index, len);
  return UnaryValidated(self, op, index, len);
}

/// F(X): Self := f(X), sized like X.
template <class Op>
TDenseQuorel& Unary(TDenseQuorel& self, const Op& op, const TDenseQuorel& x) {
  if (self.ConditionCheck()) Require(!Same(self, x), op.msgs.xIsSelf);
  RequireSourceKind(self, op, x);
  const bool complex = x.Complex();
  const Index n = x.Length();
  const SafeSource src(self, x);
  self.Size(x, Op::rule == Rule::ToReal ? false : complex);
  RunUnary(op, complex, *src, 0, self, 0, n);
  return self;
}

/// F(X, XIndex, Index, Len) once the ranges are validated.
template <class Op>
TDenseQuorel& UnaryValidated(TDenseQuorel& self, const Op& op, const TDenseQuorel& x, Index xIndex, Index index,
                             Index len) {
  if constexpr (Op::rule == Rule::RealOnly || Op::rule == Rule::ComplexOnly) {
    // Each side has its own message, naming the object of the wrong kind.
    if (self.ConditionCheck()) Require(!Same(self, x), op.msgs.xIsSelf);
    RequireSourceKind(self, op, x);
    RequireSelfKind(self, op, false);
  } else {
    RequireSourceRange(self, x, Op::rule == Rule::ToReal ? false : x.Complex(), op.msgs.xIsSelf,
                       op.msgs.complexMismatch);
  }
  const SafeSource src(self, x);
  RunUnary(op, x.Complex(), *src, xIndex, self, index, len);
  return self;
}

/// F(X, XIndex, Index, Len): Self[Index+i] := f(X[XIndex+i]); Self is not resized.
template <class Op>
TDenseQuorel& Unary(TDenseQuorel& self, const Op& op, const TDenseQuorel& x, Index xIndex, Index index, Index len) {
  self.ValidateParams(x, xIndex, index, len);
  return UnaryValidated(self, op, x, xIndex, index, len);
}

/// The range shapes of a function with parameters: the ranges are validated before `bind()` makes
/// the operation, whose constructor checks the parameters.
template <class Bind>
TDenseQuorel& UnaryBound(TDenseQuorel& self, Bind bind, Index index, Index len) {
  self.ValidateParams(index, len);
  return UnaryValidated(self, bind(), index, len);
}
template <class Bind>
TDenseQuorel& UnaryBound(TDenseQuorel& self, Bind bind, const TDenseQuorel& x, Index xIndex, Index index,
                         Index len) {
  self.ValidateParams(x, xIndex, index, len);
  return UnaryValidated(self, bind(), x, xIndex, index, len);
}

/// A unary operation built at the call, for functions with parameters: `k` is a callable with the
/// kernel overloads the rule needs.
template <Rule R, class K>
struct ParamOp {
  static constexpr bool kBinary = false;
  static constexpr Rule rule = R;
  UnaryMessages msgs;
  K k;
  template <class... A>
  void operator()(A... a) const { k(a...); }
};
template <Rule R, class K>
ParamOp<R, K> MakeOp(UnaryMessages msgs, K k) { return {msgs, k}; }

// --- binary and scalar shapes --------------------------------------------------------------------

/// Messages of a binary operation.
struct BinaryMessages {
  const char* selfIsVec;      // "TQuorel.Add: Self = Vec"; null: Self may be Vec
  const char* lengthInPlace;  // "TQuorel.Divide: Length <> Vec.Length"
  const char* pairSelf;       // "TQuorel.Add: (Self = Vec1) or (Self = Vec2)"
  const char* pairLength;     // "TQuorel.Add: Vec1.Length <> Vec2.Length"
  const char* rangeComplex;   // range form whose Self has the wrong kind
};

/// Makes a real Self complex with zero imaginary parts (zeros) or each value in both parts.
void ExtendToComplex(TDenseQuorel& self, bool zeros);

/// r := a op b for every mix of real and complex operands (r complex unless both are real).
template <class Op>
void RunBinary(const Op& op, const TDenseQuorel& a, Index ai, const TDenseQuorel& b, Index bi, TDenseQuorel& r,
               Index ri, Index n) {
  if (n == 0) return;
  const bool ac = a.Complex(), bc = b.Complex();
  if (!ac && !bc) op(R(a, ai), R(b, bi), R(r, ri), n);
  else if (ac && bc) op(C(a, ai), C(b, bi), C(r, ri), n);
  else if (ac) op(C(a, ai), R(b, bi), C(r, ri), n);
  else op(R(a, ai), C(b, bi), C(r, ri), n);
}

/// F(Vec): Self := Self op Vec; a real Self becomes complex for a complex Vec.
template <class Op>
TDenseQuorel& Binary(TDenseQuorel& self, const Op& op, const TDenseQuorel& vec) {
  if (self.ConditionCheck()) {
    if (op.msgs.selfIsVec) Require(!Same(self, vec), op.msgs.selfIsVec);
    Require(self.Length() == vec.Length(), op.msgs.lengthInPlace);
  }
  // Vec as Self itself is read in step with the writes; only a view over other positions of
  // Self's storage, or one that the promotion below would free, needs a copy.
  const SafeSource src(vec, !Same(self, vec) && SharesStorage(self, vec));
  if (!self.Complex() && vec.Complex()) {
    Refill(self, true, [&](const TDenseQuorel& copy, TDenseQuorel& out) {
      RunBinary(op, copy, 0, *src, 0, out, 0, out.Length());
    });
    return self;
  }
  RunBinary(op, self, 0, *src, 0, self, 0, self.Length());
  return self;
}

/// F(Vec, VecIndex, Index, Len): Self[Index+i] := Self[Index+i] op Vec[VecIndex+i]. A complex Vec
/// turns all of a real Self complex first, even for Len 0.
template <class Op>
TDenseQuorel& Binary(TDenseQuorel& self, const Op& op, const TDenseQuorel& vec, Index vecIndex, Index index,
                     Index len) {
  self.ValidateParams(vec, vecIndex, index, len);
  if (!self.Complex() && vec.Complex()) ExtendToComplex(self, true);
  const SafeSource src(self, vec);
  RunBinary(op, self, index, *src, vecIndex, self, index, len);
  return self;
}

/// F(Vec1, Vec2): Self := Vec1 op Vec2, sized like Vec1, complex when either is.
template <class Op>
TDenseQuorel& Binary(TDenseQuorel& self, const Op& op, const TDenseQuorel& vec1, const TDenseQuorel& vec2) {
  if (self.ConditionCheck()) {
    Require(!Same(self, vec1) && !Same(self, vec2), op.msgs.pairSelf);
    Require(vec1.Length() == vec2.Length(), op.msgs.pairLength);
  }
  const Index n = std::min(vec1.Length(), vec2.Length());
  const SafeSource a(self, vec1), b(self, vec2);
  self.Size(vec1, vec1.Complex() || vec2.Complex());
  RunBinary(op, *a, 0, *b, 0, self, 0, n);
  return self;
}

/// F(Vec1, Vec2, Vec1Index, Vec2Index, Index, Len): ranges, Self not resized.
template <class Op>
TDenseQuorel& Binary(TDenseQuorel& self, const Op& op, const TDenseQuorel& vec1, const TDenseQuorel& vec2,
                     Index vec1Index, Index vec2Index, Index index, Index len) {
  self.ValidateParams(vec1, vec2, vec1Index, vec2Index, index, len);
  if (self.ConditionCheck()) Require(self.Complex() == (vec1.Complex() || vec2.Complex()), op.msgs.rangeComplex);
  const SafeSource a(self, vec1), b(self, vec2);
  RunBinary(op, *a, vec1Index, *b, vec2Index, self, index, len);
  return self;
}

/// r := a op v for a real or complex array and a real or complex scalar.
template <class Op, class S>
void RunScalar(const Op& op, const TDenseQuorel& a, Index ai, const S& v, TDenseQuorel& r, Index ri, Index n) {
  if (n == 0) return;
  if constexpr (std::is_same_v<S, double>) {
    if (a.Complex()) op(C(a, ai), v, C(r, ri), n);
    else op(R(a, ai), v, R(r, ri), n);
  } else {
    if (a.Complex()) op(C(a, ai), v, C(r, ri), n);
    else op(R(a, ai), v, C(r, ri), n);
  }
}

/// F(Value) / F(CValue): in place; a complex value makes a real Self complex.
template <class Op, class S>
TDenseQuorel& Scalar(TDenseQuorel& self, const Op& op, const S& v) {
  if constexpr (!std::is_same_v<S, double>) {
    if (!self.Complex()) {
      Refill(self, true, [&](const TDenseQuorel& copy, TDenseQuorel& out) { RunScalar(op, copy, 0, v, out, 0, out.Length()); });
      return self;
    }
  }
  RunScalar(op, self, 0, v, self, 0, self.Length());
  return self;
}

/// F(Value, Index, Len) / F(CValue, Index, Len): in place on a range.
template <class Op, class S>
TDenseQuorel& Scalar(TDenseQuorel& self, const Op& op, const S& v, Index index, Index len) {
  self.ValidateParams(index, len);
  if constexpr (!std::is_same_v<S, double>) {
    if (!self.Complex()) {
      // The range is computed from the real values, with the real-by-complex kernel the whole
      // form uses, so both forms give the same bits.
      Refill(self, true, [&](const TDenseQuorel& copy, TDenseQuorel& out) {
        if (out.Length() > 0) kern::SampleUp2(R(copy), C(out), out.Length());
        RunScalar(op, copy, index, v, out, index, len);
      });
      return self;
    }
  }
  RunScalar(op, self, index, v, self, index, len);
  return self;
}

/// F(Vec, Value) / F(Vec, CValue): Self := Vec op value, sized like Vec.
template <class Op, class S>
TDenseQuorel& Scalar(TDenseQuorel& self, const Op& op, const TDenseQuorel& vec, const S& v) {
  if (self.ConditionCheck() && op.msgs.selfIsVec) Require(!Same(self, vec), op.msgs.selfIsVec);
  // Self as its own source (Mul, SubFrom and DivideBy have no message against it) runs in place,
  // where a complex value promotes the data before it is read; sizing Self first would
  // reinterpret the source.
  if (Same(self, vec)) return Scalar(self, op, v);
  const SafeSource src(self, vec);
  self.Size(vec, vec.Complex() || !std::is_same_v<S, double>);
  RunScalar(op, *src, 0, v, self, 0, vec.Length());
  return self;
}

/// F(Vec, Value, VecIndex, Index, Len): ranges, Self not resized.
template <class Op, class S>
TDenseQuorel& Scalar(TDenseQuorel& self, const Op& op, const TDenseQuorel& vec, const S& v, Index vecIndex,
                     Index index, Index len) {
  self.ValidateParams(vec, vecIndex, index, len);
  if (self.ConditionCheck())
    Require(self.Complex() == (vec.Complex() || !std::is_same_v<S, double>), op.msgs.rangeComplex);
  const SafeSource src(self, vec);
  RunScalar(op, *src, vecIndex, v, self, index, len);
  return self;
}

// --- one source to two outputs ------------------------------------------------------------------

/// Messages of a method that splits Self into two real outputs.
struct SplitMessages {
  const char* selfKind;  // Self of the wrong kind
  const char* aIsSelf;   // an output is Self (the same text twice for one shared message); null: allowed
  const char* bIsSelf;
  const char* aKind;     // range form: an output that is complex
  const char* bKind;
  // Range form: true makes the Self and output checks only under ConditionCheck; false makes the
  // output checks always and no Self check.
  bool rangeChecked;
};

/// Self (complex when `ComplexSource`, else real) into two real outputs: K(x, a, b, n).
template <class K, bool ComplexSource>
struct SplitOp {
  static constexpr bool kComplexSource = ComplexSource;
  using Source = std::conditional_t<ComplexSource, TCplx, double>;
  SplitMessages msgs;
  void operator()(const Source* x, double* a, double* b, std::ptrdiff_t n) const { K{}(x, a, b, n); }
};

/// Self's kind: a complex source read from real data would run past its end, so that check is
/// always made; a real source follows ConditionCheck.
template <class Op>
void RequireSplitSource(const TDenseQuorel& self, const Op& op) {
  if (Op::kComplexSource || self.ConditionCheck()) Require(self.Complex() == Op::kComplexSource, op.msgs.selfKind);
}

/// The identity checks of the outputs, for the messages the method has.
template <class Op>
void RequireOutputsNotSelf(const TDenseQuorel& self, const Op& op, const TDenseQuorel& a, const TDenseQuorel& b) {
  if (op.msgs.aIsSelf) Require(!Same(self, a), op.msgs.aIsSelf);
  if (op.msgs.bIsSelf) Require(!Same(self, b), op.msgs.bIsSelf);
}

/// Whether an output overlaps Self, so Self must be read from a copy.
inline bool OutputsShare(const TDenseQuorel& self, const TDenseQuorel& a, const TDenseQuorel& b) {
  return SharesStorage(self, a) || SharesStorage(self, b);
}

/// F(A, B): both outputs sized like Self. An output that is Self gets the values computed from
/// Self's old values. Both outputs are checked before either is written.
template <class Op>
TDenseQuorel& Split(TDenseQuorel& self, const Op& op, TDenseQuorel& a, TDenseQuorel& b) {
  RequireSplitSource(self, op);
  if (self.ConditionCheck()) RequireOutputsNotSelf(self, op, a, b);
  b.RequireSizable(self, false);
  const Index n = self.Length();
  const SafeSource src(self, OutputsShare(self, a, b));
  a.Size(self, false);
  b.Size(self, false);
  if (n > 0) op(In<typename Op::Source>(*src), R(a), R(b), n);
  return self;
}

/// F(A, B, AIndex, BIndex, Index, Len): ranges, the outputs not resized.
template <class Op>
TDenseQuorel& Split(TDenseQuorel& self, const Op& op, TDenseQuorel& a, TDenseQuorel& b, Index ai, Index bi,
                    Index index, Index len) {
  // Index and Len address Self: -1 runs to Self's end, not the output's.
  if (len == -1) len = self.Length() - index;
  a.ValidateParams2(self, index, ai, len);
  b.ValidateParams2(self, index, bi, len);
  RequireSplitSource(self, op);
  if (!op.msgs.rangeChecked || self.ConditionCheck()) {
    if (op.msgs.rangeChecked) RequireOutputsNotSelf(self, op, a, b);
    Require(!a.Complex(), op.msgs.aKind);
    Require(!b.Complex(), op.msgs.bKind);
  }
  const SafeSource src(self, OutputsShare(self, a, b));
  if (len > 0) op(In<typename Op::Source>(*src, index), R(a, ai), R(b, bi), len);
  return self;
}

// --- two real sources to one complex ---------------------------------------------------------------

/// Messages of a method that joins two real sources into a complex Self.
struct JoinMessages {
  const char* sourceIsSelf;  // "(Self = ReVec) or (Self = ImVec)"
  const char* aKind;         // a source that is complex
  const char* bKind;
  const char* lengths;       // sources of different lengths
};

/// Two real sources into complex Self: K(a, b, r, n).
template <class K>
struct JoinOp {
  JoinMessages msgs;
  void operator()(const double* a, const double* b, TCplx* r, std::ptrdiff_t n) const { K{}(a, b, r, n); }
};

/// F(A, B): Self complex, sized like A.
template <class Op>
TDenseQuorel& Join(TDenseQuorel& self, const Op& op, const TDenseQuorel& a, const TDenseQuorel& b) {
  if (self.ConditionCheck()) {
    Require(!Same(self, a) && !Same(self, b), op.msgs.sourceIsSelf);
    Require(!a.Complex(), op.msgs.aKind);
    Require(!b.Complex(), op.msgs.bKind);
    Require(a.Length() == b.Length(), op.msgs.lengths);
  }
  const Index n = std::min(a.Length(), b.Length());
  const SafeSource ra(self, a), rb(self, b);
  self.Size(a, true);
  if (n > 0) op(R(*ra), R(*rb), C(self), n);
  return self;
}

/// F(A, B, AIndex, BIndex, Index, Len): ranges into a complex Self, not resized.
template <class Op>
TDenseQuorel& Join(TDenseQuorel& self, const Op& op, const TDenseQuorel& a, const TDenseQuorel& b, Index ai,
                   Index bi, Index index, Index len) {
  self.ValidateParams(a, b, ai, bi, index, len);
  if (self.ConditionCheck()) {
    Require(!a.Complex(), op.msgs.aKind);
    Require(!b.Complex(), op.msgs.bKind);
    RequireComplex(self);
  }
  const SafeSource ra(self, a), rb(self, b);
  if (len > 0) op(R(*ra, ai), R(*rb, bi), C(self, index), len);
  return self;
}

// --- one entry point for the generated method bodies ------------------------------------------------
// The methods listed in elementwise_methods.inc forward their arguments here unchanged; the
// argument types choose the shape and the operation's kind (unary or binary) the template.

template <class S>
concept ScalarValue = std::is_same_v<S, double> || std::is_same_v<S, TCplx>;

template <class Op>
TDenseQuorel& Apply(TDenseQuorel& s, const Op& op) { return Unary(s, op); }
template <class Op>
TDenseQuorel& Apply(TDenseQuorel& s, const Op& op, Index index, Index len) { return Unary(s, op, index, len); }
template <class Op>
TDenseQuorel& Apply(TDenseQuorel& s, const Op& op, const TDenseQuorel& x) {
  if constexpr (Op::kBinary) return Binary(s, op, x);
  else return Unary(s, op, x);
}
template <class Op>
TDenseQuorel& Apply(TDenseQuorel& s, const Op& op, const TDenseQuorel& x, Index xIndex, Index index, Index len) {
  if constexpr (Op::kBinary) return Binary(s, op, x, xIndex, index, len);
  else return Unary(s, op, x, xIndex, index, len);
}
template <class Op>
TDenseQuorel& Apply(TDenseQuorel& s, const Op& op, const TDenseQuorel& a, const TDenseQuorel& b) {
  return Binary(s, op, a, b);
}
template <class Op>
TDenseQuorel& Apply(TDenseQuorel& s, const Op& op, const TDenseQuorel& a, const TDenseQuorel& b, Index ai,
                    Index bi, Index index, Index len) {
  return Binary(s, op, a, b, ai, bi, index, len);
}
template <class Op, ScalarValue S>
TDenseQuorel& Apply(TDenseQuorel& s, const Op& op, const S& v) { return Scalar(s, op, v); }
template <class Op, ScalarValue S>
TDenseQuorel& Apply(TDenseQuorel& s, const Op& op, const S& v, Index index, Index len) {
  return Scalar(s, op, v, index, len);
}
template <class Op, ScalarValue S>
TDenseQuorel& Apply(TDenseQuorel& s, const Op& op, const TDenseQuorel& vec, const S& v) {
  return Scalar(s, op, vec, v);
}
template <class Op, ScalarValue S>
TDenseQuorel& Apply(TDenseQuorel& s, const Op& op, const S& v, const TDenseQuorel& vec) {
  return Scalar(s, op, vec, v);
}
template <class Op, ScalarValue S>
TDenseQuorel& Apply(TDenseQuorel& s, const Op& op, const TDenseQuorel& vec, const S& v, Index vecIndex,
                    Index index, Index len) {
  return Scalar(s, op, vec, v, vecIndex, index, len);
}
template <class Op, ScalarValue S>
TDenseQuorel& Apply(TDenseQuorel& s, const Op& op, const S& v, const TDenseQuorel& vec, Index vecIndex,
                    Index index, Index len) {
  return Scalar(s, op, vec, v, vecIndex, index, len);
}

}  // namespace quorel::detail
