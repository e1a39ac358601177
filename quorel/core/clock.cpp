#include "quorel/core/clock.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace quorel {

namespace {
constexpr double kMsPerDay = 86400000.0;
}

double Now() {
  using namespace std::chrono;
  auto us = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
  return static_cast<double>(us) / (kMsPerDay * 1000.0);
}

std::string FormatElapsed(double days) {
  double ms_total = std::round(days * kMsPerDay);
  if (!(ms_total > 0)) ms_total = 0;  // also NaN
  auto ms = static_cast<std::int64_t>(std::fmod(ms_total, kMsPerDay));
  char buf[32];
  std::snprintf(buf, sizeof buf, "%02d:%02d:%02d:%03d", static_cast<int>(ms / 3600000),
                static_cast<int>(ms / 60000 % 60), static_cast<int>(ms / 1000 % 60), static_cast<int>(ms % 1000));
  return buf;
}

std::string ClockIt(double start) { return FormatElapsed(Now() - start); }

}  // namespace quorel
