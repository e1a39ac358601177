#pragma once
// TBorrowedVec: a TVec that works on memory the caller owns (a std::vector, a std::span, an array
// from another library), without copying it in or out.

#include <complex>
#include <cstdint>
#include <limits>
#include <span>

#include "quorel/core/errors.h"
#include "quorel/core/types.h"
#include "quorel/objects/vec.h"

namespace quorel {

/// A vector on a borrowed buffer. The buffer stays the caller's: the vector reads and writes it in
/// place (Adopt), never frees it, and lets go of it (Disown) when the TBorrowedVec is destroyed.
/// The buffer must outlive the TBorrowedVec.
///
/// The buffer's size is fixed. A method that would give the vector other storage (a different
/// length, real data made complex of the same length) raises EQuorelException "TBorrowedVec:
/// a borrowed buffer cannot be resized" and puts the vector back on the buffer with the length
/// and kind it was borrowed with; methods size their result before writing it, so the refused
/// method has not written into the buffer. SetActualSize is not guarded.
/// Methods whose result has the vector's own size and kind work in the buffer, as does a switch
/// of Complex (real 2n <-> complex n reinterprets the same doubles). The guard is
/// the vector's OnSetSize event: do not replace it.
class TBorrowedVec {
 public:
  /// Borrows real values.
  explicit TBorrowedVec(std::span<double> values) : TBorrowedVec(values.data(), Count(values.size()), false) {}
  /// Borrows complex values.
  explicit TBorrowedVec(std::span<std::complex<double>> values)
      : TBorrowedVec(reinterpret_cast<double*>(values.data()), Count(values.size()), true) {}
  /// Borrows complex values.
  explicit TBorrowedVec(std::span<TCplx> values)
      : TBorrowedVec(reinterpret_cast<double*>(values.data()), Count(values.size()), true) {}
  /// Borrows len elements at data: len doubles, or 2 * len doubles (re, im pairs) when complex.
  TBorrowedVec(double* data, std::int32_t len, bool complex) : data_(data), len_(len), complex_(complex) {
    vec_.Adopt(data, len, complex);
    vec_.OnSetSize = [this](TQuorel&) { Guard(); };
  }
  /// Lets go of the buffer; the caller's memory is not touched.
  ~TBorrowedVec() {
    vec_.OnSetSize = nullptr;
    vec_.SetFullRange();
    vec_.Disown();
  }
  /// Not copyable: one owner of the loan.
  TBorrowedVec(const TBorrowedVec&) = delete;
  /// Not assignable.
  TBorrowedVec& operator=(const TBorrowedVec&) = delete;

  /// The vector, for every library method: view->Add(a, b), Sum(*view).
  TVec& Vec() { return vec_; }
  /// The vector, read-only.
  const TVec& Vec() const { return vec_; }
  /// Same as Vec().
  TVec& operator*() { return vec_; }
  /// Same as Vec(), read-only.
  const TVec& operator*() const { return vec_; }
  /// Same as &Vec().
  TVec* operator->() { return &vec_; }
  /// Same as &Vec(), read-only.
  const TVec* operator->() const { return &vec_; }
  /// The vector, where a TVec& or a const TDenseQuorel& is expected.
  operator TVec&() { return vec_; }
  /// The vector, where a const TVec& is expected.
  operator const TVec&() const { return vec_; }
  /// The borrowed buffer.
  double* Data() const { return data_; }

 private:
  static std::int32_t Count(std::size_t n) {
    if (n > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
      ERangeErrorRaise("TBorrowedVec: more than 2^31 - 1 elements");
    return static_cast<std::int32_t>(n);
  }
  // Runs after every change of size or kind. Moved off the buffer, the vector is put back on it as
  // borrowed and the method raises (a method may switch Complex before it sizes, so the shape
  // just before the failing call is not known here).
  void Guard() {
    if (restoring_ || vec_.AllignedAPoint() == data_) return;
    restoring_ = true;
    vec_.Adopt(data_, len_, complex_);
    restoring_ = false;
    ERaise("TBorrowedVec: a borrowed buffer cannot be resized");
  }

  TVec vec_;
  double* data_;
  const std::int32_t len_;
  const bool complex_;
  bool restoring_ = false;
};

}  // namespace quorel
