// Elapsed-time text and the day clock.
#include <ctime>

#include <gtest/gtest.h>

#include "quorel/core/clock.h"

namespace quorel {
namespace {

constexpr double kMsPerDay = 86400000.0;

TEST(Clock, FormatsHoursMinutesSecondsMilliseconds) {
  EXPECT_EQ(FormatElapsed(0), "00:00:00:000");
  EXPECT_EQ(FormatElapsed(1500 / kMsPerDay), "00:00:01:500");
  EXPECT_EQ(FormatElapsed((3600000.0 * 13 + 60000 * 7 + 1000 * 9 + 42) / kMsPerDay), "13:07:09:042");
  EXPECT_EQ(FormatElapsed(1 + 61000 / kMsPerDay), "00:01:01:000");  // the day itself is not shown
  EXPECT_EQ(FormatElapsed(-0.5), "00:00:00:000");
}

TEST(Clock, NowCountsDaysSinceTheEpoch) {
  double days = static_cast<double>(std::time(nullptr)) / 86400.0;
  EXPECT_NEAR(Now(), days, 2.0 / 86400);  // within two seconds
  std::string s = ClockIt(Now() - 2000 / kMsPerDay);
  EXPECT_EQ(s.size(), 12u);
  EXPECT_EQ(s.substr(0, 7), "00:00:0");
  EXPECT_GE(s.substr(6), "02:000");
}

}  // namespace
}  // namespace quorel
