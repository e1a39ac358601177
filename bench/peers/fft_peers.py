#!/usr/bin/python3
"""NumPy/SciPy timings of the work bench/fft_bench.cpp does, as one JSON object on stdout:
{"<Operation>/<args>": {"numpy" or "scipy": median nanoseconds per call}}."""
import json

import numpy as np
import scipy.signal
from peer_timing import median_ns

SIZES = [64, 1000, 1024, 4096, 65536, 1 << 20]


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
