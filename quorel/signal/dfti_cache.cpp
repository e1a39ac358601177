// The descriptor cache and the transforms that run through its descriptors.
#include <cstring>
#include <string>
#include <new>
#include <utility>

#include "quorel/core/errors.h"
#include "quorel/objects/detail/release_hooks.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/signal/detail/dfti.h"

namespace quorel {

namespace {

using detail::FftwKind;

[[noreturn]] void DscrFail(const char* step, const char* status) {
  throw Exception(FormatMsg("TDFTIDescriptorCache.FindOrCreateDscr: %s: %s", step, status));
}

// Complex values per real row of the half spectrum, and the doubles that hold them.
std::int32_t Half(std::int32_t n) { return n / 2 + 1; }

// The real length of each transform (the row length for batches and 2-D).
std::int32_t RealLength(const TDftiDescriptor& d) { return d.Length2 == 0 ? d.Length1 : d.Length2; }
// Number of real rows a real transform covers (batch rows, 2-D rows, or one).
std::int32_t RealRows(const TDftiDescriptor& d) { return d.Length2 == 0 ? 1 : d.Length1; }

// FFTW's shape for one kind of plan of a descriptor (see detail/dfti.h for the layouts).
detail::FftwShape ShapeFor(const TDftiDescriptor& d, FftwKind kind, bool inplace) {
  detail::FftwShape s = d.Shape;
  s.inplace = inplace;
  if (!d.Real) return s;
  const std::int32_t n = RealLength(d);
  const std::int32_t padded = 2 * Half(n);
  const bool batch = d.Flags.Has(cefUse1D);
  if (d.Format != fsfCCS) {
    // Packed: between the caller's rows of n reals and the CCS scratch.
    const bool toScratch = kind == FftwKind::R2C;
    s.inplace = false;
    if (batch) {
      s.idist = toScratch ? n : Half(n);
      s.odist = toScratch ? Half(n) : n;
    }
    return s;
  }
  if (kind == FftwKind::R2C) {
    if (batch) {
      s.idist = d.RealDistIn;
      s.odist = d.RealDistOut / 2;
    } else if (s.rank == 2) {
      s.irow = inplace ? padded : n;
      s.orow = Half(n);
    }
  } else {
    // The complex rows are half spectra; out of place, the source is the descriptor's scratch
    // (FFTW's c2r destroys its input) and the real rows keep the padded distance of in place.
    if (batch) {
      s.idist = padded / 2;
      s.odist = padded;
    } else if (s.rank == 2) {
      s.irow = Half(n);
      s.orow = padded;
    }
  }
  return s;
}

// Which arrays a plan was made for: their offsets within 64 bytes (a multiple of any SIMD
// alignment FFTW asks for, so equal tags mean equal alignment classes), placement and kind.
std::uint32_t ArrayTag(FftwKind kind, const void* in, const void* out) {
  const auto i = reinterpret_cast<std::uintptr_t>(in), o = reinterpret_cast<std::uintptr_t>(out);
  return static_cast<std::uint32_t>((i & 63) | (o & 63) << 6 | std::uint32_t{i == o} << 12 |
                                    static_cast<std::uint32_t>(kind) << 13);
}

// The plan for these arrays, made now if their alignment classes are new to the descriptor; null
// with `status` set when FFTW cannot make it.
detail::FftwPlanPtr PlanFor(TDftiDescriptor& d, FftwKind kind, const void* in, const void* out, int& status) {
  const std::uint32_t tag = ArrayTag(kind, in, out);
  auto& last = d.Last[kind == FftwKind::Backward || kind == FftwKind::C2R];
  if (last.Tag == tag) return last.P;
  const int ia = detail::FftwAlignment(in);
  const int oa = detail::FftwAlignment(out);
  const bool inplace = in == out;
  for (auto& p : d.Plans) {
    if (p.Kind == kind && p.InAlign == ia && p.OutAlign == oa && p.Inplace == inplace) {
      last = {tag, p.P.Get()};
      return last.P;
    }
  }
  // The lengths reach the planner through the cache's scratch integers; a thread's own descriptor
  // keeps off the shared cache.
  detail::FftwShape shape = ShapeFor(d, kind, inplace);
  std::int32_t own[2];
  std::int32_t* lengths = d.PerThread ? own : DftiCache().Scratch.PIValues1D(0);
  lengths[0] = d.Shape.n[0];
  lengths[1] = d.Shape.n[1];
  auto failure = detail::FftwFailure::None;
  detail::FftwPlan plan = detail::FftwMakePlan(kind, shape, lengths, ia, oa, &failure);
  if (!plan) {
    status = static_cast<int>(failure);
    return nullptr;
  }
  d.Plans.push_back({kind, ia, oa, inplace, std::move(plan)});
  last = {tag, d.Plans.back().P.Get()};
  return last.P;
}

void Scale(double* p, std::int64_t count, double s) {
  if (s != 1.0) kern::ScaleByValue(p, s, p, count);
}

// Clears the one or two padding doubles (n odd or even) after the n reals of each padded row.
void ZeroRowPadding(double* o, std::int32_t rows, std::int32_t n, std::int64_t padded) {
  for (std::int64_t r = 0; r < rows; ++r) {
    o[r * padded + n] = 0.0;
    o[r * padded + padded - 1] = 0.0;
  }
}

// Steps of a descriptor's configuration, checked as the cache's callers expect.
std::unique_ptr<TDftiDescriptor> Configure(std::int32_t length1, std::int32_t length2, TCacheEntryFlags flags) {
  const bool use1D = flags.Has(cefUse1D);
  if (length1 < 1 || length2 < 0 || (use1D && length2 < 1))
    DscrFail("Can't create descriptor", detail::DftiErrorMessage(detail::kDftiBadLengths));
  auto d = std::make_unique<TDftiDescriptor>();
  d->Length1 = length1;
  d->Length2 = length2;
  d->Flags = flags;
  d->Real = flags.Has(cefReal);
  auto& s = d->Shape;
  if (length2 == 0) {
    s.n[0] = length1;
  } else if (use1D) {
    s.n[0] = length2;
    s.howmany = length1;
    s.idist = s.odist = length2;
  } else {
    s.rank = 2;
    s.n[0] = length1;
    s.n[1] = length2;
  }
  d->Count = length2 == 0 ? length1 : use1D ? length2 : std::int64_t{length1} * length2;
  if (flags.Has(cefUseScale)) d->BackwardScale = 1.0 / static_cast<double>(d->Count);
  if (d->Real) {
    d->Format = flags.Has(cefPack) ? fsfPack : flags.Has(cefPerm) ? fsfPerm : fsfCCS;
    if (s.rank == 2) d->Format = fsfCCS;  // 2-D real spectra are always half-spectrum rows
    const std::int32_t n = RealLength(*d);
    const std::int32_t pad = (n & 1) ? 1 : 2;
    if (d->Format != fsfCCS) {
      d->RealDistIn = d->RealDistOut = n;
      const std::size_t bytes = static_cast<std::size_t>(RealRows(*d)) * 2 * Half(n) * sizeof(double);
      d->Scratch.reset(static_cast<double*>(detail::FftwMalloc(bytes)));
      if (!d->Scratch) DscrFail("Can't create descriptor", detail::DftiErrorMessage(detail::kDftiNoMemory));
    } else if (flags.Has(cefInplace)) {
      d->RealDistIn = d->RealDistOut = n + pad;
    } else {
      d->RealDistIn = n + (flags.Has(cefBackward) ? pad : 0);
      d->RealDistOut = flags.Has(cefDoubleDistance) ? 2 * n : n + pad;
    }
  }
  return d;
}

// Commits a descriptor: plans the transform its flags ask for on aligned arrays.
void Commit(TDftiDescriptor& d, bool backward) {
  alignas(64) static const double probe[8] = {};
  const void* aligned = probe;
  const bool inplace = d.Flags.Has(cefInplace);
  const void* out = inplace ? aligned : static_cast<const void*>(probe + 4);
  int status = 0;
  detail::FftwPlanPtr plan;
  if (!d.Real) {
    plan = PlanFor(d, backward ? FftwKind::Backward : FftwKind::Forward, aligned, out, status);
  } else if (d.Format != fsfCCS) {
    plan = backward ? PlanFor(d, FftwKind::C2R, d.Scratch.get(), aligned, status)
                    : PlanFor(d, FftwKind::R2C, aligned, d.Scratch.get(), status);
  } else {
    // An out-of-place inverse runs from the scratch (see DftiBackward).
    const void* from = backward && !inplace ? detail::DftiScratch(&d) : aligned;
    if (from == nullptr) DscrFail("Can't commit descriptor", detail::DftiErrorMessage(detail::kDftiNoMemory));
    plan = backward ? PlanFor(d, FftwKind::C2R, from, out, status) : PlanFor(d, FftwKind::R2C, aligned, out, status);
  }
  if (!plan) DscrFail("Can't commit descriptor", detail::DftiErrorMessage(status));
}

}  // namespace

namespace header_detail {
TDFTIDescriptorCache* dfti_cache = nullptr;  // not a static object: FreeDftiCache frees it

TDFTIDescriptorCache& CreateDftiCache() {
  // Freed at shut-down before the controller (made earlier, destroyed later) counts live vectors.
  static const struct Finaliser {
    ~Finaliser() { FreeDftiCache(); }
  } finaliser;
  static const bool hooked = (detail::RegisterReleaseHook(&FreeDftiCache), true);
  (void)hooked;
  dfti_cache = new TDFTIDescriptorCache;
  return *dfti_cache;
}
}  // namespace header_detail

namespace detail {
std::unique_ptr<TDftiDescriptor> MakeThreadDescriptor(std::int32_t length1, std::int32_t length2,
                                                      TCacheEntryFlags flags) {
  const bool backward = flags.Has(cefBackward);
  auto d = Configure(length1, length2, TDFTIDescriptorCache::NormalisedFlags(length2, flags));
  d->PerThread = true;
  Commit(*d, backward);
  return d;
}
}  // namespace detail

// --- the cache ---------------------------------------------------------------------------------

TDFTIDescriptorCache::TDFTIDescriptorCache() {
  Scratch.Size(3, false);
  Scratch.SetIsInteger(true);
}

TDFTIDescriptorCache::~TDFTIDescriptorCache() {
  Scratch.Size(0, false);
  RemoveChain(Chain);
}

std::int32_t TDFTIDescriptorCache::Count() const {
  std::int32_t n = 0;
  for (auto* e = Chain; e; e = e->Next) ++n;
  return n;
}

TDftiHandle TDFTIDescriptorCache::FindOrCreateBehindHead(std::int32_t length1, std::int32_t length2,
                                                         TCacheEntryFlags flags) {
  const bool backward = flags.Has(cefBackward);
  flags = NormalisedFlags(length2, flags);
  std::int32_t count = 0;
  TCacheEntry* prev = nullptr;
  TCacheEntry* beforeLast = nullptr;
  for (TCacheEntry* e = Chain; e; prev = e, e = e->Next) {
    ++count;
    if (e->Length1 == length1 && e->Length2 == length2 && e->Flags == flags) {
      if (prev) {
        prev->Next = e->Next;
        e->Next = Chain;
        Chain = e;
      }
      return e->Descriptor;
    }
    beforeLast = prev;
  }
  // The new descriptor is complete before the chain changes, so a failure leaves the cache as it was.
  auto d = Configure(length1, length2, flags);
  Commit(*d, backward);
  TCacheEntry* entry;
  if (count >= fMaxCacheSize && count > 0) {
    // Recycle the least recently used entry (the last one).
    TCacheEntry* last = beforeLast ? beforeLast->Next : Chain;
    if (beforeLast) beforeLast->Next = nullptr;
    else Chain = nullptr;
    delete last->Descriptor;
    entry = last;
  } else {
    entry = new TCacheEntry;
  }
  entry->Next = Chain;
  Chain = entry;
  entry->Descriptor = d.release();
  entry->Length1 = length1;
  entry->Length2 = length2;
  entry->Flags = flags;
  return entry->Descriptor;
}

void TDFTIDescriptorCache::RemoveChain(TCacheEntry*& entry) {
  TCacheEntry* e = entry;
  entry = nullptr;
  while (e) {
    TCacheEntry* next = e->Next;
    delete e->Descriptor;
    delete e;
    e = next;
  }
}

void TDFTIDescriptorCache::RemoveDscr(TDftiHandle descriptor) {
  for (TCacheEntry **link = &Chain; *link; link = &(*link)->Next) {
    if ((*link)->Descriptor == descriptor) {
      TCacheEntry* e = *link;
      *link = e->Next;
      delete e->Descriptor;
      delete e;
      return;
    }
  }
  throw Exception("TDFTIDescriptorCache.RemoveDscr; Descriptor was not found");
}

void TDFTIDescriptorCache::SetMaxCacheSize(std::int32_t value) {
  if (value < 1)
    throw Exception(FormatMsg("TDFTIDescriptorCache.SetMaxCacheSize: Invalid cache size: %d (expected >= 1)", value));
  fMaxCacheSize = value;
  TCacheEntry** link = &Chain;
  for (std::int32_t i = 0; i < value && *link; ++i) link = &(*link)->Next;
  RemoveChain(*link);
}

void FreeDftiCache() {
  delete std::exchange(header_detail::dfti_cache, nullptr);
}

// --- transforms through a descriptor --------------------------------------------------------------

namespace detail {

void CcsToPacked(const double* ccs, double* dst, std::int32_t n, TFFTStorageFormat format) {
  const double r0 = ccs[0];
  if (format == fsfPerm && n % 2 == 0 && n > 0) {
    const double rl = ccs[n];
    if (dst != ccs) std::memcpy(dst + 2, ccs + 2, static_cast<std::size_t>(n - 2) * sizeof(double));
    dst[0] = r0;
    dst[1] = rl;
    return;
  }
  std::memmove(dst + 1, ccs + 2, static_cast<std::size_t>(n - 1) * sizeof(double));
  dst[0] = r0;
}

void PackedToCcs(const double* src, double* ccs, std::int32_t n, TFFTStorageFormat format) {
  ccs[0] = src[0];
  ccs[1] = 0.0;
  if (format == fsfPerm && n % 2 == 0) {
    std::memcpy(ccs + 2, src + 2, static_cast<std::size_t>(n - 2) * sizeof(double));
    ccs[n] = src[1];
  } else {
    std::memcpy(ccs + 2, src + 1, static_cast<std::size_t>(n - 1) * sizeof(double));
  }
  if (n % 2 == 0) ccs[n + 1] = 0.0;
}

const char* DftiErrorMessage(int status) {
  switch (status) {
    case kDftiOk: return "No error";
    case kDftiBadLengths: return "Inconsistent configuration parameters";
    default: return FftwFailureText(static_cast<FftwFailure>(status));
  }
}

void RaiseComputeFailure(const char* method, int status) { throw Exception(std::string(method) + DftiErrorMessage(status)); }

FftwPlanPtr DftiPlanFor(TDftiHandle d, bool backward, const void* in, const void* out) {
  int status = 0;
  FftwPlanPtr plan = nullptr;
  if (!d->Real) plan = PlanFor(*d, backward ? FftwKind::Backward : FftwKind::Forward, in, out, status);
  else if (d->Format != fsfCCS)
    plan = backward ? PlanFor(*d, FftwKind::C2R, d->Scratch.get(), out, status)
                    : PlanFor(*d, FftwKind::R2C, in, d->Scratch.get(), status);
  else if (!backward) plan = PlanFor(*d, FftwKind::R2C, in, out, status);
  else if (in == out) plan = PlanFor(*d, FftwKind::C2R, out, out, status);
  else if (double* s = DftiScratch(d)) plan = PlanFor(*d, FftwKind::C2R, s, out, status);
  else status = kDftiNoMemory;
  if (!plan) RaiseComputeFailure("DftiPlanFor: ", status);
  return plan;
}

double* DftiScratch(TDftiHandle d) {
  if (!d->Scratch) {
    const std::int32_t n = RealLength(*d);
    const std::size_t doubles = static_cast<std::size_t>(RealRows(*d)) * 2 * Half(n);
    d->Scratch.reset(static_cast<double*>(FftwMalloc(doubles * sizeof(double))));
  }
  return d->Scratch.get();
}

int DftiForward(TDftiHandle d, void* in, void* out) {
  int status = 0;
  if (!d->Real) {
    const FftwPlanPtr plan = PlanFor(*d, FftwKind::Forward, in, out, status);
    if (plan) FftwExecDft(plan, static_cast<TCplx*>(in), static_cast<TCplx*>(out));
    return status;
  }
  if (d->Format == fsfCCS) {
    const FftwPlanPtr plan = PlanFor(*d, FftwKind::R2C, in, out, status);
    if (plan) FftwExecR2C(plan, static_cast<double*>(in), static_cast<TCplx*>(out));
    return status;
  }
  double* s = d->Scratch.get();
  const FftwPlanPtr plan = PlanFor(*d, FftwKind::R2C, in, s, status);
  if (!plan) return status;
  FftwExecR2C(plan, static_cast<double*>(in), reinterpret_cast<TCplx*>(s));
  const std::int32_t n = RealLength(*d);
  for (std::int32_t r = 0; r < RealRows(*d); ++r)
    CcsToPacked(s + std::int64_t{r} * 2 * Half(n), static_cast<double*>(out) + std::int64_t{r} * n, n, d->Format);
  return kDftiOk;
}

int DftiBackward(TDftiHandle d, const void* in, void* out) {
  auto* o = static_cast<double*>(out);
  int status = 0;
  if (!d->Real) {
    auto* ci = const_cast<TCplx*>(static_cast<const TCplx*>(in));
    const FftwPlanPtr plan = PlanFor(*d, FftwKind::Backward, ci, out, status);
    if (!plan) return status;
    FftwExecDft(plan, ci, static_cast<TCplx*>(out));
    Scale(o, 2 * d->Count * d->Shape.howmany, d->BackwardScale);
    return kDftiOk;
  }
  const std::int32_t n = RealLength(*d);
  const std::int64_t padded = 2 * Half(n);
  if (d->Format == fsfCCS) {
    const std::int64_t extent = RealRows(*d) * padded;
    if (in == out) {
      const FftwPlanPtr plan = PlanFor(*d, FftwKind::C2R, o, o, status);
      if (!plan) return status;
      FftwExecC2R(plan, reinterpret_cast<TCplx*>(o), o);
      // FFTW leaves working values in the padding: cleared, Self is the vector out of place gives.
      ZeroRowPadding(o, RealRows(*d), n, padded);
      Scale(o, extent, d->BackwardScale);
      return kDftiOk;
    }
    // Out of place from the scratch: FFTW runs an in-place c2r on buffers it allocates per call.
    double* s = DftiScratch(d);
    if (!s) return kDftiNoMemory;
    const FftwPlanPtr plan = PlanFor(*d, FftwKind::C2R, s, o, status);
    if (!plan) return status;
    if (in != s) std::memcpy(s, in, static_cast<std::size_t>(extent) * sizeof(double));
    FftwExecC2R(plan, reinterpret_cast<TCplx*>(s), o);
    if (d->Length2 == 0) {
      Scale(o, n, d->BackwardScale);
      return kDftiOk;
    }
    ZeroRowPadding(o, RealRows(*d), n, padded);
    Scale(o, extent, d->BackwardScale);
    return kDftiOk;
  }
  double* s = d->Scratch.get();
  const FftwPlanPtr plan = PlanFor(*d, FftwKind::C2R, s, o, status);
  if (!plan) return status;
  const auto* src = static_cast<const double*>(in);
  for (std::int32_t r = 0; r < RealRows(*d); ++r) PackedToCcs(src + std::int64_t{r} * n, s + r * padded, n, d->Format);
  FftwExecC2R(plan, reinterpret_cast<TCplx*>(s), o);
  Scale(o, std::int64_t{RealRows(*d)} * n, d->BackwardScale);
  return kDftiOk;
}

}  // namespace detail
}  // namespace quorel
