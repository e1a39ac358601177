// operator<< of complex values, vectors, matrices and sparse matrices.
#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>

#include "quorel/core/constants.h"
#include "quorel/io/stream_format.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/sparse/sparse.h"
#include "quorel/sparse/sparse_stream_format.h"
#include "support/support.h"

namespace quorel {
namespace {

template <class T>
std::string Print(const T& x, int precision = 6) {
  std::ostringstream out;
  out << std::setprecision(precision) << x;
  return out.str();
}

TEST(FaceStream, ComplexValues) {
  EXPECT_EQ(Print(TCplx(1, -2)), "1-2i");
  EXPECT_EQ(Print(TCplx(0.5, 0)), "0.5+0i");
  EXPECT_EQ(Print(TCplx(-1, -0.0)), "-1-0i");
  EXPECT_EQ(Print(TCplx(1.0 / 3, 2), 3), "0.333+2i");
  std::ostringstream signs;
  signs << std::showpos << TCplx(1, 2);
  EXPECT_EQ(signs.str(), "+1+2i");
  // The stream's width applies to the value as a whole.
  std::ostringstream wide;
  wide << std::setw(6) << TCplx(1, 2) << '|';
  EXPECT_EQ(wide.str(), "  1+2i|");
}

TEST(FaceStream, VectorsAlignAndFollowTheStreamFormat) {
  EXPECT_EQ(Print(TVec{1, 2.5, -30}), "[  1 2.5 -30]");
  EXPECT_EQ(Print(TVec{}), "[]");
  EXPECT_EQ(Print(TVec{TCplx(1, 2), TCplx(-3, 0.5)}), "[   1+2i -3+0.5i]");
  EXPECT_EQ(Print(TVec{PI, NaN, INF}, 3), "[3.14  nan  inf]");
  std::ostringstream fixed;
  fixed << std::fixed << std::setprecision(2) << TVec{1, -0.5};
  EXPECT_EQ(fixed.str(), "[ 1.00 -0.50]");
  // Integer vectors hold 32-bit integers: printed as such, not as the doubles they overlay.
  EXPECT_EQ(Print(test::IndexList({3, -1, 40})), "[ 3 -1 40]");
  // Only the current range.
  TVec v{1, 2, 3, 4};
  v.SetSubRange(1, 2);
  EXPECT_EQ(Print(v), "[2 3]");
}

TEST(FaceStream, MatricesOneRowPerLine) {
  EXPECT_EQ(Print(TMtx{{1, 2}, {30, 4}}), "[[ 1  2]\n [30  4]]");
  EXPECT_EQ(Print(TMtx{{TCplx(1, 1)}, {TCplx(0, -1)}}), "[[1+1i]\n [0-1i]]");
  EXPECT_EQ(Print(TMtx()), "[]");
  EXPECT_EQ(Print(TMtx(2, 0)), "[[]\n []]");
  TMtx ints{{1, 2}, {3, 4}};
  TMtx asInts;
  ints.FloatToInt(asInts, rnRound);
  EXPECT_EQ(Print(asInts), "[[1 2]\n [3 4]]");
}

TEST(FaceStream, LargeObjectsShowTheirEdges) {
  TVec v(1001);
  v.Ramp();
  EXPECT_EQ(Print(v), "[   0    1    2 ...  998  999 1000]");
  TVec small(1000);
  small.Ramp();
  EXPECT_EQ(Print(small).size(), 1000 * 4 + 1u);  // 999 separators, 1000 cells of width 3, brackets
  TMtx m(40, 30);
  for (std::int32_t i = 0; i < 40; ++i)
    for (std::int32_t j = 0; j < 30; ++j) m(i, j) = 100 * i + j;
  EXPECT_EQ(Print(m),
            "[[   0    1    2 ...   27   28   29]\n"
            " [ 100  101  102 ...  127  128  129]\n"
            " [ 200  201  202 ...  227  228  229]\n"
            " ...\n"
            " [3700 3701 3702 ... 3727 3728 3729]\n"
            " [3800 3801 3802 ... 3827 3828 3829]\n"
            " [3900 3901 3902 ... 3927 3928 3929]]");
}

TEST(FaceStream, SparseEntriesInColumnOrder) {
  TSparseMtx a;
  const std::int32_t rows[] = {2, 0, 1}, cols[] = {0, 1, 1};
  const double values[] = {-4.5, 1, 20};
  a.TripletsToSparse(3, 2, rows, cols, values, 0.0);
  EXPECT_EQ(Print(a), "3x2 sparse, 3 stored\n  (2, 0) -4.5\n  (0, 1)    1\n  (1, 1)   20");
  TSparseMtx empty;
  EXPECT_EQ(Print(empty), "0x0 sparse, 0 stored");
}

}  // namespace
}  // namespace quorel
