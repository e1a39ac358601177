// Memory and file streams, and saving vectors to files with and without append.
#include <cstdio>
#include <string>

#include <unistd.h>

#include <gtest/gtest.h>

#include "persist_test_util.h"

namespace quorel::test {
namespace {

TEST(PersistStream, MemoryStreamGapsAndShortReads) {
  TQuorelMemoryStream s;
  const std::uint8_t abc[3] = {1, 2, 3};
  s.Write(abc, 3);
  s.Seek(5, soCurrent);  // past the end: the gap is zero-filled by the next write
  s.Write(abc, 1);
  EXPECT_EQ(BytesOf(s), (TBytes{1, 2, 3, 0, 0, 0, 0, 0, 1}));
  s.Seek(-2, soEnd);
  std::uint8_t buf[4] = {9, 9, 9, 9};
  EXPECT_EQ(s.Read(buf, 4), 2);
  EXPECT_EQ(MessageOf<EReadError>([&] { s.ReadBuffer(buf, 1); }), "Stream read error");
}

TEST(PersistStream, FilesCreateAppendAndLoadTheFirstObject) {
  const std::string name = ::testing::TempDir() + "quorel_append_" + std::to_string(::getpid()) + ".bin";
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
    r.LoadFromStream(f);
    EXPECT_EQ(r.CValues()[0], (TCplx{3, 4}));
  }
  TVec first;
  first.LoadFromFile(name);
  EXPECT_EQ(first.Length(), 2);
  a.SaveToFile(name);  // without append the file starts over
  {
    TQuorelFileStream f(name, fmOpenReadWrite);
    EXPECT_EQ(f.Size(), 44 + 4 + 16);
    const std::uint8_t put[2] = {0xAA, 0xBB};
    std::uint8_t got[4];
    f.Seek(44, soBeginning);
    f.Write(put, 2);
    EXPECT_EQ(f.Read(got, 4), 4);  // a read straight after a write continues from there
    EXPECT_EQ(f.Position(), 50);
    f.Seek(44, soBeginning);
    f.Read(got, 2);
    EXPECT_EQ(got[1], 0xBB);
  }
  std::remove(name.c_str());
  EXPECT_THROW(first.LoadFromFile(name), EFOpenError);
  EXPECT_THROW(first.SaveToFile(name, true), EFOpenError);  // append needs an existing file
  EXPECT_EQ(first.Length(), 2);
}

}  // namespace
}  // namespace quorel::test
