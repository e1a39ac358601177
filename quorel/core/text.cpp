#include "quorel/core/detail/checks.h"
#include "quorel/core/text.h"

#include <charconv>
#include <cstddef>
#include <system_error>

#include "quorel/core/constants.h"
#include "quorel/core/errors.h"

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

[[noreturn]] void NotAFloat(std::string_view S) {
  // Appended, not concatenated: GCC 12 warns of an overlap in operator+ that cannot happen.
  std::string message = "'";
  message.append(S).append("' is not a valid floating point value");
  EConvertErrorRaise(message);
}

// The strict grammar of TryStrToFloat. With anySeparator "," and "." also count as the separator:
// StrToVal's repaired text, read without building it.
bool ScanFloat(std::string_view S, std::string_view sep, bool anySeparator, double& x) {
  std::size_t i = 0;
  std::size_t n = S.size();
  while (i < n && IsBlank(S[i])) ++i;
  while (n > i && IsBlank(S[n - 1])) --n;
  bool negative = false;
  if (i < n && (S[i] == '+' || S[i] == '-')) negative = S[i++] == '-';

  // The mantissa as 0.digits * 10^exp10, leading zeros dropped; room for a sticky digit and the
  // exponent the conversion reads.
  char digits[kMaxDigits + 32];
  std::size_t count = 0;
  long long exp10 = 0;
  bool anyDigit = false;
  bool seenSep = false;
  bool dropped = false;
  while (i < n) {
    const char c = S[i];
    if (IsDigit(c)) {
      anyDigit = true;
      if (count == 0 && c == '0') {
        if (seenSep) --exp10;
      } else {
        if (!seenSep) ++exp10;
        if (count < kMaxDigits) digits[count++] = c; else dropped |= c != '0';
      }
      ++i;
    } else if (!seenSep && S.compare(i, sep.size(), sep) == 0) {
      seenSep = true;
      i += sep.size();
    } else if (!seenSep && anySeparator && (c == ',' || c == '.')) {
      seenSep = true;
      ++i;
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
  if (count == 0 || total < -kExpLimit) { x = sign * 0.0; return true; }
  if (total > kExpLimit) { x = sign * INF; return true; }
  if (dropped) digits[count++] = '1';
  digits[count] = 'e';
  char* const last = digits + sizeof digits;
  const char* const end = std::to_chars(digits + count + 1, last, total - static_cast<long long>(count)).ptr;
  double v = 0.0;
  const auto res = std::from_chars(digits, end, v);
  if (res.ec == std::errc::result_out_of_range)
    v = total > 0 ? INF : 0.0;
  else if (res.ec != std::errc())
    return false;
  x = sign * v;
  return true;
}

// Whether S holds word (upper-case letters) in any case of ASCII letters.
bool ContainsWord(std::string_view S, std::string_view word) {
  auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
  for (std::size_t i = 0; i + word.size() <= S.size(); ++i) {
    std::size_t k = 0;
    while (k < word.size() && upper(S[i + k]) == word[k]) ++k;
    if (k == word.size()) return true;
  }
  return false;
}

}  // namespace

bool TryStrToFloat(std::string_view S, double& x) { return ScanFloat(S, DecimalSeparator(), false, x); }

double StrToFloat(std::string_view S) {
  double x = 0.0;
  if (!TryStrToFloat(S, x)) NotAFloat(S);
  return x;
}

double StrToVal(std::string_view S) {
  const std::string sep = DecimalSeparator();
  double x = 0.0;
  if (ScanFloat(S, sep, false, x)) return x;
  const bool minus = S.find('-') != std::string_view::npos;
  if (ContainsWord(S, "NAN")) return minus ? -NaN : NaN;
  if (ContainsWord(S, "INF")) return minus ? -INF : INF;
  // Accept either separator whatever the locale says.
  if (!ScanFloat(S, sep, true, x)) NotAFloat(S);
  return x;
}

double StrToSample(std::string_view S) { return StrToVal(S); }

TCplx StrToCplx(std::string_view S) {
  const std::size_t p = S.find('i');
  if (p == std::string_view::npos) return {StrToVal(S), 0.0};
  // The sign that starts the imaginary part; an exponent's sign follows an "E".
  std::size_t k = p;
  while (k > 0) {
    --k;
    const char c = S[k];
    if ((c == '+' || c == '-') && (k == 0 || (S[k - 1] != 'E' && S[k - 1] != 'e'))) {
      const std::string_view imText = S.substr(k, p - k);
      const double im = imText == "+" ? 1.0 : imText == "-" ? -1.0 : StrToVal(imText);
      const std::string_view reText = S.substr(0, k);
      const double re = (reText.empty() || reText == " ") ? 0.0 : StrToVal(reText);
      return {re, im};
    }
  }
  const std::string_view imText = S.substr(0, p);
  return {0.0, imText.empty() ? 1.0 : StrToVal(imText)};
}

std::string CplxToStr(const TCplx& Z, int Digits) {
  std::string out;
  TSampleFormatter(15, Digits).Append(out, Z);
  return out;
}

std::string SampleToStr(double X, int Precision, int Digits) {
  std::string out;
  TSampleFormatter(Precision, Digits).Append(out, X);
  return out;
}

std::string FormatSample(const std::string& Format, double X) {
  std::string out;
  TSampleFormatter(Format, std::string()).Append(out, X);
  return out;
}

std::string FormatSample(double X, const std::string& Format) { return FormatSample(Format, X); }

std::string FormatCplx(const TCplx& Z, const std::string& ReFormat, const std::string& ImFormat) {
  std::string out;
  TSampleFormatter(ReFormat, ImFormat).Append(out, Z);
  return out;
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
  const std::string_view text(S);
  if (q > 0) {
    T value = parse(text.substr(static_cast<std::size_t>(pos) - 1, static_cast<std::size_t>(q - pos)));
    Pos = q + len;
    return value;
  }
  T value = static_cast<std::size_t>(pos) > S.size() ? pastEnd : parse(text.substr(static_cast<std::size_t>(pos) - 1));
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
