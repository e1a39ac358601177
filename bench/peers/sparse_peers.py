#!/usr/bin/python3
"""SciPy on the work of bench/sparse_bench.cpp: coo_matrix.tocsc of 10^7 triplets, the sparse
product A @ A of 2-D Poisson matrices, and spsolve on Poisson matrices and on the real matrices
of the shared collection. Prints one JSON object, {"<Operation>/<args>": {"scipy": ns}}, ns the
median time of one call."""
import json
import os
import sys
import time

import numpy as np
import scipy.io
import scipy.sparse as sps
import scipy.sparse.linalg as spla

BIG = os.environ.get('QUOREL_BIG_MATRICES', '/work/shared/matrices-big')
FILES = ['1138_bus', 'bcsstk14', 'bcsstk16', 'bcsstk18', 'bcsstk25', 'saylr4', 'lowThrust_5',
         'hangGlider_5', 'memplus', 'sherman3', 'orsreg_1', 'west2021']


def median_ns(fn, repeats=5):
    fn()
    times = []
    for _ in range(repeats):
        start = time.perf_counter_ns()
        fn()
        times.append(time.perf_counter_ns() - start)
    return float(np.median(times))


def poisson2d(m):
    t = sps.diags([-1, 4, -1], [-1, 0, 1], shape=(m, m))
    e = sps.identity(m)
    off = sps.diags([-1, -1], [-1, 1], shape=(m, m))
    return (sps.kron(e, t) + sps.kron(off, e)).tocsc()


def main():
    out = {}
    count, n = 10_000_000, 1_000_000
    k = np.arange(count, dtype=np.int64)
    r = ((k * 7919 + 13) % n).astype(np.int32)
    c = ((k * 104729 + 7) % n).astype(np.int32)
    v = 1.0 + (k % 1000) * 1e-3
    out['TripletsToSparse/%d' % count] = {
        'scipy': median_ns(lambda: sps.coo_matrix((v, (r, c)), shape=(n, n)).tocsc(), 3)}
    for m in (100, 1000):
        a = poisson2d(m)
        out['SparseMul/%d' % m] = {'scipy': median_ns(lambda: a @ a)}
    for m in (100, 300):
        a = poisson2d(m)
        b = 1.0 + (np.arange(m * m) % 17)
        out['SolveUmfPack/%d' % m] = {'scipy': median_ns(lambda: spla.spsolve(a, b), 3)}
    for name in FILES:
        path = os.path.join(BIG, name + '.mtx')
        if not os.path.exists(path):
            continue
        a = scipy.io.mmread(path).tocsc()
        b = 1.0 + (np.arange(a.shape[0]) % 17)
        # The quorel keys carry no argument for the files.
        out['Solve_%s' % name] = {'scipy': median_ns(lambda: spla.spsolve(a, b), 3)}
        print(name, file=sys.stderr)
    print(json.dumps(out))


if __name__ == '__main__':
    main()
