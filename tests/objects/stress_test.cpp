// Many threads taking and giving back work vectors of mixed arity while resizing them.
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "quorel/objects/vec.h"

namespace quorel {
namespace {

TEST(CacheStress, EightThreadsMixedArity) {
  const int live = Controller->VecCount();
  constexpr int kThreads = 8, kCycles = 100000;
  std::vector<std::thread> threads;
  std::atomic<int> bad{0};
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &bad] {
      std::mt19937 rng(static_cast<unsigned>(t));
      for (int i = 0; i < kCycles; ++i) {
        TVec *a = nullptr, *b = nullptr, *c = nullptr;
        switch (rng() % 3) {
          case 0:
            CreateIt(a);
            break;
          case 1:
            CreateIt(a, b);
            break;
          default:
            CreateIt(a, b, c);
            break;
        }
        const int len = static_cast<int>(rng() % 4000);
        a->Size(len, (i & 1) != 0);
        if (len > 0) {
          a->PValues1D(0)[0] = t;
          if (a->PValues1D(0)[0] != t) ++bad;
        }
        if (b) b->SetLength(static_cast<int>(rng() % 100));
        FreeIt(a, b, c);
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(bad.load(), 0);
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
  EXPECT_EQ(Controller->VecCount(), live);
}

}  // namespace
}  // namespace quorel
