// Assembling a vector from pieces and cutting it into pieces: Copy (Vec1, Vec2), Concat, Split.
// Also the element-moving internals the other vector operations share.
#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"
#include "quorel/objects/detail/vecops.h"

namespace quorel {

using detail::Require;
using detail::RequireInRange;

namespace detail {

void SizeAs(TVec& v, TElemKind kind, std::int32_t len) {
  v.Size(len, kind == TElemKind::Cplx);
  v.SetIsInteger(kind == TElemKind::Int);
}

void CheckSizable(const TVec& v, TElemKind kind, std::int32_t len) {
  if (v.IsSubRange() && (len != v.Length() || (kind == TElemKind::Cplx) != v.Complex()))
    ERaise("IsSubRange = True!");
}

void CopyElements(const TVec& src, std::int32_t srcIndex, TVec& dst, std::int32_t dstIndex, std::int32_t n) {
  if (n <= 0) return;
  OnKind(KindOf(dst), [&](auto dtag) {
    using D = decltype(dtag);
    D* out = Ptr<D>(dst) + dstIndex;
    OnKind(KindOf(src), [&](auto stag) {
      using S = decltype(stag);
      const S* in = Ptr<S>(src) + srcIndex;
      if constexpr (std::is_same_v<D, S>) {
        std::memmove(out, in, static_cast<std::size_t>(n) * sizeof(D));
      } else {
        std::transform(in, in + n, out, [](const S& x) { return ConvertElem<D>(x); });
      }
    });
  });
}

const TVec& Readable(const TVec& in, TElemKind kind, bool aliased, std::optional<TWorkVec>& keep) {
  if (!aliased && KindOf(in) == kind) return in;
  keep.emplace();
  TVec& copy = **keep;
  SizeAs(copy, kind, in.Length());
  CopyElements(in, 0, copy, 0, in.Length());
  return copy;
}

std::int32_t CountNonZero(const TVec& mask, std::int32_t n) {
  const std::int32_t* m = Ptr<std::int32_t>(mask);
  std::int32_t count = 0;
  for (std::int32_t i = 0; i < n; ++i) count += m[i] != 0;
  return count;
}

}  // namespace detail

using namespace detail;

namespace {

std::int32_t TotalLength(std::int64_t total) {
  if (total > std::numeric_limits<std::int32_t>::max()) EOutOfMemoryRaise("Quorel: Out of memory!");
  return static_cast<std::int32_t>(total);
}

// The checks both Concat forms share; returns the sum of the source lengths.
std::int64_t CheckSources(const TVec& self, std::span<const TVec* const> src) {
  std::int64_t total = 0;
  for (std::size_t i = 0; i < src.size(); ++i) {
    if (src[i] == nullptr) EInvalidArgumentRaise(FormatMsg("src[%d] = nil", static_cast<int>(i)));
    total += src[i]->Length();
  }
  if (self.ConditionCheck()) {
    for (const TVec* s : src)
      if (s->Complex() != src[0]->Complex()) EInvalidArgumentRaise("src[i].Complex <> src[0].Complex");
  }
  return total;
}

// The sources as they read while dst is written: a source whose elements overlap dst's (dst itself,
// or a sub-range view over its storage) is read from a copy taken on construction, one per object.
// The ordinary call takes no copy and allocates nothing.
class TReadableSources {
 public:
  TReadableSources(const TVec& dst, std::span<const TVec* const> src) {
    for (const TVec* s : src) {
      if (!detail::SharesStorage(dst, *s) || Find(s)) continue;
      auto copy = std::make_unique<TWorkVec>();
      SizeAs(**copy, KindOf(*s), s->Length());
      CopyElements(*s, 0, **copy, 0, s->Length());
      copies_.emplace_back(s, std::move(copy));
    }
  }
  const TVec& operator()(const TVec* s) const {
    const TWorkVec* copy = Find(s);
    return copy ? **copy : *s;
  }

 private:
  const TWorkVec* Find(const TVec* s) const {
    for (const auto& [from, copy] : copies_)
      if (from == s) return copy.get();
    return nullptr;
  }
  std::vector<std::pair<const TVec*, std::unique_ptr<TWorkVec>>> copies_;
};

// Writes the sources one after another into dst from `index` on.
void WriteSources(TVec& dst, std::int32_t index, std::span<const TVec* const> src, const TReadableSources& read) {
  for (const TVec* s : src) {
    const TVec& from = read(s);
    CopyElements(from, 0, dst, index, from.Length());
    index += from.Length();
  }
}

// dst = len elements of src from `from` on, in `kind`.
void WritePiece(const TVec& src, std::int32_t from, TVec& dst, std::int32_t len, TElemKind kind) {
  SizeAs(dst, kind, len);
  CopyElements(src, from, dst, 0, len);
}

// Cuts `self` into dst[i] of pieceLen(i) elements; every check has been made.
template <class PieceLen>
void WritePieces(TVec& self, std::span<TVec* const> dst, PieceLen pieceLen) {
  const TElemKind kind = KindOf(self);
  const bool selfIn =
      std::any_of(dst.begin(), dst.end(), [&](const TVec* d) { return detail::SharesStorage(self, *d); });
  std::optional<TWorkVec> keep;
  const TVec& src = Readable(self, kind, selfIn, keep);
  std::int32_t pos = 0;
  for (std::size_t i = 0; i < dst.size(); ++i) {
    const std::int32_t len = pieceLen(i);
    WritePiece(src, pos, *dst[i], len, kind);
    pos += len;
  }
}

void CheckDst(std::span<TVec* const> dst) {
  for (std::size_t i = 0; i < dst.size(); ++i)
    if (dst[i] == nullptr) EInvalidArgumentRaise(FormatMsg("Dst[%d] = nil", static_cast<int>(i)));
}

}  // namespace

TVec& TVec::Copy(const TVec& vec1, const TVec& vec2) {
  if (fConditionCheck) {
    Require(!Is(vec1), "TVec.Copy: Self = Vec1");
    Require(!Is(vec2), "TVec.Copy: Self = Vec2");
  }
  const std::int32_t n1 = vec1.Length();
  const std::int32_t n2 = vec2.Length();
  const std::int32_t total = TotalLength(std::int64_t{n1} + n2);
  const TElemKind kind = std::max(KindOf(vec1), KindOf(vec2));
  std::optional<TWorkVec> keep1, keep2;
  const TVec& a = Readable(vec1, KindOf(vec1), detail::SharesStorage(*this, vec1), keep1);
  const TVec& b = Readable(vec2, KindOf(vec2), detail::SharesStorage(*this, vec2), keep2);
  SizeAs(*this, kind, total);
  CopyElements(a, 0, *this, 0, n1);
  CopyElements(b, 0, *this, n1, n2);
  return *this;
}

TVec& TVec::Concat(std::span<const TVec* const> src) {
  const std::int32_t total = TotalLength(CheckSources(*this, src));
  TElemKind kind = src.empty() ? KindOf(*this) : KindOf(*src[0]);
  for (const TVec* s : src) kind = std::max(kind, KindOf(*s));
  const TReadableSources read(*this, src);
  SizeAs(*this, kind, total);
  WriteSources(*this, 0, src, read);
  return *this;
}

TVec& TVec::Concat(std::int32_t index, std::span<const TVec* const> src) {
  const std::int64_t total = CheckSources(*this, src);
  if (fConditionCheck && !src.empty() && src[0]->Complex() != fComplex)
    EInvalidArgumentRaise("src[0].Complex <> Complex");
  if (index < 0)
    ERangeErrorRaise(FormatMsg("Self params out of range: Index: %d, Len: %d, Length: %d", index,
                               static_cast<int>(std::min<std::int64_t>(total, std::numeric_limits<int>::max())),
                               fLength));
  RequireInRange(index + total <= fLength, "(Index + Sum(Src[i].Length)) > Length");
  WriteSources(*this, index, src, TReadableSources(*this, src));
  return *this;
}

TVec& TVec::Split(TVec& vec1, TVec& vec2, std::int32_t offset) {
  if (fConditionCheck) {
    Require(!Is(vec1), "Self = Vec1");
    Require(!Is(vec2), "Self = Vec2");
  }
  RequireInRange(offset <= fLength, "Offset > fLength");
  if (offset < 0) ERangeErrorRaise(FormatMsg("Offset < 0 (%d)", offset));
  const TElemKind kind = KindOf(*this);
  const std::int32_t rest = fLength - offset;
  CheckSizable(vec1, kind, offset);
  CheckSizable(vec2, kind, rest);
  TVec* dst[] = {&vec1, &vec2};
  WritePieces(*this, dst, [&](std::size_t i) { return i == 0 ? offset : rest; });
  return *this;
}

TVec& TVec::Split(std::span<TVec* const> dst) {
  CheckDst(dst);
  const TElemKind kind = KindOf(*this);
  std::int64_t end = 0;
  for (std::size_t i = 0; i < dst.size(); ++i) {
    end += dst[i]->Length();
    if (end > fLength) ERangeErrorRaise("Size mismatch at vec " + std::to_string(i));
    CheckSizable(*dst[i], kind, dst[i]->Length());
  }
  // Each piece keeps its destination's length, so the lengths read while writing are the ones checked.
  WritePieces(*this, dst, [&](std::size_t i) { return dst[i]->Length(); });
  return *this;
}

TVec& TVec::Split(std::span<TVec* const> dst, std::span<const std::int32_t> dstSize) {
  Require(dst.size() == dstSize.size(), "High(Dst) <> High(DstSize)");
  CheckDst(dst);
  const TElemKind kind = KindOf(*this);
  std::int64_t end = 0;
  for (std::size_t i = 0; i < dst.size(); ++i) {
    if (dstSize[i] < 0) ERangeErrorRaise(FormatMsg("DstSize[%d] < 0 (%d)", static_cast<int>(i), dstSize[i]));
    end += dstSize[i];
    if (end > fLength) ERangeErrorRaise("Self.Length exceeded at vec " + std::to_string(i));
    CheckSizable(*dst[i], kind, dstSize[i]);
  }
  WritePieces(*this, dst, [&](std::size_t i) { return dstSize[i]; });
  return *this;
}

}  // namespace quorel
