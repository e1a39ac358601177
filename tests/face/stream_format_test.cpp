// operator<< of complex values, vectors, matrices and sparse matrices.
#include <gtest/gtest.h>

#include <iomanip>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "quorel/core/constants.h"
#include "quorel/io/stream_format.h"
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

TEST(FaceStream, ScalarsAndVectorsFollowTheStreamFormat) {
  EXPECT_EQ(Print(TCplx(1, -2)), "1-2i");
  EXPECT_EQ(Print(TCplx(-1, -0.0)), "-1-0i");
  EXPECT_EQ(Print(TCplx(1.0 / 3, 2), 3), "0.333+2i");
  std::ostringstream flags;
  flags << std::showpos << TCplx(1, 2) << ' ' << std::noshowpos << std::setw(6) << TCplx(1, 2);
  EXPECT_EQ(flags.str(), "+1+2i   1+2i");  // one sign each; the width takes the value whole
  EXPECT_EQ(Print(TVec{1, 2.5, -30}), "[  1 2.5 -30]");
  EXPECT_EQ(Print(TVec{}), "[]");
  EXPECT_EQ(Print(TVec{TCplx(1, 2), TCplx(-3, 0.5)}), "[   1+2i -3+0.5i]");
  EXPECT_EQ(Print(TVec{PI, NaN, INF}, 3), "[3.14  nan  inf]");
  // Integer vectors hold 32-bit integers: printed as such, not as the doubles they overlay.
  EXPECT_EQ(Print(test::IndexList({3, -1, 40})), "[ 3 -1 40]");
  TVec v{1, 2, 3, 4};
  v.SetSubRange(1, 2);
  EXPECT_EQ(Print(v), "[2 3]");
}

TEST(FaceStream, MatricesOneRowPerLine) {
  EXPECT_EQ(Print(TMtx{{1, 2}, {30, 4}}), "[[ 1  2]\n [30  4]]");
  EXPECT_EQ(Print(TMtx{{TCplx(1, 1)}, {TCplx(0, -1)}}), "[[1+1i]\n [0-1i]]");
  EXPECT_EQ(Print(TMtx()), "[]");
  EXPECT_EQ(Print(TMtx(2, 0)), "[[]\n []]");
}

TEST(FaceStream, LargeObjectsShowTheirEdges) {
  TVec v(1001), small(1000);
  v.Ramp();
  small.Ramp();
  EXPECT_EQ(Print(v), "[   0    1    2 ...  998  999 1000]");
  EXPECT_EQ(Print(small).size(), 1000 * 4 + 1u);  // every element: width 3 and a separator
  EXPECT_EQ(Print(test::Numbered(40, 30, false)),
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
  EXPECT_EQ(Print(TSparseMtx()), "0x0 sparse, 0 stored");
  // Past 1,000 entries the columns of the last three are still found.
  std::vector<std::int32_t> diag(1001);
  std::iota(diag.begin(), diag.end(), 0);
  const std::vector<double> ones(1001, 1.0);
  a.TripletsToSparse(1001, 1001, diag, diag, ones, 0.0);
  const std::string tail = Print(a).substr(Print(a).find("(2, 2)"));
  EXPECT_EQ(tail, "(2, 2)       1\n  ...\n  (998, 998)   1\n  (999, 999)   1\n  (1000, 1000) 1");
}

}  // namespace
}  // namespace quorel
