#!/usr/bin/python3
"""SciPy peers of bench/sparse_solvers_bench.cpp: spsolve for the direct solves, cg and gmres
for the iterative ones, on the same matrices and right-hand side (all ones). Prints one JSON
object {"<Operation>": {"spsolve"|"cg"|"gmres": ns_per_call}} (median of repeats)."""
import inspect
import json
import statistics
import sys
import time

import numpy as np
import scipy.io
import scipy.sparse as sp
import scipy.sparse.linalg as sla

BIG = "/work/shared/matrices-big/"


def poisson(k, dim, convection=0.0):
    one = sp.diags([(-1.0 - convection) * np.ones(k - 1), 2.0 * np.ones(k), (-1.0 + convection) * np.ones(k - 1)],
                   [-1, 0, 1])
    eye = sp.identity(k)
    if dim == 2:
        return (sp.kron(eye, one) + sp.kron(one, eye)).tocsc()
    return (sp.kron(sp.kron(eye, eye), one) + sp.kron(sp.kron(eye, one), eye) + sp.kron(sp.kron(one, eye), eye)).tocsc()


def matrix(key):
    generated = {"poisson2d_100": lambda: poisson(100, 2), "poisson2d_300": lambda: poisson(300, 2),
                 "poisson3d_30": lambda: poisson(30, 3), "convdiff2d_100": lambda: poisson(100, 2, 0.3)}
    if key in generated:
        return generated[key]()
    return sp.csc_matrix(scipy.io.mmread(BIG + key + ".mtx"))


def median_ns(fn, repeats):
    fn()
    times = []
    for _ in range(repeats):
        t0 = time.perf_counter_ns()
        fn()
        times.append(time.perf_counter_ns() - t0)
    return statistics.median(times)


TOL = "rtol" if "rtol" in inspect.signature(sla.cg).parameters else "tol"


def main():
    out = {}
    direct = [("Cholesky", k) for k in ["poisson2d_100", "poisson2d_300", "poisson3d_30", "1138_bus", "bcsstk14",
                                        "bcsstk16"]]
    direct += [("Multifrontal", k) for k in ["poisson2d_100", "poisson3d_30", "lowThrust_5", "hangGlider_5",
                                             "memplus", "sherman3", "west2021", "orsreg_1"]]
    for op, key in direct:
        a = matrix(key)
        b = np.ones(a.shape[0])
        out[f"{op}_{key}"] = {"spsolve": median_ns(lambda: sla.spsolve(a, b), 3)}
        print(op, key, file=sys.stderr)
    for op, key, method in [("ICCG", "poisson2d_100", sla.cg), ("ICCG", "poisson2d_300", sla.cg),
                            ("GMRES", "convdiff2d_100", sla.gmres), ("GMRES", "orsreg_1", sla.gmres)]:
        a = matrix(key)
        b = np.ones(a.shape[0])
        name = "cg" if method is sla.cg else "gmres"
        out[f"{op}_{key}"] = {name: median_ns(lambda: method(a, b, maxiter=5000, **{TOL: 1e-8}), 3)}
    print(json.dumps(out))


if __name__ == "__main__":
    main()
