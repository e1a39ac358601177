#include "quorel/io/lists.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "quorel/core/errors.h"

namespace quorel {

// --- TObjectList -----------------------------------------------------------------------------------

template <class T>
std::size_t TObjectList<T>::Checked(std::int32_t i) const {
  if (i < 0 || i >= Count()) ERangeErrorRaise(FormatMsg("List index out of bounds (%d)", i));
  return static_cast<std::size_t>(i);
}

template <class T>
std::int32_t TObjectList<T>::Add() {
  items_.push_back(std::make_unique<T>());
  return Count() - 1;
}

template <class T>
void TObjectList<T>::Delete(std::int32_t i) {
  items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(Checked(i)));
}

template <class T>
void TObjectList<T>::Clear() {
  while (!items_.empty()) items_.pop_back();
}

template <class T>
void TObjectList<T>::SetCount(std::int32_t value) {
  if (value < 0) ERangeErrorRaise(FormatMsg("List count out of bounds (%d)", value));
  while (Count() > value) items_.pop_back();
  items_.reserve(static_cast<std::size_t>(value));
  while (Count() < value) Add();
}

template <class T>
void TObjectList<T>::Assign(const TObjectList& src) {
  if (&src == this) return;
  SetCount(src.Count());
  for (std::int32_t i = 0; i < src.Count(); ++i) items_[static_cast<std::size_t>(i)]->Assign(src.Items(i));
}

template <class T>
void TObjectList<T>::SaveToStream(TQuorelStream& stream) const {
  const std::int32_t count = Count();
  stream.WriteFully(&count, 4);
  for (const auto& item : items_) item->SaveToStream(stream);
}

template <class T>
void TObjectList<T>::LoadFromStream(TQuorelStream& stream) {
  std::int32_t count = 0;
  stream.ReadBuffer(&count, 4);
  count = std::max(count, 0);
  // Every item is read into a copy first, so a corrupt item leaves the whole list as it was. The
  // copies grow one at a time: an absurd count fails at the first missing item, not on a huge
  // allocation.
  std::vector<std::unique_ptr<T>> loaded;
  for (std::int32_t i = 0; i < count; ++i) {
    auto item = std::make_unique<T>();
    if (i < Count()) item->Assign(*items_[static_cast<std::size_t>(i)]);
    item->LoadFromStream(stream);
    loaded.push_back(std::move(item));
  }
  // Existing items keep their identity (callers may hold references to them).
  const auto kept = static_cast<std::size_t>(std::min(count, Count()));
  for (std::size_t i = 0; i < kept; ++i) *items_[i] = std::move(*loaded[i]);
  SetCount(count);
  for (std::size_t i = kept; i < loaded.size(); ++i) items_[i] = std::move(loaded[i]);
}

template class TObjectList<TVec>;
template class TObjectList<TMtx>;

// --- TVecList --------------------------------------------------------------------------------------

void TVecList::DecomposeColumnMatrix(const TMtx& mtx) {
  SetCount(mtx.Cols());
  for (std::int32_t j = 0; j < mtx.Cols(); ++j) Items(j).GetCol(mtx, j);
}

void TVecList::DecomposeRowMatrix(const TMtx& mtx) {
  SetCount(mtx.Rows());
  for (std::int32_t i = 0; i < mtx.Rows(); ++i) Items(i).GetRow(mtx, i);
}

namespace {

// Every item must match the first one's length and kind. The message compares Complex with
// Length, as it always has; it serves both compose forms.
void CheckComposable(const TVecList& list) {
  for (std::int32_t i = 0; i < list.Count(); ++i) {
    if (list[i].Length() != list[0].Length() || list[i].Complex() != list[0].Complex())
      EInvalidArgumentRaise("(Dst.Rows <> Items[i].Length) or (Dst.Complex <> Items[i].Length)");
  }
}

}  // namespace

void TVecList::ComposeColumnMatrix(TMtx& dst) const {
  CheckComposable(*this);
  if (Count() == 0) {
    dst.Size(0, 0);
    return;
  }
  dst.Size(Items(0).Length(), Count(), Items(0).Complex());
  for (std::int32_t j = 0; j < Count(); ++j) dst.SetCol(&Items(j), j);
}

void TVecList::ComposeRowMatrix(TMtx& dst) const {
  CheckComposable(*this);
  if (Count() == 0) {
    dst.Size(0, 0);
    return;
  }
  dst.Size(Count(), Items(0).Length(), Items(0).Complex());
  for (std::int32_t i = 0; i < Count(); ++i) dst.SetRow(&Items(i), i);
}

void TVecList::SetSubRange(const TMtx& mtx) {
  SetCount(mtx.Rows());
  for (std::int32_t i = 0; i < mtx.Rows(); ++i) Items(i).SetSubRange(mtx, i * mtx.LeadingCols(), mtx.Cols());
}

void TVecList::SetFullRange() {
  for (auto& item : items_) item->SetFullRange();
}

}  // namespace quorel
