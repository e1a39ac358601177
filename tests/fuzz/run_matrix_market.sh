#!/bin/sh
# Builds the Matrix Market reader fuzzer with clang and runs it for the given number of seconds
# (default 300), starting from the matrices in tests/data/matrices. Crashing inputs land in
# build/fuzz/crashes-mm/.
set -eu
root=$(cd "$(dirname "$0")/../.." && pwd)
seconds=${1:-300}
command -v clang++ >/dev/null || { echo "fuzzing needs clang++ (apt-get install clang)" >&2; exit 1; }
build=$root/build/fuzz
cmake -S "$root/tests/fuzz" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ >/dev/null
cmake --build "$build" -j2 --target matrix_market_fuzz
mkdir -p "$build/corpus-mm" "$build/crashes-mm"
cp "$root"/tests/data/matrices/*.mtx "$build/corpus-mm/"
# A header may declare gigabytes of values, and a load allocates what it declares: past 1 GB the
# allocator refuses (the library then raises EOutOfMemory) rather than the fuzzer stopping on it.
export ASAN_OPTIONS="allocator_may_return_null=1:max_allocation_size_mb=1024"
export LSAN_OPTIONS="suppressions=$root/tests/fuzz/lsan.supp"
"$build/matrix_market_fuzz" -max_total_time="$seconds" -max_len=4096 -rss_limit_mb=4096 \
  -artifact_prefix="$build/crashes-mm/" "$build/corpus-mm"
