// Saving and loading shared by vectors and matrices: a header of the object's kind, then the
// values in storage order (a matrix's rows lie back to back, LeadingCols being Cols).
#include <algorithm>
#include <cstddef>

#include "quorel/io/detail/persist_format.h"
#include "quorel/objects/dense.h"
#include "quorel/io/persist.h"
#include "quorel/io/stream.h"

namespace quorel {

void TDenseQuorel::WriteValues(TQuorelStream& stream, TPrecision precision, TRounding rounding) const {
  if (fLength <= 0) return;
  if (!fIsInteger || fComplex) {
    WriteBinaryValues(stream, fValues, precision, rounding, fComplex, fLength);
    return;
  }
  // The format has no integer flag: the 32-bit integers are written as the values they are,
  // widened a stretch at a time.
  constexpr std::int32_t kStretch = 2048;
  double widened[kStretch];
  const std::int32_t* ints = PIValues1D(0);
  for (std::int32_t i = 0; i < fLength; i += kStretch) {
    const std::int32_t n = std::min(kStretch, fLength - i);
    std::copy_n(ints + i, n, widened);
    WriteBinaryValues(stream, widened, precision, rounding, false, n);
  }
}

void TDenseQuorel::ReadValues(TQuorelStream& stream, TPrecision precision) {
  if (fLength > 0) ReadBinaryValues(stream, fValues, precision, fComplex, fLength);
}

void TDenseQuorel::SaveToStream(TQuorelStream& stream) const {
  WriteHeader(stream, fPrecision, fRounding);
  WriteValues(stream, fPrecision, fRounding);
}

void TDenseQuorel::LoadFromStream(TQuorelStream& stream) {
  const double* values = fValues;
  const std::int32_t length = fLength;
  const bool complex = fComplex;
  const TPrecision precision = ReadHeader(stream);
  if (fLength <= 0) return;
  const std::int64_t filled = detail::ReadValueBytes(stream, fValues, precision, fComplex, fLength);
  // Storage the header resized holds whatever its allocator left there: a short (or unreadable)
  // block must not expose it. Storage that kept its size keeps its old values, as a plain read
  // leaves them. Only an own heap block gives its pages back: cache memory stays warm for its
  // next user, and adopted memory is the caller's (it may be a shared or file mapping).
  const std::ptrdiff_t count = fComplex ? 2 * std::ptrdiff_t{fLength} : fLength;
  if (filled < count * 8 && (fValues != values || fLength != length || fComplex != complex)) {
    detail::ZeroUnfilled(fValues, filled, count, fAllocatedBytes > 0);
  }
}

void TDenseQuorel::SaveToFile(const std::string& fileName, bool append) const {
  SaveToStream(*detail::OpenForSave(fileName, append));
}

void TDenseQuorel::LoadFromFile(const std::string& fileName) {
  TQuorelFileStream file(fileName, fmOpenRead);
  LoadFromStream(file);
}

}  // namespace quorel
