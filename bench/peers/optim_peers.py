#!/usr/bin/python3
"""SciPy peers of bench/optim_bench.cpp: the same minimisations with the same tolerances.

Prints one JSON object {"<Operation>/<args>": {"scipy": ns_per_run}} (median of repeats) on stdout,
and the objective evaluations of each run on stderr, for the evaluation ratios.
"""
import json
import re
import statistics
import sys
import time
from pathlib import Path

import numpy as np
from scipy.optimize import least_squares, minimize, rosen

NIST_DIR = Path(__file__).resolve().parent.parent.parent / "tests" / "data" / "nist"

MODELS = {
    "Misra1a": lambda b, x: b[0] * (1 - np.exp(-b[1] * x)),
    "Chwirut2": lambda b, x: np.exp(-b[0] * x) / (b[1] + b[2] * x),
    "Lanczos3": lambda b, x: b[0] * np.exp(-b[1] * x) + b[2] * np.exp(-b[3] * x) + b[4] * np.exp(-b[5] * x),
    "MGH09": lambda b, x: b[0] * (x * x + x * b[1]) / (x * x + x * b[2] + b[3]),
    "Thurber": lambda b, x: (b[0] + x * (b[1] + x * (b[2] + x * b[3]))) / (1 + x * (b[4] + x * (b[5] + x * b[6]))),
    "Eckerle4": lambda b, x: b[0] / b[1] * np.exp(-0.5 * ((x - b[2]) / b[1]) ** 2),
}


def read_nist(name):
    starts1, starts2, x, y, data = [], [], [], [], False
    for line in (NIST_DIR / f"{name}.dat").read_text().splitlines():
        m = re.match(r"\s*b\d+\s*=\s*(\S+)\s+(\S+)\s+(\S+)", line)
        if data:
            parts = line.split()
            if len(parts) >= 2:
                y.append(float(parts[0]))
                x.append(float(parts[1]))
        elif m:
            starts1.append(float(m.group(1)))
            starts2.append(float(m.group(2)))
        elif re.match(r"Data:\s+y\s+x", line):
            data = True
    return np.array(starts1), np.array(starts2), np.array(x), np.array(y)


def timed(run, repeats):
    times, evals = [], 0
    for _ in range(repeats):
        t0 = time.perf_counter_ns()
        evals = run()
        times.append(time.perf_counter_ns() - t0)
    return statistics.median(times), evals


def rosenbrock_start(n):
    return np.array([-1.2 if i % 2 == 0 else 1.0 for i in range(n)])


def main():
    results = {}
    for n in (2, 10, 100):
        repeats = 3 if n == 100 else 7

        def counted():
            calls = [0]

            def f(x):
                calls[0] += 1
                return rosen(x)
            return f, calls

        def nelder_mead():
            f, calls = counted()
            minimize(f, rosenbrock_start(n), method="Nelder-Mead",
                     options={"xatol": 1e-4, "fatol": 1e-4, "maxiter": 200 * n})
            return calls[0]

        def gradient(method):
            def run():
                f, calls = counted()
                minimize(f, rosenbrock_start(n), method=method, options={"gtol": 1e-5, "maxiter": 200 * n})
                return calls[0]
            return run

        for op, run in (("Rosenbrock_NelderMead", nelder_mead), ("Rosenbrock_BFGS", gradient("BFGS")),
                        ("Rosenbrock_CG", gradient("CG"))):
            t, evals = timed(run, repeats)
            results[f"{op}/{n}"] = {"scipy": t}
            print(f"{op}/{n}: {evals} evaluations", file=sys.stderr)

    for name, model in MODELS.items():
        s1, s2, x, y = read_nist(name)
        for k, start in ((1, s1), (2, s2)):
            def run():
                calls = [0]

                def residuals(b):
                    calls[0] += 1
                    return y - model(b, x)
                least_squares(residuals, start, method="lm", ftol=1e-8, xtol=1e-8, gtol=1e-8)
                return calls[0]
            t, evals = timed(run, 7)
            key = f"NIST_LM_{name}_s{k}"
            results[key] = {"scipy": t}
            print(f"{key}: {evals} evaluations", file=sys.stderr)
    print(json.dumps(results))


if __name__ == "__main__":
    main()
