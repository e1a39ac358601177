"""NumPy peers of bench/random_bench.cpp: fills of 10^7 values from Generator(MT19937) and
Generator(Philox). Prints one JSON object {"<Operation>/<n>": {"numpy": ns_per_call}} with the
median of the repeats."""
import json
import statistics
import time

import numpy as np

N = 10_000_000
REPEATS = 7


def median_ns(fn):
    fn()
    times = []
    for _ in range(REPEATS):
        t0 = time.perf_counter_ns()
        fn()
        times.append(time.perf_counter_ns() - t0)
    return statistics.median(times)


def main():
    mt = np.random.Generator(np.random.MT19937(12345))
    ph = np.random.Generator(np.random.Philox(12345))
    out = np.empty(N)
    cases = {
        "UniformMT19937": lambda: mt.random(out=out),
        "UniformPhilox": lambda: ph.random(out=out),
        "Gaussian": lambda: mt.standard_normal(out=out),
        "GaussianSine": lambda: mt.standard_normal(out=out),
        "GaussianPhilox": lambda: ph.standard_normal(out=out),
        "Exponential": lambda: mt.standard_exponential(out=out),
        "Poisson5": lambda: mt.poisson(5.0, N),
    }
    print(json.dumps({f"{k}/{N}": {"numpy": median_ns(f)} for k, f in cases.items()}))


if __name__ == "__main__":
    main()
