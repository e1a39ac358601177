// TBorrowedVec: methods work in the caller's buffer, which is never freed or replaced (a free of
// the caller's memory, or a leak of the vector's own, shows under the sanitizers or valgrind).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <complex>
#include <functional>
#include <vector>

#include "quorel/objects/borrowed_vec.h"
#include "quorel/objects/value_ops.h"
#include "support/support.h"

namespace quorel {
namespace {
using ::testing::ElementsAre;
using test::Doubles;
using test::MessageOf;

constexpr const char* kResized = "TBorrowedVec: a borrowed buffer cannot be resized";

TEST(FaceBorrowed, MethodsWorkInTheCallersBuffer) {
  std::vector<double> data{1, 2, 3, 4};
  {
    TBorrowedVec v(data);
    EXPECT_EQ(v->PValues1D(0), data.data());
    v->Sub(TVec{3, 5, 7, 9}, TVec{2, 4, 6, 8});  // a two-source result of the buffer's size lands in it
    v->SetSubRange(2, 2);
    v->Scale(10.0);
    v->SetFullRange();
    TVec diff;
    diff.Sub(v, TVec{0, 0, 0, 0});  // passes where the methods take a vector
    EXPECT_THAT(Doubles(diff), ElementsAre(1, 1, 10, 10));
  }
  EXPECT_THAT(data, ElementsAre(1, 1, 10, 10));
  std::vector<std::complex<double>> z{{1, 2}, {3, -4}};
  {
    TBorrowedVec c(z);
    EXPECT_EQ(c->Length(), 2);
    c->Conj();
    c->set_Complex(false);  // the same doubles seen as real stay in the buffer
    *c += TVec{1, 1, 1, 1};
  }
  EXPECT_EQ(z[1], std::complex<double>(4, 5));
}

TEST(FaceBorrowed, ResizingRaisesAndRestoresTheBorrowedShape) {
  std::vector<double> data(3, 5.0);
  TBorrowedVec v(data.data(), 3, false);
  const TVec longer{1, 2, 3, 4};
  const std::function<void()> calls[] = {
      [&] { v->Size(4); },          [&] { v->Resize(10, true); }, [&] { v->Clear(); },
      [&] { v->Copy(longer); },     [&] { v->Add(longer, longer); },
      [&] { v->SetVal(TCplx(1, 1)); },  // real made complex of the same length
      [&] { *v = longer; },
      [&] { v->set_Complex(true); v->Size(3); },  // restored to the kind it was borrowed with
  };
  for (const auto& call : calls) {
    EXPECT_EQ(MessageOf<EQuorelException>(call), kResized);
    EXPECT_EQ(v->PValues1D(0), data.data());
    EXPECT_EQ(v->Length(), 3);
    EXPECT_FALSE(v->Complex());
  }
  v->Add(1.0);
  EXPECT_THAT(data, ElementsAre(6, 6, 6));
  std::vector<double> none;
  TBorrowedVec empty(none);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { empty->Size(1); }), kResized);
}

}  // namespace
}  // namespace quorel
