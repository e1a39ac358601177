#include "quorel/io/detail/persist_format.h"
#include "quorel/core/detail/checks.h"
#include "quorel/io/text_values.h"

#include "quorel/io/persist.h"

#include <array>
#include <charconv>
#include <fstream>
#include <limits>
#include <string_view>

#include "quorel/core/errors.h"
#include "quorel/core/text.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/kernels/convert.h"
#include "quorel/platform/kernels/move.h"

namespace quorel {

using detail::RequireInRange;

// --- element texts -----------------------------------------------------------------------------------

namespace {
// The exact case writes complex values in the "1+2i" / "1-i" / "i" / "3" layout that StrToCplx
// reads.
TSampleFormatter FormatterOf(const TValueFormat& format) {
  return format.Exact ? TSampleFormatter::Shortest() : TSampleFormatter(format.Re, format.Im);
}
}  // namespace

std::string ValueText(double x, const TValueFormat& format) {
  std::string text;
  FormatterOf(format).Append(text, x);
  return text;
}

std::string ValueText(const TCplx& z, const TValueFormat& format) {
  std::string text;
  FormatterOf(format).Append(text, z);
  return text;
}

// --- vectors -------------------------------------------------------------------------------------

namespace {

[[noreturn]] void SelfRangeError(std::int64_t index, std::int64_t len, std::int32_t length) {
  ERangeErrorRaise(FormatMsg("Self params out of range: Index: %lld, Len: %lld, Length: %d",
                             static_cast<long long>(index), static_cast<long long>(len), length));
}

// Appends the text of storage element k (element (i, j) of a matrix is i * LeadingCols + j).
void AppendElement(std::string& out, const TQuorel& obj, std::int64_t k, const TSampleFormatter& formatter) {
  const auto at = static_cast<std::int32_t>(k);
  if (obj.Complex()) {
    formatter.Append(out, *obj.PCValues1D(at));
  } else if (obj.IsInteger()) {
    char buf[16];
    out.append(buf, std::to_chars(buf, buf + sizeof buf, *obj.PIValues1D(at)).ptr);
  } else {
    formatter.Append(out, *obj.PValues1D(at));
  }
}

// Each line is written into one reused buffer and copied out at its length, so a line costs at
// most the allocation of its own text.
void AppendVecLines(const TVec& vec, TStringList& list, const TValueFormat& format, std::int32_t index,
                    std::int32_t len) {
  const std::int64_t count = len == -1 ? std::int64_t{vec.Length()} - index : len;
  if (index < 0 || count < 0) SelfRangeError(index, count, vec.Length());
  RequireInRange(index + count <= vec.Length(), "Index + Len > fLength");
  const TSampleFormatter formatter = FormatterOf(format);
  list.reserve(list.size() + static_cast<std::size_t>(count));
  std::string text;
  for (std::int64_t k = index; k < index + count; ++k) {
    text.clear();
    AppendElement(text, vec, k, formatter);
    list.emplace_back(text);
  }
}

// Parses `count` lines from `first` into a work vector, then writes them to Vec[Index ..]. Parsing
// completes before Vec is touched, so a bad line leaves Vec as it was.
void ParseInto(TVec& vec, const TStringList& list, std::size_t first, std::int32_t count, std::int32_t index,
               bool resize) {
  TWorkVec parsed;
  parsed->Size(count, vec.Complex());
  if (vec.Complex()) {
    for (std::int32_t k = 0; k < count; ++k) *parsed->PCValues(k) = StrToCplx(list[first + k]);
  } else {
    for (std::int32_t k = 0; k < count; ++k) (*parsed)[k] = StrToVal(list[first + k]);
  }
  if (resize) vec.Size(count, vec.Complex());
  if (count == 0) return;
  if (vec.Complex())
    kern::Copy(parsed->PCValues(0), vec.PCValues(index), count);
  else if (vec.IsInteger())
    kern::Convert(parsed->PValues(0), vec.PIValues(index), count, rnRound);
  else
    kern::Copy(parsed->PValues(0), vec.PValues(index), count);
}

}  // namespace

void ValuesToStrings(const TVec& vec, TStringList& list, const std::string& reFormat, const std::string& imFormat,
                     std::int32_t index, std::int32_t len) {
  AppendVecLines(vec, list, TValueFormat::Patterns(reFormat, imFormat), index, len);
}

void ValuesToStrings(const TVec& vec, TStringList& list, const std::string& reFormat, const std::string& imFormat) {
  AppendVecLines(vec, list, TValueFormat::Patterns(reFormat, imFormat), 0, -1);
}

void ValuesToStrings(const TVec& vec, TStringList& list, std::int32_t index, std::int32_t len) {
  AppendVecLines(vec, list, TValueFormat::Shortest(), index, len);
}

void ValuesToStrings(const TVec& vec, TStringList& list) {
  AppendVecLines(vec, list, TValueFormat::Shortest(), 0, -1);
}

void StringsToValues(TVec& vec, const TStringList& list, std::int32_t listIndex, std::int32_t index,
                     std::int32_t len) {
  const auto lines = static_cast<std::int64_t>(list.size());
  const std::int64_t count = len == -1 ? lines - listIndex : len;
  if (index < 0 || count < 0) SelfRangeError(index, count, vec.Length());
  RequireInRange(index + count <= vec.Length(), "(Index + Len) > fLength");
  if (listIndex < 0) ERangeErrorRaise(FormatMsg("ListIndex < 0 (%d)", listIndex));
  RequireInRange(listIndex + count <= lines, "ListIndex + Len > AList.Count");
  ParseInto(vec, list, static_cast<std::size_t>(listIndex), static_cast<std::int32_t>(count), index, false);
}

void StringsToValues(TVec& vec, const TStringList& list) {
  if (list.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    EOutOfMemoryRaise("Quorel: Out of memory!");
  ParseInto(vec, list, 0, static_cast<std::int32_t>(list.size()), 0, true);
}

// --- matrices ------------------------------------------------------------------------------------

namespace {

void AppendMtxLines(const TMtx& mtx, TStringList& list, const std::string& delimiter, const TValueFormat& format,
                    std::int32_t row, std::int32_t col, std::int32_t rowCount, std::int32_t colCount) {
  const std::int64_t rows = rowCount == -1 ? std::int64_t{mtx.Rows()} - row : rowCount;
  const std::int64_t cols = colCount == -1 ? std::int64_t{mtx.Cols()} - col : colCount;
  RequireInRange(!(row < 0 || col < 0), "TMtx.ValuesToStrings: (Row < 0) or (Col < 0)");
  RequireInRange(!(rows < 0 || cols < 0), "TMtx.ValuesToStrings: (RowCount < 0) or (ColCount < 0)");
  RequireInRange(row + rows <= mtx.Rows(), "TMtx.ValuesToStrings: (Row + RowCount) > FRows");
  RequireInRange(col + cols <= mtx.Cols(), "TMtx.ValuesToStrings: (Col + ColCount) > FCols");
  const TSampleFormatter formatter = FormatterOf(format);
  list.reserve(list.size() + static_cast<std::size_t>(rows));
  std::string line;  // reused, as for vectors
  for (std::int64_t i = row; i < row + rows; ++i) {
    line.clear();
    for (std::int64_t j = col; j < col + cols; ++j) {
      if (j > col) line += delimiter;
      AppendElement(line, mtx, i * mtx.LeadingCols() + j, formatter);
    }
    list.emplace_back(line);
  }
}

// Calls f(field) for each field of a line, split as SplitColumns describes, without copying.
template <class F>
void ForEachField(std::string_view line, std::string_view delimiter, F&& f) {
  if (delimiter.empty()) {
    if (!line.empty()) f(line);
    return;
  }
  const std::size_t step = delimiter.size();
  std::size_t pos = 0;
  for (;;) {
    while (line.compare(pos, step, delimiter) == 0) pos += step;
    if (pos >= line.size()) break;
    const std::size_t next = line.find(delimiter, pos);
    f(line.substr(pos, next == std::string_view::npos ? std::string_view::npos : next - pos));
    if (next == std::string_view::npos) break;
    pos = next + step;
  }
}

std::int32_t FieldCount(std::string_view line, std::string_view delimiter) {
  std::int32_t count = 0;
  ForEachField(line, delimiter, [&](std::string_view) { ++count; });
  return count;
}

}  // namespace

void ValuesToStrings(const TMtx& mtx, TStringList& list, const std::string& delimiter, const std::string& reFormat,
                     const std::string& imFormat, std::int32_t row, std::int32_t col, std::int32_t rowCount,
                     std::int32_t colCount) {
  AppendMtxLines(mtx, list, delimiter, TValueFormat::Patterns(reFormat, imFormat), row, col, rowCount, colCount);
}

void ValuesToStrings(const TMtx& mtx, TStringList& list, const std::string& delimiter, const std::string& reFormat,
                     const std::string& imFormat) {
  AppendMtxLines(mtx, list, delimiter, TValueFormat::Patterns(reFormat, imFormat), 0, 0, -1, -1);
}

void ValuesToStrings(const TMtx& mtx, TStringList& list, const std::string& delimiter, std::int32_t row,
                     std::int32_t col, std::int32_t rowCount, std::int32_t colCount) {
  AppendMtxLines(mtx, list, delimiter, TValueFormat::Shortest(), row, col, rowCount, colCount);
}

void ValuesToStrings(const TMtx& mtx, TStringList& list, const std::string& delimiter) {
  AppendMtxLines(mtx, list, delimiter, TValueFormat::Shortest(), 0, 0, -1, -1);
}

void StringsToValues(TMtx& mtx, const TStringList& list, const std::string& delimiter) {
  if (list.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    EOutOfMemoryRaise("Quorel: Out of memory!");
  const auto rows = static_cast<std::int32_t>(list.size());
  const std::int32_t cols = rows > 0 ? ColumnCount(list, 0, delimiter) : 0;
  const bool complex = mtx.Complex();
  // Parsed completely before Mtx is touched.
  TWorkMtx parsed;
  parsed->Size(rows, cols, false, complex);
  for (std::int32_t i = 0; i < rows; ++i) {
    const std::string& line = list[static_cast<std::size_t>(i)];
    const std::int32_t fields = FieldCount(line, delimiter);
    if (fields != cols)
      EInvalidArgumentRaise(FormatMsg("TMtx.StringsToValues: line %d has %d columns, not %d", i, fields, cols));
    std::int32_t j = 0;
    ForEachField(line, delimiter, [&](std::string_view field) {
      if (complex)
        parsed->CValues(i, j) = StrToCplx(field);
      else
        parsed->Values(i, j) = StrToVal(field);
      ++j;
    });
  }
  mtx.Size(rows, cols, complex);
  if (cols == 0) return;
  for (std::int32_t i = 0; i < rows; ++i) {
    if (complex)
      kern::Copy(parsed->PCValues(i, 0), mtx.PCValues(i, 0), cols);
    else if (mtx.IsInteger())
      kern::Convert(parsed->PValues(i, 0), mtx.PIValues1D(i * mtx.LeadingCols()), cols, rnRound);
    else
      kern::Copy(parsed->PValues(i, 0), mtx.PValues(i, 0), cols);
  }
}

// --- lines of columns, files of lines -----------------------------------------------------------

TStringList SplitColumns(const std::string& line, const std::string& delimiter) {
  TStringList fields;
  ForEachField(line, delimiter, [&](std::string_view field) { fields.emplace_back(field); });
  return fields;
}

std::int32_t ColumnCount(const TStringList& list, std::int32_t row, const std::string& delimiter) {
  if (row < 0) ERangeErrorRaise(FormatMsg("Row < 0 (%d)", row));
  RequireInRange(static_cast<std::size_t>(row) < list.size(), "Row > AList.Count-1");
  return FieldCount(list[static_cast<std::size_t>(row)], delimiter);
}

void SaveTextToFile(const std::string& fileName, const std::string& text, bool append) {
  std::ofstream file(fileName, std::ios::binary | (append ? std::ios::app : std::ios::trunc));
  if (!file) throw Exception("Cannot open file \"" + fileName + "\"");
  file.write(text.data(), static_cast<std::streamsize>(text.size()));
  file.close();
  if (!file) throw Exception("Cannot write file \"" + fileName + "\"");
}

void SaveStringsToFile(const TStringList& list, const std::string& fileName) {
  std::string text;
  for (const std::string& line : list) {
    text += line;
    text += '\n';
  }
  SaveTextToFile(fileName, text, false);
}

// --- the same as members ----------------------------------------------------------------------------

void TVec::ValuesToStrings(TStringList& list, const std::string& reFormat, const std::string& imFormat,
                           std::int32_t index, std::int32_t len) const {
  quorel::ValuesToStrings(*this, list, reFormat, imFormat, index, len);
}

void TVec::ValuesToStrings(TStringList& list, const std::string& reFormat, const std::string& imFormat) const {
  quorel::ValuesToStrings(*this, list, reFormat, imFormat);
}

void TVec::ValuesToStrings(TStringList& list, std::int32_t index, std::int32_t len) const {
  quorel::ValuesToStrings(*this, list, index, len);
}

void TVec::ValuesToStrings(TStringList& list) const { quorel::ValuesToStrings(*this, list); }

void TVec::StringsToValues(const TStringList& list, std::int32_t listIndex, std::int32_t index, std::int32_t len) {
  quorel::StringsToValues(*this, list, listIndex, index, len);
}

void TVec::StringsToValues(const TStringList& list) { quorel::StringsToValues(*this, list); }

void TMtx::ValuesToStrings(TStringList& list, const std::string& delimiter, const std::string& reFormat,
                           const std::string& imFormat, std::int32_t row, std::int32_t col, std::int32_t rowCount,
                           std::int32_t colCount) const {
  quorel::ValuesToStrings(*this, list, delimiter, reFormat, imFormat, row, col, rowCount, colCount);
}

void TMtx::ValuesToStrings(TStringList& list, const std::string& delimiter, const std::string& reFormat,
                           const std::string& imFormat) const {
  quorel::ValuesToStrings(*this, list, delimiter, reFormat, imFormat);
}

void TMtx::ValuesToStrings(TStringList& list, const std::string& delimiter, std::int32_t row, std::int32_t col,
                           std::int32_t rowCount, std::int32_t colCount) const {
  quorel::ValuesToStrings(*this, list, delimiter, row, col, rowCount, colCount);
}

void TMtx::ValuesToStrings(TStringList& list, const std::string& delimiter) const {
  quorel::ValuesToStrings(*this, list, delimiter);
}

void TMtx::StringsToValues(const TStringList& list, const std::string& delimiter) {
  quorel::StringsToValues(*this, list, delimiter);
}

// --- storage precisions ----------------------------------------------------------------------------

namespace {
// Names in TPrecision order; the sizes come from the codecs of the binary format.
constexpr std::array<const char*, 11> kPrecisionNames{
    "float, 8 bytes",       "float, 4 bytes",          "integer, 4 bytes",      "unsigned integer, 4 bytes",
    "integer, 2 bytes",     "unsigned integer, 2 bytes", "integer, 1 byte",      "unsigned integer, 1 byte",
    "MuLaw integer, 1 byte", "ALaw integer, 1 byte",   "integer, 3 bytes",
};
}  // namespace

std::int32_t SizeOfPrecision(TPrecision precision, bool complex) {
  const std::int32_t bytes = detail::BytesPerValue(precision);
  return complex ? 2 * bytes : bytes;
}

std::string PrecisionToStr(TPrecision precision) {
  return precision < kPrecisionNames.size() ? kPrecisionNames[precision] : "";
}

}  // namespace quorel
