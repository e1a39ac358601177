// Gathering elements by increment, index list or mask, and scattering them back.
#include <algorithm>
#include <cstdint>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"
#include "quorel/objects/detail/vecops.h"

namespace quorel {

using detail::Require;
using detail::RequireChecked;

using namespace detail;

namespace {

// Positions Offset, Offset + Increment, ...
struct StridedPos {
  std::int64_t offset;
  std::int64_t step;
  std::int64_t operator()(std::int32_t k) const { return offset + k * step; }
};

// Positions taken from an index list.
struct IndexedPos {
  const std::int32_t* index;
  std::int32_t operator()(std::int32_t k) const { return index[k]; }
};

// The next position whose mask entry is true (or false); called once per hit, in order.
template <bool True>
struct MaskPos {
  const std::int32_t* mask;
  std::int32_t at = -1;
  std::int32_t operator()(std::int32_t) {
    do ++at;
    while ((mask[at] != 0) != True);
    return at;
  }
};

// Raises unless every entry of the index list addresses one of n elements.
void CheckIndexValues(const TVec& indexes, std::int32_t n, const char* method, const char* target) {
  const std::int32_t* index = Ptr<std::int32_t>(indexes);
  for (std::int32_t i = 0; i < indexes.Length(); ++i) {
    if (static_cast<std::uint32_t>(index[i]) >= static_cast<std::uint32_t>(n))
      ERangeErrorRaise(FormatMsg("TVec.%s: Indexes[%d] = %d out of range (%s: %d)", method, i, index[i], target, n));
  }
}

// A complex source cannot be scattered into a real Self without losing its imaginary parts.
void CheckScatterKind(const TVec& self, const TVec& src, const char* method) {
  if (self.ConditionCheck() && src.Complex() && !self.Complex())
    EInvalidArgumentRaise(FormatMsg("TVec.%s: Src is complex, Self is real", method));
}

}  // namespace

TVec& TVec::Gather(const TVec& x, const TVec* indexes, std::int32_t indexType, std::int32_t increment,
                   std::int32_t offset) {
  if (indexType < 0 || indexType > 2)
    EInvalidArgumentRaise(FormatMsg("TVec.Gather: Unexpected IndexType value: %d", indexType));
  if (indexType == 0) return GatherByIncr(x, increment, offset);
  Require(indexes != nullptr, "TVec.Gather: Indexes = nil");
  return indexType == 1 ? GatherByIndex(x, *indexes) : GatherByMask(x, indexes);
}

TVec& TVec::Scatter(const TVec& src, const TVec* indexes, std::int32_t indexType, std::int32_t increment,
                    std::int32_t offset) {
  if (indexType < 0 || indexType > 2)
    EInvalidArgumentRaise(FormatMsg("TVec.Scatter: Unexpected IndexType value: %d", indexType));
  if (indexType == 0) return ScatterByIncr(src, increment, offset);
  Require(indexes != nullptr, "TVec.Scatter: Indexes = nil");
  return indexType == 1 ? ScatterByIndex(src, *indexes) : ScatterByMask(src, indexes);
}

// --- by increment -----------------------------------------------------------------------------------

TVec& TVec::GatherByIncr(const TVec& x, std::int32_t increment, std::int32_t offset) {
  Require(increment > 0, "TVec.GatherByIncr: Increment <= 0");
  RequireChecked(*this, !Is(x), "TVec.GatherByIncr: X = Self");
  if (offset < 0 || offset > x.Length())
    ERangeErrorRaise(
        FormatMsg("TVec.GatherByIncr: Offset out of range (Offset: %d, X.Length: %d)", offset, x.Length()));
  const std::int32_t n = offset < x.Length() ? (x.Length() - 1 - offset) / increment + 1 : 0;
  const TElemKind kind = KindOf(x);
  std::optional<TWorkVec> keep;
  const TVec& src = Readable(x, kind, detail::SharesStorage(*this, x), keep);
  SizeAs(*this, kind, n);
  MoveElements(kind, src, *this, n, SamePos{}, StridedPos{offset, increment});
  return *this;
}

TVec& TVec::ScatterByIncr(const TVec& src, std::int32_t increment, std::int32_t offset) {
  Require(increment > 0, "TVec.ScatterByIncr: Increment <= 0");
  RequireChecked(*this, !Is(src), "TVec.ScatterByIncr: Src = Self");
  CheckScatterKind(*this, src, "ScatterByIncr");
  const std::int32_t n = src.Length();
  if (n > 0 && (offset < 0 || offset + std::int64_t{n - 1} * increment >= fLength))
    ERangeErrorRaise(FormatMsg("TVec.ScatterByIncr: out of range (Offset: %d, Increment: %d, Src.Length: %d, "
                               "Length: %d)",
                               offset, increment, n, fLength));
  const TElemKind kind = KindOf(*this);
  std::optional<TWorkVec> keep;
  const TVec& from = Readable(src, kind, detail::SharesStorage(*this, src), keep);
  MoveElements(kind, from, *this, n, StridedPos{offset, increment}, SamePos{});
  return *this;
}

// --- by index list ----------------------------------------------------------------------------------

TVec& TVec::GatherByIndex(const TVec& x, const TVec& indexes) {
  if (fConditionCheck) {
    Require(!Is(x), "TVec.GatherByIndex: X = Self");
    Require(!Is(indexes), "TVec.GatherByIndex: Indexes = Self");
    Require(indexes.IsInteger(), "TVec.GatherByIndex: Indexes is not integer");
  }
  std::optional<TWorkVec> keepIndex, keepX;
  const TVec& index = Readable(indexes, TElemKind::Int, detail::SharesStorage(*this, indexes), keepIndex);
  CheckIndexValues(index, x.Length(), "GatherByIndex", "X.Length");
  const TElemKind kind = KindOf(x);
  const TVec& src = Readable(x, kind, detail::SharesStorage(*this, x), keepX);
  SizeAs(*this, kind, index.Length());
  MoveElements(kind, src, *this, index.Length(), SamePos{}, IndexedPos{Ptr<std::int32_t>(index)});
  return *this;
}

TVec& TVec::ScatterByIndex(const TVec& src, const TVec& indexes) {
  if (fConditionCheck) {
    Require(!Is(src), "TVec.ScatterByIndex: Src = Self");
    Require(!Is(indexes), "TVec.ScatterByIndex: Indexes = Self");
    Require(indexes.IsInteger(), "TVec.ScatterByIndex: Indexes is not integer");
  }
  CheckScatterKind(*this, src, "ScatterByIndex");
  std::optional<TWorkVec> keepIndex, keepSrc;
  const TVec& index = Readable(indexes, TElemKind::Int, detail::SharesStorage(*this, indexes), keepIndex);
  const std::int32_t n = index.Length();
  if (src.Length() < n)
    ERangeErrorRaise(
        FormatMsg("TVec.ScatterByIndex: Src.Length < Indexes.Length (%d < %d)", src.Length(), n));
  CheckIndexValues(index, fLength, "ScatterByIndex", "Length");
  const TElemKind kind = KindOf(*this);
  const TVec& from = Readable(src, kind, detail::SharesStorage(*this, src), keepSrc);
  MoveElements(kind, from, *this, n, IndexedPos{Ptr<std::int32_t>(index)}, SamePos{});
  return *this;
}

// --- by mask ----------------------------------------------------------------------------------------

TVec& TVec::GatherByMask(const TVec& x, const TVec* mask) {
  if (fConditionCheck) {
    Require(!Is(x), "TVec.GatherMyMask: X = Self");
    Require(mask != this, "TVec.GatherMyMask: Mask = Self");
  }
  Require(mask != nullptr, "TVec.GatherMyMask: Mask = nil");
  if (fConditionCheck) {
    Require(mask->IsInteger(), "TVec.GatherMyMask: Mask is not integer");
    Require(x.Length() >= mask->Length(), "X.Length < Mask.Length");
  }
  std::optional<TWorkVec> keepMask, keepX;
  const TVec& m = Readable(*mask, TElemKind::Int, detail::SharesStorage(*this, *mask), keepMask);
  const std::int32_t hits = CountNonZero(m, std::min(m.Length(), x.Length()));
  const TElemKind kind = KindOf(x);
  const TVec& src = Readable(x, kind, detail::SharesStorage(*this, x), keepX);
  SizeAs(*this, kind, hits);
  MoveElements(kind, src, *this, hits, SamePos{}, MaskPos<true>{Ptr<std::int32_t>(m)});
  return *this;
}

TVec& TVec::ScatterByMask(const TVec& src, const TVec* mask) {
  if (fConditionCheck) {
    Require(!Is(src), "TVec.ScatterByMask: Src = Self");
    Require(mask != this, "TVec.ScatterByMask: Mask = Self");
  }
  Require(mask != nullptr, "TVec.ScatterByMask: Mask = nil");
  if (fConditionCheck) {
    Require(mask->IsInteger(), "TVec.ScatterByMask: Mask is not integer");
    Require(fLength >= mask->Length(), "TVec.ScatterByMask: Self.Length < Mask.Length");
  }
  CheckScatterKind(*this, src, "ScatterByMask");
  std::optional<TWorkVec> keepMask, keepSrc;
  const TVec& m = Readable(*mask, TElemKind::Int, detail::SharesStorage(*this, *mask), keepMask);
  const std::int32_t hits = CountNonZero(m, std::min(m.Length(), fLength));
  if (src.Length() < hits)
    ERangeErrorRaise(FormatMsg("TVec.ScatterByMask: Src.Length < true entries of Mask (%d < %d)", src.Length(), hits));
  const TElemKind kind = KindOf(*this);
  const TVec& from = Readable(src, kind, detail::SharesStorage(*this, src), keepSrc);
  MoveElements(kind, from, *this, hits, MaskPos<true>{Ptr<std::int32_t>(m)}, SamePos{});
  return *this;
}

// --- split by mask ----------------------------------------------------------------------------------

TVec& TVec::GatherSplit(const TVec& mask, const TVec& maskVec, const TVec& notMaskVec) {
  if (fConditionCheck) {
    Require(!Is(mask), "Self = Mask");
    Require(!Is(maskVec), "Self = MaskVec");
    Require(!Is(notMaskVec), "Self = NotMaskVec");
    Require(mask.IsInteger(), "Mask is not integer");
    Require(maskVec.Complex() == notMaskVec.Complex(), "MaskVec.Complex <> NotMaskVec.Complex");
  }
  std::optional<TWorkVec> keepMask, keepTrue, keepFalse;
  const TVec& m = Readable(mask, TElemKind::Int, detail::SharesStorage(*this, mask), keepMask);
  const std::int32_t n = m.Length();
  const std::int32_t hits = CountNonZero(m, n);
  if (maskVec.Length() < hits || notMaskVec.Length() < n - hits)
    ERangeErrorRaise(FormatMsg("GatherSplit: Mask needs %d + %d elements (MaskVec.Length: %d, NotMaskVec.Length: %d)",
                               hits, n - hits, maskVec.Length(), notMaskVec.Length()));
  const TElemKind kind = std::max(KindOf(maskVec), KindOf(notMaskVec));
  const TVec& onTrue = Readable(maskVec, kind, detail::SharesStorage(*this, maskVec), keepTrue);
  const TVec& onFalse = Readable(notMaskVec, kind, detail::SharesStorage(*this, notMaskVec), keepFalse);
  SizeAs(*this, kind, n);
  MoveElements(kind, onTrue, *this, hits, MaskPos<true>{Ptr<std::int32_t>(m)}, SamePos{});
  MoveElements(kind, onFalse, *this, n - hits, MaskPos<false>{Ptr<std::int32_t>(m)}, SamePos{});
  return *this;
}

TVec& TVec::SplitByMask(const TVec& mask, TVec& maskVec, TVec& notMaskVec) {
  if (fConditionCheck) {
    Require(!Is(maskVec), "TVec.SplitByMask: MaskVec = Self");
    Require(!Is(notMaskVec), "TVec.SplitByMask: NotMaskVec = Self");
    Require(mask.IsInteger(), "TVec.SplitByMask: Mask is not integer");
    Require(fLength >= mask.Length(), "TVec.SplitByMask: Self.Length < Mask.Length");
  }
  const TElemKind kind = KindOf(*this);
  const bool maskWritten = detail::SharesStorage(mask, maskVec) || detail::SharesStorage(mask, notMaskVec);
  std::optional<TWorkVec> keepMask, keepSelf;
  const TVec& m = Readable(mask, TElemKind::Int, maskWritten, keepMask);
  const std::int32_t n = std::min(m.Length(), fLength);
  const std::int32_t hits = CountNonZero(m, n);
  CheckSizable(maskVec, kind, hits);
  CheckSizable(notMaskVec, kind, n - hits);
  const bool selfWritten = detail::SharesStorage(*this, maskVec) || detail::SharesStorage(*this, notMaskVec);
  const TVec& src = Readable(*this, kind, selfWritten, keepSelf);
  SizeAs(maskVec, kind, hits);
  MoveElements(kind, src, maskVec, hits, SamePos{}, MaskPos<true>{Ptr<std::int32_t>(m)});
  SizeAs(notMaskVec, kind, n - hits);
  MoveElements(kind, src, notMaskVec, n - hits, SamePos{}, MaskPos<false>{Ptr<std::int32_t>(m)});
  return *this;
}

}  // namespace quorel
