// Binary save and load of 10^7 doubles as prDouble, prSingle and prSmallInt, to a memory stream
// and to a file in /tmp, against moving the same encoded bytes raw (memcpy for memory,
// fwrite/fread for files). After the runs a table of time ratios (median of the repetitions)
// is printed.
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
    for (TPrecision p : {prDouble, prSingle, prSmallInt}) {
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

// Each precision: save and load, memory and file, Quorel and raw.
#define PERSIST_BENCH(P)                                                                            \
  void BM_SaveMem_##P##_quorel(benchmark::State& st) {                                              \
    Run(st, [] {                                                                                    \
      D().stream.Clear();                                                                           \
      Save(P, D().stream);                                                                          \
    });                                                                                             \
  }                                                                                                 \
  void BM_SaveMem_##P##_raw(benchmark::State& st) {                                                 \
    Run(st, [] { std::memcpy(D().raw.data(), D().encoded[P].data(), D().encoded[P].size); });     \
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
  void BM_LoadMem_##P##_raw(benchmark::State& st) {                                                 \
    Run(st, [] { std::memcpy(D().raw.data(), D().encoded[P].data(), D().encoded[P].size); });     \
  }                                                                                                 \
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
  BENCHMARK(BM_SaveMem_##P##_quorel)->Name("SaveMem." #P "/quorel")->UseRealTime();                 \
  BENCHMARK(BM_SaveMem_##P##_raw)->Name("SaveMem." #P "/raw")->UseRealTime();                       \
  BENCHMARK(BM_LoadMem_##P##_quorel)->Name("LoadMem." #P "/quorel")->UseRealTime();                 \
  BENCHMARK(BM_LoadMem_##P##_raw)->Name("LoadMem." #P "/raw")->UseRealTime();                       \
  BENCHMARK(BM_SaveFile_##P##_quorel)->Name("SaveFile." #P "/quorel")->UseRealTime();               \
  BENCHMARK(BM_SaveFile_##P##_raw)->Name("SaveFile." #P "/raw")->UseRealTime();                     \
  BENCHMARK(BM_LoadFile_##P##_quorel)->Name("LoadFile." #P "/quorel")->UseRealTime();               \
  BENCHMARK(BM_LoadFile_##P##_raw)->Name("LoadFile." #P "/raw")->UseRealTime();

PERSIST_BENCH(prDouble)
PERSIST_BENCH(prSingle)
PERSIST_BENCH(prSmallInt)

}  // namespace

int main(int argc, char** argv) { return bench::RunWithRatios(argc, argv, {"raw"}); }
