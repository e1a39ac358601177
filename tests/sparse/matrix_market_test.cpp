#include <filesystem>
#include <fstream>

#include "sparse_test_util.h"

namespace quorel::test {
namespace {

constexpr const char* kGeneral = "%%MatrixMarket matrix coordinate real general";

void Parse(TSparseMtx& a, std::initializer_list<const char*> lines) {
  a.StringsToValues(TStringList(lines.begin(), lines.end()), spfMatrixMarket);
}

TEST(MatrixMarketRead, EveryWellFormedFileReads) {
  // name, rows, cols, stored entries after expansion and summing (-1: not checked), complex
  const std::tuple<const char*, int, int, int, bool> cases[] = {
      {"1c.mtx", 1, 1, 1, true},         {"two.mtx", 2, 2, 1, false},          {"one.mtx", 2, 2, 2, false},
      {"onec.mtx", 2, 2, 2, true},       {"c.mtx", 3, 3, 7, true},             {"cha.mtx", 3, 3, 9, true},
      {"rza.mtx", 3, 3, 6, false},       {"fullrsa.mtx", 2, 2, 4, false},      {"fullcsa.mtx", 2, 2, 4, true},
      {"fullrza.mtx", 2, 2, 2, false},   {"west0067.mtx", 67, 67, -1, false},  {"young1c.mtx", 841, 841, -1, true},
      {"lp_e226.mtx", 223, 472, -1, false}, {"arrow.mtx", -1, -1, -1, false}, {"arrowc.mtx", -1, -1, -1, true}};
  for (const auto& [name, rows, cols, nnz, complex] : cases) {
    TSparseMtx a;
    ASSERT_NO_THROW(a.LoadFromMatrixMarketFile(MatrixFile(name))) << name;
    if (rows >= 0) EXPECT_EQ(a.Rows(), rows) << name;
    if (cols >= 0) EXPECT_EQ(a.Cols(), cols) << name;
    if (nnz >= 0) EXPECT_EQ(a.NonZeros(), nnz) << name;
    EXPECT_EQ(a.Complex(), complex) << name;
  }
  // The remaining files, whatever their kind, read without error or fail with a located message.
  for (const auto& e : std::filesystem::directory_iterator(std::string(QUOREL_TEST_DATA_DIR) + "/matrices")) {
    TSparseMtx a;
    try {
      a.LoadFromMatrixMarketFile(e.path().string());
    } catch (const EQuorelException& ex) {
      const std::string msg = ex.what();
      const bool located = msg.rfind(e.path().string() + "(", 0) == 0;
      const bool specified = msg == "not (Strings.Count > 1)" || msg == "(RowCount <= 0) or (ColCount <= 0)" ||
                             msg == "Invalid triplet!";
      EXPECT_TRUE(located || specified) << msg;
    }
  }
}

TEST(MatrixMarketRead, SymmetryExpansion) {
  TSparseMtx a;
  // The skew-symmetric kind mirrors without flipping the sign.
  Parse(a, {"%%MatrixMarket matrix coordinate real skew-symmetric", "2 2 1", "2 1 5"});
  EXPECT_EQ(a.GetValue(1, 0), 5.0);
  EXPECT_EQ(a.GetValue(0, 1), 5.0);

  TSparseMtx h;
  h.LoadFromMatrixMarketFile(MatrixFile("c.mtx"));
  EXPECT_EQ(h.GetMtxCValue(2, 0), (TCplx{2, -1}));
  EXPECT_EQ(h.GetMtxCValue(0, 2), (TCplx{2, 1}));
  EXPECT_EQ(h.GetMtxCValue(2, 2), (TCplx{42, 0}));

  // A packed symmetric array lists the lower triangle column by column.
  TSparseMtx s;
  s.LoadFromMatrixMarketFile(MatrixFile("fullrsa.mtx"));
  EXPECT_EQ(Dense(s), (std::vector<std::vector<TCplx>>{{{1.3, 0}, {3.4, 0}}, {{3.4, 0}, {7.7, 0}}}));

  TSparseMtx p;
  Parse(p, {"%%MatrixMarket matrix coordinate pattern symmetric", "% a", "%b", "3 3 2", "1 1", "3 2"});
  EXPECT_EQ(p.GetValue(1, 2), 1.0);
  EXPECT_EQ(p.GetValue(2, 1), 1.0);
  EXPECT_EQ(p.Caption(), "% a\r\n%b\r\n");
}

TEST(MatrixMarketRead, NumbersTakeEitherSeparatorAndNanInfWords) {
  TSparseMtx a;
  Parse(a, {kGeneral, "2 2 4", "2 1 7,5", "1 1 -Inf", "2 2 1.5e1", "1 2 nan"});
  EXPECT_EQ(a.GetValue(1, 0), 7.5);
  EXPECT_EQ(a.GetValue(0, 0), -INF);
  EXPECT_EQ(a.GetValue(1, 1), 15.0);
  // A NaN off the diagonal is not above the zero threshold, so it is not stored.
  EXPECT_EQ(a.NonZeros(), 3);
  TSparseMtx c;
  Parse(c, {"%%MatrixMarket matrix coordinate complex general", "1 1 1", "1 1 0,25 inf"});
  EXPECT_EQ(c.GetMtxCValue(0, 0), (TCplx{0.25, INF}));
  // What the scanner cannot read is still refused with its line.
  EXPECT_RAISES(Parse(a, {kGeneral, "2 2 1", "1 1 7D0"}), "Strings(3): '7D0' is not a number");
  EXPECT_EQ(a.GetValue(1, 0), 7.5);
}

TEST(MatrixMarketRead, SpecifiedRefusals) {
  TSparseMtx a;
  for (const char* f : {"mangle1.mtx", "mangle2.mtx", "mangle3.mtx", "mangle4.mtx"})
    EXPECT_RAISES(a.LoadFromMatrixMarketFile(MatrixFile(f)), "not (Strings.Count > 1)");
  EXPECT_RAISES(Parse(a, {"%%Matrix coordinate real general", "1 1 1"}), "Strings not in MatrixMarket format!");
  EXPECT_RAISES(Parse(a, {"%%MatrixMarket junk coordinate real general", "1 1 1"}), "Matrix object required!");
  EXPECT_RAISES(a.LoadFromMatrixMarketFile("/nonexistent/x.mtx"), "File /nonexistent/x.mtx does not exist!");
  EXPECT_RAISES(a.StringsToValues(TStringList{"a", "b"}, TSparseFormat(7)),
                "Format must be HarwellBoeing or MatrixMarket!");
  EXPECT_RAISES(a.LoadFromMatrixMarketFile(MatrixFile("a0.mtx")), "(RowCount <= 0) or (ColCount <= 0)");
  EXPECT_RAISES(a.LoadFromMatrixMarketFile(MatrixFile("3by0.mtx")), "(RowCount <= 0) or (ColCount <= 0)");
  // An index outside the matrix (0-based files among them) is refused as the triplet conversion
  // refuses it, and the matrix keeps its contents.
  TSparseMtx b;
  b.LoadFromMatrixMarketFile(MatrixFile("two.mtx"));
  b.SetCaption("kept");
  for (const char* entry : {"0 1 5", "3 1 5", "1 3 5", "1 -1 5", "1e300 1 5", "1 inf 5"})
    EXPECT_RAISES(Parse(b, {kGeneral, "% new", "2 2 1", entry}), "Invalid triplet!");
  EXPECT_RAISES(Parse(b, {"%%MatrixMarket matrix coordinate real symmetric", "2 2 1", "3 1 5"}), "Invalid triplet!");
  EXPECT_RAISES(b.LoadFromMatrixMarketFile(MatrixFile("c2.mtx")), "Invalid triplet!");
  EXPECT_RAISES(b.LoadFromMatrixMarketFile(MatrixFile("s32.mtx")), "Invalid triplet!");
  EXPECT_EQ(b.NonZeros(), 1);
  EXPECT_EQ(b.GetValue(0, 0), 3.0);
  EXPECT_EQ(b.Caption(), "kept");
}

TEST(MatrixMarketRead, MalformedInputNamesFileAndLineAndLeavesMatrixAlone) {
  TSparseMtx a;
  a.LoadFromMatrixMarketFile(MatrixFile("two.mtx"));
  const std::string crud = MatrixFile("fullcrud.mtx");
  EXPECT_RAISES(a.LoadFromMatrixMarketFile(crud), crud + "(6): expected 4 entries, found 3");
  EXPECT_RAISES(Parse(a, {kGeneral, "2 2 1", "1 x 3"}), "Strings(3): 'x' is not a number");
  EXPECT_RAISES(Parse(a, {kGeneral, "2 2 1", "1.5 1 3"}), "Strings(3): row index must be a whole number");
  EXPECT_RAISES(Parse(a, {kGeneral, "2 2 1", "1 nan 3"}), "Strings(3): column index must be a whole number");
  EXPECT_RAISES(Parse(a, {kGeneral, "2 2 1", "1 1"}), "Strings(3): expected 3 numbers, found 2");
  EXPECT_RAISES(Parse(a, {kGeneral, "2 -2 1", "1 1 1"}), "Strings(2): Cols must be a non-negative integer");
  EXPECT_RAISES(Parse(a, {kGeneral, "2 2 1", "1 1 1", "2 2 2"}),
                "Strings(4): more entries than the size line announces");
  EXPECT_RAISES(Parse(a, {"%%MatrixMarket matrix coordinate real hermitian", "2 3 1", "1 1 1"}),
                "Strings(2): a symmetric matrix must be square");
  EXPECT_RAISES(Parse(a, {"%%MatrixMarket matrix coordinate real junk", "1 1 1", "1 1 1"}),
                "Strings(1): symmetry must be general, symmetric, skew-symmetric or hermitian");
  // A huge announced count with no lines behind it is refused, not allocated.
  EXPECT_RAISES(Parse(a, {kGeneral, "2000000000 2000000000 2000000000", "1 1 1"}),
                "Strings(3): expected 2000000000 entries, found 1");
  EXPECT_EQ(a.Rows(), 2);
  EXPECT_EQ(a.GetValue(0, 0), 3.0);
}

// Resident memory (VmRSS) or its peak since the last reset (VmHWM) in kB; -1 where the system
// does not tell.
long StatusKb(const char* key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind(key, 0) == 0) return std::stol(line.substr(std::string(key).size()));
  return -1;
}

bool ResetPeakResident() {
  std::ofstream clear("/proc/self/clear_refs");
  return static_cast<bool>(clear << "5" << std::flush);
}

// A few lines announcing a huge matrix may cost its column pointers, which the result holds, but
// no work arrays as long as its side, neither on the way nor kept after the call.
TEST(MatrixMarketRead, HugeSizeLineCommitsOnlyTheColumnPointers) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer keeps freed memory resident";
#endif
  if (StatusKb("VmRSS:") < 0) GTEST_SKIP() << "no resident-memory figure on this system";
  const long pointersKb = 20'000'001 * 4 / 1024;
  const long slackKb = 20'000;
  const long before = StatusKb("VmRSS:");
  TSparseMtx kept;
  kept.LoadFromMatrixMarketFile(MatrixFile("two.mtx"));
  EXPECT_RAISES(Parse(kept, {kGeneral, "20000000 20000000 2", "1 1 5", "0 1 5"}), "Invalid triplet!");
  EXPECT_LT(StatusKb("VmRSS:") - before, slackKb) << "kB after a refused file";
  EXPECT_EQ(kept.Rows(), 2);
  {
    const bool peak = ResetPeakResident();
    TSparseMtx a;
    Parse(a, {kGeneral, "20000000 20000000 2", "20000000 1 5", "1 20000000 7"});
    EXPECT_EQ(a.GetValue(19'999'999, 0), 5.0);
    EXPECT_EQ(a.GetValue(0, 19'999'999), 7.0);
    EXPECT_EQ(a.Ap()[19'999'999], 1);
    EXPECT_LT(StatusKb("VmRSS:") - before, pointersKb + slackKb) << "kB while the matrix lives";
    if (peak) EXPECT_LT(StatusKb("VmHWM:") - before, pointersKb + slackKb) << "kB at the peak";
  }
  EXPECT_LT(StatusKb("VmRSS:") - before, slackKb) << "kB after the matrix is gone";
}

TEST(MatrixMarketWrite, TextAndFileReadBack) {
  TSparseMtx id;
  id.TripletsToSparse(2, 2, TIntegerArray{0, 1}, TIntegerArray{0, 1}, TDoubleArray{1, 1});
  TStringList text;
  id.ValuesToStrings(text, spfMatrixMarket);
  ASSERT_EQ(text.size(), 6u);
  EXPECT_EQ(text[0], "%%MatrixMarket matrix coordinate real general ");
  EXPECT_EQ(text[1], "%Created with Quorel version 2.00");
  EXPECT_EQ(text[2].rfind("%Date: ", 0), 0u);
  EXPECT_EQ(text[3], "2 2 2");
  EXPECT_EQ(text[4], "1  1  1");
  TSparseMtx back;
  back.StringsToValues(text, spfMatrixMarket);
  EXPECT_TRUE(back.Equal(id));

  const std::string file = (std::filesystem::temp_directory_path() / "quorel_sparse_write.mtx").string();
  for (const char* name : {"young1c.mtx", "west0067.mtx", "rza.mtx"}) {
    TSparseMtx a, b;
    a.LoadFromMatrixMarketFile(MatrixFile(name));
    a.SaveToMatrixMarketFile(file);
    b.LoadFromMatrixMarketFile(file);
    EXPECT_TRUE(b.Equal(a)) << name;
  }
  std::filesystem::remove(file);
  // The Harwell-Boeing reader is a placeholder, but still checks the file.
  EXPECT_RAISES(id.LoadFromHarwellBoeingFile(file), "File " + file + " does not exist!");
}

}  // namespace
}  // namespace quorel::test
