#!/usr/bin/env python3
"""SciPy on the points of bench/dist_bench.cpp: prints one JSON object
{"<Operation>/<points>": {"scipy": ns_per_call}} with the median of the repeats."""

import json
import time

import numpy as np
from scipy import special, stats

N = 1000000


def points(lo, hi):
    return lo + (hi - lo) * (np.arange(N) + 0.5) / N


CASES = {
    "NormalPDF": (points(-5.0, 5.0), lambda x: stats.norm.pdf(x, 0.0, 1.0)),
    "NormalCDF": (points(-5.0, 5.0), lambda x: special.ndtr(x)),
    "NormalCDFInv": (points(0.0, 1.0), lambda p: special.ndtri(p)),
    "GammaCDF": (points(0.0, 20.0), lambda x: special.gammainc(3.2, x / 1.5)),
    "BetaCDF": (points(0.0, 1.0), lambda x: special.betainc(2.5, 0.7, x)),
    "StudentCDF": (points(-9.0, 9.0), lambda x: special.stdtr(5, x)),
    "ChiSquareCDFInv": (points(0.0, 0.999), lambda p: special.chdtri(5, 1.0 - p)),
    "GammaCDFInv": (points(0.0, 0.999), lambda p: special.gammaincinv(3.2, p) * 1.5),
}


def median_ns(f, x, repeats=7):
    f(x)
    times = []
    for _ in range(repeats):
        t = time.perf_counter_ns()
        f(x)
        times.append(time.perf_counter_ns() - t)
    return float(np.median(times))


if __name__ == "__main__":
    out = {}
    for name, (x, f) in CASES.items():
        out["%s/%d" % (name, N)] = {"scipy": median_ns(f, x)}
    print(json.dumps(out))
