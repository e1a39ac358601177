// FFTW plans for the descriptor cache, the signal routines' per-thread transforms and nothing else.
#include "quorel/platform/fftw.h"

#include <fftw3.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>

namespace quorel::detail {

namespace {

// Planning rigour (bench/fft_bench.cpp, "FFT/measured", "FFTFirstCall", "FFT2FirstCall"):
// - 1-D: FFTW_ESTIMATE. A first call costs 0.2 ms / 2 ms / 60 ms at n = 1024 / 65536 / 2^20,
//   against 80 ms / 1.8 s / 6.5 s measured; measured plans ran up to 1.9x faster afterwards, but
//   estimated ones already beat NumPy by 2-6x at those sizes, and a time-limited measure found
//   nothing better than the estimate.
// - 2-D: FFTW_MEASURE. The estimated 512 x 512 plan ran 5-7x slower than the measured one (and
//   than NumPy); measuring costs about 0.6 s on the first call of a shape. FFTW keeps what it
//   measured for the life of the process, so a shape evicted from the descriptor cache replans fast.
// FFTW_DESTROY_INPUT is never given: out-of-place forward transforms keep their source.
unsigned gPlanFlags = FFTW_ESTIMATE;
FftwFailure gForcedFailure = FftwFailure::None;

// FFTW's planner and plan destruction share its global state (wisdom, twiddle tables); only the
// execution of an existing plan may run on several threads at once. Never destroyed: plans of
// per-thread caches and of the descriptor cache die during shut-down.
std::mutex& PlannerLock() {
  static auto* m = new std::mutex;
  return *m;
}

fftw_plan Raw(FftwPlanPtr p) { return reinterpret_cast<fftw_plan>(p); }
FftwPlanPtr Wrap(fftw_plan p) { return reinterpret_cast<FftwPlanPtr>(p); }

// Doubles spanned by `count` elements at distance `dist` of `len` elements each.
std::int64_t Span(std::int64_t count, std::int64_t dist, std::int64_t len) { return (count - 1) * dist + len; }

// A planning array of at least `doubles` doubles whose start has FFTW alignment class `align`.
class ScratchArray {
 public:
  ScratchArray(std::int64_t doubles, int align) {
    const std::size_t bytes = static_cast<std::size_t>(std::max<std::int64_t>(doubles, 2)) * sizeof(double) + 128;
    block_.reset(static_cast<char*>(fftw_malloc(bytes)));
    if (!block_) return;
    std::memset(block_.get(), 0, bytes);
    for (int offset = 0; offset < 64; offset += 8) {
      if (fftw_alignment_of(reinterpret_cast<double*>(block_.get() + offset)) == align) {
        data_ = reinterpret_cast<double*>(block_.get() + offset);
        return;
      }
    }
  }
  double* Data() const { return data_; }

 private:
  std::unique_ptr<char, FftwFree> block_;
  double* data_ = nullptr;
};

}  // namespace

void FftwSetMeasuredPlanning(bool measure) { gPlanFlags = measure ? FFTW_MEASURE : FFTW_ESTIMATE; }
void FftwDestroyPlan(FftwPlanPtr plan) {
  std::lock_guard lock(PlannerLock());
  fftw_destroy_plan(Raw(plan));
}
void FftwFree::operator()(void* p) const { fftw_free(p); }
void* FftwMalloc(std::size_t bytes) { return fftw_malloc(bytes); }
int FftwAlignment(const void* p) { return fftw_alignment_of(static_cast<double*>(const_cast<void*>(p))); }
void FftwFailPlans(FftwFailure failure) { gForcedFailure = failure; }

const char* FftwFailureText(FftwFailure failure) {
  switch (failure) {
    case FftwFailure::None: return "No error";
    case FftwFailure::NoMemory: return "Memory allocation failed";
    case FftwFailure::NoPlan: break;
  }
  return "FFTW could not plan the transform";
}

FftwPlan FftwMakePlan(FftwKind kind, const FftwShape& shape, const std::int32_t* lengths, int inAlign, int outAlign,
                      FftwFailure* why) {
  FftwFailure ignored;
  FftwFailure& failure = why ? *why : ignored;
  failure = gForcedFailure;
  if (failure != FftwFailure::None) return {};
  FftwShape s = shape;
  if (lengths)
    for (int d = 0; d < s.rank; ++d) s.n[d] = lengths[d];
  // Extent of each side in doubles: complex elements count two.
  const bool inComplex = kind == FftwKind::Forward || kind == FftwKind::Backward || kind == FftwKind::C2R;
  const bool outComplex = kind == FftwKind::Forward || kind == FftwKind::Backward || kind == FftwKind::R2C;
  const int last = s.n[s.rank - 1];
  const int half = last / 2 + 1;
  const int inLast = kind == FftwKind::C2R ? half : (kind == FftwKind::R2C && s.inplace ? 2 * half : last);
  const int outLast = kind == FftwKind::R2C ? half : (kind == FftwKind::C2R && s.inplace ? 2 * half : last);
  const int irow = s.irow ? s.irow : inLast;
  const int orow = s.orow ? s.orow : outLast;
  const std::int64_t inOne = s.rank == 2 ? std::int64_t{s.n[0] - 1} * irow + inLast : inLast;
  const std::int64_t outOne = s.rank == 2 ? std::int64_t{s.n[0] - 1} * orow + outLast : outLast;
  const std::int64_t inDoubles = Span(s.howmany, s.idist ? s.idist : inOne, inOne) * (inComplex ? 2 : 1);
  const std::int64_t outDoubles = Span(s.howmany, s.odist ? s.odist : outOne, outOne) * (outComplex ? 2 : 1);

  // Held until the planning arrays are freed.
  std::lock_guard lock(PlannerLock());
  ScratchArray inArr(s.inplace ? std::max(inDoubles, outDoubles) : inDoubles, inAlign);
  ScratchArray outArr(s.inplace ? 0 : outDoubles, outAlign);
  double* in = inArr.Data();
  double* out = s.inplace ? in : outArr.Data();
  if (in == nullptr || out == nullptr) {
    failure = FftwFailure::NoMemory;
    return {};
  }

  const int inembed[2] = {s.n[0], irow};
  const int onembed[2] = {s.n[0], orow};
  const int* ie = s.rank == 2 ? inembed : nullptr;
  const int* oe = s.rank == 2 ? onembed : nullptr;
  const int idist = s.idist ? s.idist : static_cast<int>(inOne);
  const int odist = s.odist ? s.odist : static_cast<int>(outOne);
  auto* cin = reinterpret_cast<fftw_complex*>(in);
  auto* cout = reinterpret_cast<fftw_complex*>(out);
  const unsigned flags = s.rank == 2 ? FFTW_MEASURE : gPlanFlags;
  fftw_plan p = nullptr;
  switch (kind) {
    case FftwKind::Forward:
    case FftwKind::Backward:
      p = fftw_plan_many_dft(s.rank, s.n, s.howmany, cin, ie, 1, idist, cout, oe, 1, odist,
                             kind == FftwKind::Forward ? FFTW_FORWARD : FFTW_BACKWARD, flags);
      break;
    case FftwKind::R2C:
      p = fftw_plan_many_dft_r2c(s.rank, s.n, s.howmany, in, ie, 1, idist, cout, oe, 1, odist, flags);
      break;
    case FftwKind::C2R:
      p = fftw_plan_many_dft_c2r(s.rank, s.n, s.howmany, cin, ie, 1, idist, out, oe, 1, odist, flags);
      break;
    case FftwKind::Dct2:
    case FftwKind::Dct3: {
      const fftw_r2r_kind k = kind == FftwKind::Dct2 ? FFTW_REDFT10 : FFTW_REDFT01;
      p = fftw_plan_many_r2r(1, s.n, s.howmany, in, nullptr, 1, idist, out, nullptr, 1, odist, &k, flags);
      break;
    }
  }
  if (p == nullptr) failure = FftwFailure::NoPlan;
  return FftwPlan(Wrap(p));
}

void FftwExecDft(FftwPlanPtr plan, TCplx* in, TCplx* out) {
  fftw_execute_dft(Raw(plan), reinterpret_cast<fftw_complex*>(in), reinterpret_cast<fftw_complex*>(out));
}
void FftwExecR2C(FftwPlanPtr plan, double* in, TCplx* out) {
  fftw_execute_dft_r2c(Raw(plan), in, reinterpret_cast<fftw_complex*>(out));
}
void FftwExecC2R(FftwPlanPtr plan, TCplx* in, double* out) {
  fftw_execute_dft_c2r(Raw(plan), reinterpret_cast<fftw_complex*>(in), out);
}
void FftwExecR2R(FftwPlanPtr plan, double* in, double* out) { fftw_execute_r2r(Raw(plan), in, out); }

}  // namespace quorel::detail
