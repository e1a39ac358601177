// The descriptor cache and the transforms that run through its descriptors.
#include <cstring>
#include <new>

#include "quorel/core/errors.h"
#include "quorel/objects/detail/release_hooks.h"
#include "quorel/signal/detail/dfti.h"

namespace quorel {

namespace {

using detail::FftwKind;

[[noreturn]] void DscrFail(const char* step, const char* status) {
  throw Exception(FormatMsg("TDFTIDescriptorCache.FindOrCreateDscr: %s: %s", step, status));
}

// Direction only stays in the key where it changes the layout (real out-of-place CCS batches and
// 2-D) or the ordering.
TCacheEntryFlags Normalise(std::int32_t length2, TCacheEntryFlags flags) {
  if (flags.Has(cefScrambled)) return flags;
  if (length2 == 0) return flags.Exclude(cefBackward);
  const TCacheEntryFlags layout{cefReal, cefInplace, cefPack, cefPerm};
  if (!(flags * layout == TCacheEntryFlags{cefReal})) flags.Exclude(cefBackward);
  return flags;
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
    // Backward transforms always run in place on the output (FFTW's c2r destroys its input).
    s.inplace = true;
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

detail::FftwPlanPtr PlanFor(TDftiDescriptor& d, FftwKind kind, const void* in, const void* out) {
  const int ia = detail::FftwAlignment(in);
  const int oa = detail::FftwAlignment(out);
  const bool inplace = in == out;
  for (auto& p : d.Plans)
    if (p.Kind == kind && p.InAlign == ia && p.OutAlign == oa && p.Inplace == inplace) return p.P.Get();
  detail::FftwPlan plan = detail::FftwMakePlan(kind, ShapeFor(d, kind, inplace), ia, oa);
  if (!plan) DscrFail("Can't commit descriptor", detail::FftwPlanFailureText());
  d.Plans.push_back({kind, ia, oa, inplace, std::move(plan)});
  return d.Plans.back().P.Get();
}

void Scale(double* p, std::int64_t count, double s) {
  if (s == 1.0) return;
  for (std::int64_t i = 0; i < count; ++i) p[i] *= s;
}

// Steps of a descriptor's configuration, checked as the cache's callers expect.
std::unique_ptr<TDftiDescriptor> Configure(std::int32_t length1, std::int32_t length2, TCacheEntryFlags flags) {
  const bool use1D = flags.Has(cefUse1D);
  if (length1 < 1 || length2 < 0 || (use1D && length2 < 1))
    DscrFail("Can't create descriptor", "Inconsistent configuration parameters");
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
      if (!d->Scratch) DscrFail("Can't create descriptor", "Memory allocation failed");
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
  if (!d.Real) {
    PlanFor(d, backward ? FftwKind::Backward : FftwKind::Forward, aligned, out);
  } else if (d.Format != fsfCCS) {
    if (backward) PlanFor(d, FftwKind::C2R, d.Scratch.get(), aligned);
    else PlanFor(d, FftwKind::R2C, aligned, d.Scratch.get());
  } else if (backward) {
    PlanFor(d, FftwKind::C2R, aligned, aligned);
  } else {
    PlanFor(d, FftwKind::R2C, aligned, out);
  }
}

TDFTIDescriptorCache* gCache = nullptr;  // never destroyed by the runtime: freed by FreeDftiCache

}  // namespace

// --- the cache ---------------------------------------------------------------------------------

TDFTIDescriptorCache::TDFTIDescriptorCache() = default;
TDFTIDescriptorCache::~TDFTIDescriptorCache() { RemoveChain(Chain); }

std::int32_t TDFTIDescriptorCache::Count() const {
  std::int32_t n = 0;
  for (auto* e = Chain; e; e = e->Next) ++n;
  return n;
}

TDftiHandle TDFTIDescriptorCache::FindOrCreateDscr(std::int32_t length1, std::int32_t length2, TCacheEntryFlags flags) {
  const bool backward = flags.Has(cefBackward);
  flags = Normalise(length2, flags);
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

TDFTIDescriptorCache& DftiCache() {
  if (!gCache) {
    detail::RegisterReleaseHook(&FreeDftiCache);
    gCache = new TDFTIDescriptorCache;
  }
  return *gCache;
}

void FreeDftiCache() {
  delete gCache;
  gCache = nullptr;
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

FftwPlanPtr DftiPlanFor(TDftiHandle d, bool backward, const void* in, const void* out) {
  if (!d->Real) return PlanFor(*d, backward ? FftwKind::Backward : FftwKind::Forward, in, out);
  if (d->Format != fsfCCS)
    return backward ? PlanFor(*d, FftwKind::C2R, d->Scratch.get(), out) : PlanFor(*d, FftwKind::R2C, in, d->Scratch.get());
  return backward ? PlanFor(*d, FftwKind::C2R, out, out) : PlanFor(*d, FftwKind::R2C, in, out);
}

void DftiForward(TDftiHandle d, void* in, void* out) {
  if (!d->Real) {
    FftwExecDft(PlanFor(*d, FftwKind::Forward, in, out), static_cast<TCplx*>(in), static_cast<TCplx*>(out));
    return;
  }
  if (d->Format == fsfCCS) {
    FftwExecR2C(PlanFor(*d, FftwKind::R2C, in, out), static_cast<double*>(in), static_cast<TCplx*>(out));
    return;
  }
  double* s = d->Scratch.get();
  FftwExecR2C(PlanFor(*d, FftwKind::R2C, in, s), static_cast<double*>(in), reinterpret_cast<TCplx*>(s));
  const std::int32_t n = RealLength(*d);
  for (std::int32_t r = 0; r < RealRows(*d); ++r)
    CcsToPacked(s + std::int64_t{r} * 2 * Half(n), static_cast<double*>(out) + std::int64_t{r} * n, n, d->Format);
}

void DftiBackward(TDftiHandle d, const void* in, void* out) {
  auto* o = static_cast<double*>(out);
  if (!d->Real) {
    auto* ci = const_cast<TCplx*>(static_cast<const TCplx*>(in));
    FftwExecDft(PlanFor(*d, FftwKind::Backward, ci, out), ci, static_cast<TCplx*>(out));
    Scale(o, 2 * d->Count * d->Shape.howmany, d->BackwardScale);
    return;
  }
  const std::int32_t n = RealLength(*d);
  const std::int64_t padded = 2 * Half(n);
  if (d->Format == fsfCCS) {
    const std::int64_t extent = RealRows(*d) * padded;
    if (in != out) std::memcpy(o, in, static_cast<std::size_t>(extent) * sizeof(double));
    FftwExecC2R(PlanFor(*d, FftwKind::C2R, o, o), reinterpret_cast<TCplx*>(o), o);
    Scale(o, extent, d->BackwardScale);
    return;
  }
  double* s = d->Scratch.get();
  const auto* src = static_cast<const double*>(in);
  for (std::int32_t r = 0; r < RealRows(*d); ++r) PackedToCcs(src + std::int64_t{r} * n, s + r * padded, n, d->Format);
  FftwExecC2R(PlanFor(*d, FftwKind::C2R, s, o), reinterpret_cast<TCplx*>(s), o);
  Scale(o, std::int64_t{RealRows(*d)} * n, d->BackwardScale);
}

}  // namespace detail
}  // namespace quorel
