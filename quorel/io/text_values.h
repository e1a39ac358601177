#pragma once
// Values of vectors and matrices as lines of text and back, and the storage precisions by size and
// by name. Lists are appended to, so headers and several objects can share one list.

#include <cstdint>
#include <string>

#include "quorel/core/types.h"

namespace quorel {

class TMtx;
class TVec;

/// How one element becomes text: by the pattern pair of FormatSample/FormatCplx, or, when
/// Exact, as the shortest text that reads back to the same double.
struct TValueFormat {
  /// Pattern of real values and real parts.
  std::string Re;
  /// Pattern of imaginary parts.
  std::string Im;
  /// Shortest round-trip text instead of the patterns.
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

// --- matrices ------------------------------------------------------------------------------------

/// Appends one line per row of the block at (Row, Col) of RowCount x ColCount elements (a count
/// of -1: to the last row or column), the columns joined by Delimiter, each element as in the
/// vector form. Raises "TMtx.ValuesToStrings: (Row + RowCount) > FRows" and
/// "TMtx.ValuesToStrings: (Col + ColCount) > FCols".
void ValuesToStrings(const TMtx& mtx, TStringList& list, const std::string& delimiter, const std::string& reFormat,
                     const std::string& imFormat, std::int32_t row, std::int32_t col, std::int32_t rowCount,
                     std::int32_t colCount);
void ValuesToStrings(const TMtx& mtx, TStringList& list, const std::string& delimiter, const std::string& reFormat,
                     const std::string& imFormat);
/// Same, each value in the shortest text that reads back exactly.
void ValuesToStrings(const TMtx& mtx, TStringList& list, const std::string& delimiter, std::int32_t row,
                     std::int32_t col, std::int32_t rowCount, std::int32_t colCount);
void ValuesToStrings(const TMtx& mtx, TStringList& list, const std::string& delimiter);

/// Reads lines written by ValuesToStrings: Mtx becomes one row per line with the columns of the
/// first line (keeping Complex); complex texts when Mtx is complex, reals otherwise. A line with
/// another column count raises EQuorelInvalidArgument, a field that is not a number the
/// conversion error; Mtx is unchanged on any error.
void StringsToValues(TMtx& mtx, const TStringList& list, const std::string& delimiter);

// --- lines of columns, files of lines -----------------------------------------------------------

/// The fields of a delimited line, split as ExtractCplx walks it: delimiters in a row count as
/// one, and a delimiter at either end opens no field. An empty delimiter gives the whole line.
TStringList SplitColumns(const std::string& line, const std::string& delimiter);

/// Number of columns of line Row of List. Raises "Row > AList.Count-1".
std::int32_t ColumnCount(const TStringList& list, std::int32_t row, const std::string& delimiter);

/// Writes Text to a file, replacing it or appended to its end. Raises Exception when the file
/// cannot be opened or written.
void SaveTextToFile(const std::string& fileName, const std::string& text, bool append);

/// Writes the lines to a file, each ended by "\n".
void SaveStringsToFile(const TStringList& list, const std::string& fileName);

// --- storage precisions ----------------------------------------------------------------------------

/// Bytes per element in the given storage precision, doubled for complex; 0 for an unknown one.
std::int32_t SizeOfPrecision(TPrecision precision, bool complex);

/// Description of a storage precision ("float, 8 bytes", ...); empty for an unknown one.
std::string PrecisionToStr(TPrecision precision);

}  // namespace quorel
