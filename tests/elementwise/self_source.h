#pragma once
// Self as a source: op(Self, Self), or op(Self, view over Self's storage), must give what the
// call gives on a copy of the source.
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "quorel/objects/vec.h"

namespace quorel::test {

/// A call with Self in one argument. `checkedToo`: the method has no identity message, so the
/// call must work with ConditionCheck on as well as off.
struct SelfCase {
  const char* name;
  TVec start;
  std::function<void(TVec& self, TVec& source)> op;
  bool checkedToo;
};

/// Same length, kind and doubles, bit for bit.
inline void ExpectSameBits(const TVec& got, const TVec& want, const std::string& what) {
  ASSERT_EQ(got.Length(), want.Length()) << what;
  ASSERT_EQ(got.Complex(), want.Complex()) << what;
  const auto g = got.Values(), w = want.Values();
  EXPECT_EQ(std::memcmp(g.data(), w.data(), g.size() * sizeof(double)), 0) << what;
}

inline void ExpectSelfReadAsCopy(const SelfCase& c) {
  for (bool checked : {true, false}) {
    if (checked && !c.checkedToo) continue;
    TVec want = c.start, copy = c.start, self = c.start;
    c.op(want, copy);
    self.SetConditionCheck(checked);
    c.op(self, self);
    ExpectSameBits(self, want, c.name);
  }
}

/// The source is a sub-range view over Self's own storage, `shift` elements away from Self's
/// first element (0: the very same elements): the call must give what it gives on a copy of the
/// viewed values. The call must keep Self's length and kind (Self is a view too).
inline void ExpectViewReadAsCopy(const SelfCase& c, std::int32_t shift) {
  const std::int32_t n = c.start.Length();
  TVec store(n + 2, c.start.Complex());
  store.Copy(c.start, 0, 1, n);
  TVec self, source;
  self.SetSubRange(store, 1, n);
  source.SetSubRange(store, 1 + shift, n);
  TVec want = self, copy = source;
  c.op(want, copy);
  c.op(self, source);
  ExpectSameBits(self, want, c.name + std::string(", view shifted by ") + std::to_string(shift));
}

}  // namespace quorel::test
