#include "quorel/objects/controller.h"

#include <cstdio>
#include <cstring>

#include "quorel/core/errors.h"
#include "quorel/core/memory.h"
#include "quorel/objects/report.h"
#include "quorel/objects/vec.h"

namespace quorel {

TQuorelController* Controller = nullptr;

namespace detail {
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
}  // namespace detail

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

TQuorelController::TQuorelController()
    : report_([](const std::string& text) { std::fprintf(stderr, "%s\n", text.c_str()); }) {}

TQuorelController::~TQuorelController() {
  DestroyQuorelCache();
  FreeMKLMemory();
}

std::int32_t TQuorelController::VecCount() const { return detail::vec_count.load(); }
std::int32_t TQuorelController::MtxCount() const { return detail::mtx_count.load(); }

void TQuorelController::Report(const std::string& text) {
  if (report_) report_(text);
}

template <class T>
void TQuorelController::FreePool(detail::TPool<T>& pool, const char* name) {
  // All entries are checked before any is destroyed, so a refused rebuild leaves the pool usable.
  for (std::size_t i = 0; i < pool.Entries.size(); ++i)
    if (pool.Entries[i].Used) ERaise(std::string(name) + "[" + std::to_string(i) + "] = Used");
  for (auto& e : pool.Entries) delete e.Object;
  pool.Entries.clear();
  pool.Scratch.clear();
  pool.Pointers.clear();
  GlobalFreeUnmanaged(pool.Memory);
  pool.Next = 0;
  pool.Used = 0;
}

void TQuorelController::SetVecCacheSize(std::int32_t count, std::int32_t elements) {
  if (count < 0 || elements < 0) EInvalidArgumentRaise("SetVecCacheSize: negative argument");
  std::lock_guard<std::mutex> hold(lock_);
  FreePool(vecs_, "VecCache");
  vecs_.Elements = elements;
  AllocateCacheMemory(vecs_.Memory, vecs_.Pointers, count, elements);
  vecs_.Entries.resize(static_cast<std::size_t>(count));
  vecs_.Scratch.resize(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) {
    TVec* v = new TVec();
    v->SetCacheSlot(i, i);
    vecs_.Entries[static_cast<std::size_t>(i)] = {v, false};
  }
}

void TQuorelController::SetMtxCacheSize(std::int32_t count, std::int32_t elements) {
  if (count < 0 || elements < 0) EInvalidArgumentRaise("SetMtxCacheSize: negative argument");
  mtx_count_ = count;
  mtx_elements_ = elements;
}

void TQuorelController::CreateItx(TVec*& vec) {
  auto& pool = vecs_;
  const auto size = static_cast<std::int32_t>(pool.Entries.size());
  if (pool.Next >= size) {
    if (pool.Used >= size) {
      vec = new TVec();
      pool.Full = true;
      return;
    }
    VecRecollect();
  }
  auto& e = pool.Entries[static_cast<std::size_t>(pool.Next)];
  e.Used = true;
  ++pool.Next;
  ++pool.Used;
  vec = e.Object;
}

void TQuorelController::FreeItx(TVec*& vec) {
  if (vec == nullptr) return;
  const std::int32_t index = vec->CacheIndex();
  if (index < 0) {
    delete vec;
    vec = nullptr;
    return;
  }
  auto& pool = vecs_;
  auto& e = pool.Entries[static_cast<std::size_t>(index)];
  if (!e.Used || e.Object != vec) ERaise("FreeIt: object is not in use");
  vec->Reset();
  e.Used = false;
  if (index == pool.Next - 1) --pool.Next;
  --pool.Used;
  vec = nullptr;
}

void TQuorelController::VecRecollect() {
  auto& pool = vecs_;
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

void TQuorelController::MtxRecollect() {}

void TQuorelController::SetVecConditionCheck(bool value) {
  detail::vec_condition_check = value;
  for (auto& e : vecs_.Entries) e.Object->SetConditionCheck(value);
}

void TQuorelController::SetMtxConditionCheck(bool value) { detail::mtx_condition_check = value; }

void TQuorelController::DestroyQuorelCache() {
  std::lock_guard<std::mutex> hold(lock_);
  if (vecs_.Used > 0)
    Report(kLeakPrefix + std::to_string(vecs_.Used) +
           " calls to CreateIt(TVec) without a matching call to FreeIt.");
  // Handed-out objects are left alive for their holders; only the pool bookkeeping goes.
  for (auto& e : vecs_.Entries) {
    if (!e.Used) {
      delete e.Object;
    } else {
      e.Object->SetCacheSlot(-1, -1);
      e.Object->ReleaseMemory();
      e.Object->fMemory = nullptr;
      e.Object->fValues = nullptr;
      e.Object->fActualSize = 0;
      e.Object->fLength = 0;
    }
  }
  vecs_.Entries.clear();
  vecs_.Scratch.clear();
  vecs_.Pointers.clear();
  GlobalFreeUnmanaged(vecs_.Memory);
  vecs_.Next = vecs_.Used = 0;
  const std::int32_t liveVecs = detail::vec_count.load();
  if (liveVecs > 0)
    Report(kLeakPrefix + std::to_string(liveVecs) + " calls to TVec.Create without a matching call to TVec.Free.");
  const std::int32_t liveMtx = detail::mtx_count.load();
  if (liveMtx > 0)
    Report(kLeakPrefix + std::to_string(liveMtx) + " calls to TMtx.Create without a matching call to TMtx.Free.");
}

void TQuorelController::FreeMKLMemory() {}

// --- global functions ------------------------------------------------------------------------------

void CreateIt(TVec*& a) {
  std::lock_guard<std::mutex> hold(Controller->Lock());
  Controller->CreateItx(a);
}
void CreateIt(TVec*& a, TVec*& b) {
  std::lock_guard<std::mutex> hold(Controller->Lock());
  Controller->CreateItx(a);
  Controller->CreateItx(b);
}
void CreateIt(TVec*& a, TVec*& b, TVec*& c) {
  std::lock_guard<std::mutex> hold(Controller->Lock());
  Controller->CreateItx(a);
  Controller->CreateItx(b);
  Controller->CreateItx(c);
}
void CreateIt(TVec*& a, TVec*& b, TVec*& c, TVec*& d) {
  std::lock_guard<std::mutex> hold(Controller->Lock());
  Controller->CreateItx(a);
  Controller->CreateItx(b);
  Controller->CreateItx(c);
  Controller->CreateItx(d);
}
TVec* CreateIt() {
  TVec* v = nullptr;
  CreateIt(v);
  return v;
}

void FreeIt(TVec*& a) {
  if (Controller == nullptr) {  // after shut-down every object is an ordinary one
    delete a;
    a = nullptr;
    return;
  }
  std::lock_guard<std::mutex> hold(Controller->Lock());
  Controller->FreeItx(a);
}
void FreeIt(TVec*& a, TVec*& b) {
  std::lock_guard<std::mutex> hold(Controller->Lock());
  Controller->FreeItx(b);
  Controller->FreeItx(a);
}
void FreeIt(TVec*& a, TVec*& b, TVec*& c) {
  std::lock_guard<std::mutex> hold(Controller->Lock());
  Controller->FreeItx(c);
  Controller->FreeItx(b);
  Controller->FreeItx(a);
}
void FreeIt(TVec*& a, TVec*& b, TVec*& c, TVec*& d) {
  std::lock_guard<std::mutex> hold(Controller->Lock());
  Controller->FreeItx(d);
  Controller->FreeItx(c);
  Controller->FreeItx(b);
  Controller->FreeItx(a);
}

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
