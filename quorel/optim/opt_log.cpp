// The iteration log shared by every minimiser.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "quorel/core/float_format.h"
#include "quorel/optim/detail/opt_common.h"

namespace quorel {

namespace {
// The value column: Value rounded to one significant digit first; the fixed pattern then rounds
// it to Digits decimals.
void AppendLogValue(std::string& out, double Value, std::int32_t Digits) {
  if (!std::isfinite(Value) || std::abs(Value) >= 1e18) {
    TSampleFormatter(1, 0).Append(out, Value);
    return;
  }
  char text[32];
  std::snprintf(text, sizeof text, "%.0e", Value);
  const double rounded = std::strtod(text, nullptr);
  std::string pattern = "0";
  if (Digits > 0) pattern.append(".").append(static_cast<std::size_t>(Digits), '0');
  TSampleFormatter(std::move(pattern), std::string()).Append(out, rounded);
}

// The count as "0000" and six blanks.
std::string IterationText(std::int64_t iteration) {
  std::string text;
  TSampleFormatter("0000", std::string()).Append(text, static_cast<double>(iteration));
  text += "      ";
  return text;
}
}  // namespace

std::string OptLogValue(double Value, std::int32_t Digits) {
  std::string text;
  AppendLogValue(text, Value, Digits);
  return text;
}

namespace detail {

namespace {
// At most 324 for a finite positive tolerance; the formatter writes any number of decimals.
std::int32_t LogDigits(double tol) {
  const double d = std::abs(std::nearbyint(std::log10(tol)));
  if (!std::isfinite(d)) return 18;  // a tolerance <= 0, infinite or NaN has no such count
  return static_cast<std::int32_t>(d);
}
}  // namespace

TOptLog::TOptLog(TStringList* list, double tol, const char* name, const char* columns)
    : list_(list), digits_(LogDigits(tol)) {
  if (!list_) return;
  list_->emplace_back(name);
  list_->emplace_back(columns);
}

void TOptLog::Line(std::int64_t iteration, double value) {
  if (!list_) return;
  std::string line = IterationText(iteration);
  AppendLogValue(line, value, digits_);
  list_->push_back(std::move(line));
}

void TOptLog::Line(std::int64_t iteration, double value, double lambda) {
  if (!list_) return;
  std::string line = IterationText(iteration);
  // The lambda column starts under "Lambda" of the header "Iteration Fun                Lambda".
  const std::size_t lambdaAt = line.size() + 19;
  AppendLogValue(line, value, digits_);
  if (line.size() < lambdaAt) line.resize(lambdaAt, ' ');
  else line += ' ';
  TSampleFormatter(6, 0).Append(line, lambda);
  list_->push_back(std::move(line));
}

}  // namespace detail
}  // namespace quorel
