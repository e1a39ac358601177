// TBorrowedVec: methods work in the caller's buffer, which is never freed or replaced. Run under
// the sanitizer build, a free of the caller's memory or a leak of the vector's own shows there.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <complex>
#include <memory>
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
    v->Mul(2.0).Add(TVec{1, 1, 1, 1});
    EXPECT_DOUBLE_EQ(v->Sum(), 24);
    // A two-source result of the view's own size is written into the buffer.
    TVec a{1, 1, 1, 1};
    v->Sub(a, TVec{0, 1, 2, 3});
    // Sub-ranges of the buffer.
    v->SetSubRange(2, 2);
    v->Scale(10.0);
    v->SetFullRange();
  }
  EXPECT_THAT(data, ElementsAre(1, 0, -10, -20));
}

TEST(FaceBorrowed, ComplexBuffersAndRawPointers) {
  std::vector<std::complex<double>> z{{1, 2}, {3, -4}};
  {
    TBorrowedVec v(z);
    EXPECT_TRUE(v->Complex());
    EXPECT_EQ(v->Length(), 2);
    v->Conj();
  }
  EXPECT_EQ(z[1], std::complex<double>(3, 4));
  std::array<double, 4> raw{1, 0, 0, 1};
  {
    TBorrowedVec v(raw.data(), 2, true);
    v->Mul(TCplx(0, 1));
    // The same doubles seen as real: a switch of Complex stays in the buffer.
    v->set_Complex(false);
    EXPECT_EQ(v->Length(), 4);
  }
  EXPECT_THAT(raw, ElementsAre(0, 1, -1, 0));
  std::vector<TCplx> t{TCplx(2, 0)};
  { TBorrowedVec(std::span<TCplx>(t))->Sqr(); }
  EXPECT_EQ(t[0], TCplx(4, 0));
}

TEST(FaceBorrowed, ResizingRaisesAndKeepsTheBuffer) {
  auto data = std::make_unique<double[]>(3);
  std::fill_n(data.get(), 3, 5.0);
  {
    TBorrowedVec v(data.get(), 3, false);
    const TVec longer{1, 2, 3, 4};
    struct Case {
      const char* what;
      std::function<void()> call;
    };
    const Case cases[] = {
        {"Size", [&] { v->Size(4); }},
        {"Resize", [&] { v->Resize(10, true); }},
        {"Clear", [&] { v->Clear(); }},
        {"Copy of another length", [&] { v->Copy(longer); }},
        {"two sources of another length", [&] { v->Add(longer, longer); }},
        {"value promoted to complex", [&] { v->SetVal(TCplx(1, 1)); }},
        {"assignment", [&] { *v = longer; }},
    };
    for (const Case& c : cases) {
      SCOPED_TRACE(c.what);
      EXPECT_EQ(MessageOf<EQuorelException>(c.call), kResized);
      EXPECT_EQ(v->PValues1D(0), data.get());
      EXPECT_EQ(v->Length(), 3);
      EXPECT_FALSE(v->Complex());
    }
    // Still usable afterwards.
    v->Add(1.0);
  }
  EXPECT_THAT(std::vector<double>(data.get(), data.get() + 3), ElementsAre(6, 6, 6));
}

TEST(FaceBorrowed, ARefusalRestoresTheBorrowedShape) {
  std::vector<double> data{1, 2, 3, 4};
  TBorrowedVec v(data);
  v->set_Complex(true);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { v->Size(3); }), kResized);
  EXPECT_FALSE(v->Complex());
  EXPECT_EQ(v->Length(), 4);
  EXPECT_EQ(v->PValues1D(0), data.data());
}

TEST(FaceBorrowed, ValueOperatorsReadTheBufferAndAssignBackInPlace) {
  std::vector<double> a{1, 2}, b{10, 20};
  TBorrowedVec va(a), vb(b);
  const TVec sum = *va + *vb;
  EXPECT_THAT(Doubles(sum), ElementsAre(11, 22));
  *va += *vb;
  EXPECT_THAT(a, ElementsAre(11, 22));
  // An empty buffer is a valid, empty vector.
  std::vector<double> none;
  TBorrowedVec empty(none);
  EXPECT_EQ(empty->Length(), 0);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { empty->Size(1); }), kResized);
}

}  // namespace
}  // namespace quorel
