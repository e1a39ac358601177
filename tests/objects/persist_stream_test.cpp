// Memory and file streams, and saving vectors to files with and without append.
#include <cstdio>
#include <string>

#include <unistd.h>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/objects/persist.h"

namespace quorel::test {
namespace {

std::string TempName(const char* stem) {
  return ::testing::TempDir() + "quorel_" + stem + "_" + std::to_string(::getpid()) + ".bin";
}

TEST(PersistStream, MemoryStreamPositionsAndGaps) {
  TQuorelMemoryStream s;
  const std::uint8_t abc[3] = {1, 2, 3};
  EXPECT_EQ(s.Write(abc, 3), 3);
  EXPECT_EQ(s.Seek(5, soCurrent), 8);  // past the end: allowed, size unchanged until a write
  EXPECT_EQ(s.Size(), 3);
  s.Write(abc, 1);
  EXPECT_EQ(BytesOf(s), (TBytes{1, 2, 3, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(s.Seek(-20, soEnd), 9);  // a negative target leaves the position alone
  s.Seek(-2, soEnd);
  std::uint8_t buf[4] = {9, 9, 9, 9};
  EXPECT_EQ(s.Read(buf, 4), 2);
  EXPECT_EQ(buf[1], 1);
  EXPECT_EQ(buf[2], 9);
  EXPECT_EQ(s.Read(buf, 4), 0);
  EXPECT_EQ(s.Remaining(), 0);
  EXPECT_EQ(MessageOf<EReadError>([&] { s.ReadBuffer(buf, 1); }), "Stream read error");

  TQuorelMemoryStream moved(std::move(s));
  EXPECT_EQ(moved.Size(), 9);
  EXPECT_EQ(s.Size(), 0);
  moved.SetSize(2);
  EXPECT_EQ(BytesOf(moved), (TBytes{1, 2}));
}

TEST(PersistStream, FilesCreateAppendAndLoadTheFirstObject) {
  const std::string name = TempName("append");
  TVec a = Real({1, 2});
  TVec b = Cplx({{3, 4}});
  b.SetPrecision(prSingle);
  a.SaveToFile(name);
  b.SaveToFile(name, true);
  {
    TQuorelFileStream f(name, fmOpenRead);
    EXPECT_EQ(f.Size(), (44 + 4 + 16) + (44 + 4 + 8));
    TVec r;
    r.LoadFromStream(f);
    EXPECT_EQ(r.Values()[1], 2);
    r.LoadFromStream(f);
    EXPECT_EQ(r.CValues()[0], (TCplx{3, 4}));
    EXPECT_EQ(f.Remaining(), 0);
  }
  TVec first;
  first.LoadFromFile(name);
  EXPECT_EQ(first.Length(), 2);
  a.SaveToFile(name);  // without append the file starts over
  TQuorelFileStream f(name, fmOpenRead);
  EXPECT_EQ(f.Size(), 44 + 4 + 16);
  std::remove(name.c_str());
}

TEST(PersistStream, FileStreamMixesReadsAndWrites) {
  const std::string name = TempName("mixed");
  TQuorelFileStream f(name, fmCreate);
  const std::uint8_t data[4] = {1, 2, 3, 4};
  f.Write(data, 4);
  f.Seek(1, soBeginning);
  std::uint8_t got[2];
  EXPECT_EQ(f.Read(got, 2), 2);
  EXPECT_EQ(got[1], 3);
  f.Write(data, 2);  // continues at position 3
  EXPECT_EQ(f.Size(), 5);
  EXPECT_EQ(f.Position(), 5);
  std::remove(name.c_str());
}

TEST(PersistStream, MissingFilesRaise) {
  const std::string name = TempName("missing");
  std::remove(name.c_str());
  TVec v = Real({1});
  EXPECT_THROW(v.LoadFromFile(name), EFOpenError);
  EXPECT_THROW(v.SaveToFile(name, true), EFOpenError);  // append needs an existing file
  EXPECT_THROW(v.SaveToFile("/nonexistent-dir/x.bin"), EFOpenError);
  EXPECT_EQ(v.Length(), 1);
}

}  // namespace
}  // namespace quorel::test
