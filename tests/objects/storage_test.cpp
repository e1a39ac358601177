// Storage layout, sizing and real/complex switching of vectors.
#include <sys/resource.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/support.h"

namespace quorel {
namespace {
using ::testing::ElementsAre;
using test::Doubles;
using test::Ints;
using test::MessageOf;

// Refuses every allocation while Refuse is set, as an exhausted allocator does.
class TRefusingVec : public TVec {
 public:
  bool Refuse = false;

 protected:
  void* AllocateMemory(std::int64_t bytes) override { return Refuse ? nullptr : TVec::AllocateMemory(bytes); }
};

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
  v.set_Complex(true);  // two complex values; the odd double is out of view from now on
  EXPECT_EQ(Doubles(v), (std::vector<double>{1, 2, 3, 4}));
  v.set_Complex(false);
  EXPECT_EQ(Doubles(v), (std::vector<double>{1, 2, 3, 4}));
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
  EXPECT_EQ(std::pair(v.ActualSize(), v.Length()), std::pair(6, 2));  // raised to even
  TVec c = test::Cplx({{1, 2}, {3, 4}});
  c.Resize(4000, true);  // beyond any cache block
  EXPECT_EQ(c.CValues()[1], (TCplx{3, 4}));
  EXPECT_EQ(c.CValues()[3999], (TCplx{0, 0}));
  // Integer elements are half a double: the new ones start inside the kept storage.
  TVec idx = test::Real({7, 7, 7});
  idx.SetIsInteger(true);
  for (int i = 0; i < 3; ++i) idx.IValues()[i] = i;
  idx.Resize(6, true);
  EXPECT_THAT(Ints(idx), ElementsAre(0, 1, 2, 0, 0, 0));
}

TEST(Storage, NewValuesEndIntegerData) {
  // An index list reloaded with values holds doubles, and sorts as doubles.
  const std::pair<std::function<void(TVec&)>, std::vector<double>> loads[] = {
      {[](TVec& v) { v.SetDouble(std::vector<double>{3.5, 1.5, 2.5}); }, {1.5, 2.5, 3.5}},
      {[](TVec& v) { v.SetInteger(std::vector<std::int32_t>{30, 10}); }, {10, 30}},
      {[](TVec& v) { v.SetSingle(std::vector<float>{0.5f}); }, {0.5}},
      {[](TVec& v) { v.SetIt(false, {5, 4}); }, {4, 5}},
  };
  for (const auto& [load, sorted] : loads) {
    TVec v = test::IndexList({2, 0, 1});
    load(v);
    EXPECT_FALSE(v.IsInteger());
    EXPECT_EQ(Doubles(v.SortAscend()), sorted);
  }
  TMtx m;
  m.SetIsInteger(true);
  m.SetIt(1, 2, false, std::vector<double>{1, 2});
  EXPECT_FALSE(m.IsInteger());
}

TEST(Storage, FailedAllocationLeavesAnEmptyUsableObject) {
  TRefusingVec v;
  v.SetLength(10);
  v.SetVal(1.0);
  v.Refuse = true;
  EXPECT_EQ(MessageOf<EOutOfMemory>([&] { v.SetLength(20000); }), "Quorel: Out of memory!");
  EXPECT_EQ(std::pair(v.Length(), v.ActualSize()), std::pair(0, 0));
  v.SetVal(3.0);  // nothing left to write to
  EXPECT_THROW(v.Resize(4, true), EOutOfMemory);
  EXPECT_EQ(v.Length(), 0);
  v.Refuse = false;
  v.SetLength(10);  // the old length again gets storage again
  v.SetVal(2.0);
  EXPECT_EQ(v[9], 2.0);
}

// Address space of this process in bytes (VmSize).
std::uint64_t MappedBytes() {
  std::ifstream status("/proc/self/status");
  for (std::string key; status >> key;) {
    std::uint64_t kib = 0;
    if (key == "VmSize:" && status >> kib) return kib * 1024;
  }
  return 0;
}

// In a child process: caps the address space a little above what is mapped, asks for a matrix
// beyond it and exits with 0 when the refusal left the matrix empty and usable.
[[noreturn]] void SizeMatrixPastTheCap() {
  const rlim_t cap = MappedBytes() + (std::uint64_t{256} << 20);
  const rlimit limit{cap, cap};
  if (MappedBytes() == 0 || setrlimit(RLIMIT_AS, &limit) != 0) std::_Exit(2);
  TMtx m(3, 4);
  bool raised = false;
  try {
    m.Size(15000, 15000);  // 1.8 GB
  } catch (const EOutOfMemory&) {
    raised = true;
  }
  const bool empty = m.Rows() == 0 && m.Cols() == 0 && m.Length() == 0 && m.ActualSize() == 0;
  m.Size(3, 4);
  m.SetVal(1.0);
  std::_Exit(raised && empty && m.Values(2, 3) == 1.0 ? 0 : 1);
}

// TMtx cannot stand in a refusing allocator, so a child process caps its address space instead.
TEST(StorageDeathTest, FailedMatrixAllocationLeavesItEmpty) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer's shadow memory needs the address space";
#endif
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(SizeMatrixPastTheCap(), ::testing::ExitedWithCode(0), "");
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
  static_assert(std::is_nothrow_move_constructible_v<TVec>, "containers must move vectors, not copy them");
  // Into a sub-range a move is a copy-assignment, and is refused like one.
  TVec big = test::Real({0, 1, 2, 3, 4, 5});
  big.SetSubRange(2, 3);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { big = test::Real({7, 8}); }), "IsSubRange = True!");
  EXPECT_EQ(Doubles(big), (std::vector<double>{2, 3, 4}));
  big = test::Real({7, 8, 9});
  big.SetFullRange();
  EXPECT_EQ(Doubles(big), (std::vector<double>{0, 1, 7, 8, 9, 5}));

  // Copy carries the layout of a spectrum, so that a copy inverts like the original.
  TVec x = test::Real({1, 2, 3, 4, 5, 6, 7}), spectrum, copied, back;
  spectrum.FFTFromReal(x);
  copied.Copy(spectrum);
  EXPECT_TRUE(copied.FFTOddLength());
  back.IFFTToReal(copied);
  ASSERT_GE(back.Length(), 7);
  for (int i = 0; i < 7; ++i) EXPECT_NEAR(back[i], x[i], 1e-12) << i;
  TMtx packed(1, 2), m;
  packed.SetFFTStorageFormat(fsfPack);
  packed.SetFFTScrambledOrder(true);
  m.Copy(packed);
  EXPECT_EQ(std::pair(m.FFTStorageFormat(), m.FFTScrambledOrder()), std::pair(fsfPack, true));
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
