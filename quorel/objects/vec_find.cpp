// The comparison family: FindMask, FindIndexes, FindAndGather, FindAndSplit. The operator text is
// parsed once; each relation then runs its own loop over the elements.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/core/compare.h"
#include "quorel/core/complex_compare.h"
#include "quorel/objects/vec.h"
#include "quorel/objects/detail/vecops.h"

namespace quorel {

using detail::Require;


using namespace detail;

namespace {

enum class TRelation : std::uint8_t { Less, LessEq, Greater, GreaterEq, Eq, NotEq };

TRelation ParseOp(std::string_view op) {
  static constexpr std::pair<std::string_view, TRelation> kOps[] = {
      {"<", TRelation::Less},     {"<=", TRelation::LessEq},    {"=<", TRelation::LessEq},
      {">", TRelation::Greater},  {">=", TRelation::GreaterEq}, {"=>", TRelation::GreaterEq},
      {"=", TRelation::Eq},       {"==", TRelation::Eq},        {"<>", TRelation::NotEq}};
  for (const auto& [text, relation] : kOps)
    if (text == op) return relation;
  EInvalidArgumentRaise("Parameter: " + std::string(op) + " not recognized!");
}

// Real pairs follow the unordered-compare flags: a NaN on either side makes the pair "less".
struct RelLess {
  bool operator()(double a, double b) const { return !(a >= b); }
  bool operator()(const TCplx& a, const TCplx& b) const { return Smaller(a, b); }
};
struct RelLessEq {
  bool operator()(double a, double b) const { return !(a > b); }
  bool operator()(const TCplx& a, const TCplx& b) const { return Smaller(a, b) || Equal(a, b); }
};
struct RelGreater {
  bool operator()(double a, double b) const { return a > b; }
  bool operator()(const TCplx& a, const TCplx& b) const { return Bigger(a, b); }
};
struct RelGreaterEq {
  bool operator()(double a, double b) const { return a >= b; }
  bool operator()(const TCplx& a, const TCplx& b) const { return Bigger(a, b) || Equal(a, b); }
};
struct RelEq {
  template <class T>
  bool operator()(const T& a, const T& b) const { return Equal(a, b); }
};
struct RelNotEq {
  template <class T>
  bool operator()(const T& a, const T& b) const { return !Equal(a, b); }
};

// b as a vector, or one value for every element.
template <class T>
struct Elements {
  const T* data;
  const T& operator()(std::int32_t i) const { return data[i]; }
};
template <class T>
struct Broadcast {
  T value;
  const T& operator()(std::int32_t) const { return value; }
};

// out[i] = 0 or 1 for every element.
struct MaskSink {
  std::int32_t* out;
  void operator()(std::int32_t i, bool hit) { out[i] = hit; }
};
// Counts the hits.
struct CountSink {
  std::int32_t count = 0;
  void operator()(std::int32_t, bool hit) { count += hit; }
};
// The positions of the hits, written compactly. Each position is stored before it is known to be a
// hit, so `out` needs room for one entry past the last hit.
struct IndexSink {
  std::int32_t* out;
  std::int32_t count = 0;
  void operator()(std::int32_t i, bool hit) {
    out[count] = i;
    count += hit;
  }
};

template <class Rel, class T, class B, class Sink>
void Scan(const T* a, B b, std::int32_t n, Sink& sink) {
  const Rel rel;
  for (std::int32_t i = 0; i < n; ++i) sink(i, rel(a[i], b(i)));
}

template <class T, class B, class Sink>
void ScanAll(TRelation relation, const T* a, B b, std::int32_t n, Sink& sink) {
  switch (relation) {
    case TRelation::Less: return Scan<RelLess>(a, b, n, sink);
    case TRelation::LessEq: return Scan<RelLessEq>(a, b, n, sink);
    case TRelation::Greater: return Scan<RelGreater>(a, b, n, sink);
    case TRelation::GreaterEq: return Scan<RelGreaterEq>(a, b, n, sink);
    case TRelation::Eq: return Scan<RelEq>(a, b, n, sink);
    case TRelation::NotEq: return Scan<RelNotEq>(a, b, n, sink);
  }
}

// The operand b: a vector, or one real or complex value.
struct TOperand {
  const TVec* vec;
  TCplx value;
  bool complex;
};
TOperand Operand(const TVec& b) { return {&b, {}, b.Complex()}; }
TOperand Operand(double b) { return {nullptr, {b, 0.0}, false}; }
TOperand Operand(const TCplx& b) { return {nullptr, b, true}; }

// An output that may not be Self, with the message that says so.
struct TOutput {
  const TVec* vec;
  const char* isSelf;
};

// One call of the family: its checks, the relation, and a and b read as one element type
// (complex when either is), copied when Self is one of them.
class TComparison {
 public:
  TComparison(const TVec& self, const TVec& a, std::string_view op, const TOperand& b,
              std::initializer_list<TOutput> outputs)
      : relation_(ParseOp(op)), value_(b.value), complex_(a.Complex() || b.complex) {
    if (self.ConditionCheck()) {
      Require(&a != &self, "a = Self");
      Require(b.vec != &self, "b = Self");
      Require(!(b.vec != nullptr && a.Complex() != b.vec->Complex()), "a.Complex <> b.Complex");
      for (const TOutput& out : outputs)
        if (out.vec == &self) EInvalidArgumentRaise(out.isSelf);
    }
    const TElemKind kind = complex_ ? TElemKind::Cplx : TElemKind::Real;
    a_ = &Readable(a, kind, detail::SharesStorage(a, self), keepA_);
    if (b.vec != nullptr) b_ = &Readable(*b.vec, kind, detail::SharesStorage(*b.vec, self), keepB_);
    count_ = b.vec != nullptr ? std::min(a.Length(), b.vec->Length()) : a.Length();
  }

  /// Elements compared.
  std::int32_t Count() const { return count_; }

  template <class Sink>
  void Run(Sink& sink) const {
    if (complex_) {
      RunAs<TCplx>(sink);
    } else {
      RunAs<double>(sink);
    }
  }

 private:
  template <class T, class Sink>
  void RunAs(Sink& sink) const {
    const T* a = Ptr<T>(*a_);
    if (b_ != nullptr) {
      ScanAll(relation_, a, Elements<T>{Ptr<T>(*b_)}, count_, sink);
    } else {
      ScanAll(relation_, a, Broadcast<T>{ConvertElem<T>(value_)}, count_, sink);
    }
  }

  TRelation relation_;
  TCplx value_;
  bool complex_;
  std::optional<TWorkVec> keepA_, keepB_;
  const TVec* a_ = nullptr;
  const TVec* b_ = nullptr;
  std::int32_t count_ = 0;
};

TVec& FindMaskOf(TVec& self, const TVec& a, std::string_view op, const TOperand& b) {
  const TComparison cmp(self, a, op, b, {});
  SizeAs(self, TElemKind::Int, cmp.Count());
  MaskSink sink{Ptr<std::int32_t>(self)};
  cmp.Run(sink);
  return self;
}

// Sizes `out` to the hit positions and writes them: one pass to count, one to write, so nothing
// larger than the result is allocated.
std::int32_t FindHits(const TComparison& cmp, TVec& out) {
  CountSink counter;
  cmp.Run(counter);
  SizeAs(out, TElemKind::Int, counter.count);
  if (counter.count > 0) {
    // count integers occupy half of the count doubles allocated, which leaves the spare entry.
    IndexSink sink{Ptr<std::int32_t>(out)};
    cmp.Run(sink);
  }
  return counter.count;
}

TVec& FindIndexesOf(TVec& self, const TVec& a, std::string_view op, const TOperand& b) {
  const TComparison cmp(self, a, op, b, {});
  FindHits(cmp, self);
  return self;
}

TVec& FindAndGatherOf(TVec& self, const TVec& a, std::string_view op, const TOperand& b, TVec& indexes) {
  const TComparison cmp(self, a, op, b, {{&indexes, "Indexes = Self"}});
  TWorkVec hits;
  const std::int32_t count = FindHits(cmp, *hits);
  CheckSizable(self, KindOf(a), count);
  CheckSizable(indexes, TElemKind::Int, count);
  self.GatherByIndex(a, *hits);  // before Indexes is written: it may be a
  SizeAs(indexes, TElemKind::Int, count);
  CopyElements(*hits, 0, indexes, 0, count);
  return self;
}

TVec& FindAndSplitOf(TVec& self, const TVec& a, std::string_view op, const TOperand& b, TVec& maskVec,
                     TVec& notMaskVec) {
  const TComparison cmp(self, a, op, b, {{&maskVec, "MaskVec = Self"}, {&notMaskVec, "NotMaskVec = Self"}});
  TWorkVec mask;
  const std::int32_t n = cmp.Count();
  SizeAs(*mask, TElemKind::Int, n);
  MaskSink sink{Ptr<std::int32_t>(*mask)};
  cmp.Run(sink);
  const std::int32_t hits = CountNonZero(*mask, n);
  const TElemKind kind = KindOf(a);
  CheckSizable(self, TElemKind::Int, n);
  CheckSizable(maskVec, kind, hits);
  CheckSizable(notMaskVec, kind, n - hits);
  std::optional<TWorkVec> keep;
  const bool written = detail::SharesStorage(a, self) || detail::SharesStorage(a, maskVec) ||
                       detail::SharesStorage(a, notMaskVec);
  const TVec& src = Readable(a, kind, written, keep);
  SizeAs(self, TElemKind::Int, n);
  CopyElements(*mask, 0, self, 0, n);
  maskVec.GatherByMask(src, mask.get());
  mask->NotMask();
  notMaskVec.GatherByMask(src, mask.get());
  return self;
}

}  // namespace

TVec& TVec::FindMask(const TVec& a, std::string_view op, const TVec& b) { return FindMaskOf(*this, a, op, Operand(b)); }
TVec& TVec::FindMask(const TVec& a, std::string_view op, double b) { return FindMaskOf(*this, a, op, Operand(b)); }
TVec& TVec::FindMask(const TVec& a, std::string_view op, const TCplx& b) {
  return FindMaskOf(*this, a, op, Operand(b));
}

TVec& TVec::FindIndexes(const TVec& a, std::string_view op, const TVec& b) {
  return FindIndexesOf(*this, a, op, Operand(b));
}
TVec& TVec::FindIndexes(const TVec& a, std::string_view op, double b) {
  return FindIndexesOf(*this, a, op, Operand(b));
}
TVec& TVec::FindIndexes(const TVec& a, std::string_view op, const TCplx& b) {
  return FindIndexesOf(*this, a, op, Operand(b));
}

TVec& TVec::FindAndGather(const TVec& a, std::string_view op, const TVec& b, TVec& indexes) {
  return FindAndGatherOf(*this, a, op, Operand(b), indexes);
}
TVec& TVec::FindAndGather(const TVec& a, std::string_view op, double b, TVec& indexes) {
  return FindAndGatherOf(*this, a, op, Operand(b), indexes);
}
TVec& TVec::FindAndGather(const TVec& a, std::string_view op, const TCplx& b, TVec& indexes) {
  return FindAndGatherOf(*this, a, op, Operand(b), indexes);
}

TVec& TVec::FindAndSplit(const TVec& a, std::string_view op, const TVec& b, TVec& maskVec, TVec& notMaskVec) {
  return FindAndSplitOf(*this, a, op, Operand(b), maskVec, notMaskVec);
}
TVec& TVec::FindAndSplit(const TVec& a, std::string_view op, double b, TVec& maskVec, TVec& notMaskVec) {
  return FindAndSplitOf(*this, a, op, Operand(b), maskVec, notMaskVec);
}
TVec& TVec::FindAndSplit(const TVec& a, std::string_view op, const TCplx& b, TVec& maskVec, TVec& notMaskVec) {
  return FindAndSplitOf(*this, a, op, Operand(b), maskVec, notMaskVec);
}

}  // namespace quorel
