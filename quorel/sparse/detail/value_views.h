#pragma once
// Vector views of the stored values of sparse matrices, so that the element-wise methods of
// vectors run on them unchanged. The first sparse source (or Self) sets the pattern; an operand of
// another pattern is shown to the vector method as an empty vector, which makes it raise its own
// length message. Results are written back only after every check has passed.

#include <cstdint>

#include "quorel/objects/vec.h"
#include "quorel/sparse/sparse.h"

// Named by the public sparse header (as a friend), so it lives where public headers keep their internals.
namespace quorel::header_detail {

class TSparseValueViews {
 public:
  /// Runs f(selfView, mapped args...) and writes the results back into Self and the outputs.
  template <class F, class... A>
  static TSparseMtx& Run(TSparseMtx& self, F f, A&... a) {
    TSparseValueViews views(self);
    (views.Note(a), ...);
    views.Open();
    f(views.fSelfView, views.Map(a)...);
    views.Commit();
    return self;
  }

 private:
  static constexpr int kSlots = 3;
  struct Slot {
    TSparseMtx* m = nullptr;
    bool output = false;
    TVec* view = nullptr;
  };

  explicit TSparseValueViews(TSparseMtx& self) : fSelf(self) {}
  void Note(const TSparseMtx& m) { Add(const_cast<TSparseMtx&>(m), false); }
  void Note(TSparseMtx& m) { Add(m, true); }
  template <class T>
  void Note(const T&) {}
  const TVec& Map(const TSparseMtx& m) { return ViewOf(m); }
  TVec& Map(TSparseMtx& m) { return ViewOf(m); }
  template <class T>
  T& Map(T& x) { return x; }

  void Add(TSparseMtx& m, bool output);
  /// Chooses the pattern and fills the views; raises before anything is written.
  void Open();
  TVec& ViewOf(const TSparseMtx& m);
  /// Checks every result's length, then moves the values (and the pattern) into their matrices.
  void Commit();
  void WriteBack(TSparseMtx& m, TVec& view);

  TSparseMtx& fSelf;
  const TSparseMtx* fPattern = nullptr;
  TVec fSelfView;
  TVec fViews[kSlots];
  Slot fSlots[kSlots];
  int fCount = 0;
};

}  // namespace quorel::header_detail
