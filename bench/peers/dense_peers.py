#!/usr/bin/python3
"""NumPy/SciPy timings of the work in bench/dense_bench.cpp, on matrices built the same way.

Prints one JSON object {"<Operation>/<n>": {"numpy": ns_per_call}} (median of repeats); the
Toeplitz solve is SciPy's and reported under "scipy". Set OPENBLAS_NUM_THREADS the same way for
both programs when comparing.
"""
import json
import sys

import numpy as np
import scipy.linalg
from peer_timing import median_ns


def main():
    rng = np.random.default_rng(1)
    out = {}
    for n in (100, 500, 1000):
        a = rng.uniform(-1, 1, (n, n)) + np.eye(n) * n * 0.1
        s = rng.uniform(-1, 1, (n, n))
        spd = np.tril(s) + np.tril(s, -1).T + np.eye(n) * n
        b = rng.uniform(-1, 1, n)
        ops = {
            "LUSolve": lambda: np.linalg.solve(a, b),
            "Mul": lambda: a @ spd,
            "Inv": lambda: np.linalg.inv(a),
            "Determinant": lambda: np.linalg.det(a),
            "EigSym": lambda: np.linalg.eigvalsh(spd),
            "EigGeneral": lambda: np.linalg.eigvals(a),
            "SVD": lambda: np.linalg.svd(a, compute_uv=False),
            "LQRSolve": lambda: np.linalg.lstsq(a, b, rcond=None),
            "EigSymVectors": lambda: np.linalg.eigh(spd),
            "Cholesky": lambda: np.linalg.cholesky(spd),
            "SVDFull": lambda: np.linalg.svd(a, full_matrices=False),
        }
        for name, fn in ops.items():
            out[f"{name}/{n}"] = {"numpy": median_ns(fn)}
    for n in (100, 500, 1000, 2000):
        row = 1.0 / np.arange(1, n + 1)
        row[0] = 4
        col = np.concatenate(([4.0], 0.5 / np.arange(2, n + 1)))
        b = 1.0 / np.arange(1, n + 1)
        out[f"ToeplitzSolve/{n}"] = {"scipy": median_ns(lambda: scipy.linalg.solve_toeplitz((col, row), b))}
    json.dump(out, sys.stdout)
    print()


if __name__ == "__main__":
    main()
