// Memory and file streams, and saving vectors to files with and without append.
#include <cstdio>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/io/persist.h"

namespace quorel::test {
namespace {

// A stream that moves forward only and cannot tell its size, as a pipe or a decompressor.
class TForwardStream final : public TQuorelStream {
 public:
  explicit TForwardStream(std::span<const std::uint8_t> bytes) : inner(bytes) {}
  std::int64_t Read(void* b, std::int64_t n) override { return inner.Read(b, n); }
  std::int64_t Write(const void*, std::int64_t) override { return 0; }
  std::int64_t Seek(std::int64_t, TSeekOrigin) override { return inner.Position(); }
  std::int64_t Position() override { return inner.Position(); }
  std::int64_t Size() override { return 0; }

 private:
  TQuorelMemoryStream inner;
};

// Values are read until the stream runs dry, whatever its Size said: objects follow one another
// in a stream of unknown size, or in a file that grew after it was opened. A file load reads the
// first object; a save starts the file over unless it appends, which needs the file.
TEST(PersistStream, ValuesNeedNoKnownSizeAndFilesAppend) {
  TVec a = Real({1, 2, 3});
  TVec b = Cplx({{10, -20}, {30, 40}});
  b.SetPrecision(prSmallInt);
  TQuorelMemoryStream saved;
  a.SaveToStream(saved);
  b.SaveToStream(saved);
  TForwardStream forward(saved.Bytes());
  TVec x, y;
  x.LoadFromStream(forward);
  y.LoadFromStream(forward);
  EXPECT_EQ(Doubles(x), Doubles(a));
  EXPECT_EQ(Doubles(y), Doubles(b));
  EXPECT_EQ(forward.Position(), saved.Size());
  const double one = 1;
  TForwardStream raw(std::span(reinterpret_cast<const std::uint8_t*>(&one), 8));
  double got[2] = {7, 7};
  ReadBinaryValues(raw, got, prDouble, false, 2);
  EXPECT_TRUE(got[0] == 1 && got[1] == 7);

  const std::string name = ::testing::TempDir() + "quorel_grown_" + std::to_string(::getpid()) + ".bin";
  a.SaveToFile(name);
  {
    TQuorelFileStream reader(name, fmOpenRead);
    b.SaveToFile(name, true);
    EXPECT_EQ(reader.Size(), saved.Size());
    TVec first, second;
    first.LoadFromStream(reader);
    second.LoadFromStream(reader);
    EXPECT_EQ(Doubles(second), Doubles(b));
    EXPECT_EQ(reader.Position(), saved.Size());
    EXPECT_EQ(reader.Seek(0, soEnd), saved.Size());
  }
  TVec fromFile;
  fromFile.LoadFromFile(name);
  EXPECT_EQ(Doubles(fromFile), Doubles(a));
  a.SaveToFile(name);  // without append the file starts over
  EXPECT_EQ(TQuorelFileStream(name, fmOpenRead).Size(), 44 + 4 + 24);
  std::remove(name.c_str());
  EXPECT_THROW(fromFile.LoadFromFile(name), EFOpenError);
  EXPECT_THROW(fromFile.SaveToFile(name, true), EFOpenError);
  EXPECT_EQ(fromFile.Length(), 3);
}

// A file stream buffers small transfers and moves large ones straight to and from the file; a
// memory stream does neither. The same random reads, writes and seeks (small and large, past the
// end, straight after one another) must give the same counts, positions, bytes and final file.
TEST(PersistStream, FileStreamActsLikeMemory) {
  const std::string name = ::testing::TempDir() + "quorel_stream_model_" + std::to_string(::getpid()) + ".bin";
  std::mt19937 rng(7);
  const auto pick = [&](std::int64_t lo, std::int64_t hi) {
    return std::uniform_int_distribution<std::int64_t>(lo, hi)(rng);
  };
  // Sizes on both sides of the buffer (256 KB) and of the direct-read threshold (64 KB).
  const auto length = [&] {
    const int kind = static_cast<int>(pick(0, 3));
    return kind == 0 ? pick(1, 100) : kind == 1 ? pick(1000, 70000) : kind == 2 ? pick(60000, 600000) : pick(1, 9);
  };
  TQuorelMemoryStream model;
  {
    TQuorelFileStream file(name, fmCreate);
    std::vector<std::uint8_t> in, outFile, outModel;
    enum { kWrite, kRead, kSeek };
    const auto apply = [&](int op, std::int64_t n, TSeekOrigin origin = soBeginning) {
      if (op == kWrite) {
        in.resize(static_cast<std::size_t>(n));
        for (auto& b : in) b = static_cast<std::uint8_t>(pick(1, 255));
        ASSERT_EQ(file.Write(in.data(), n), model.Write(in.data(), n));
      } else if (op == kRead) {
        outFile.assign(static_cast<std::size_t>(n), 0);
        outModel.assign(static_cast<std::size_t>(n), 0);
        ASSERT_EQ(file.Read(outFile.data(), n), model.Read(outModel.data(), n));
        ASSERT_EQ(outFile, outModel);
      } else {
        ASSERT_EQ(file.Seek(n, origin), model.Seek(n, origin));
      }
      ASSERT_EQ(file.Position(), model.Position());
      ASSERT_EQ(file.Size(), model.Size());
    };
    // A large write over bytes a small read has just buffered.
    for (const auto& [op, n] : {std::pair{kWrite, 300000}, {kSeek, 0}, {kRead, 10}, {kSeek, 0}, {kWrite, 300000},
                                {kSeek, 5}, {kRead, 10}}) {
      apply(op, n);
    }
    for (int step = 0; step < 600; ++step) {
      SCOPED_TRACE(step);
      const int op = static_cast<int>(pick(0, 2));
      if (op != kSeek) {
        apply(op, length());
      } else if (pick(0, 3) != 0) {
        apply(kSeek, pick(0, model.Size()));  // mostly back into what is there, to overlap
      } else {
        apply(kSeek, pick(-400000, 400000), static_cast<TSeekOrigin>(pick(0, 2)));
      }
    }
  }
  TQuorelFileStream reopened(name, fmOpenRead);
  ASSERT_EQ(reopened.Size(), model.Size());
  std::vector<std::uint8_t> all(static_cast<std::size_t>(model.Size()));
  EXPECT_EQ(reopened.Read(all.data(), reopened.Size()), model.Size());
  EXPECT_EQ(all, BytesOf(model));
  EXPECT_EQ(reopened.Write(all.data(), 1), 0);  // read only
  std::remove(name.c_str());
}

}  // namespace
}  // namespace quorel::test
