// Element-wise methods of sparse matrices: every method of the element-wise list runs as the
// vector method on views of the stored values.
#include <algorithm>
#include <cstring>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/sparse/detail/value_views.h"

namespace quorel {

namespace header_detail {

using detail::RequireState;

namespace {

const char* const kPatternMismatch = "Sparse operands differ in pattern!";

bool SamePattern(const TSparseMtx& a, const TSparseMtx& b) {
  if (&a == &b) return true;
  if (a.Rows() != b.Rows() || a.Cols() != b.Cols() || a.NonZeros() != b.NonZeros()) return false;
  const auto ap = a.Ap(), bp = b.Ap();
  const auto ai = a.Ai(), bi = b.Ai();
  return std::equal(ap.begin(), ap.end(), bp.begin()) && std::equal(ai.begin(), ai.end(), bi.begin());
}

void ViewValues(TVec& view, const TSparseMtx& m) {
  view.Adopt(const_cast<double*>(m.Values().data()), m.NonZeros(), m.Complex());
}

}  // namespace

void TSparseValueViews::Add(TSparseMtx& m, bool output) {
  if (&m == &fSelf) return;
  for (int k = 0; k < fCount; ++k)
    if (fSlots[k].m == &m) {
      fSlots[k].output = fSlots[k].output || output;
      return;
    }
  // The list has at most two sparse operands besides Self.
  RequireState(fCount < kSlots, "Too many sparse operands");
  fSlots[fCount] = {&m, output, &fViews[fCount]};
  ++fCount;
  if (!output && fPattern == nullptr) fPattern = &m;
}

void TSparseValueViews::Open() {
  if (fPattern == nullptr) fPattern = &fSelf;
  fSelf.RequireFlushed();
  bool sourceMismatch = false;
  for (int k = 0; k < fCount; ++k) {
    Slot& s = fSlots[k];
    s.m->RequireFlushed();
    s.view->SetConditionCheck(fSelf.ConditionCheck());
    if (SamePattern(*s.m, *fPattern)) ViewValues(*s.view, *s.m);
    else if (!s.output) sourceMismatch = true;
  }
  // Without ConditionCheck the vector method would not compare lengths; refuse here instead.
  if (sourceMismatch && !fSelf.ConditionCheck()) ERaise(kPatternMismatch);
  fSelfView.SetConditionCheck(fSelf.ConditionCheck());
  if (SamePattern(fSelf, *fPattern)) ViewValues(fSelfView, fSelf);
}

TVec& TSparseValueViews::ViewOf(const TSparseMtx& m) {
  for (int k = 0; k < fCount; ++k)
    if (fSlots[k].m == &m) return *fSlots[k].view;
  return fSelfView;
}

void TSparseValueViews::Commit() {
  const std::int32_t n = fPattern->NonZeros();
  for (int k = 0; k < fCount; ++k) {
    const Slot& s = fSlots[k];
    if (!s.output && !SamePattern(*s.m, *fPattern)) ERaise(kPatternMismatch);
    if (s.output && s.view->Length() != n) ERaise(kPatternMismatch);
  }
  if (fSelfView.Length() != n) ERaise(kPatternMismatch);
  for (int k = 0; k < fCount; ++k)
    if (fSlots[k].output) WriteBack(*fSlots[k].m, *fSlots[k].view);
  WriteBack(fSelf, fSelfView);
}

void TSparseValueViews::WriteBack(TSparseMtx& m, TVec& view) {
  const bool newPattern = !SamePattern(m, *fPattern);
  if (newPattern) {
    m.fRows = fPattern->fRows;
    m.fCols = fPattern->fCols;
    m.fAp = fPattern->fAp;
    m.fAi = fPattern->fAi;
  }
  double* data = view.Length() > 0 ? view.PValues1D(0) : nullptr;
  if (data != nullptr && data == m.fValues) {
    // Worked in place (a complex result switched to real keeps the leading doubles).
    m.fComplex = view.Complex();
    m.fLength = view.Length();
  } else if (!m.TakeStorage(view)) {
    const std::int64_t doubles = view.Complex() ? 2 * std::int64_t{view.Length()} : view.Length();
    m.fComplex = view.Complex();
    if (doubles > m.fActualSize) m.SetActualSize(static_cast<std::int32_t>(std::max<std::int64_t>(doubles, 2)));
    if (doubles > 0) std::memcpy(m.fValues, data, static_cast<std::size_t>(doubles) * sizeof(double));
    m.fLength = view.Length();
  }
  m.WriteArrayHeader();
  if (newPattern) m.StorageChanged();
  else m.ValuesChanged();
  m.NotifySetSize();
}

}  // namespace header_detail

#define QUOREL_SPARSE_ARGS(...) __VA_OPT__(, ) __VA_ARGS__
#define QUOREL_SELF_METHOD(name, params, args)                                                               \
  TSparseMtx& TSparseElementwise::name params {                                                              \
    return header_detail::TSparseValueViews::Run(                                                                   \
        static_cast<TSparseMtx&>(*this), [](TVec& self, auto&... a) { self.name(a...); } QUOREL_SPARSE_ARGS args); \
  }
#include "quorel/objects/elementwise_methods.inc"
#include "quorel/objects/value_methods.inc"
#undef QUOREL_SELF_METHOD
#undef QUOREL_SPARSE_ARGS

namespace {
// A quick fill of the stored values: the view draws from the matrix's seed (passed as the reseeding
// argument, which is the same state) and hands the advanced seed back.
template <class Fill>
TSparseMtx& QuickFill(TSparseElementwise& m, std::uint32_t& seed, Fill fill) {
  std::uint32_t next = seed;
  header_detail::TSparseValueViews::Run(static_cast<TSparseMtx&>(m), [&](TVec& v) {
    fill(v, seed);
    next = v.RandSeed();
  });
  seed = next;
  return static_cast<TSparseMtx&>(m);
}
}  // namespace

TSparseMtx& TSparseElementwise::RandGauss(double mean, double stdDev) {
  return QuickFill(*this, fRandSeed, [&](TVec& v, std::uint32_t s) {
    if (s != 0) v.RandGauss(s, mean, stdDev);
    else v.RandGauss(mean, stdDev);
  });
}

TSparseMtx& TSparseElementwise::RandGauss(std::uint32_t seed, double mean, double stdDev) {
  return QuickFill(*this, fRandSeed, [&](TVec& v, std::uint32_t) { v.RandGauss(seed, mean, stdDev); });
}

TSparseMtx& TSparseElementwise::RandUniform(double low, double high) {
  return QuickFill(*this, fRandSeed, [&](TVec& v, std::uint32_t s) {
    if (s != 0) v.RandUniform(s, low, high);
    else v.RandUniform(low, high);
  });
}

TSparseMtx& TSparseElementwise::RandUniform(std::uint32_t seed, double low, double high) {
  return QuickFill(*this, fRandSeed, [&](TVec& v, std::uint32_t) { v.RandUniform(seed, low, high); });
}

}  // namespace quorel
