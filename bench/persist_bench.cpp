// Binary save and load of 10^7 doubles in every precision to a memory stream, and as prDouble,
// prSingle and prSmallInt to a file in /tmp, against moving the same encoded bytes raw (memcpy
// for memory, fwrite/fread for files). The memory forms have a second baseline, "doubles": a
// memcpy of the values as doubles. A conversion has to read or write 8 bytes per value, so for
// the narrow precisions the raw copy of their few bytes is out of reach, and the copy of the
// doubles shows how near the memory traffic's floor the conversion runs. After the runs a table
// of time ratios (median of the repetitions) is printed.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include "ratio_reporter.h"
#include "quorel/io/detail/persist_format.h"
#include "quorel/quorel.h"

using namespace quorel;

namespace {

constexpr std::int32_t kCount = 10'000'000;

// A byte buffer in the same kind of memory as a vector's storage: the kernel copies into and
// out of page-allocator blocks measurably faster than into heap blocks of the same size, so
// both sides of every comparison use the same allocator.
struct Buffer {
  TVec storage;
  std::size_t size = 0;
  void Resize(std::size_t bytes) {
    size = bytes;
    storage.SetLength(static_cast<std::int32_t>(bytes / 8 + 1));
    storage.SetZero();
  }
  std::uint8_t* data() { return reinterpret_cast<std::uint8_t*>(storage.PValues(0)); }
};

struct Data {
  TVec v;
  std::map<TPrecision, Buffer> encoded;  // the values block per precision
  Buffer raw;                            // destination of the raw copies
  TQuorelMemoryStream stream;
  std::string file = "/tmp/quorel_persist_bench_" + std::to_string(::getpid()) + ".bin";
  Data() {
    v.SetLength(kCount);
    for (std::int32_t i = 0; i < kCount; ++i) v[i] = 30000.0 * std::sin(0.001 * i);
    for (int i = prDouble; i <= prInt24; ++i) {
      const auto p = static_cast<TPrecision>(i);
      Buffer& bytes = encoded[p];
      bytes.Resize(static_cast<std::size_t>(kCount) * detail::BytesPerValue(p));
      WriteBinaryValues(bytes.data(), v.PValues(0), p, rnTrunc, false, kCount);
    }
    raw.Resize(encoded[prDouble].size);
  }
  ~Data() { std::remove(file.c_str()); }
};

Data& D() {
  static Data d;
  return d;
}

void Save(TPrecision p, TQuorelStream& s) {
  D().v.SetPrecision(p);
  D().v.SaveToStream(s);
}

void RawWriteFile(Buffer& bytes) {
  std::FILE* f = std::fopen(D().file.c_str(), "wb");
  std::fwrite(bytes.data(), 1, bytes.size, f);
  std::fclose(f);
}

void RawReadFile(std::size_t n) {
  std::FILE* f = std::fopen(D().file.c_str(), "rb");
  std::fread(D().raw.data(), 1, n, f);
  std::fclose(f);
}

template <class F>
void Run(benchmark::State& state, F&& body) {
  body();
  for (auto _ : state) {
    body();
    benchmark::ClobberMemory();
  }
}

void CopyEncoded(TPrecision p) { std::memcpy(D().raw.data(), D().encoded[p].data(), D().encoded[p].size); }
void CopyDoubles() { std::memcpy(D().raw.data(), D().v.PValues(0), static_cast<std::size_t>(kCount) * 8); }

// Each precision: save and load to memory, Quorel, raw and as doubles.
#define PERSIST_MEM_BENCH(P)                                                                        \
  void BM_SaveMem_##P##_quorel(benchmark::State& st) {                                              \
    Run(st, [] {                                                                                    \
      D().stream.Clear();                                                                           \
      Save(P, D().stream);                                                                          \
    });                                                                                             \
  }                                                                                                 \
  void BM_LoadMem_##P##_quorel(benchmark::State& st) {                                              \
    D().stream.Clear();                                                                             \
    Save(P, D().stream);                                                                            \
    TVec r;                                                                                         \
    Run(st, [&] {                                                                                   \
      D().stream.Seek(0, soBeginning);                                                              \
      r.LoadFromStream(D().stream);                                                                 \
    });                                                                                             \
  }                                                                                                 \
  void BM_Mem_##P##_raw(benchmark::State& st) { Run(st, [] { CopyEncoded(P); }); }                  \
  BENCHMARK(BM_SaveMem_##P##_quorel)->Name("SaveMem." #P "/quorel")->UseRealTime();                 \
  BENCHMARK(BM_Mem_##P##_raw)->Name("SaveMem." #P "/raw")->UseRealTime();                           \
  BENCHMARK(BM_LoadMem_##P##_quorel)->Name("LoadMem." #P "/quorel")->UseRealTime();                 \
  BENCHMARK(BM_Mem_##P##_raw)->Name("LoadMem." #P "/raw")->UseRealTime();

// The file forms: save and load, Quorel and raw.
#define PERSIST_FILE_BENCH(P)                                                                       \
  void BM_SaveFile_##P##_quorel(benchmark::State& st) {                                             \
    Run(st, [] {                                                                                    \
      D().v.SetPrecision(P);                                                                        \
      D().v.SaveToFile(D().file);                                                                   \
    });                                                                                             \
  }                                                                                                 \
  void BM_SaveFile_##P##_raw(benchmark::State& st) {                                                \
    Run(st, [] { RawWriteFile(D().encoded[P]); });                                                  \
  }                                                                                                 \
  void BM_LoadFile_##P##_quorel(benchmark::State& st) {                                             \
    D().v.SetPrecision(P);                                                                          \
    D().v.SaveToFile(D().file);                                                                     \
    TVec r;                                                                                         \
    Run(st, [&] { r.LoadFromFile(D().file); });                                                     \
  }                                                                                                 \
  void BM_LoadFile_##P##_raw(benchmark::State& st) {                                                \
    RawWriteFile(D().encoded[P]);                                                                   \
    Run(st, [] { RawReadFile(D().encoded[P].size); });                                            \
  }                                                                                                 \
  BENCHMARK(BM_SaveFile_##P##_quorel)->Name("SaveFile." #P "/quorel")->UseRealTime();               \
  BENCHMARK(BM_SaveFile_##P##_raw)->Name("SaveFile." #P "/raw")->UseRealTime();                     \
  BENCHMARK(BM_LoadFile_##P##_quorel)->Name("LoadFile." #P "/quorel")->UseRealTime();               \
  BENCHMARK(BM_LoadFile_##P##_raw)->Name("LoadFile." #P "/raw")->UseRealTime();

void BM_Doubles(benchmark::State& st) { Run(st, CopyDoubles); }
BENCHMARK(BM_Doubles)->Name("SaveMem.*/doubles")->UseRealTime();
BENCHMARK(BM_Doubles)->Name("LoadMem.*/doubles")->UseRealTime();

PERSIST_MEM_BENCH(prDouble)
PERSIST_MEM_BENCH(prSingle)
PERSIST_MEM_BENCH(prInteger)
PERSIST_MEM_BENCH(prCardinal)
PERSIST_MEM_BENCH(prSmallInt)
PERSIST_MEM_BENCH(prWord)
PERSIST_MEM_BENCH(prShortInt)
PERSIST_MEM_BENCH(prByte)
PERSIST_MEM_BENCH(prMuLaw)
PERSIST_MEM_BENCH(prALaw)
PERSIST_MEM_BENCH(prInt24)
PERSIST_FILE_BENCH(prDouble)
PERSIST_FILE_BENCH(prSingle)
PERSIST_FILE_BENCH(prSmallInt)

}  // namespace

int main(int argc, char** argv) { return bench::RunWithRatios(argc, argv, {"raw", "doubles"}); }
