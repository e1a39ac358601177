#pragma once
// What a committed descriptor is behind its opaque handle, and how transforms run through it.
//
// A descriptor holds the transform's shape as derived from its cache key and the FFTW plans made
// for it so far. FFTW's new-array execution needs arrays of the planned alignment class, so plans
// are kept per (kind, input alignment, output alignment): a vector's own storage always has one
// class, sub-ranges may have the other, and each pair is planned once.
//
// Array conventions (the real side counted in doubles, the complex side in complex elements):
// - complex: Length1 values (1-D), Length1 rows of Length2 (batch of rows, or 2-D);
// - real CCS: the half spectrum of n reals is n div 2 + 1 complex values; in place, the real rows
//   are padded to 2 * (n div 2 + 1) doubles (distances and row strides as the key says);
// - real Pack/Perm (1-D and row batches): n reals on both sides, staged through the descriptor's
//   own CCS scratch. 2-D real transforms always use the half-spectrum layout.

#include <cstdint>
#include <memory>
#include <vector>

#include "quorel/core/types.h"
#include "quorel/platform/fftw.h"
#include "quorel/signal/dfti_cache.h"

namespace quorel {

struct TDftiDescriptor {
  std::int32_t Length1 = 0;
  std::int32_t Length2 = 0;
  TCacheEntryFlags Flags;
  bool Real = false;
  TFFTStorageFormat Format = fsfCCS;
  detail::FftwShape Shape;     // complex: the transform; real: as seen from the real side
  std::int64_t Count = 0;      // values per transform (n, or rows * cols for 2-D)
  double BackwardScale = 1.0;
  std::int32_t RealDistIn = 0, RealDistOut = 0;  // real batch distances in doubles
  struct Plan {
    detail::FftwKind Kind;
    int InAlign, OutAlign;
    bool Inplace;
    detail::FftwPlan P;
  };
  std::vector<Plan> Plans;
  // The plan each direction ran last and the arrays it ran on (see ArrayTag in dfti_cache.cpp).
  struct LastPlan {
    std::uint32_t Tag = ~0u;
    detail::FftwPlanPtr P = nullptr;
  } Last[2];
  std::unique_ptr<double, detail::FftwFree> Scratch;  // CCS rows: Pack/Perm staging, growing in place
  bool PerThread = false;  // held by a thread's own cache (ThreadDesc), never by DftiCache
};

namespace detail {

/// Status of a transform: kDftiOk, or why it could not run (a plan FFTW could not make for new
/// arrays: the FftwFailure values), as text through DftiErrorMessage.
enum : int { kDftiOk = 0, kDftiNoMemory = 1, kDftiBadLengths = 16 };
static_assert(static_cast<int>(FftwFailure::None) == kDftiOk && static_cast<int>(FftwFailure::NoMemory) == kDftiNoMemory);
/// Text of a status.
const char* DftiErrorMessage(int status);
/// Raises the runtime's base exception with `method` (such as "TVec.FFT: ") and the status text.
[[noreturn]] void RaiseComputeFailure(const char* method, int status);
/// Raises unless the transform ran.
inline void CheckCompute(int status, const char* method) {
  if (status != kDftiOk) [[unlikely]]
    RaiseComputeFailure(method, status);
}

/// Forward transform through a committed descriptor. Complex: in/out are TCplx arrays; real: in is
/// real, out is complex (CCS) or real (Pack/Perm). in == out for an in-place transform. Nothing is
/// written unless the status is kDftiOk.
[[nodiscard]] int DftiForward(TDftiHandle d, void* in, void* out);
/// Backward transform, scaled when the descriptor says so. Complex: TCplx arrays; real: in is
/// complex (CCS) or real (Pack/Perm), out real. A real CCS source is not modified unless in == out
/// or it is the descriptor's scratch (DftiScratch, then consumed). Out of place, a 1-D real CCS
/// inverse writes its n reals alone; in place, and for batches and 2-D, it writes padded rows, the
/// padding zeroed.
[[nodiscard]] int DftiBackward(TDftiHandle d, const void* in, void* out);
/// The same, raising with `method` (such as "TVec.FFT: ") and the status text unless it ran.
inline void DftiForward(TDftiHandle d, void* in, void* out, const char* method) {
  CheckCompute(DftiForward(d, in, out), method);
}
inline void DftiBackward(TDftiHandle d, const void* in, void* out, const char* method) {
  CheckCompute(DftiBackward(d, in, out), method);
}
/// The FFTW plan a transform with these arrays would run (planned now if need be), for the
/// benchmark's raw-call comparison.
FftwPlanPtr DftiPlanFor(TDftiHandle d, bool backward, const void* in, const void* out);
/// The descriptor's aligned scratch for its real rows as CCS (2 * (n div 2 + 1) doubles a row),
/// made on first use and kept with the descriptor; null when it cannot be allocated.
double* DftiScratch(TDftiHandle d);

/// A committed descriptor outside the descriptor cache, for one thread's own use (see
/// thread_transforms.h); raises as FindOrCreateDscr does.
std::unique_ptr<TDftiDescriptor> MakeThreadDescriptor(std::int32_t length1, std::int32_t length2,
                                                      TCacheEntryFlags flags);

/// The CCS half spectrum (n div 2 + 1 complex values) to Pack or Perm (n reals); dst may equal src.
void CcsToPacked(const double* ccs, double* dst, std::int32_t n, TFFTStorageFormat format);
/// Pack or Perm (n reals) to CCS (n div 2 + 1 complex values); dst must not overlap src.
void PackedToCcs(const double* src, double* ccs, std::int32_t n, TFFTStorageFormat format);

}  // namespace detail
}  // namespace quorel
