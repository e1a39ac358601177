// libFuzzer target over the binary readers: the first byte picks vector, matrix, vector list or
// matrix list, the rest is the stream. Every object that loads is saved, loaded and saved again;
// the two saves must agree byte for byte.
#include <cstdint>
#include <cstdlib>
#include <span>

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
void LoadObjects(TQuorelMemoryStream& s) {
  T object;
  while (s.Remaining() > 0) {
    object.LoadFromStream(s);
    CheckResave(object);
  }
}

template <class L>
void LoadList(TQuorelMemoryStream& s) {
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  TQuorelMemoryStream s(std::span(data + 1, size - 1));
  try {
    switch (data[0] % 4) {
      case 0: LoadObjects<TVec>(s); break;
      case 1: LoadObjects<TMtx>(s); break;
      case 2: LoadList<TVecList>(s); break;
      default: LoadList<TMtxList>(s); break;
    }
  } catch (const Exception&) {
    // Refusals are the expected outcome for most inputs.
  }
  return 0;
}
