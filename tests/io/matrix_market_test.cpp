// Matrix Market array files: exact lines, and what a standard reader makes of the file.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

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
  SaveToMatrixMarketFile(CplxMtx(), path);
  std::stringstream file;
  file << std::ifstream(path, std::ios::binary).rdbuf();
  std::remove(path.c_str());
  std::string expected;
  for (const std::string& line : cplx) expected += line + "\n";
  EXPECT_EQ(file.str(), expected);
  EXPECT_THROW(SaveToMatrixMarketFile(CplxMtx(), ::testing::TempDir() + "no/such/dir/m.mtx"), Exception);
}

// Exit code 0 when scipy.io.mmread(argv[1]) gives shape, kind and row-major (re, im) pairs equal to
// argv[2:]; 77 without SciPy.
constexpr const char* kReader = R"(import sys
try:
    import scipy.io
except ImportError:
    sys.exit(77)
m = scipy.io.mmread(sys.argv[1])
got = [m.shape[0], m.shape[1], m.dtype.kind] + [float(v) for x in m.flatten() for v in (x.real, x.imag)]
want = [int(sys.argv[2]), int(sys.argv[3]), sys.argv[4]] + [float.fromhex(h) for h in sys.argv[5:]]
print(got)
sys.exit(0 if got == want else 1)
)";

TEST(MatrixMarket, StandardReaderGetsTheExactMatrix) {
  const char* python = "/usr/bin/python3";
  if (access(python, X_OK) != 0) GTEST_SKIP() << python << " is not available";
  const std::string dir = ::testing::TempDir(), script = dir + "quorel_mm_reader.py", path = dir + "quorel_mm.mtx";
  std::ofstream(script) << kReader;
  for (const TMtx& m : {RealMtx(), CplxMtx()}) {
    SaveToMatrixMarketFile(m, path);
    std::ostringstream command;
    command << python << ' ' << script << ' ' << path << ' ' << m.Rows() << ' ' << m.Cols() << ' '
            << (m.Complex() ? 'c' : 'f') << std::hexfloat;
    for (std::int32_t k = 0; k < m.Rows() * m.Cols(); ++k) {
      const std::int32_t i = k / m.Cols(), j = k % m.Cols();
      const TCplx z = m.Complex() ? m.CValues(i, j) : TCplx{m.Values(i, j), 0};
      command << ' ' << z.Re << ' ' << z.Im;
    }
    const int status = std::system((command.str() + " > /dev/null 2>&1").c_str());
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77) GTEST_SKIP() << "SciPy is not available";
    EXPECT_EQ(status, 0) << command.str();
  }
  std::remove(path.c_str());
  std::remove(script.c_str());
}

}  // namespace
}  // namespace quorel
