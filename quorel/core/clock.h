#pragma once
// Wall-clock time as a date-time in days, and the elapsed-time text of ClockIt.

#include <string>

namespace quorel {

/// The current time in days since 1970-01-01 00:00 UTC, with the fraction of the day.
double Now();
/// An elapsed time in days as "hh:nn:ss:zzz" (time-of-day pattern: hours wrap after 24,
/// negative spans show as zero, milliseconds rounded to nearest).
std::string FormatElapsed(double days);
/// The time since start (a value of Now()) as "hh:nn:ss:zzz".
std::string ClockIt(double start);

}  // namespace quorel
