#include "quorel/platform/pages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace quorel::detail {
namespace {

TEST(Pages, LargePageSpanKeepsOnlyWholeAlignedPages) {
  constexpr std::uintptr_t P = kLargePage;
  // An unaligned block loses its partial first and last pages, an aligned one keeps all of itself;
  // one straddling a boundary, or inside one page, has nothing whole (first == last, never reversed).
  const struct { std::uintptr_t start, bytes, first, last; } cases[] = {
      {3 * P + 100, 4 * P, 4 * P, 7 * P}, {2 * P, 3 * P, 2 * P, 5 * P}, {P - 8, P, 0, 0}, {P + 8, 64, 0, 0}};
  for (const auto& c : cases) {
    const TPageSpan s = LargePageSpan(c.start, c.bytes);
    EXPECT_TRUE(c.first == 0 ? s.first == s.last : s.first == c.first && s.last == c.last)
        << c.start << " " << c.bytes << ": " << s.first << " " << s.last;
  }
}

TEST(Pages, MappedPagesAreZeroedAndWritableAtBothEndsWhetherAdvisedOrNot) {
  for (const std::size_t bytes : {std::size_t{1} << 16, kLargePageMinimum + 12345}) {
    auto* p = static_cast<unsigned char*>(MapPages(bytes));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p[0], 0);
    EXPECT_EQ(p[bytes - 1], 0);
    std::memset(p, 0x5a, bytes);
    EXPECT_EQ(p[bytes / 2], 0x5a);
    UnmapPages(p, bytes);
  }
  // The hint accepts any block, advised or too small to be, and leaves its contents alone.
  std::vector<double> v(kLargePageMinimum / sizeof(double) + 3, 1.0);
  AdviseLargePages(v.data(), v.size() * sizeof(double));
  AdviseLargePages(v.data() + 1, 100);
  AdviseLargePages(nullptr, kLargePageMinimum);
  EXPECT_EQ(static_cast<std::size_t>(std::count(v.begin(), v.end(), 1.0)), v.size());
}

}  // namespace
}  // namespace quorel::detail
