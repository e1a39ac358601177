// Report layout: labels, the blank lines around blocks, CRLF line ends, formats and output.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>

#include <gtest/gtest.h>

#include "support/allocations.h"
#include "support/support.h"
#include "quorel/io/report.h"

namespace quorel {
namespace {
using test::MessageOf;

// Lines each followed by "\r\n", as the report ends them.
std::string CrLf(std::initializer_list<std::string> lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

TEST(Report, ValuesGetNamesOrGenericLabels) {
  TQuorelReport r;
  r.PrintSample({1.5, -2.0}, {"a"});
  r.PrintCplx({{1, 2}, {0, -1}}, {"z"});
  r.PrintSampleArray({3});
  r.PrintCplxArray({{-3, 0}}, "Z");
  r.SetReFormat("0.0;(0.0)");
  r.SetImFormat(" + 0.0j; - 0.0j");
  r.PrintCplx({{-1, -2}});
  EXPECT_EQ(r.DataString(), CrLf({"a =  1.5000", "Var = -2.0000", "",                  //
                                  "z =  1.0000+2.0000i", "CplxVar = -1.0000i", "",     //
                                  "Array (1x1)", "", " 3.0000", "",                    //
                                  "Z", "", "-3.0000", "",                              //
                                  "CplxVar = (1.0) - 2.0j", ""}));
  // A report created with a text starts empty, with the default formats.
  TQuorelReport titled("Title\r\n");
  EXPECT_EQ(titled.DataString(), "");
  titled.PrintSample({-0.5});
  EXPECT_EQ(titled.DataString(), CrLf({"Var = -0.5000", ""}));
}

TEST(Report, VectorAndMatrixBlocksAndSavedFiles) {
  const TVec v = test::Real({1, -2}), c = test::Cplx({{1, -0.5}});
  const TMtx a = test::RealMtx(2, 2, {1, -2, 0.5, 0});
  TQuorelReport r;
  r.PrintVec({&v, &c}, {"v"});
  r.PrintMtx({&a, &a}, {"A"});
  r.SetDelimiter(" | ");
  r.PrintMtx({&a});
  EXPECT_EQ(r.DataString(), CrLf({"v (2x1) =  ", "", " 1.0000", "-2.0000", "",                         //
                                  "Vec (1x1) =  ", "", " 1.0000-0.5000i", "", "",                      //
                                  "A (2x2) =  ", "", " 1.0000\t-2.0000", " 0.5000\t 0.0000", "",       //
                                  "Mtx (2x2) =  ", "", " 1.0000\t-2.0000", " 0.5000\t 0.0000", "", "",  //
                                  "Mtx (2x2) =  ", "", " 1.0000 | -2.0000", " 0.5000 |  0.0000", "", ""}));
  // A file saved and appended to holds the text twice.
  const std::string path = ::testing::TempDir() + "quorel_report_test.txt";
  r.SaveToFile(path, false);
  r.SaveToFile(path, true);
  std::stringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  std::remove(path.c_str());
  EXPECT_EQ(content.str(), r.DataString() + r.DataString());
}

TEST(Report, PrintAndTheGlobalShortcutsTakeVectorsAndMatrices) {
  const TVec v = test::Real({4});
  const TMtx m = test::RealMtx(1, 1, {5});
  const std::string blocks = CrLf({"v (1x1) =  ", "", " 4.0000", "", "", "Mtx (1x1) =  ", "", " 5.0000", "", ""});
  TQuorelReport r;
  r.Print({&v, &m}, {"v"});
  EXPECT_EQ(r.DataString(), blocks);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { r.Print({&v, nullptr}); }),
            "TQuorelReport.Print: Only TVec and TMtx are accepted!");
  EXPECT_EQ(r.DataString(), blocks);  // nothing of the refused call was written

  ASSERT_NE(Report, nullptr);
  Report->Clear();
  QuorelPrint({&v}, {"v"});
  QuorelPrint({&m});
  QuorelPrint(TDoubleArray{2}, {"x"});
  QuorelPrint(TCplxArray{{0, 3}});
  EXPECT_EQ(Report->DataString(), blocks + CrLf({"x =  2.0000", "", "CplxVar = +3.0000i", ""}));
  Report->Clear();
}

// The formats are read once a call: printing many values costs only the growth of the report's
// own text, not an allocation per value.
TEST(Report, PrintingManyValuesReadsTheFormatsOnce) {
  if (!test::AllocationCounting()) GTEST_SKIP() << "the sanitizer owns the allocator";
  TCplxArray z;
  TDoubleArray x;
  for (int k = 0; k < 1000; ++k) {
    z.push_back({std::sin(0.37 * k), std::cos(1.1 * k)});
    x.push_back(1000 * std::sin(0.3 * k));
  }
  TQuorelReport r;  // default formats: the imaginary one is too long to live in a string itself
  const std::function<void()> prints[] = {[&] { r.PrintCplx(z); }, [&] { r.PrintSample(x, {"a"}); },
                                          [&] { r.PrintSampleArray(x); }, [&] { r.PrintCplxArray(z); }};
  for (const auto& print : prints) print();
  const std::size_t once = r.DataString().size();
  for (const auto& print : prints) EXPECT_LE(test::AllocationsDuring(print), 8) << "print " << &print - prints;
  EXPECT_EQ(r.DataString().size(), 2 * once);  // every value was written
  EXPECT_EQ(r.DataString().substr(0, 41), "CplxVar = +1.0000i\r\nCplxVar =  0.3616+0.4");
}

}  // namespace
}  // namespace quorel
