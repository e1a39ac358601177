#pragma once
// Lists that own their vectors or matrices: persisted together, and for vectors the bridge to a
// matrix's rows and columns (copies, or views onto the matrix's own rows).

#include <cstdint>
#include <memory>
#include <vector>

#include "quorel/objects/mtx.h"
#include "quorel/io/persist.h"
#include "quorel/io/stream.h"
#include "quorel/objects/vec.h"

namespace quorel {

/// Growable list owning objects of type T (TVec or TMtx). Items are ordinary objects (not from
/// the cache), created by the list and destroyed with it; their addresses stay fixed while they
/// are in the list.
template <class T>
class TObjectList {
 public:
  TObjectList() = default;
  ~TObjectList() { Clear(); }
  TObjectList(const TObjectList&) = delete;
  TObjectList& operator=(const TObjectList&) = delete;

  /// Appends a new empty object; returns its position.
  std::int32_t Add();
  /// Destroys item i and removes it.
  void Delete(std::int32_t i);
  /// Destroys every item, last first.
  void Clear();
  /// Number of items.
  std::int32_t Count() const { return static_cast<std::int32_t>(items_.size()); }
  /// Same as Count.
  std::int32_t GetCount() const { return Count(); }
  /// Appends empty objects or deletes items from the end until Count is value.
  void SetCount(std::int32_t value);
  /// The owned item i; an index outside the list raises EQuorelRangeError.
  T& Items(std::int32_t i) { return *items_[Checked(i)]; }
  const T& Items(std::int32_t i) const { return *items_[Checked(i)]; }
  /// Same as Items(i).
  T& GetItems(std::int32_t i) { return Items(i); }
  /// Same as Items(i).
  T& operator[](std::int32_t i) { return Items(i); }
  /// Same as Items(i).
  const T& operator[](std::int32_t i) const { return Items(i); }
  /// Copies src into item i (Assign); the item itself is kept.
  void SetItems(std::int32_t i, const T& src) { Items(i).Assign(src); }
  /// Same count as src, each item a copy of src's.
  void Assign(const TObjectList& src);
  /// int32 item count, then each item in its own Precision and Rounding.
  void SaveToStream(TQuorelStream& stream) const;
  /// Reads a count and that many items into the list (reusing existing items), then deletes
  /// items beyond it. A short count raises EReadError; when an item fails, the error passes on
  /// and the list is left as it was.
  void LoadFromStream(TQuorelStream& stream);

 protected:
  std::size_t Checked(std::int32_t i) const;

  std::vector<std::unique_ptr<T>> items_;
};

/// List of vectors.
class TVecList : public TObjectList<TVec> {
 public:
  /// Count = Mtx.Cols; item i becomes a copy of column i.
  void DecomposeColumnMatrix(const TMtx& mtx);
  /// Count = Mtx.Rows; item i becomes a copy of row i.
  void DecomposeRowMatrix(const TMtx& mtx);
  /// Dst becomes Items[0].Length x Count with the items as columns (0 x 0 for an empty list).
  /// Every item must share the first one's Length and Complex; a mismatch raises
  /// EQuorelInvalidArgument before Dst is touched.
  void ComposeColumnMatrix(TMtx& dst) const;
  /// Dst becomes Count x Items[0].Length with the items as rows; checks as above.
  void ComposeRowMatrix(TMtx& dst) const;
  /// Count = Mtx.Rows; item i becomes a view of row i of Mtx's own storage (no copy). Mtx must
  /// outlive the views and must not be resized while they last.
  void SetSubRange(const TMtx& mtx);
  /// Ends every item's view: each returns to its own full range.
  void SetFullRange();
};

/// List of matrices.
class TMtxList : public TObjectList<TMtx> {};

extern template class TObjectList<TVec>;
extern template class TObjectList<TMtx>;

}  // namespace quorel
