#pragma once
// The one door to FFTW. Plans are opaque handles owned by FftwPlan; they are made on scratch
// arrays (a measuring planner overwrites its arrays) and executed on the caller's arrays through
// FFTW's new-array functions, which require the same alignment class as the planning arrays:
// FftwAlignment gives that class and callers key their plans by it.
// FFTW's planner is not thread-safe: FftwMakePlan and FftwDestroyPlan hold one process-wide lock,
// so any thread may plan and destroy. Execution, FftwMalloc and FftwFree need no lock.

#include <cstdint>

#include "quorel/core/types.h"
#include "quorel/platform/foreign_handle.h"

namespace quorel::detail {

struct FftwPlanTag;
using FftwPlanPtr = FftwPlanTag*;
void FftwDestroyPlan(FftwPlanPtr plan);
/// An owned FFTW plan.
using FftwPlan = ForeignHandle<FftwPlanPtr, &FftwDestroyPlan>;

/// How one transform is laid out: `rank` dimensions (row-major, their lengths passed beside the
/// shape, or `n` when none are), `howmany` transforms whose
/// starts are `idist` / `odist` elements apart (elements of the input / output kind), and the
/// distance between consecutive rows of a 2-D transform (`irow` / `orow`, 0 = packed).
struct FftwShape {
  int rank = 1;
  int n[2] = {0, 0};
  int howmany = 1;
  int idist = 0;
  int odist = 0;
  int irow = 0;
  int orow = 0;
  bool inplace = false;
};

enum class FftwKind : std::uint8_t { Forward, Backward, R2C, C2R, Dct2, Dct3 };

/// Why a plan could not be made.
enum class FftwFailure : std::uint8_t { None, NoMemory, NoPlan };

/// Plans `kind` for `shape` (dimension lengths from `lengths` when given, else shape.n) with the
/// input and output arrays at the given alignment classes (byte offsets from FFTW's SIMD
/// alignment). Empty on failure (never a partial plan), with the reason in `*why` when asked.
FftwPlan FftwMakePlan(FftwKind kind, const FftwShape& shape, const std::int32_t* lengths, int inAlign, int outAlign,
                      FftwFailure* why = nullptr);

/// Plans made while this is not None fail that way (tests of the failure paths).
void FftwFailPlans(FftwFailure failure);

/// Plans made from now on measure candidate algorithms (true) or estimate (false, the default).
/// Plans already made keep their rigour. For benchmarks that compare the two.
void FftwSetMeasuredPlanning(bool measure);

/// Alignment class of an address as FFTW sees it.
int FftwAlignment(const void* p);

/// New-array execution of a plan on arrays of the planned alignment classes.
void FftwExecDft(FftwPlanPtr plan, TCplx* in, TCplx* out);
void FftwExecR2C(FftwPlanPtr plan, double* in, TCplx* out);
void FftwExecC2R(FftwPlanPtr plan, TCplx* in, double* out);
void FftwExecR2R(FftwPlanPtr plan, double* in, double* out);

/// Aligned block for plan-owned scratch arrays.
struct FftwFree {
  void operator()(void* p) const;
};
void* FftwMalloc(std::size_t bytes);

/// Text naming a planning failure.
const char* FftwFailureText(FftwFailure failure);

}  // namespace quorel::detail
