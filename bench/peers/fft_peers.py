#!/usr/bin/python3
"""NumPy/SciPy timings of the work bench/fft_bench.cpp does, as one JSON object on stdout:
{"<Operation>/<args>": {"numpy" or "scipy": median nanoseconds per call}}."""
import json
import statistics
import time

import numpy as np
import scipy.signal

SIZES = [64, 1000, 1024, 4096, 65536, 1 << 20]


def median_ns(fn, min_time=0.2, repeats=7):
    fn()  # warm-up: plans, caches
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


def main():
    rng = np.random.default_rng(1)
    out = {}
    for n in SIZES:
        x = rng.uniform(-1, 1, n)
        c = x + 1j * rng.uniform(-1, 1, n)
        out[f"FFT/{n}"] = {"numpy": median_ns(lambda: np.fft.fft(c))}
        out[f"IFFT/{n}"] = {"numpy": median_ns(lambda: np.fft.ifft(c))}
        out[f"RFFT/{n}"] = {"numpy": median_ns(lambda: np.fft.rfft(x))}
    m = rng.uniform(-1, 1, (512, 512)) + 1j * rng.uniform(-1, 1, (512, 512))
    out["FFT2/512"] = {"numpy": median_ns(lambda: np.fft.fft2(m))}
    for nx, nh in [(100000, 1000), (1000000, 10000)]:
        x = rng.uniform(-1, 1, nx)
        h = rng.uniform(-1, 1, nh)
        out[f"Convolve/{nx}/{nh}"] = {"scipy": median_ns(lambda: scipy.signal.fftconvolve(x, h))}
    print(json.dumps(out))


if __name__ == "__main__":
    main()
