#include "quorel/io/matrix_market.h"

#include <ctime>

#include "quorel/objects/mtx.h"
#include "quorel/io/detail/short_date.h"
#include "quorel/io/text_values.h"

namespace quorel {

using detail::ShortDate;

namespace {
// Element (i, j) as the file writes it: a real value, or the real and imaginary part.
std::string ElementLine(const TMtx& mtx, std::int32_t i, std::int32_t j) {
  const TValueFormat exact = TValueFormat::Shortest();
  const std::int64_t k = std::int64_t{i} * mtx.LeadingCols() + j;
  if (mtx.Complex()) {
    const TCplx& z = mtx.CValues(i, j);
    return ValueText(z.Re, exact) + " " + ValueText(z.Im, exact);
  }
  if (mtx.IsInteger()) return std::to_string(*mtx.PIValues1D(static_cast<std::int32_t>(k)));
  return ValueText(mtx.Values(i, j), exact);
}
}  // namespace

TStringList MatrixMarketArrayLines(const TMtx& mtx) {
  TStringList lines;
  lines.reserve(4 + static_cast<std::size_t>(mtx.Rows()) * static_cast<std::size_t>(mtx.Cols()));
  lines.push_back(std::string("%%MatrixMarket matrix array ") + (mtx.Complex() ? "complex " : "real ") + "general ");
  lines.push_back("%Created with Quorel version " + std::to_string(QuorelLibraryVersion));
  lines.push_back("%Date: " + ShortDate());
  lines.push_back(std::to_string(mtx.Rows()) + " " + std::to_string(mtx.Cols()));
  for (std::int32_t j = 0; j < mtx.Cols(); ++j)
    for (std::int32_t i = 0; i < mtx.Rows(); ++i) lines.push_back(ElementLine(mtx, i, j));
  return lines;
}

void SaveToMatrixMarketFile(const TMtx& mtx, const std::string& fileName) {
  SaveStringsToFile(MatrixMarketArrayLines(mtx), fileName);
}

void TMtx::SaveToMatrixMarketFile(const std::string& fileName) const { quorel::SaveToMatrixMarketFile(*this, fileName); }

}  // namespace quorel
