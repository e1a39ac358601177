// The iteration log shared by every minimiser.

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "quorel/core/float_format.h"
#include "quorel/optim/detail/opt_common.h"

namespace quorel {

std::string OptLogValue(double Value, std::int32_t Digits) {
  if (!std::isfinite(Value) || std::abs(Value) >= 1e18) return FormatGeneral(Value, 1, 0);
  // Rounded to one significant digit first; the fixed pattern then rounds to Digits decimals.
  char text[32];
  std::snprintf(text, sizeof text, "%.0e", Value);
  const double rounded = std::strtod(text, nullptr);
  std::string pattern = "0";
  if (Digits > 0) pattern += "." + std::string(static_cast<std::size_t>(Digits), '0');
  return FormatPattern(pattern, rounded);
}

namespace detail {

namespace {
std::int32_t LogDigits(double tol) {
  const double d = std::abs(std::nearbyint(std::log10(tol)));
  if (!(d < 18)) return 18;  // a tolerance <= 0, NaN or below 1e-18
  return static_cast<std::int32_t>(d);
}

std::string IterationText(std::int64_t iteration) {
  return FormatPattern("0000", static_cast<double>(iteration)) + "      ";
}
}  // namespace

TOptLog::TOptLog(TStringList* list, double tol, const char* name, const char* columns)
    : list_(list), digits_(LogDigits(tol)) {
  if (!list_) return;
  list_->emplace_back(name);
  list_->emplace_back(columns);
}

void TOptLog::Line(std::int64_t iteration, double value) {
  if (list_) list_->push_back(IterationText(iteration) + OptLogValue(value, digits_));
}

void TOptLog::Line(std::int64_t iteration, double value, double lambda) {
  if (!list_) return;
  // The lambda column starts under "Lambda" of the header "Iteration Fun                Lambda".
  std::string text = OptLogValue(value, digits_);
  if (text.size() < 19) text.resize(19, ' ');
  else text += ' ';
  list_->push_back(IterationText(iteration) + text + FormatGeneral(lambda, 6, 0));
}

}  // namespace detail
}  // namespace quorel
