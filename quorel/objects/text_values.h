#pragma once
// Values of vectors and matrices as lines of text and back, and the storage precisions by size and
// by name. Lists are appended to, so headers and several objects can share one list.

#include <cstdint>
#include <string>

#include "quorel/core/types.h"

namespace quorel {

class TVec;

/// How one element becomes text: by the pattern pair of FormatSample/FormatCplx, or, when
/// Exact, as the shortest text that reads back to the same double.
struct TValueFormat {
  std::string Re;
  std::string Im;
  bool Exact = false;

  /// Patterns for real values (and real parts) and for imaginary parts.
  static TValueFormat Patterns(std::string re, std::string im) { return {std::move(re), std::move(im), false}; }
  /// Exact round-trip text.
  static TValueFormat Shortest() { return {{}, {}, true}; }
};

/// Text of one real value.
std::string ValueText(double x, const TValueFormat& format);
/// Text of one complex value ("1+2i" form in the exact case, FormatCplx otherwise).
std::string ValueText(const TCplx& z, const TValueFormat& format);

// --- vectors -------------------------------------------------------------------------------------

/// Appends one line per element of Vec[Index .. Index+Len-1] (Len = -1: to the end): reals by
/// ReFormat, complex values by ReFormat and ImFormat, integer vectors as plain integers.
/// Raises "Index + Len > fLength".
void ValuesToStrings(const TVec& vec, TStringList& list, const std::string& reFormat, const std::string& imFormat,
                     std::int32_t index, std::int32_t len);
void ValuesToStrings(const TVec& vec, TStringList& list, const std::string& reFormat, const std::string& imFormat);
/// Same, each value in the shortest text that reads back exactly.
void ValuesToStrings(const TVec& vec, TStringList& list, std::int32_t index, std::int32_t len);
void ValuesToStrings(const TVec& vec, TStringList& list);

/// Parses List[ListIndex .. ListIndex+Len-1] (Len = -1: to the end of the list) into
/// Vec[Index ..]: complex texts when Vec is complex, reals otherwise, rounded to integers for an
/// integer vector. Raises "(Index + Len) > fLength", "ListIndex + Len > AList.Count", or the
/// conversion error of the first line that is not a number; Vec is unchanged on any error.
void StringsToValues(TVec& vec, const TStringList& list, std::int32_t listIndex, std::int32_t index,
                     std::int32_t len);
/// Sizes Vec to the line count (keeping Complex) and parses every line.
void StringsToValues(TVec& vec, const TStringList& list);

// --- lines of columns ----------------------------------------------------------------------------

/// The fields of a delimited line, split as ExtractCplx walks it: delimiters in a row count as
/// one, and a delimiter at either end opens no field. An empty delimiter gives the whole line.
TStringList SplitColumns(const std::string& line, const std::string& delimiter);

/// Number of columns of line Row of List. Raises "Row > AList.Count-1".
std::int32_t ColumnCount(const TStringList& list, std::int32_t row, const std::string& delimiter);

// --- storage precisions ----------------------------------------------------------------------------

/// Bytes per element in the given storage precision, doubled for complex; 0 for an unknown one.
std::int32_t SizeOfPrecision(TPrecision precision, bool complex);

/// Description of a storage precision ("float, 8 bytes", ...); empty for an unknown one.
std::string PrecisionToStr(TPrecision precision);

}  // namespace quorel
