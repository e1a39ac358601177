#include "quorel/core/detail/checks.h"
#include "quorel/core/text.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <system_error>

#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/core/float_format.h"

namespace quorel {

using detail::RequireState;

namespace {

// Character tests on bytes; the <cctype> ones are undefined for negative chars.
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Beyond this many significant digits only "was anything non-zero dropped" matters for correct
// rounding (a double's halfway points need fewer than 770 digits).
constexpr std::size_t kMaxDigits = 800;
// |exponent| past which a value is surely infinite or zero.
constexpr long long kExpLimit = 400;
// Exponent digits saturate here: far beyond any mantissa length, far below overflow.
constexpr long long kExpSaturate = 100'000'000'000'000'000;

[[noreturn]] void NotAFloat(const std::string& S) {
  EConvertErrorRaise("'" + S + "' is not a valid floating point value");
}

std::string UpperAscii(std::string s) {
  for (char& c : s)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return s;
}

}  // namespace

bool TryStrToFloat(const std::string& S, double& x) {
  const std::string sep = DecimalSeparator();
  std::size_t i = 0;
  std::size_t n = S.size();
  while (i < n && IsBlank(S[i])) ++i;
  while (n > i && IsBlank(S[n - 1])) --n;
  bool negative = false;
  if (i < n && (S[i] == '+' || S[i] == '-')) negative = S[i++] == '-';

  // The mantissa as 0.digits * 10^exp10, leading zeros dropped.
  std::string digits;
  long long exp10 = 0;
  bool anyDigit = false;
  bool seenSep = false;
  bool dropped = false;
  while (i < n) {
    const char c = S[i];
    if (IsDigit(c)) {
      anyDigit = true;
      if (digits.empty() && c == '0') {
        if (seenSep) --exp10;
      } else {
        if (!seenSep) ++exp10;
        if (digits.size() < kMaxDigits) digits += c; else dropped |= c != '0';
      }
      ++i;
    } else if (!seenSep && S.compare(i, sep.size(), sep) == 0) {
      seenSep = true;
      i += sep.size();
    } else {
      break;
    }
  }
  if (!anyDigit) return false;

  long long expValue = 0;
  if (i < n && (S[i] == 'E' || S[i] == 'e')) {
    ++i;
    bool expNegative = false;
    if (i < n && (S[i] == '+' || S[i] == '-')) expNegative = S[i++] == '-';
    if (i == n || !IsDigit(S[i])) return false;
    for (; i < n && IsDigit(S[i]); ++i)
      if (expValue < kExpSaturate) expValue = expValue * 10 + (S[i] - '0');
    if (expNegative) expValue = -expValue;
  }
  if (i != n) return false;

  const double sign = negative ? -1.0 : 1.0;
  const long long total = exp10 + expValue;  // value lies in [10^(total-1), 10^total)
  if (digits.empty() || total < -kExpLimit) { x = sign * 0.0; return true; }
  if (total > kExpLimit) { x = sign * INF; return true; }
  if (dropped) digits += '1';
  const std::string text = digits + "e" + std::to_string(total - static_cast<long long>(digits.size()));
  double v = 0.0;
  const auto res = std::from_chars(text.data(), text.data() + text.size(), v);
  if (res.ec == std::errc::result_out_of_range)
    v = total > 0 ? INF : 0.0;
  else if (res.ec != std::errc())
    return false;
  x = sign * v;
  return true;
}

double StrToFloat(const std::string& S) {
  double x = 0.0;
  if (!TryStrToFloat(S, x)) NotAFloat(S);
  return x;
}

double StrToVal(const std::string& S) {
  double x = 0.0;
  if (TryStrToFloat(S, x)) return x;
  const std::string upper = UpperAscii(S);
  const bool minus = S.find('-') != std::string::npos;
  if (upper.find("NAN") != std::string::npos) return minus ? -NaN : NaN;
  if (upper.find("INF") != std::string::npos) return minus ? -INF : INF;
  // Accept either separator whatever the locale says.
  const std::string sep = DecimalSeparator();
  std::string repaired;
  repaired.reserve(S.size());
  for (char c : S) {
    if (c == ',' || c == '.') repaired += sep; else repaired += c;
  }
  if (!TryStrToFloat(repaired, x)) NotAFloat(S);
  return x;
}

double StrToSample(const std::string& S) { return StrToVal(S); }

TCplx StrToCplx(const std::string& S) {
  const std::size_t p = S.find('i');
  if (p == std::string::npos) return {StrToVal(S), 0.0};
  // The sign that starts the imaginary part; an exponent's sign follows an "E".
  std::size_t k = p;
  while (k > 0) {
    --k;
    const char c = S[k];
    if ((c == '+' || c == '-') && (k == 0 || (S[k - 1] != 'E' && S[k - 1] != 'e'))) {
      const std::string imText = S.substr(k, p - k);
      const double im = imText == "+" ? 1.0 : imText == "-" ? -1.0 : StrToVal(imText);
      const std::string reText = S.substr(0, k);
      const double re = (reText.empty() || reText == " ") ? 0.0 : StrToVal(reText);
      return {re, im};
    }
  }
  const std::string imText = S.substr(0, p);
  return {0.0, imText.empty() ? 1.0 : StrToVal(imText)};
}

std::string CplxToStr(const TCplx& Z, int Digits) {
  const std::string re = FormatGeneral(Z.Re, 15, Digits);
  if (Z.Im == 0) return re;
  std::string im;
  if (Z.Im == 1)
    im = "i";
  else if (Z.Im == -1)
    im = "-i";
  else
    im = FormatGeneral(Z.Im, 15, Digits) + "i";
  if (Z.Re == 0) return im;
  return Z.Im < 0 ? re + im : re + "+" + im;
}

std::string SampleToStr(double X, int Precision, int Digits) { return FormatGeneral(X, Precision, Digits); }

std::string FormatSample(const std::string& Format, double X) { return FormatPattern(Format, X); }

std::string FormatSample(double X, const std::string& Format) { return FormatPattern(Format, X); }

std::string FormatCplx(const TCplx& Z, const std::string& ReFormat, const std::string& ImFormat) {
  if (ReFormat.empty() || ImFormat.empty()) return CplxToStr(Z, 0);
  if (Z.Im == 0) return FormatPattern(ReFormat, Z.Re);
  if (Z.Re == 0) return FormatPattern(ImFormat, Z.Im);
  return FormatPattern(ReFormat, Z.Re) + FormatPattern(ImFormat, Z.Im);
}

int OffsetPos(const std::string& Sub, const std::string& S, int Offset) {
  RequireState(Offset >= 1, "Offset < 1");
  const std::size_t start = static_cast<std::size_t>(Offset) - 1;
  if (Sub.empty() || start > S.size()) return 0;
  const std::size_t at = S.find(Sub, start);
  return at == std::string::npos ? 0 : static_cast<int>(at + 1);
}

namespace {

// Shared walk of ExtractCplx and ExtractSample. Pos moves past the delimiters at Pos before the
// field is read, so a field that fails to parse leaves Pos at its start.
template <class T, class Parse>
T ExtractNext(const std::string& S, int& Pos, const std::string& Delimiter, Parse parse, T pastEnd) {
  const int len = static_cast<int>(Delimiter.size());
  int pos = Pos;
  if (len > 0)
    while (pos >= 1 && static_cast<std::size_t>(pos) <= S.size() &&
           S.compare(static_cast<std::size_t>(pos) - 1, Delimiter.size(), Delimiter) == 0)
      pos += len;
  Pos = pos;
  const int q = OffsetPos(Delimiter, S, pos);
  if (q > 0) {
    T value = parse(S.substr(static_cast<std::size_t>(pos) - 1, static_cast<std::size_t>(q - pos)));
    Pos = q + len;
    return value;
  }
  T value = static_cast<std::size_t>(pos) > S.size() ? pastEnd : parse(S.substr(static_cast<std::size_t>(pos) - 1));
  Pos = static_cast<int>(S.size()) + 1;
  return value;
}

}  // namespace

TCplx ExtractCplx(const std::string& S, int& Pos, const std::string& Delimiter) {
  return ExtractNext(S, Pos, Delimiter, StrToCplx, C_ZERO);
}

double ExtractSample(const std::string& S, int& Pos, const std::string& Delimiter) {
  return ExtractNext(S, Pos, Delimiter, StrToVal, 0.0);
}

}  // namespace quorel
