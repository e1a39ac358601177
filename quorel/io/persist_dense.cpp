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
  if (fLength > 0) WriteBinaryValues(stream, fValues, precision, rounding, fComplex, fLength);
}

void TDenseQuorel::ReadValues(TQuorelStream& stream, TPrecision precision) {
  if (fLength <= 0) return;
  // A block of an unknown precision supplies nothing: the values read as zero.
  if (detail::BytesPerValue(precision) == 0) {
    std::fill(fValues, fValues + (fComplex ? 2 * std::ptrdiff_t{fLength} : fLength), 0.0);
    return;
  }
  ReadBinaryValues(stream, fValues, precision, fComplex, fLength);
}

void TDenseQuorel::SaveToStream(TQuorelStream& stream) const {
  WriteHeader(stream, fPrecision, fRounding);
  WriteValues(stream, fPrecision, fRounding);
}

void TDenseQuorel::LoadFromStream(TQuorelStream& stream) { ReadValues(stream, ReadHeader(stream)); }

void TDenseQuorel::SaveToFile(const std::string& fileName, bool append) const {
  SaveToStream(*detail::OpenForSave(fileName, append));
}

void TDenseQuorel::LoadFromFile(const std::string& fileName) {
  TQuorelFileStream file(fileName, fmOpenRead);
  LoadFromStream(file);
}

}  // namespace quorel
