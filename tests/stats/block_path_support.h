#pragma once
// Runs a test body on every instruction-set copy of the distribution block code.

#include <gtest/gtest.h>

#include "quorel/stats/detail/block_path.h"

namespace quorel::test {

/// Runs body once on every path the processor has, restoring the best one afterwards.
template <class Body>
void OnEachBlockPath(Body body) {
  using detail::TBlockPath;
  const TBlockPath best = detail::SetBlockPath(TBlockPath::Avx512);
  for (TBlockPath p : {TBlockPath::Plain, TBlockPath::Avx2, TBlockPath::Avx512}) {
    if (p > best) break;
    detail::SetBlockPath(p);
    SCOPED_TRACE(static_cast<int>(p));
    body();
  }
  detail::SetBlockPath(best);
}

}  // namespace quorel::test
