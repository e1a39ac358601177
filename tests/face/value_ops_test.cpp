// Value arithmetic on vectors and matrices: results, promotion, and the methods' own messages.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "quorel/objects/value_ops.h"
#include "support/support.h"

namespace quorel {
namespace {
using ::testing::ElementsAre;
using test::Cplx;
using test::Doubles;
using test::MessageOf;

TEST(FaceValueOps, RealResults) {
  const TVec a{1, 2, 4}, b{4, 8, 2};
  const std::pair<TVec, std::vector<double>> cases[] = {
      {a + b, {5, 10, 6}},     {a - b, {-3, -6, 2}},    {a * b, {4, 16, 8}},   {a / b, {0.25, 0.25, 2}},
      {-a, {-1, -2, -4}},      {1.0 + a, {2, 3, 5}},    {1.0 - a, {0, -1, -3}}, {2 * a, {2, 4, 8}},
      {a / 4.0, {0.25, 0.5, 1}}, {8.0 / a, {8, 4, 2}}, {(a + b) * 2.0 - a, {9, 18, 8}},
  };
  for (const auto& [got, want] : cases) {
    EXPECT_FALSE(got.Complex());
    EXPECT_EQ(Doubles(got), want);
  }
  EXPECT_THAT(Doubles(a), ElementsAre(1, 2, 4));
  // Matrices keep their shape, and * is element-wise on them too.
  const TMtx m = TMtx{{1, 2}, {3, 4}} * TMtx{{2, 2}, {2, 2}};
  EXPECT_EQ(m.Cols(), 2);
  EXPECT_THAT(Doubles(m), ElementsAre(2, 4, 6, 8));
}

TEST(FaceValueOps, ComplexOperandsPromoteAsTheMethodsDo) {
  const TVec r{1, 2}, c = Cplx({{0, 1}, {1, -1}});
  EXPECT_THAT(Doubles(r + c), ElementsAre(1, 1, 3, -1));
  EXPECT_THAT(Doubles(c * r), ElementsAre(0, 1, 2, -2));
  EXPECT_THAT(Doubles(r * TCplx(0, 1)), ElementsAre(0, 1, 0, 2));
  EXPECT_THAT(Doubles(std::complex<double>(1, 1) + r), ElementsAre(2, 1, 3, 1));
  EXPECT_THAT(Doubles(r / TCplx(0, 2)), ElementsAre(0, -0.5, 0, -1));
  EXPECT_THAT(Doubles(TCplx(0, 2) / Cplx({{0, 1}})), ElementsAre(2, 0));
}

TEST(FaceValueOps, CompoundAssignmentWorksInPlace) {
  TVec v{1, 2};
  const double* storage = v.PValues1D(0);
  v += TVec{1, 1};
  v *= TVec{2, 3};
  v -= 1.0;
  v /= 2.0;
  EXPECT_THAT(Doubles(v), ElementsAre(1.5, 4));
  EXPECT_EQ(v.PValues1D(0), storage);
  v *= TCplx(0, 2);
  EXPECT_THAT(Doubles(v), ElementsAre(0, 3, 0, 8));
}

// Each operator raises exactly what the method it stands for raises.
TEST(FaceValueOps, MessagesComeThroughUnchanged) {
  const TVec a{1, 2}, b{1, 2, 3};
  const auto method = [](const std::function<void(TVec&)>& f) {
    return MessageOf<EQuorelInvalidArgument>([&] {
      TVec r;
      f(r);
    });
  };
  const std::pair<std::function<void()>, std::string> cases[] = {
      {[&] { (void)(a + b); }, method([&](TVec& r) { r.Add(a, b); })},
      {[&] { (void)(a - b); }, method([&](TVec& r) { r.Sub(a, b); })},
      {[&] { (void)(a * b); }, method([&](TVec& r) { r.Mul(a, b); })},
      {[&] { (void)(a / b); }, method([&](TVec& r) { r.Divide(a, b); })},
  };
  for (const auto& [op, want] : cases) {
    ASSERT_NE(want, "<no exception>");
    EXPECT_EQ(MessageOf<EQuorelInvalidArgument>(op), want);
  }
  // In place, the in-place methods' refusals hold; s + s is a two-source call into a new object.
  TVec s{1, 2};
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { s += s; }), "TQuorel.Add: Self = Vec");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { s -= b; }), "TVec.Sub: Vec.Length <> Length");
  s = s + s;
  EXPECT_THAT(Doubles(s), ElementsAre(2, 4));
  // A failed operator leaves its target as it was.
  EXPECT_THROW(s = a * b, EQuorelInvalidArgument);
  EXPECT_THAT(Doubles(s), ElementsAre(2, 4));
}

}  // namespace
}  // namespace quorel
