#pragma once
// The object cache: pools of pre-created work vectors (and matrices) backed by one pre-allocated
// block each, handed out with CreateIt and taken back with FreeIt under one process-wide lock.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "quorel/core/startup.h"
#include "quorel/core/types.h"

namespace quorel {

class TQuorel;
class TVec;
class TMtx;

namespace header_detail {
/// One pool of cached objects of type T with its cache memory.
template <class T>
struct TPool {
  explicit TPool(const char* name) : Name(name) {}
  struct Entry {
    T* Object = nullptr;
    bool Used = false;
  };
  std::vector<Entry> Entries;
  std::vector<Entry> Scratch;      // work copy for recollection
  std::vector<double*> Pointers;   // aligned start of each slot's cache memory
  void* Memory = nullptr;          // the one block holding all slots
  std::int32_t Next = 0;           // first entry above the last one handed out
  std::int32_t Used = 0;
  std::int32_t Elements = 0;       // doubles per slot
  bool Full = false;
  const char* Name;                // "VecCache" or "MtxCache", for the rebuild message
};
/// What the global CreateIt/FreeIt and the work-object guard reach inside the controller.
struct TCacheAccess;
}  // namespace header_detail

/// The cache's process-wide lock: a test-and-set spin lock that yields its time slice while
/// another thread holds it. Pool operations last tens of nanoseconds, far less than putting a
/// thread to sleep and waking it. Meets BasicLockable (std::lock_guard, std::unique_lock).
class TCacheLock {
 public:
  /// Takes the lock, spinning (and yielding) while another thread holds it.
  void lock() noexcept {
    while (held_.exchange(true, std::memory_order_acquire)) Wait();
  }
  /// Takes the lock if it is free; never waits.
  bool try_lock() noexcept { return !held_.load(std::memory_order_relaxed) && !held_.exchange(true, std::memory_order_acquire); }
  /// Releases the lock.
  void unlock() noexcept { held_.store(false, std::memory_order_release); }

 private:
  // Spins on a plain load (no cache-line ping-pong), yielding after a short while.
  void Wait() noexcept;
  std::atomic<bool> held_{false};
};

/// Receives the leak report texts at shut-down.
using TReportHandler = std::function<void(const std::string& text)>;

/// Owns the pools of work objects; one global instance, `Controller`.
class TQuorelController {
 public:
  TQuorelController();
  ~TQuorelController();
  TQuorelController(const TQuorelController&) = delete;
  TQuorelController& operator=(const TQuorelController&) = delete;

  /// Rebuilds the vector pool; fails with "VecCache[k] = Used" while entry k is handed out.
  void SetVecCacheSize(std::int32_t count, std::int32_t elements);
  /// Rebuilds the matrix pool; fails with "MtxCache[k] = Used" while entry k is handed out.
  void SetMtxCacheSize(std::int32_t count, std::int32_t elements);
  /// Hands out one object (pooled, or an ordinary one when the pool is exhausted). Caller holds Lock().
  void CreateItx(TVec*& vec);
  void CreateItx(TMtx*& mtx);
  /// Takes one object back and sets the variable to null. Caller holds Lock(), so the object's
  /// OnSetSize handler must not borrow; FreeIt resets the object before it takes the lock.
  void FreeItx(TVec*& vec);
  void FreeItx(TMtx*& mtx);
  /// Compacts the vector pool: used entries to the front, free ones to the back.
  void VecRecollect();
  /// Compacts the matrix pool.
  void MtxRecollect();
  /// Sets the default ConditionCheck of new vectors and of every pooled vector.
  void SetVecConditionCheck(bool value);
  /// Sets the default ConditionCheck of new matrices and of every pooled matrix.
  void SetMtxConditionCheck(bool value);
  /// Releases the back-end caches (the FFT descriptor cache first), frees the pools and reports
  /// leaked work objects.
  void DestroyQuorelCache();
  /// Releases back-end caches (the FFT descriptor cache, LAPACK buffers) and the spare blocks that
  /// pooled objects keep from their last large loan.
  void FreeMKLMemory();

  /// Number of vectors the vector pool holds.
  std::int32_t VecCacheSize() const { return static_cast<std::int32_t>(vecs_.Entries.size()); }
  /// Pool vectors handed out now.
  std::int32_t VecCacheUsed() const { return vecs_.Used; }
  /// True when every pool vector is handed out.
  bool VecCacheFull() const { return vecs_.Full; }
  /// Elements each pool vector can hold without allocating.
  std::int32_t VecCacheElements() const { return vecs_.Elements; }
  /// Vectors alive now, in and outside the pool.
  std::int32_t VecCount() const;
  /// Number of matrices the matrix pool holds.
  std::int32_t MtxCacheSize() const { return static_cast<std::int32_t>(mtxs_.Entries.size()); }
  /// Pool matrices handed out now.
  std::int32_t MtxCacheUsed() const { return mtxs_.Used; }
  /// True when every pool matrix is handed out.
  bool MtxCacheFull() const { return mtxs_.Full; }
  /// Elements each pool matrix can hold without allocating.
  std::int32_t MtxCacheElements() const { return mtxs_.Elements; }
  /// Matrices alive now, in and outside the pool.
  std::int32_t MtxCount() const;

  // Read-only to users: these setters deliberately do nothing.
  /// Read-only properties: these setters do nothing.
  void SetVecCacheUsed(std::int32_t) {}
  /// Does nothing (read-only property).
  void SetVecCacheFull(bool) {}
  /// Does nothing (read-only property).
  void SetVecCount(std::int32_t) {}
  /// Does nothing (read-only property).
  void SetMtxCacheUsed(std::int32_t) {}
  /// Does nothing (read-only property).
  void SetMtxCacheFull(bool) {}
  /// Does nothing (read-only property).
  void SetMtxCount(std::int32_t) {}
  /// Does nothing (read-only property).
  void SetVecCacheElements(std::int32_t) {}
  /// Does nothing (read-only property).
  void SetMtxCacheElements(std::int32_t) {}
  /// Does nothing (read-only property).
  void SetGlobalVecCount(std::int32_t) {}
  /// Does nothing (read-only property).
  void SetGlobalMtxCount(std::int32_t) {}

  /// Cache memory of vector slot `slot`.
  double* VecCachePointer(std::int32_t slot) const { return vecs_.Pointers[static_cast<std::size_t>(slot)]; }
  /// Cache memory of matrix slot `slot`.
  double* MtxCachePointer(std::int32_t slot) const { return mtxs_.Pointers[static_cast<std::size_t>(slot)]; }
  /// The process-wide lock that guards every pool operation.
  TCacheLock& Lock() { return lock_; }
  /// Where leak reports go (default: standard error).
  void SetReportHandler(TReportHandler handler) { report_ = std::move(handler); }

 private:
  template <class T>
  void SetCacheSize(header_detail::TPool<T>& pool, std::int32_t count, std::int32_t elements);
  template <class T>
  void CreateItx(header_detail::TPool<T>& pool, T*& object);
  template <class T>
  void FreeItx(header_detail::TPool<T>& pool, T*& object);
  template <class T>
  static void MarkFree(header_detail::TPool<T>& pool, T*& object);
  void MarkFree(TVec*& vec) { MarkFree(vecs_, vec); }
  void MarkFree(TMtx*& mtx) { MarkFree(mtxs_, mtx); }
  static void EndBlockProcessing(TQuorel& object);
  friend struct header_detail::TCacheAccess;
  template <class T>
  static void Recollect(header_detail::TPool<T>& pool);
  template <class T>
  static void FreePool(header_detail::TPool<T>& pool);
  template <class T>
  static void DetachPool(header_detail::TPool<T>& pool, header_detail::TPool<T>& into);
  void Report(const std::string& text);

  TCacheLock lock_;
  header_detail::TPool<TVec> vecs_{"VecCache"};
  header_detail::TPool<TMtx> mtxs_{"MtxCache"};
  TReportHandler report_;
};

/// The global controller; null before start-up and after shut-down.
extern TQuorelController* Controller;

namespace header_detail {
extern std::atomic<std::int32_t> vec_count;
extern std::atomic<std::int32_t> mtx_count;
extern bool vec_condition_check;
extern bool mtx_condition_check;
struct ObjectsModuleGuard {
  ObjectsModuleGuard();
  ~ObjectsModuleGuard();
};
static const ObjectsModuleGuard objects_module_guard;
}  // namespace header_detail

/// Takes one to four vectors from the cache, in argument order.
void CreateIt(TVec*& a);
void CreateIt(TVec*& a, TVec*& b);
void CreateIt(TVec*& a, TVec*& b, TVec*& c);
void CreateIt(TVec*& a, TVec*& b, TVec*& c, TVec*& d);
/// Takes one vector from the cache.
TVec* CreateIt();
/// Gives vectors back in reverse argument order; each variable becomes null, nulls are skipped.
/// Giving back a pooled vector that is not handed out raises "FreeIt: object is not in use".
void FreeIt(TVec*& a);
void FreeIt(TVec*& a, TVec*& b);
void FreeIt(TVec*& a, TVec*& b, TVec*& c);
void FreeIt(TVec*& a, TVec*& b, TVec*& c, TVec*& d);
/// Takes one to four matrices from the cache, in argument order.
void CreateIt(TMtx*& a);
void CreateIt(TMtx*& a, TMtx*& b);
void CreateIt(TMtx*& a, TMtx*& b, TMtx*& c);
void CreateIt(TMtx*& a, TMtx*& b, TMtx*& c, TMtx*& d);
/// Gives matrices back in reverse argument order, as for vectors.
void FreeIt(TMtx*& a);
void FreeIt(TMtx*& a, TMtx*& b);
void FreeIt(TMtx*& a, TMtx*& b, TMtx*& c);
void FreeIt(TMtx*& a, TMtx*& b, TMtx*& c, TMtx*& d);

/// Raises "TestNil: Nil pointer" when any pointer is null.
void TestNil(const void* a);
void TestNil(const void* a, const void* b);
void TestNil(const void* a, const void* b, const void* c);
void TestNil(const void* a, const void* b, const void* c, const void* d);

/// Sizes every listed vector alike.
void SetVecSize(std::int32_t len, bool complex, std::initializer_list<TVec*> vecs);
/// Sizes every listed matrix alike.
void SetMtxSize(std::int32_t rows, std::int32_t cols, bool complex, std::initializer_list<TMtx*> mtxs);

/// Lends a vector's storage as a non-owning view (empty when the vector is empty); nothing copied.
void Enlist(TVec& vec, std::span<double>& values);
void Enlist(TVec& vec, std::span<std::int32_t>& values);
void Enlist(TVec& vec, std::span<TCplx>& values);
/// Lends a matrix as row views: row i starts at element i * LeadingCols. The double form of a
/// complex matrix gives each row's 2 * Cols interleaved doubles; the complex form of a real
/// matrix raises "Matrix.Complex = false!".
void Enlist(TMtx& mtx, std::vector<std::span<double>>& rows);
void Enlist(TMtx& mtx, std::vector<std::span<TCplx>>& rows);
/// Two to four object/array pairs at once.
template <class O1, class A1, class O2, class A2, class... Rest>
void Enlist(O1& o1, A1& a1, O2& o2, A2& a2, Rest&... rest) {
  Enlist(o1, a1);
  Enlist(o2, a2, rest...);
}
/// Same as Enlist.
template <class... A>
void EnlistIt(A&... args) { Enlist(args...); }
/// Ends a loan: the view (or the row list) becomes empty. The object is not touched.
template <class T>
void DismissIt(std::span<T>& values) { values = {}; }
template <class T>
void DismissIt(std::vector<std::span<T>>& rows) {
  rows.clear();
  rows.shrink_to_fit();
}
template <class O, class A>
  requires std::is_base_of_v<TQuorel, O>
void DismissIt(O&, A& values) { DismissIt(values); }
/// Two to four loans at once, with or without their objects.
template <class A1, class A2, class... Rest>
  requires(!std::is_base_of_v<TQuorel, A1>)
void DismissIt(A1& a1, A2& a2, Rest&... rest) {
  DismissIt(a1);
  DismissIt(a2, rest...);
}
template <class O1, class A1, class O2, class A2, class... Rest>
  requires std::is_base_of_v<TQuorel, O1>
void DismissIt(O1& o1, A1& a1, O2& o2, A2& a2, Rest&... rest) {
  DismissIt(o1, a1);
  DismissIt(o2, a2, rest...);
}

namespace header_detail {
/// Gives a scoped work object back without raising: block-wise processing still under way ends
/// first, so leaving the scope early (an exception, a return from the block loop) is no error.
void GiveBackWork(TVec*& vec) noexcept;
/// The same for a work matrix.
void GiveBackWork(TMtx*& mtx) noexcept;
}  // namespace header_detail

/// A work object from the cache, given back on every path (exceptions included).
template <class T>
class TWorkObject {
 public:
  TWorkObject() { CreateIt(object_); }
  ~TWorkObject() { header_detail::GiveBackWork(object_); }
  TWorkObject(const TWorkObject&) = delete;
  TWorkObject& operator=(const TWorkObject&) = delete;
  /// The work object.
  T* operator->() const { return object_; }
  /// The work object.
  T& operator*() const { return *object_; }
  /// The work object.
  T* get() const { return object_; }

 private:
  T* object_ = nullptr;
};

/// A cached work vector with scope lifetime.
using TWorkVec = TWorkObject<TVec>;
/// A cached work matrix with scope lifetime.
using TWorkMtx = TWorkObject<TMtx>;

}  // namespace quorel
