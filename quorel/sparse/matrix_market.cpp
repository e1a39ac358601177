// Matrix Market coordinate and array text for sparse matrices. The reader takes untrusted text:
// every malformed line raises an exception naming its source and line (an index outside the
// matrix is left to the triplet conversion), and the matrix is only replaced once the whole
// text has been read.

#include <algorithm>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <vector>

#include "quorel/core/errors.h"
#include "quorel/core/text.h"
#include "quorel/io/matrix_market.h"
#include "quorel/io/detail/short_date.h"
#include "quorel/io/text_values.h"
#include "quorel/objects/mtx.h"
#include "quorel/sparse/sparse.h"

namespace quorel {

using detail::ShortDate;

namespace {

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

bool Contains(const std::string& s, const char* word) { return s.find(word) != std::string::npos; }

bool IsBlank(const std::string& s) {
  return std::all_of(s.begin(), s.end(), [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
}

enum class TField { Real, Complex, Pattern };
enum class TSymmetry { General, Symmetric, Skew, Hermitian };

/// Reads one text: knows where it came from, so that every complaint can name the line.
class TMarketReader {
 public:
  TMarketReader(const TStringList& lines, const std::string& source) : lines_(lines), source_(source) {}

  [[noreturn]] void Fail(std::size_t line, const std::string& what) const {
    ERaise(source_ + "(" + std::to_string(line + 1) + "): " + what);
  }

  /// Blank-separated numbers of a line; refuses anything that is not one.
  const std::vector<double>& Numbers(std::size_t line) {
    numbers_.clear();
    const std::string& s = lines_[line];
    std::size_t p = 0;
    while (p < s.size()) {
      while (p < s.size() && (s[p] == ' ' || s[p] == '\t' || s[p] == '\r')) ++p;
      std::size_t e = p;
      while (e < s.size() && s[e] != ' ' && s[e] != '\t' && s[e] != '\r') ++e;
      if (e > p) {
        token_.assign(s, p, e - p);
        // The library's own number scanner: either decimal separator, and nan/inf words.
        double x = 0;
        try {
          x = StrToVal(token_);
        } catch (const EConvertError&) {
          Fail(line, "'" + token_ + "' is not a number");
        }
        numbers_.push_back(x);
      }
      p = e;
    }
    return numbers_;
  }

  std::int32_t Count(std::size_t line, double x, const char* what) const {
    if (!(x >= 0 && x <= 2147483647.0) || x != std::floor(x))
      Fail(line, std::string(what) + " must be a non-negative integer");
    return static_cast<std::int32_t>(x);
  }

  /// The 0-based index of a 1-based whole number; one outside 1..limit becomes -1, which the
  /// triplet conversion refuses as it refuses any other triplet outside the matrix.
  std::int32_t Index(std::size_t line, double x, std::int32_t limit, const char* what) const {
    if (x != std::floor(x)) Fail(line, std::string(what) + " index must be a whole number");
    return x >= 1 && x <= limit ? static_cast<std::int32_t>(x) - 1 : -1;
  }

  /// Next line holding data (skips blank lines and comments), or lines_.size().
  std::size_t NextData(std::size_t from) const {
    while (from < lines_.size() && (IsBlank(lines_[from]) || lines_[from].find('%') != std::string::npos)) ++from;
    return from;
  }

  void Read(TSparseMtx& target) {
    if (lines_.size() < 2) ERaise("not (Strings.Count > 1)");
    const std::string banner = Lower(lines_[0]);
    if (!Contains(banner, "matrixmarket")) ERaise("Strings not in MatrixMarket format!");
    if (!Contains(banner, " matrix ")) ERaise("Matrix object required!");
    const bool coordinate = Contains(banner, "coordinate");
    TField field;
    if (Contains(banner, "complex")) field = TField::Complex;
    else if (Contains(banner, "pattern")) field = TField::Pattern;
    else if (Contains(banner, "real") || Contains(banner, "integer")) field = TField::Real;
    else Fail(0, "field must be real, integer, complex or pattern");
    TSymmetry sym;
    if (Contains(banner, "skew-symmetric")) sym = TSymmetry::Skew;
    else if (Contains(banner, "symmetric")) sym = TSymmetry::Symmetric;
    else if (Contains(banner, "hermitian")) sym = TSymmetry::Hermitian;
    else if (Contains(banner, "general")) sym = TSymmetry::General;
    else Fail(0, "symmetry must be general, symmetric, skew-symmetric or hermitian");
    if (!coordinate && field == TField::Pattern) Fail(0, "an array cannot have the pattern field");

    std::string caption;
    std::size_t line = 1;
    for (; line < lines_.size() && lines_[line].find('%') != std::string::npos; ++line)
      caption += lines_[line] + "\r\n";
    line = NextData(line);
    if (line >= lines_.size()) Fail(lines_.size() - 1, "size line missing");
    const auto& size = Numbers(line);
    if (size.size() != (coordinate ? 3u : 2u))
      Fail(line, coordinate ? "size line must hold Rows Cols Entries" : "size line must hold Rows Cols");
    const std::int32_t rows = Count(line, size[0], "Rows");
    const std::int32_t cols = Count(line, size[1], "Cols");
    if (sym != TSymmetry::General && rows != cols) Fail(line, "a symmetric matrix must be square");
    const std::int64_t n = rows;
    const std::int64_t entries = coordinate                   ? Count(line, size[2], "Entries")
                                 : sym == TSymmetry::General ? n * cols
                                 : sym == TSymmetry::Skew    ? n * (n - 1) / 2
                                                             : n * (n + 1) / 2;

    const std::size_t perLine = field == TField::Complex ? 2 : field == TField::Pattern ? 0 : 1;
    const std::size_t expect = (coordinate ? 2 : 0) + perLine;
    // Never trust the announced count for allocation: at most one entry per remaining line.
    const std::size_t room = std::min<std::size_t>(static_cast<std::size_t>(entries), lines_.size() - line) *
                             (sym == TSymmetry::General ? 1 : 2);
    row_.reserve(room);
    col_.reserve(room);
    val_.reserve(room);

    // Array files list column by column; the symmetric kinds only their lower triangle.
    std::int32_t ai = 0, aj = 0;
    if (!coordinate && sym == TSymmetry::Skew) ai = 1;
    std::int64_t read = 0;
    for (line = NextData(line + 1); read < entries; line = NextData(line + 1), ++read) {
      if (line >= lines_.size())
        Fail(lines_.size() - 1, "expected " + std::to_string(entries) + " entries, found " + std::to_string(read));
      const auto& x = Numbers(line);
      if (x.size() != expect)
        Fail(line, "expected " + std::to_string(expect) + " numbers, found " + std::to_string(x.size()));
      std::int32_t i, j;
      if (coordinate) {
        i = Index(line, x[0], rows, "row");
        j = Index(line, x[1], cols, "column");
      } else {
        i = ai;
        j = aj;
        if (++ai == rows) {
          ++aj;
          ai = sym == TSymmetry::General ? 0 : sym == TSymmetry::Skew ? aj + 1 : aj;
        }
      }
      const TCplx v = field == TField::Pattern   ? TCplx{1.0, 0.0}
                      : field == TField::Complex ? TCplx{x[expect - 2], x[expect - 1]}
                                                 : TCplx{x[expect - 1], 0.0};
      Add(i, j, v);
      if (i != j && sym != TSymmetry::General) Add(j, i, sym == TSymmetry::Hermitian ? TCplx{v.Re, -v.Im} : v);
    }
    line = NextData(line);
    if (line < lines_.size()) Fail(line, "more entries than the size line announces");

    if (field == TField::Complex) {
      target.TripletsToSparse(rows, cols, row_, col_, std::span<const TCplx>(val_), 0.0);
    } else {
      std::vector<double> re(val_.size());
      for (std::size_t k = 0; k < val_.size(); ++k) re[k] = val_[k].Re;
      target.TripletsToSparse(rows, cols, row_, col_, std::span<const double>(re), 0.0);
    }
    target.SetCaption(caption);
  }

 private:
  void Add(std::int32_t i, std::int32_t j, const TCplx& v) {
    row_.push_back(i);
    col_.push_back(j);
    val_.push_back(v);
  }

  const TStringList& lines_;
  const std::string& source_;
  std::vector<double> numbers_;
  std::string token_;
  TIntegerArray row_, col_;
  TCplxArray val_;
};

bool FileExists(const std::string& fileName) {
  std::error_code ec;
  return std::filesystem::is_regular_file(fileName, ec);
}

TStringList ReadLines(const std::string& fileName) {
  std::ifstream in(fileName, std::ios::binary);
  if (!in) ERaise("Cannot open file " + fileName);
  TStringList lines;
  std::string s;
  while (std::getline(in, s)) {
    if (!s.empty() && s.back() == '\r') s.pop_back();
    lines.push_back(s);
  }
  return lines;
}

void ReadMarket(TSparseMtx& target, const TStringList& strings, const std::string& source) {
  TMarketReader reader(strings, source);
  reader.Read(target);
}

}  // namespace

void TSparseMtx::ValuesToStrings(TStringList& strings, TSparseFormat format) const {
  if (format != spfMatrixMarket) ERaise("Format must be HarwellBoeing or MatrixMarket!");
  RequireStructure();
  strings.push_back(std::string("%%MatrixMarket matrix coordinate ") + (fComplex ? "complex " : "real ") + "general ");
  strings.push_back("%Created with Quorel version " + FormatSample("0.00", double(QuorelLibraryVersion)));
  strings.push_back("%Date: " + ShortDate());
  strings.push_back(std::to_string(fRows) + " " + std::to_string(fCols) + " " + std::to_string(fLength));
  if (fLength == 0) return;
  TMtx triplets, lines;
  SparseToTriplets(triplets, true);
  double* t = triplets.PValues1D(0);
  for (std::int64_t k = 0; k < 2 * std::int64_t{fLength}; ++k) t[k] += 1.0;
  lines.Transp(triplets);
  quorel::ValuesToStrings(lines, strings, "  ");
}

void TSparseMtx::StringsToValues(const TStringList& strings, TSparseFormat format) {
  if (format != spfMatrixMarket) ERaise("Format must be HarwellBoeing or MatrixMarket!");
  ReadMarket(*this, strings, "Strings");
}

void TSparseMtx::SaveToMatrixMarketFile(const std::string& fileName) const {
  TStringList strings;
  ValuesToStrings(strings, spfMatrixMarket);
  SaveStringsToFile(strings, fileName);
}

void TSparseMtx::LoadFromMatrixMarketFile(const std::string& fileName) {
  if (!FileExists(fileName)) ERaise("File " + fileName + " does not exist!");
  ReadMarket(*this, ReadLines(fileName), fileName);
}

void TSparseMtx::SaveToHarwellBoeingFile(const std::string& fileName) const { SaveStringsToFile({}, fileName); }

void TSparseMtx::LoadFromHarwellBoeingFile(const std::string& fileName) {
  if (!FileExists(fileName)) ERaise("File " + fileName + " does not exist!");
  (void)ReadLines(fileName);
}

}  // namespace quorel
