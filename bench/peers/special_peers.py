#!/usr/bin/python3
"""SciPy on the points of bench/special_bench.cpp: Bessel J, Y, K and Airy Ai of complex argument.
Prints one JSON object, {"<Operation>/<points>": {"scipy": ns}}, ns = median time to evaluate
every point once (one ufunc call over the array of points)."""
import json
import time

import numpy as np
import scipy.special as sp


def points(n):
    k = np.arange(n)
    t = (k + 0.5) / n
    nu = 5 * t
    z = (-10 + 20 * t) + 1j * (5 * (((k * 7) % n) / n) * 2 - 5)
    return nu, z


def median_ns(fn, repeats=31):
    fn()
    times = []
    for _ in range(repeats):
        reps = 20
        start = time.perf_counter_ns()
        for _ in range(reps):
            fn()
        times.append((time.perf_counter_ns() - start) / reps)
    return float(np.median(times))


def main():
    n = 256
    nu, z = points(n)
    out = {
        'BesselJ/%d' % n: {'scipy': median_ns(lambda: sp.jv(nu, z))},
        'BesselY/%d' % n: {'scipy': median_ns(lambda: sp.yv(nu, z))},
        'BesselK/%d' % n: {'scipy': median_ns(lambda: sp.kv(nu, z))},
        'AiryAi/%d' % n: {'scipy': median_ns(lambda: sp.airy(z)[0])},
    }
    print(json.dumps(out))


if __name__ == '__main__':
    main()
