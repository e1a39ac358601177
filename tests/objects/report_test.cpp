// Report layout: labels, the blank lines around blocks, CRLF line ends, formats and output.
#include <cstdio>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "objects/text_test_util.h"
#include "quorel/core/errors.h"
#include "quorel/objects/report.h"
#include "quorel/objects/vec.h"

namespace quorel {
namespace {

using test::CrLf;
using test::MessageOf;

TEST(Report, SamplesAndComplexValuesGetNamesOrGenericLabels) {
  TQuorelReport r;
  r.PrintSample({1.5, -2.0}, {"a"});
  EXPECT_EQ(r.DataString(), CrLf({"a =  1.5000", "Var = -2.0000", ""}));

  r.Clear();
  r.PrintCplx({{1, 2}, {0, -1}, {-3, 0}}, {"z"});
  EXPECT_EQ(r.DataString(), CrLf({"z =  1.0000+2.0000i", "CplxVar = -1.0000i", "CplxVar = -3.0000", ""}));
}

TEST(Report, VectorBlocksHaveDoubleBlankHeaderAndEmptyLines) {
  TVec v, w, c;
  v.SetDouble(std::initializer_list<double>{1, -2});
  w.SetDouble(std::initializer_list<double>{0.5});
  c.SetCplx({{1, -0.5}});
  TQuorelReport r;
  r.PrintVec({&v, &w, &c}, {"v"});
  EXPECT_EQ(r.DataString(), CrLf({"v (2x1) =  ", "", " 1.0000", "-2.0000", "",  //
                                  "Vec (1x1) =  ", "", " 0.5000", "",              //
                                  "Vec (1x1) =  ", "", " 1.0000-0.5000i", "",      //
                                  ""}));
  r.Clear();
  r.PrintVec({}, {});
  EXPECT_EQ(r.DataString(), "\r\n");
}

TEST(Report, ArraysHaveHeaderLine) {
  TQuorelReport r;
  r.PrintSampleArray({2, 3});
  r.PrintCplxArray({{0, 1}}, "Z");
  EXPECT_EQ(r.DataString(), CrLf({"Array (1x2)", "", " 2.0000", " 3.0000", "",  //
                                  "Z", "", "+1.0000i", ""}));
}

TEST(Report, FormatsDelimiterAndInitialText) {
  TQuorelReport r("Title\r\n");
  EXPECT_EQ(r.Delimiter(), "\t");
  r.SetReFormat("0.0;(0.0)");
  r.SetImFormat(" + 0.0j; - 0.0j");
  r.PrintCplx({{-1, -2}});
  r.WriteString("end");
  EXPECT_EQ(r.DataString(), CrLf({"Title", "CplxVar = (1.0) - 2.0j", ""}) + "end");
}

// Not a vector or a matrix.
class TOtherObject : public TDenseOf<TOtherObject> {
 public:
  void SetLength(std::int32_t) override {}
  void Clear() override {}

 protected:
  double* CachePointer() const override { return nullptr; }
  std::int32_t CacheLength() const override { return 0; }
  void FreeToCache() override {}
};

TEST(Report, PrintTakesVectorsAndRefusesOtherObjects) {
  TVec v;
  v.SetDouble(std::initializer_list<double>{4});
  TQuorelReport r;
  r.Print({&v}, {"v"});
  const std::string printed = r.DataString();
  EXPECT_EQ(printed, CrLf({"v (1x1) =  ", "", " 4.0000", "", ""}));
  TOtherObject other;
  EXPECT_EQ(MessageOf<EQuorelException>([&] { r.Print({&v, &other}); }),
            "TQuorelReport.Print: Only TVec and TMtx are accepted!");
  EXPECT_EQ(MessageOf<EQuorelException>([&] { r.Print({nullptr}); }),
            "TQuorelReport.Print: Only TVec and TMtx are accepted!");
  EXPECT_EQ(r.DataString(), printed);  // nothing of the refused call was written
}

TEST(Report, SavesToFilesAndStreams) {
  TQuorelReport r;
  r.PrintSample({1});
  const std::string path = ::testing::TempDir() + "quorel_report_test.txt";
  r.SaveToFile(path, false);
  r.SaveToFile(path, true);
  std::ifstream in(path, std::ios::binary);
  std::stringstream content;
  content << in.rdbuf();
  EXPECT_EQ(content.str(), r.DataString() + r.DataString());
  r.SaveToFile(path, false);  // replaces
  std::ifstream again(path, std::ios::binary);
  std::stringstream replaced;
  replaced << again.rdbuf();
  EXPECT_EQ(replaced.str(), r.DataString());
  std::remove(path.c_str());

  std::ostringstream out;
  r.SaveToStream(out);
  EXPECT_EQ(out.str(), r.DataString());
  EXPECT_THROW(r.SaveToFile(::testing::TempDir() + "no/such/dir/x.txt", false), Exception);
}

TEST(Report, QuorelPrintWritesToTheGlobalReport) {
  ASSERT_NE(Report, nullptr);
  Report->Clear();
  TVec v;
  v.SetDouble(std::initializer_list<double>{1});
  QuorelPrint({&v});
  QuorelPrint(TDoubleArray{2}, {"x"});
  QuorelPrint(TCplxArray{{0, 3}});
  EXPECT_EQ(Report->DataString(), CrLf({"Vec (1x1) =  ", "", " 1.0000", "", "",  //
                                        "x =  2.0000", "",                        //
                                        "CplxVar = +3.0000i", ""}));
  Report->Clear();
}

}  // namespace
}  // namespace quorel
