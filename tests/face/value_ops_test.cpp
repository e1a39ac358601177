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
using test::Real;

TEST(FaceValueOps, VectorResults) {
  const TVec a{1, 2, 4}, b{4, 8, 2};
  struct Case {
    const char* what;
    TVec got;
    std::vector<double> want;
  };
  const Case cases[] = {
      {"a + b", a + b, {5, 10, 6}},       {"a - b", a - b, {-3, -6, 2}},     {"a * b", a * b, {4, 16, 8}},
      {"a / b", a / b, {0.25, 0.25, 2}},  {"-a", -a, {-1, -2, -4}},          {"a + 1", a + 1, {2, 3, 5}},
      {"1 + a", 1.0 + a, {2, 3, 5}},      {"a - 1", a - 1.0, {0, 1, 3}},     {"1 - a", 1.0 - a, {0, -1, -3}},
      {"a * 2", a * 2, {2, 4, 8}},        {"2 * a", 2.0 * a, {2, 4, 8}},     {"a / 4", a / 4.0, {0.25, 0.5, 1}},
      {"8 / a", 8.0 / a, {8, 4, 2}},      {"(a + b) * 2 - a", (a + b) * 2.0 - a, {9, 18, 8}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_FALSE(c.got.Complex());
    EXPECT_EQ(Doubles(c.got), c.want);
  }
  // The operands are left alone.
  EXPECT_THAT(Doubles(a), ElementsAre(1, 2, 4));
}

TEST(FaceValueOps, ComplexOperandsPromoteAsTheMethodsDo) {
  const TVec r{1, 2};
  const TVec c = Cplx({{0, 1}, {1, -1}});
  const TVec sum = r + c, diff = r - c, prod = c * r;
  EXPECT_TRUE(sum.Complex());
  EXPECT_THAT(Doubles(sum), ElementsAre(1, 1, 3, -1));
  EXPECT_THAT(Doubles(diff), ElementsAre(1, -1, 1, 1));
  EXPECT_THAT(Doubles(prod), ElementsAre(0, 1, 2, -2));
  const TVec scaled = r * TCplx(0, 1), shifted = std::complex<double>(1, 1) + r, quot = r / TCplx(0, 2);
  EXPECT_THAT(Doubles(scaled), ElementsAre(0, 1, 0, 2));
  EXPECT_THAT(Doubles(shifted), ElementsAre(2, 1, 3, 1));
  EXPECT_THAT(Doubles(quot), ElementsAre(0, -0.5, 0, -1));
  TVec from = TCplx(2, 0) - c;
  EXPECT_THAT(Doubles(from), ElementsAre(2, -1, 1, 1));
  from = TCplx(0, 2) / Cplx({{0, 1}});
  EXPECT_THAT(Doubles(from), ElementsAre(2, 0));
}

TEST(FaceValueOps, MatricesAreElementWise) {
  const TMtx a{{1, 2}, {3, 4}}, b{{2, 2}, {2, 2}};
  const TMtx prod = a * b, sum = a + b, q = a / b, neg = -a;
  EXPECT_EQ(prod.Rows(), 2);
  EXPECT_EQ(prod.Cols(), 2);
  EXPECT_THAT(Doubles(prod), ElementsAre(2, 4, 6, 8));
  EXPECT_THAT(Doubles(sum), ElementsAre(3, 4, 5, 6));
  EXPECT_THAT(Doubles(q), ElementsAre(0.5, 1, 1.5, 2));
  EXPECT_THAT(Doubles(neg), ElementsAre(-1, -2, -3, -4));
  TMtx acc = a;
  acc += b;
  acc *= 0.5;
  acc -= 1.0;
  EXPECT_THAT(Doubles(acc), ElementsAre(0.5, 1, 1.5, 2));
}

TEST(FaceValueOps, CompoundAssignmentWorksInPlace) {
  TVec v{1, 2};
  const double* storage = v.PValues1D(0);
  v += TVec{1, 1};
  v *= TVec{2, 3};
  v -= 1.0;
  v /= 2.0;
  v += 0.5;
  EXPECT_THAT(Doubles(v), ElementsAre(2, 4.5));
  EXPECT_EQ(v.PValues1D(0), storage);
  v /= TVec{2, 9};
  EXPECT_THAT(Doubles(v), ElementsAre(1, 0.5));
  v *= TCplx(0, 2);
  EXPECT_THAT(Doubles(v), ElementsAre(0, 2, 0, 1));
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
  struct Case {
    std::function<void()> op;
    std::string want;
  };
  const Case cases[] = {
      {[&] { (void)(a + b); }, method([&](TVec& r) { r.Add(a, b); })},
      {[&] { (void)(a - b); }, method([&](TVec& r) { r.Sub(a, b); })},
      {[&] { (void)(a * b); }, method([&](TVec& r) { r.Mul(a, b); })},
      {[&] { (void)(a / b); }, method([&](TVec& r) { r.Divide(a, b); })},
  };
  for (const Case& c : cases) {
    ASSERT_NE(c.want, "<no exception>");
    EXPECT_EQ(MessageOf<EQuorelInvalidArgument>(c.op), c.want);
  }
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { (void)(a + b); }), "TQuorel.Add: Vec1.Length <> Vec2.Length");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { (void)(a / b); }), "Num.Length <> Den.Length");
  // In place, the in-place methods' refusals hold; s + s is a two-source call into a new object.
  TVec s{1, 2};
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { s += s; }), "TQuorel.Add: Self = Vec");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { s -= b; }), "TVec.Sub: Vec.Length <> Length");
  EXPECT_THAT(Doubles(s), ElementsAre(1, 2));
  s = s + s;
  EXPECT_THAT(Doubles(s), ElementsAre(2, 4));
  // A failed operator leaves its target as it was.
  TVec target{9};
  EXPECT_THROW(target = a * b, EQuorelInvalidArgument);
  EXPECT_THAT(Doubles(target), ElementsAre(9));
}

}  // namespace
}  // namespace quorel
