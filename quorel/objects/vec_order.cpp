// Generation and ordering: Ramp, SliceIt/SliceItc, SortAscend/SortDescend, PrimeNumbers, NotMask.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

#include "quorel/core/detail/checks.h"
#include "quorel/core/complex_compare.h"
#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"
#include "quorel/objects/detail/vecops.h"

namespace quorel {

using detail::Require;
using detail::RequireChecked;

using namespace detail;

// --- Ramp -------------------------------------------------------------------------------------------

TVec& TVec::Ramp() { return Ramp(0.0, 1.0); }

TVec& TVec::Ramp(double offset, double step) { return Ramp(offset, step, 0, fLength); }

TVec& TVec::Ramp(double offset, double step, std::int32_t index, std::int32_t len) {
  ValidateParams(index, len);
  OnKind(KindOf(*this), [&](auto tag) {
    using T = decltype(tag);
    T* out = Ptr<T>(*this) + index;
    // Each value from its own product: no drift along long ramps.
    for (std::int32_t k = 0; k < len; ++k) out[k] = ConvertElem<T>(offset + k * step);
  });
  return *this;
}

TVec& TVec::Ramp(const TCplx& offset, double step) { return Ramp(offset, TCplx{step, 0.0}); }

TVec& TVec::Ramp(const TCplx& offset, const TCplx& step) {
  if (!fComplex) {
    CheckSizable(*this, TElemKind::Cplx, fLength);
    const std::int32_t len = fLength;
    set_Complex(true);
    SetLength(len);
  }
  fIsInteger = false;
  return Ramp(offset, step, 0, fLength);
}

TVec& TVec::Ramp(const TCplx& offset, double step, std::int32_t index, std::int32_t len) {
  return Ramp(offset, TCplx{step, 0.0}, index, len);
}

TVec& TVec::Ramp(const TCplx& offset, const TCplx& step, std::int32_t index, std::int32_t len) {
  ValidateParams(index, len);
  Require(fComplex, "Complex = False");
  TCplx* out = PCValues1D(index);
  for (std::int32_t k = 0; k < len; ++k) out[k] = {offset.Re + k * step.Re, offset.Im + k * step.Im};
  return *this;
}

// --- slices -----------------------------------------------------------------------------------------

namespace {

// Length of the slice Offset + k*Step of n elements; Len = -1 takes as many as fit.
std::int32_t SliceLength(const char* method, std::int32_t n, std::int32_t step, std::int32_t offset,
                         std::int32_t len) {
  if (step == 0) EInvalidArgumentRaise(FormatMsg("TVec.%s: Step = 0", method));
  const std::int64_t last = offset + std::int64_t{len - 1} * step;
  if (len == -1) {
    if (offset < 0 || offset >= n) return 0;
    return static_cast<std::int32_t>(step > 0 ? (n - 1 - offset) / step + 1 : offset / -std::int64_t{step} + 1);
  }
  if (len < 0 || (len > 0 && (offset < 0 || offset >= n || last < 0 || last >= n)))
    ERangeErrorRaise(FormatMsg("TVec.%s: slice out of range (Offset: %d, Step: %d, Len: %d, Src.Length: %d)",
                               method, offset, step, len, n));
  return len;
}

}  // namespace

TVec& TVec::SliceIt(const TVec& src, std::int32_t step, std::int32_t offset, std::int32_t len) {
  const std::int32_t n = SliceLength("SliceIt", src.Length(), step, offset, len);
  const TElemKind kind = KindOf(src);
  std::optional<TWorkVec> keep;
  const TVec& from = Readable(src, kind, detail::SharesStorage(*this, src), keep);
  SizeAs(*this, kind, n);
  MoveElements(kind, from, *this, n, SamePos{}, [=](std::int32_t k) { return offset + std::int64_t{k} * step; });
  return *this;
}

TVec& TVec::SliceItc(const TVec& src, std::int32_t step, std::int32_t offset, std::int32_t len) {
  const auto pairs = static_cast<std::int32_t>(src.CValues().size());
  const std::int32_t n = SliceLength("SliceItc", pairs, step, offset, len);
  std::optional<TWorkVec> keep;
  const TVec& from = Readable(src, KindOf(src), detail::SharesStorage(*this, src), keep);
  SizeAs(*this, TElemKind::Cplx, n);
  MoveElements(TElemKind::Cplx, from, *this, n, SamePos{},
               [=](std::int32_t k) { return offset + std::int64_t{k} * step; });
  return *this;
}

// --- sorting ----------------------------------------------------------------------------------------

namespace {

template <class T>
bool IsNanElem(const T& x) {
  if constexpr (std::is_same_v<T, TCplx>) {
    return IsNan(x);
  } else if constexpr (std::is_same_v<T, double>) {
    return std::isnan(x);
  } else {
    return false;
  }
}

struct Ascending {
  bool operator()(const TCplx& a, const TCplx& b) const { return Smaller(a, b); }
  template <class T>
  bool operator()(const T& a, const T& b) const { return a < b; }
};

struct Descending {
  bool operator()(const TCplx& a, const TCplx& b) const { return Bigger(a, b); }
  template <class T>
  bool operator()(const T& a, const T& b) const { return a > b; }
};

// Sorts v in place, NaNs last.
template <class T, class Before>
void SortValues(T* v, std::int32_t n, Before before) {
  T* numbers = std::partition(v, v + n, [](const T& x) { return !IsNanElem(x); });
  std::sort(v, numbers, before);
}

// Stable sort of v through the permutation `perm` (original positions), NaNs last; `scratch`
// holds n elements.
template <class T, class Before>
void SortValues(T* v, std::int32_t n, Before before, std::int32_t* perm, T* scratch) {
  // Numbers first and NaNs after them, each in original order; then an unstable sort with the
  // original position as the tie-break, which is a stable sort without stable_sort's heap buffer.
  const std::int32_t nans = static_cast<std::int32_t>(std::count_if(v, v + n, [](const T& x) { return IsNanElem(x); }));
  std::int32_t numberAt = 0, nanAt = n - nans;
  for (std::int32_t i = 0; i < n; ++i) perm[IsNanElem(v[i]) ? nanAt++ : numberAt++] = i;
  std::sort(perm, perm + (n - nans), [v, before](std::int32_t i, std::int32_t j) {
    return before(v[i], v[j]) || (!before(v[j], v[i]) && i < j);
  });
  for (std::int32_t k = 0; k < n; ++k) scratch[k] = v[perm[k]];
  std::copy(scratch, scratch + n, v);
}

template <class Before>
void SortElements(TVec& self, TVec* indexVec, Before before) {
  const TElemKind kind = KindOf(self);
  const std::int32_t n = self.Length();
  if (indexVec == nullptr) {
    OnKind(kind, [&](auto tag) { SortValues(Ptr<decltype(tag)>(self), n, before); });
    return;
  }
  CheckSizable(*indexVec, TElemKind::Int, n);
  TWorkVec perm, scratch;
  SizeAs(*perm, TElemKind::Int, n);
  SizeAs(*scratch, kind, n);
  OnKind(kind, [&](auto tag) {
    using T = decltype(tag);
    SortValues(Ptr<T>(self), n, before, Ptr<std::int32_t>(*perm), Ptr<T>(*scratch));
  });
  SizeAs(*indexVec, TElemKind::Int, n);
  CopyElements(*perm, 0, *indexVec, 0, n);
}

void CheckIndexVec(const TVec& self, const TVec* indexVec) {
  Require(indexVec != nullptr, "IndexVec = nil");
  RequireChecked(self, indexVec != &self, "IndexVec = Self");
}

}  // namespace

TVec& TVec::SortAscend() {
  SortElements(*this, nullptr, Ascending{});
  return *this;
}

TVec& TVec::SortDescend() {
  SortElements(*this, nullptr, Descending{});
  return *this;
}

TVec& TVec::SortAscend(TVec* indexVec) {
  CheckIndexVec(*this, indexVec);
  SortElements(*this, indexVec, Ascending{});
  return *this;
}

TVec& TVec::SortDescend(TVec* indexVec) {
  CheckIndexVec(*this, indexVec);
  SortElements(*this, indexVec, Descending{});
  return *this;
}

// --- primes and masks -------------------------------------------------------------------------------

TVec& TVec::PrimeNumbers(std::int32_t n) {
  // Sieve of the odd numbers: entry j stands for 2j + 1.
  const std::int64_t odds = n < 2 ? 0 : (std::int64_t{n} + 1) / 2;
  std::vector<bool> composite(static_cast<std::size_t>(odds));
  std::int32_t count = n < 2 ? 0 : 1;  // the prime 2
  for (std::int64_t j = 1; j < odds; ++j) {
    if (composite[static_cast<std::size_t>(j)]) continue;
    ++count;
    const std::int64_t p = 2 * j + 1;
    for (std::int64_t m = p * p; m <= n; m += 2 * p) composite[static_cast<std::size_t>(m / 2)] = true;
  }
  SizeAs(*this, TElemKind::Real, count);
  if (count == 0) return *this;
  double* out = PValues1D(0);
  *out++ = 2;
  for (std::int64_t j = 1; j < odds; ++j)
    if (!composite[static_cast<std::size_t>(j)]) *out++ = static_cast<double>(2 * j + 1);
  return *this;
}

TVec& TVec::NotMask() {
  RequireChecked(*this, fIsInteger, "TVec.NotMask: Self is not integer");
  for (std::int32_t& m : IValues()) m = m == 0;
  return *this;
}

}  // namespace quorel
