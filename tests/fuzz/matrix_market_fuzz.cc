// libFuzzer target over the sparse Matrix Market reader: the input is the text of a file. Every
// matrix that loads is written out and read back, and must come back equal once its explicit
// off-diagonal zeros (kept when duplicates cancel, dropped by the reader) are stripped.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "quorel/core/errors.h"
#include "quorel/sparse/sparse.h"

namespace {

using namespace quorel;

constexpr long long kMaxDimension = 1 << 20;  // the storage needs Cols + 1 pointers and Rows markers

/// True when the size line announces dimensions this harness is willing to allocate for.
bool ModestSize(const TStringList& lines) {
  for (std::size_t i = 1; i < lines.size(); ++i) {
    if (lines[i].find('%') != std::string::npos) continue;
    const char* p = lines[i].c_str();
    char* end = nullptr;
    for (int k = 0; k < 2; ++k) {
      const long long v = std::strtoll(p, &end, 10);
      if (end == p) return true;  // not numbers: the reader refuses it without allocating
      if (v > kMaxDimension) return false;
      p = end;
    }
    return true;
  }
  return true;
}

/// Same shape, pattern and values, where a value equals itself when it is NaN (Equal compares
/// differences, which no infinity or NaN passes, and the reader takes both).
bool SameMatrix(const TSparseMtx& a, const TSparseMtx& b) {
  if (a.Rows() != b.Rows() || a.Cols() != b.Cols() || a.Complex() != b.Complex()) return false;
  const auto ap = a.Ap(), bp = b.Ap(), ai = a.Ai(), bi = b.Ai();
  if (!std::equal(ap.begin(), ap.end(), bp.begin(), bp.end()) || !std::equal(ai.begin(), ai.end(), bi.begin(), bi.end()))
    return false;
  const auto x = a.Values(), y = b.Values();
  return std::equal(x.begin(), x.end(), y.begin(), y.end(),
                    [](double u, double v) { return u == v || (std::isnan(u) && std::isnan(v)); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TStringList lines(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == '\n') {
      lines.emplace_back();
    } else {
      lines.back().push_back(static_cast<char>(data[i]));
    }
  }
  if (!ModestSize(lines)) return 0;
  TSparseMtx a;
  try {
    a.StringsToValues(lines, spfMatrixMarket);
  } catch (const Exception&) {
    return 0;
  }
  a.ZeroThresh(0.0);
  // A matrix without entries is written, but the triplet builder refuses to read it back.
  if (a.NonZeros() == 0) return 0;
  TStringList text;
  a.ValuesToStrings(text, spfMatrixMarket);
  TSparseMtx b;
  b.StringsToValues(text, spfMatrixMarket);
  if (!SameMatrix(a, b)) std::abort();
  return 0;
}
