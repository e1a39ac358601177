#!/usr/bin/python3
"""NumPy on the work of elementwise_bench: same operations, sizes and data ranges.

Prints one JSON object {"<Operation>/<n>": {"numpy": ns_per_call}}, the median of repeats.
"""
import json
import sys
import timeit

import numpy as np

SIZES = (1000, 100000, 10000000)


def ops(n):
    rng = np.random.default_rng(42)
    a = rng.uniform(0.5, 2.0, n)
    b = rng.uniform(0.5, 2.0, n)
    ca = rng.uniform(0.5, 2.0, n) + 1j * rng.uniform(0.5, 2.0, n)
    cb = rng.uniform(0.5, 2.0, n) + 1j * rng.uniform(0.5, 2.0, n)
    r = np.empty(n)
    cr = np.empty(n, complex)
    return {
        "AddReal": lambda: np.add(a, b, out=r),
        "AddComplex": lambda: np.add(ca, cb, out=cr),
        "MulReal": lambda: np.multiply(a, b, out=r),
        "MulComplex": lambda: np.multiply(ca, cb, out=cr),
        "MulMixed": lambda: np.multiply(ca, b, out=cr),
        "Scale": lambda: np.multiply(r, 1.0000001, out=r),
        "Sqrt": lambda: np.sqrt(a, out=r),
        "Exp": lambda: np.exp(a, out=r),
        "Exp2": lambda: np.exp2(a, out=r),
        "Exp10": lambda: np.power(10.0, a, out=r),
        "Ln": lambda: np.log(a, out=r),
        "Log2": lambda: np.log2(a, out=r),
        "Log10": lambda: np.log10(a, out=r),
        "Sin": lambda: np.sin(a, out=r),
        "Cos": lambda: np.cos(a, out=r),
        "Tan": lambda: np.tan(a, out=r),
        "ArcTan": lambda: np.arctan(a, out=r),
        "Sinh": lambda: np.sinh(a, out=r),
        "Cosh": lambda: np.cosh(a, out=r),
        "Tanh": lambda: np.tanh(a, out=r),
        "Power": lambda: np.power(a, 2.5, out=r),
        "PowerVec": lambda: np.power(a, b, out=r),
        "Sum": lambda: a.sum(),
        "Mean": lambda: a.mean(),
        "StdDev": lambda: a.std(ddof=1),
        "MaxIndex": lambda: a.argmax(),
        "Median": lambda: np.median(a),
        "NormL2": lambda: np.linalg.norm(a),
    }


def median_ns(f, n):
    # About 0.2 s per repeat, at least one call.
    number = max(1, int(2e8 // (n * 10)))
    times = timeit.repeat(f, number=number, repeat=5)
    times.sort()
    return times[len(times) // 2] / number * 1e9


def main():
    only = set(sys.argv[1:])
    out = {}
    for n in SIZES:
        for name, f in ops(n).items():
            if only and name not in only:
                continue
            out[f"{name}/{n}"] = {"numpy": median_ns(f, n)}
    json.dump(out, sys.stdout, indent=1, sort_keys=True)
    print()


if __name__ == "__main__":
    main()
