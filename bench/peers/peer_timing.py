"""Timing shared by the peer scripts: the median of repeated runs, each long enough to measure."""
import statistics
import time


def median_ns(fn, min_time=0.2, repeats=7):
    """Median time of one call of fn in ns, after a warm-up call (plans, caches)."""
    fn()
    calls = 1
    while True:
        t0 = time.perf_counter_ns()
        for _ in range(calls):
            fn()
        dt = time.perf_counter_ns() - t0
        if dt >= min_time * 1e9 / repeats or calls >= 1 << 20:
            break
        calls *= 2
    samples = []
    for _ in range(repeats):
        t0 = time.perf_counter_ns()
        for _ in range(calls):
            fn()
        samples.append((time.perf_counter_ns() - t0) / calls)
    return statistics.median(samples)
