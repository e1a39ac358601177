#include "quorel/io/matrix_market.h"

#include <charconv>
#include <cstdint>
#include <string>

#include "quorel/objects/mtx.h"
#include "quorel/io/detail/short_date.h"
#include "quorel/core/float_format.h"
#include "quorel/io/text_values.h"

namespace quorel {

using detail::ShortDate;

namespace {
// Appends element (i, j) as the file writes it: a real value, or the real and imaginary part.
void AppendElement(std::string& line, const TMtx& mtx, std::int32_t i, std::int32_t j,
                   const TSampleFormatter& exact) {
  if (mtx.Complex()) {
    const TCplx& z = mtx.CValues(i, j);
    exact.Append(line, z.Re);
    line += ' ';
    exact.Append(line, z.Im);
  } else if (mtx.IsInteger()) {
    char buf[16];
    const std::int64_t k = std::int64_t{i} * mtx.LeadingCols() + j;
    line.append(buf, std::to_chars(buf, buf + sizeof buf, *mtx.PIValues1D(static_cast<std::int32_t>(k))).ptr);
  } else {
    exact.Append(line, mtx.Values(i, j));
  }
}
}  // namespace

TStringList MatrixMarketArrayLines(const TMtx& mtx) {
  TStringList lines;
  lines.reserve(4 + static_cast<std::size_t>(mtx.Rows()) * static_cast<std::size_t>(mtx.Cols()));
  lines.push_back(std::string("%%MatrixMarket matrix array ") + (mtx.Complex() ? "complex " : "real ") + "general ");
  lines.push_back("%Created with Quorel version " + std::to_string(QuorelLibraryVersion));
  lines.push_back("%Date: " + ShortDate());
  lines.push_back(std::to_string(mtx.Rows()) + " " + std::to_string(mtx.Cols()));
  const TSampleFormatter exact = TSampleFormatter::Shortest();
  std::string line;  // reused: each line costs only its own copy
  for (std::int32_t j = 0; j < mtx.Cols(); ++j)
    for (std::int32_t i = 0; i < mtx.Rows(); ++i) {
      line.clear();
      AppendElement(line, mtx, i, j, exact);
      lines.emplace_back(line);
    }
  return lines;
}

void SaveToMatrixMarketFile(const TMtx& mtx, const std::string& fileName) {
  SaveStringsToFile(MatrixMarketArrayLines(mtx), fileName);
}

void TMtx::SaveToMatrixMarketFile(const std::string& fileName) const { quorel::SaveToMatrixMarketFile(*this, fileName); }

}  // namespace quorel
