#pragma once
// Self as a source: op(Self, Self) must give what op(Self, copy of Self) gives.
#include <functional>

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

inline void ExpectSelfReadAsCopy(const SelfCase& c) {
  for (bool checked : {true, false}) {
    if (checked && !c.checkedToo) continue;
    TVec want = c.start, copy = c.start, self = c.start;
    c.op(want, copy);
    self.SetConditionCheck(checked);
    c.op(self, self);
    EXPECT_TRUE(self.IsEqual(want)) << c.name << (checked ? ", checked" : ", unchecked");
  }
}

}  // namespace quorel::test
