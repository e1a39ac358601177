#!/usr/bin/python3
"""NumPy/SciPy timings of the work bench/poly_bench.cpp does, as one JSON object on stdout:
{"<Operation>/<args>": {"numpy" or "scipy": median nanoseconds per call}}."""
import json

import numpy as np
from scipy.interpolate import CubicSpline
from peer_timing import median_ns


def main():
    rng = np.random.default_rng(1)
    out = {}
    for n in (20, 100, 500):
        p = rng.uniform(-1, 1, n + 1)
        p[0] = 1
        out[f"PolyRoots/{n}"] = {"numpy": median_ns(lambda: np.roots(p), min_time=0.5)}
    n = 1000000
    x = np.arange(n) + 0.5 * rng.uniform(0, 1, n)
    y = np.sin(0.01 * np.arange(n)) + 0.1 * rng.uniform(0, 1, n)
    # not-a-knot is CubicSpline's default end condition, as in the C++ benchmark
    out[f"Spline1DBuild/{n}"] = {"scipy": median_ns(lambda: CubicSpline(x, y), repeats=5, min_time=0.5)}
    cs = CubicSpline(x, y)
    xs = (n - 1.0) * np.arange(n) / n
    xr = (n - 1) * rng.uniform(0, 1, n)
    out[f"Spline1DEval/{n}"] = {"scipy": median_ns(lambda: cs(xs), repeats=5, min_time=0.5)}
    out[f"Spline1DEvalRandom/{n}"] = {"scipy": median_ns(lambda: cs(xr), repeats=5, min_time=0.5)}
    print(json.dumps(out))


if __name__ == "__main__":
    main()
