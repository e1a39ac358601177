// Storage layout, sizing and real/complex switching of vectors.
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "support/support.h"

namespace quorel {
namespace {
using test::MessageOf;

TEST(Storage, DataIsAlignedWithHeaderInFront) {
  // Blocks either side of the 64 KiB limit between heap and page allocations.
  for (std::int32_t len : {1, 7, 100, 8185, 8190, 100000}) {
    TVec v(len);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(v.PValues1D(0)) % 32, 0u) << len;
    const auto* header = reinterpret_cast<const std::int32_t*>(v.PValues1D(0)) - 2;
    EXPECT_EQ(header[0], 1);
    EXPECT_EQ(header[1], len);
    v[len - 1] = 3.0;  // the last element is inside the block
  }
}

TEST(Storage, ComplexSwitchReinterprets) {
  TVec v = test::Real({1, 2, 3, 4, 5});
  v.set_Complex(true);
  EXPECT_EQ(v.Length(), 2);
  EXPECT_EQ(v.CValues()[1], (TCplx{3, 4}));
  v.set_Complex(false);
  EXPECT_EQ(v.Length(), 4);
  EXPECT_EQ(v[3], 4);
  EXPECT_EQ(v.ComplexSwitches(), 0);
  int notified = 0;
  v.OnSetSize = [&](TQuorel&) { ++notified; };
  v.set_Complex(true);
  v.SetLength(3);
  EXPECT_EQ(notified, 2);
  EXPECT_EQ(v.ActualSize(), 6);
}

TEST(Storage, SizingAndResizing) {
  TVec v = test::Real({1, 2, 3});
  EXPECT_EQ(MessageOf<EQuorelException>([&] { v.SetActualSize(-1); }), "SetActualSize: Value < 0");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { v.SetLength(-1); }), "Value < 0");
  // Two billion complex elements do not fit the 32-bit double count.
  EXPECT_THROW(v.Size(std::numeric_limits<std::int32_t>::max() / 2 + 10, true), EOutOfMemory);
  EXPECT_EQ(v.Length(), 3);
  v.Resize(5, true);
  EXPECT_EQ(test::Doubles(v), (std::vector<double>{1, 2, 3, 0, 0}));
  v.Resize(2);
  EXPECT_EQ(v[1], 2);
  v.SetActualSize(5);
  EXPECT_EQ(v.ActualSize(), 6);  // raised to even
  EXPECT_EQ(v.Length(), 2);
  TVec c = test::Cplx({{1, 2}, {3, 4}});
  c.Resize(4000, true);  // beyond any cache block
  EXPECT_EQ(c.CValues()[1], (TCplx{3, 4}));
  EXPECT_EQ(c.CValues()[3999], (TCplx{0, 0}));
}

// Adopt and Disown are exercised through TBorrowedVec (tests/face).
TEST(Storage, CopyAndMove) {
  TVec a;
  a.SetIt(true, {1, 2, 3, 4});
  TVec b = a;
  EXPECT_TRUE(b.Complex());
  EXPECT_EQ(b.CValues()[1], (TCplx{3, 4}));
  const double* data = a.PValues1D(0);
  TVec c = std::move(a);
  EXPECT_EQ(c.PValues1D(0), data);  // the block moved, nothing copied
  EXPECT_EQ(a.Length(), 0);
}

TEST(Storage, SetValAndSetZeroCheckRanges) {
  TVec v(4);
  v.SetVal(2.0).SetVal(7.0, 1, 2);
  v.SetZero(3, -1);
  EXPECT_EQ(test::Doubles(v), (std::vector<double>{2, 7, 7, 0}));
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { v.SetZero(3, 2); }),
            "Self params out of range: Index: 3, Len: 2, Length: 4");
  v.SetVal(TCplx{1, -1});  // complex of the same length
  EXPECT_TRUE(v.Complex());
  EXPECT_EQ(test::Doubles(v), (std::vector<double>{1, -1, 1, -1, 1, -1, 1, -1}));
}

}  // namespace
}  // namespace quorel
