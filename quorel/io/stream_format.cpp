#include "quorel/io/stream_format.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "quorel/io/detail/text_grid.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"

namespace quorel {

namespace detail {

std::vector<std::int32_t> ShownPositions(std::int32_t n, bool summarise) {
  std::vector<std::int32_t> shown;
  const bool cut = summarise && n > 2 * kPrintEdgeItems;
  for (std::int32_t i = 0; i < n; ++i) {
    if (cut && i == kPrintEdgeItems) {
      shown.push_back(-1);
      i = n - kPrintEdgeItems;
    }
    shown.push_back(i);
  }
  return shown;
}

TCellFormatter::TCellFormatter(const std::ostream& target) {
  text_.copyfmt(target);
  text_.width(0);
}

std::string TCellFormatter::operator()(double x) {
  text_.str({});
  text_ << x;
  return text_.str();
}

std::string TCellFormatter::operator()(std::int32_t x) {
  text_.str({});
  text_ << x;
  return text_.str();
}

std::string TCellFormatter::operator()(const TCplx& z) {
  text_.str({});
  text_ << z;
  return text_.str();
}

void WriteGrid(std::ostream& os, std::int32_t rows, std::int32_t cols, bool matrix,
               const std::function<std::string(std::int32_t, std::int32_t)>& cell) {
  const bool summarise = std::int64_t{rows} * cols > kPrintSummaryThreshold;
  const std::vector<std::int32_t> shownRows = matrix ? ShownPositions(rows, summarise) : std::vector<std::int32_t>{0};
  const std::vector<std::int32_t> shownCols = ShownPositions(cols, summarise);
  // All cells first: the common width is known only once every one is formatted.
  std::vector<std::vector<std::string>> cells;
  std::size_t width = 0;
  for (std::int32_t i : shownRows) {
    std::vector<std::string>& line = cells.emplace_back();
    if (i < 0) continue;
    for (std::int32_t j : shownCols) {
      line.push_back(j < 0 ? std::string("...") : cell(i, j));
      if (j >= 0) width = std::max(width, line.back().size());
    }
  }
  os.width(0);
  if (matrix) os << '[';
  for (std::size_t r = 0; r < shownRows.size(); ++r) {
    if (r > 0) os << "\n ";
    if (shownRows[r] < 0) {
      os << "...";
      continue;
    }
    os << '[';
    for (std::size_t c = 0; c < cells[r].size(); ++c) {
      if (c > 0) os << ' ';
      const std::string& text = cells[r][c];
      if (shownCols[c] >= 0 && text.size() < width) os << std::string(width - text.size(), ' ');
      os << text;
    }
    os << ']';
  }
  if (matrix) os << ']';
}

}  // namespace detail

std::ostream& operator<<(std::ostream& os, const TCplx& z) {
  std::ostringstream text;
  text.copyfmt(os);
  text.width(0);
  text << z.Re;
  // The sign is written by hand, so showpos must not add a second one.
  text.unsetf(std::ios_base::showpos);
  text << (std::signbit(z.Im) ? '-' : '+') << std::fabs(z.Im) << 'i';
  return os << text.str();
}

std::ostream& operator<<(std::ostream& os, const TVec& v) {
  detail::TCellFormatter format(os);
  const auto cell = [&](std::int32_t, std::int32_t j) -> std::string {
    if (v.Complex()) return format(*v.PCValues1D(j));
    if (v.IsInteger()) return format(*v.PIValues1D(j));
    return format(*v.PValues1D(j));
  };
  detail::WriteGrid(os, 1, v.Length(), false, cell);
  return os;
}

std::ostream& operator<<(std::ostream& os, const TMtx& m) {
  detail::TCellFormatter format(os);
  const auto cell = [&](std::int32_t i, std::int32_t j) -> std::string {
    if (m.Complex()) return format(*m.PCValues(i, j));
    if (m.IsInteger()) return format(*m.PIValues1D(i * m.LeadingCols() + j));
    return format(*m.PValues(i, j));
  };
  detail::WriteGrid(os, m.Rows(), m.Cols(), true, cell);
  return os;
}

}  // namespace quorel
