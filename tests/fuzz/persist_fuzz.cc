// libFuzzer target over the binary readers: the first byte picks vector, matrix, vector list or
// matrix list, and whether the rest is read from memory or from a file (memory streams lend their
// bytes, file streams are read through their buffer and in blocks). Every object that loads is
// saved, loaded and saved again; the two saves must agree byte for byte.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

#include <unistd.h>

#include "quorel/io/lists.h"

namespace {

using namespace quorel;

constexpr std::int64_t kMaxResave = 1 << 14;  // elements: keeps each run fast under instrumentation

template <class T>
void CheckResave(const T& object) {
  if (object.Length() > kMaxResave) return;
  TQuorelMemoryStream first, second;
  object.SaveToStream(first);
  first.Seek(0, soBeginning);
  T again;
  again.LoadFromStream(first);
  again.SaveToStream(second);
  const auto a = first.Bytes(), b = second.Bytes();
  if (a.size() != b.size() || !std::equal(a.begin(), a.end(), b.begin())) std::abort();
}

template <class T>
void LoadObjects(TQuorelStream& s) {
  T object;
  while (s.Remaining() > 0) {
    object.LoadFromStream(s);
    CheckResave(object);
  }
}

template <class L>
void LoadList(TQuorelStream& s) {
  L list;
  list.LoadFromStream(s);
  std::int64_t total = 0;
  for (std::int32_t i = 0; i < list.Count(); ++i) {
    CheckResave(list[i]);
    total += list[i].Length();
  }
  if (total <= kMaxResave) {
    TQuorelMemoryStream out;
    list.SaveToStream(out);
  }
}

void LoadAll(std::uint8_t kind, TQuorelStream& s) {
  try {
    switch (kind % 4) {
      case 0: LoadObjects<TVec>(s); break;
      case 1: LoadObjects<TMtx>(s); break;
      case 2: LoadList<TVecList>(s); break;
      default: LoadList<TMtxList>(s); break;
    }
  } catch (const Exception&) {
    // Refusals are the expected outcome for most inputs.
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::span<const std::uint8_t> bytes(data + 1, size - 1);
  if ((data[0] & 4) == 0) {
    TQuorelMemoryStream s(bytes);
    LoadAll(data[0], s);
    return 0;
  }
  struct TTempFile {
    std::string name = "/tmp/quorel_persist_fuzz_" + std::to_string(::getpid()) + ".bin";
    ~TTempFile() { std::remove(name.c_str()); }
  };
  static const TTempFile temp;
  const std::string& name = temp.name;
  std::FILE* f = std::fopen(name.c_str(), "wb");
  if (f == nullptr) return 0;
  std::fwrite(bytes.data(), 1, bytes.size(), f);
  std::fclose(f);
  TQuorelFileStream s(name, fmOpenRead);
  LoadAll(data[0], s);
  return 0;
}
