// Matrix Market array files: exact lines and the file.
#include <cstdio>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "support/allocations.h"
#include "support/support.h"
#include "quorel/io/matrix_market.h"

namespace quorel {
namespace {

TMtx RealMtx() { return test::RealMtx(2, 3, {0.1, -1.0 / 3.0, 1e300, 5e-324, -2.5, 7}); }
TMtx CplxMtx() { return test::CplxMtx(2, 2, {{1, 2}, {0, -1}, {-0.5, 0}, {1e-10, 3}}); }

TEST(MatrixMarket, FileHoldsBannerCommentsSizeAndColumnMajorValues) {
  const TStringList real = MatrixMarketArrayLines(RealMtx());
  ASSERT_EQ(real.size(), 10u);
  EXPECT_EQ(real[0], "%%MatrixMarket matrix array real general ");
  EXPECT_EQ(real[1], "%Created with Quorel version 2");
  EXPECT_EQ(real[2].rfind("%Date: ", 0), 0u);
  EXPECT_EQ(TStringList(real.begin() + 3, real.end()),
            (TStringList{"2 3", "0.1", "5E-324", "-0.3333333333333333", "-2.5", "1E+300", "7"}));

  const TStringList cplx = MatrixMarketArrayLines(CplxMtx());
  EXPECT_EQ(cplx[0], "%%MatrixMarket matrix array complex general ");
  EXPECT_EQ(TStringList(cplx.begin() + 3, cplx.end()), (TStringList{"2 2", "1 2", "-0.5 0", "0 -1", "1E-10 3"}));

  const std::string path = ::testing::TempDir() + "quorel_mm_lines.mtx";
  CplxMtx().SaveToMatrixMarketFile(path);
  std::stringstream file;
  file << std::ifstream(path, std::ios::binary).rdbuf();
  std::remove(path.c_str());
  std::string expected;
  for (const std::string& line : cplx) expected += line + "\n";
  EXPECT_EQ(file.str(), expected);
  EXPECT_THROW(SaveToMatrixMarketFile(CplxMtx(), ::testing::TempDir() + "no/such/dir/m.mtx"), Exception);
}

// Elements are written with one formatter into one reused line: a long line costs its own copy
// and nothing more, however many values it holds.
TEST(MatrixMarket, LinesCostOnlyTheirOwnText) {
  if (!test::AllocationCounting()) GTEST_SKIP() << "the sanitizer owns the allocator";
  TMtx m(20, 50, true);
  for (int i = 0; i < 20; ++i)
    for (int j = 0; j < 50; ++j) m.CValues(i, j) = {1.0 / (3 + i + j), -2.0 / (7 + i * j)};
  const TStringList first = MatrixMarketArrayLines(m);
  std::size_t longLines = 0;
  for (const std::string& line : first) longLines += line.size() > 15;
  std::size_t count = 0;
  const long allocations = test::AllocationsDuring([&] { count = MatrixMarketArrayLines(m).size(); });
  EXPECT_EQ(count, 1004u);
  EXPECT_LE(allocations, static_cast<long>(longLines) + 16);  // the list, the header lines, the line buffer
}

}  // namespace
}  // namespace quorel
