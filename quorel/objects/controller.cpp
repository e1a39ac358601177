#include "quorel/objects/controller.h"
#include "quorel/objects/detail/release_hooks.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/core/memory.h"
#include "quorel/objects/mtx.h"
#include "quorel/io/report.h"
#include "quorel/objects/vec.h"

namespace quorel {

TQuorelController* Controller = nullptr;

namespace header_detail {
std::atomic<std::int32_t> vec_count{0};
std::atomic<std::int32_t> mtx_count{0};
bool vec_condition_check = true;
bool mtx_condition_check = true;

namespace {
int objects_users = 0;  // start-up and shut-down run on one thread, before and after main
}

ObjectsModuleGuard::ObjectsModuleGuard() {
  if (objects_users++ != 0) return;
  Report = new TQuorelReport();
  Controller = new TQuorelController();
  Controller->SetVecCacheSize(40, 3020);
  Controller->SetMtxCacheSize(24, 3020);
}

ObjectsModuleGuard::~ObjectsModuleGuard() {
  if (--objects_users != 0) return;
  delete Controller;
  Controller = nullptr;
  delete Report;
  Report = nullptr;
}
}  // namespace header_detail

namespace {
const char* const kLeakPrefix = "Quorel memory controller has detected memory leaks. There are at least ";

// Lays out `count` slots of `elements` doubles in one block, each 32-byte aligned with room for
// the array header in front (AllignMem leaves 9 to 40 bytes).
void AllocateCacheMemory(void*& memory, std::vector<double*>& pointers, std::int32_t count, std::int32_t elements) {
  pointers.assign(static_cast<std::size_t>(count), nullptr);
  if (elements == 0 || count == 0) return;
  const std::int64_t slot = std::int64_t{elements} * 8;
  memory = GlobalAllocUnmanaged(static_cast<std::intptr_t>(count * (slot + 49)));
  if (memory == nullptr) EOutOfMemoryRaise("Quorel: Out of memory!");
  char* p = static_cast<char*>(AllignMem(memory));
  for (std::int32_t i = 0; i < count; ++i) {
    pointers[static_cast<std::size_t>(i)] = reinterpret_cast<double*>(p);
    p = static_cast<char*>(AllignMem(p + slot + 9));
  }
}
}  // namespace

void TCacheLock::Wait() noexcept {
  for (int spins = 0; held_.load(std::memory_order_relaxed); ++spins) {
    if (spins < 64) {
      __builtin_ia32_pause();
    } else {
      std::this_thread::yield();
    }
  }
}

TQuorelController::TQuorelController()
    : report_([](const std::string& text) { std::fprintf(stderr, "%s\n", text.c_str()); }) {}

TQuorelController::~TQuorelController() {
  DestroyQuorelCache();
  FreeMKLMemory();
}

std::int32_t TQuorelController::VecCount() const { return header_detail::vec_count.load(); }
std::int32_t TQuorelController::MtxCount() const { return header_detail::mtx_count.load(); }

void TQuorelController::Report(const std::string& text) {
  if (report_) report_(text);
}

// --- pool operations, shared by the vector and the matrix pool -------------------------------------

template <class T>
void TQuorelController::FreePool(header_detail::TPool<T>& pool) {
  // All entries are checked before any is destroyed, so a refused rebuild leaves the pool usable.
  for (std::size_t i = 0; i < pool.Entries.size(); ++i)
    if (pool.Entries[i].Used) ERaise(std::string(pool.Name) + "[" + std::to_string(i) + "] = Used");
  for (auto& e : pool.Entries) delete e.Object;
  pool.Entries.clear();
  pool.Scratch.clear();
  pool.Pointers.clear();
  GlobalFreeUnmanaged(pool.Memory);
  pool.Memory = nullptr;
  pool.Next = 0;
  pool.Used = 0;
}

template <class T>
void TQuorelController::SetCacheSize(header_detail::TPool<T>& pool, std::int32_t count, std::int32_t elements) {
  std::lock_guard<TCacheLock> hold(lock_);
  FreePool(pool);
  pool.Elements = elements;
  AllocateCacheMemory(pool.Memory, pool.Pointers, count, elements);
  pool.Entries.resize(static_cast<std::size_t>(count));
  pool.Scratch.resize(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) {
    T* object = new T();
    object->SetCacheSlot(i, i);
    pool.Entries[static_cast<std::size_t>(i)] = {object, false};
  }
}

template <class T>
void TQuorelController::CreateItx(header_detail::TPool<T>& pool, T*& object) {
  const auto size = static_cast<std::int32_t>(pool.Entries.size());
  if (pool.Next >= size) {
    if (pool.Used >= size) {
      object = new T();
      pool.Full = true;
      return;
    }
    Recollect(pool);
  }
  auto& e = pool.Entries[static_cast<std::size_t>(pool.Next)];
  e.Used = true;
  ++pool.Next;
  ++pool.Used;
  object = e.Object;
}

namespace {
// The pool entry of a pooled object that is handed out.
template <class T>
typename header_detail::TPool<T>::Entry& HandedOutEntry(header_detail::TPool<T>& pool, const T* object) {
  auto& e = pool.Entries[static_cast<std::size_t>(object->CacheIndex())];
  detail::RequireState(e.Used && e.Object == object, "FreeIt: object is not in use");
  return e;
}
}  // namespace

template <class T>
void TQuorelController::FreeItx(header_detail::TPool<T>& pool, T*& object) {
  if (object == nullptr) return;
  if (object->CacheIndex() < 0) {
    delete object;
    object = nullptr;
    return;
  }
  HandedOutEntry(pool, object);
  object->Reset();
  object->OnSetSize = nullptr;  // the borrower's handler must not fire for the next one
  MarkFree(pool, object);
}

template <class T>
void TQuorelController::MarkFree(header_detail::TPool<T>& pool, T*& object) {
  const std::int32_t index = object->CacheIndex();
  HandedOutEntry(pool, object).Used = false;
  if (index == pool.Next - 1) --pool.Next;
  --pool.Used;
  object = nullptr;
}

void TQuorelController::EndBlockProcessing(TQuorel& object) {
  object.fBlockLevel = 0;
  object.fBlockIndex = 0;
  object.fBlockEnd = true;
  object.SetFullRange();
}

template <class T>
void TQuorelController::Recollect(header_detail::TPool<T>& pool) {
  const auto size = static_cast<std::int32_t>(pool.Entries.size());
  pool.Scratch = pool.Entries;
  pool.Next = 0;
  pool.Used = 0;
  std::int32_t back = size - 1;
  for (auto& e : pool.Scratch) {
    const std::int32_t pos = e.Used ? pool.Next++ : back--;
    if (e.Used) ++pool.Used;
    pool.Entries[static_cast<std::size_t>(pos)] = e;
    e.Object->fCacheIndex = pos;
  }
}

namespace {
// Pooled objects destroyed at shut-down while still handed out; a FreeIt after shut-down finds
// them here instead of destroying them twice. Never destroyed itself: it must outlive every
// static object whose destructor might give a work object back.
std::vector<const void*>& DestroyedWhileHandedOut() {
  static auto* objects = new std::vector<const void*>();
  return *objects;
}
}  // namespace

template <class T>
void TQuorelController::DetachPool(header_detail::TPool<T>& pool, header_detail::TPool<T>& into) {
  // Every pooled object goes with its pool, handed out or not: a leaked work object is reported
  // once, as a CreateIt without FreeIt, and never again among the live ordinary objects.
  for (auto& e : pool.Entries)
    if (e.Used) DestroyedWhileHandedOut().push_back(e.Object);
  into.Entries = std::move(pool.Entries);
  into.Memory = std::exchange(pool.Memory, nullptr);
  pool.Entries.clear();
  pool.Scratch.clear();
  pool.Pointers.clear();
  pool.Next = pool.Used = 0;
}

namespace {
// The objects of a detached pool, then the block holding their slots.
template <class T>
void DestroyDetached(header_detail::TPool<T>& pool) {
  for (auto& e : pool.Entries) delete e.Object;
  GlobalFreeUnmanaged(pool.Memory);
}
}  // namespace

void TQuorelController::SetVecCacheSize(std::int32_t count, std::int32_t elements) {
  detail::Require(count >= 0 && elements >= 0, "SetVecCacheSize: negative argument");
  SetCacheSize(vecs_, count, elements);
}

void TQuorelController::SetMtxCacheSize(std::int32_t count, std::int32_t elements) {
  detail::Require(count >= 0 && elements >= 0, "SetMtxCacheSize: negative argument");
  SetCacheSize(mtxs_, count, elements);
}

void TQuorelController::CreateItx(TVec*& vec) { CreateItx(vecs_, vec); }
void TQuorelController::CreateItx(TMtx*& mtx) { CreateItx(mtxs_, mtx); }
void TQuorelController::FreeItx(TVec*& vec) { FreeItx(vecs_, vec); }
void TQuorelController::FreeItx(TMtx*& mtx) { FreeItx(mtxs_, mtx); }
void TQuorelController::VecRecollect() { Recollect(vecs_); }
void TQuorelController::MtxRecollect() { Recollect(mtxs_); }

void TQuorelController::SetVecConditionCheck(bool value) {
  header_detail::vec_condition_check = value;
  for (auto& e : vecs_.Entries) e.Object->SetConditionCheck(value);
}

void TQuorelController::SetMtxConditionCheck(bool value) {
  header_detail::mtx_condition_check = value;
  for (auto& e : mtxs_.Entries) e.Object->SetConditionCheck(value);
}

void TQuorelController::DestroyQuorelCache() {
  // First the FFT descriptor cache (with the other foreign state that registers its release):
  // its work vectors must be gone before live objects are counted. Outside the lock, because a
  // release may hand objects back to the pools.
  detail::RunReleaseHooks();
  std::vector<std::string> leaks;
  header_detail::TPool<TVec> vecs{"VecCache"};
  header_detail::TPool<TMtx> mtxs{"MtxCache"};
  {
    std::lock_guard<TCacheLock> hold(lock_);
    if (vecs_.Used > 0)
      leaks.push_back(kLeakPrefix + std::to_string(vecs_.Used) + " calls to CreateIt(TVec) without a matching call to FreeIt.");
    if (mtxs_.Used > 0)
      leaks.push_back(kLeakPrefix + std::to_string(mtxs_.Used) +
                      " calls to CreateIt(TMtx) without a matching call to TVec.Free.");
    DetachPool(mtxs_, mtxs);
    DetachPool(vecs_, vecs);
  }
  // The objects go and the reports are made without the lock, which is not re-entrant: a leaked
  // object's OnSetSize handler and the report handler are the user's code and may borrow.
  DestroyDetached(mtxs);
  DestroyDetached(vecs);
  const std::int32_t liveVecs = header_detail::vec_count.load();
  if (liveVecs > 0)
    leaks.push_back(kLeakPrefix + std::to_string(liveVecs) + " calls to TVec.Create without a matching call to TVec.Free.");
  const std::int32_t liveMtx = header_detail::mtx_count.load();
  if (liveMtx > 0)
    leaks.push_back(kLeakPrefix + std::to_string(liveMtx) + " calls to TMtx.Create without a matching call to TMtx.Free.");
  for (const std::string& text : leaks) Report(text);
}

void TQuorelController::FreeMKLMemory() {
  detail::RunReleaseHooks();
  // The spare blocks of pooled objects that are back in their pool go too.
  const std::lock_guard hold(lock_);
  const auto freeSpares = [](auto& pool) {
    for (auto& entry : pool.Entries)
      if (!entry.Used && entry.Object != nullptr) entry.Object->FreeSpareBlock();
  };
  freeSpares(vecs_);
  freeSpares(mtxs_);
}

// --- global functions ------------------------------------------------------------------------------

namespace {
// Takes the objects in argument order under the lock.
template <class T, class... R>
void CreateAll(T*& first, R*&... rest) {
  std::lock_guard<TCacheLock> hold(Controller->Lock());
  Controller->CreateItx(first);
  (Controller->CreateItx(rest), ...);
}

}  // namespace

namespace header_detail {
struct TCacheAccess {
  // Only the pool bookkeeping runs under the lock. Reset (which calls the OnSetSize handler) and
  // the destructor of an ordinary object run user code that may borrow a work object itself, and
  // the lock is not re-entrant. A pooled object is still the caller's until its entry is free,
  // and its slot (unlike its pool index, which recollection moves) never changes.
  template <class T>
  static void GiveBack(T*& object) {
    if (object == nullptr) return;
    if (object->CacheSlot() < 0) {
      delete object;
      object = nullptr;
      return;
    }
    object->Reset();
    // The borrower's handler (and what it captured) must not fire for the next borrower.
    object->OnSetSize = nullptr;
    const std::lock_guard<TCacheLock> hold(Controller->Lock());
    Controller->MarkFree(object);
  }

  template <class T>
  static void GiveBackWork(T*& object) noexcept {
    try {
      if (object != nullptr && object->BlockLevel() > 0) TQuorelController::EndBlockProcessing(*object);
      FreeIt(object);
    } catch (...) {
      // A raising OnSetSize handler, or an object the caller already gave back: raising from a
      // destructor would end the process. A handed-out object stays so and is counted at shut-down.
    }
  }
};

void GiveBackWork(TVec*& vec) noexcept { TCacheAccess::GiveBackWork(vec); }
void GiveBackWork(TMtx*& mtx) noexcept { TCacheAccess::GiveBackWork(mtx); }
}  // namespace header_detail

namespace {
// Gives the objects back in reverse argument order; after shut-down every object is an ordinary
// one and is just destroyed.
template <class T, class... R>
void FreeAll(T*& first, R*&... rest) {
  std::array<T**, 1 + sizeof...(R)> objects{&first, &rest...};
  if (Controller == nullptr) {
    const auto& gone = DestroyedWhileHandedOut();
    for (auto it = objects.rbegin(); it != objects.rend(); ++it) {
      if (std::find(gone.begin(), gone.end(), **it) == gone.end()) delete **it;
      **it = nullptr;
    }
    return;
  }
  for (auto it = objects.rbegin(); it != objects.rend(); ++it) header_detail::TCacheAccess::GiveBack(**it);
}
}  // namespace

void CreateIt(TVec*& a) { CreateAll(a); }
void CreateIt(TVec*& a, TVec*& b) { CreateAll(a, b); }
void CreateIt(TVec*& a, TVec*& b, TVec*& c) { CreateAll(a, b, c); }
void CreateIt(TVec*& a, TVec*& b, TVec*& c, TVec*& d) { CreateAll(a, b, c, d); }
TVec* CreateIt() {
  TVec* v = nullptr;
  CreateAll(v);
  return v;
}
void FreeIt(TVec*& a) { FreeAll(a); }
void FreeIt(TVec*& a, TVec*& b) { FreeAll(a, b); }
void FreeIt(TVec*& a, TVec*& b, TVec*& c) { FreeAll(a, b, c); }
void FreeIt(TVec*& a, TVec*& b, TVec*& c, TVec*& d) { FreeAll(a, b, c, d); }

void CreateIt(TMtx*& a) { CreateAll(a); }
void CreateIt(TMtx*& a, TMtx*& b) { CreateAll(a, b); }
void CreateIt(TMtx*& a, TMtx*& b, TMtx*& c) { CreateAll(a, b, c); }
void CreateIt(TMtx*& a, TMtx*& b, TMtx*& c, TMtx*& d) { CreateAll(a, b, c, d); }
void FreeIt(TMtx*& a) { FreeAll(a); }
void FreeIt(TMtx*& a, TMtx*& b) { FreeAll(a, b); }
void FreeIt(TMtx*& a, TMtx*& b, TMtx*& c) { FreeAll(a, b, c); }
void FreeIt(TMtx*& a, TMtx*& b, TMtx*& c, TMtx*& d) { FreeAll(a, b, c, d); }

namespace {
[[noreturn]] void NilPointer() { EInvalidArgumentRaise("TestNil: Nil pointer"); }
}  // namespace

void TestNil(const void* a) {
  if (!a) NilPointer();
}
void TestNil(const void* a, const void* b) {
  if (!a || !b) NilPointer();
}
void TestNil(const void* a, const void* b, const void* c) {
  if (!a || !b || !c) NilPointer();
}
void TestNil(const void* a, const void* b, const void* c, const void* d) {
  if (!a || !b || !c || !d) NilPointer();
}

void SetVecSize(std::int32_t len, bool complex, std::initializer_list<TVec*> vecs) {
  for (TVec* v : vecs) v->Size(len, complex);
}

void SetMtxSize(std::int32_t rows, std::int32_t cols, bool complex, std::initializer_list<TMtx*> mtxs) {
  for (TMtx* m : mtxs) m->Size(rows, cols, complex);
}

void Enlist(TVec& vec, std::span<double>& values) {
  values = vec.Length() < 1 ? std::span<double>() : vec.Values();
}
void Enlist(TVec& vec, std::span<std::int32_t>& values) {
  values = vec.Length() < 1 ? std::span<std::int32_t>() : vec.IValues();
}
void Enlist(TVec& vec, std::span<TCplx>& values) {
  values = vec.Length() < 1 ? std::span<TCplx>() : vec.CValues();
}

}  // namespace quorel

namespace quorel {

namespace {
template <class T>
void EnlistRows(TMtx& mtx, std::vector<std::span<T>>& rows, T* first, std::int64_t stride, std::size_t width) {
  rows.clear();
  rows.reserve(static_cast<std::size_t>(mtx.Rows()));
  for (std::int32_t i = 0; i < mtx.Rows(); ++i) rows.emplace_back(first + i * stride, width);
}
}  // namespace

void Enlist(TMtx& mtx, std::vector<std::span<double>>& rows) {
  // A complex row is 2 * Cols interleaved doubles.
  const std::int64_t k = mtx.Complex() ? 2 : 1;
  EnlistRows(mtx, rows, mtx.PValues1D(0), k * mtx.LeadingCols(), static_cast<std::size_t>(k * mtx.Cols()));
}

void Enlist(TMtx& mtx, std::vector<std::span<TCplx>>& rows) {
  detail::RequireState(mtx.Complex(), "Matrix.Complex = false!");
  EnlistRows(mtx, rows, mtx.PCValues1D(0), mtx.LeadingCols(), static_cast<std::size_t>(mtx.Cols()));
}

}  // namespace quorel
