#!/usr/bin/python3
"""Writes the reference values of the transcendental kernel tests into tests/data/.

Run once with Debian's Python (it needs mpmath):  /usr/bin/python3 scripts/gen_kernel_reference.py
(names as arguments write only those real-function tables).
Every input is a double (written in hexadecimal, so that it reads back exactly); every reference value is the
exact function value at that double, evaluated with mpmath at high precision and written with 25
significant digits, so a test can measure errors in fractions of an ulp. Inputs come from a
fixed seed: rerunning the script reproduces the files.
"""

import math
import os
import random
import sys

import mpmath
from mpmath import mp

REAL_POINTS = 2000
COMPLEX_POINTS = 1000
OUT_DIR = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "data")
DBL_MAX = mpmath.mpf(2) ** 1024 * (1 - mpmath.mpf(2) ** -53)


def exact_text(v):
    """Reference value: 25 digits, or +-inf when the rounded double overflows."""
    if mpmath.isnan(v):
        return "nan"
    if abs(v) > DBL_MAX:
        return "inf" if v > 0 else "-inf"
    return mpmath.nstr(v, 25, min_fixed=1, max_fixed=0)


def in_text(x):
    """Hexadecimal: reads back exactly, even as long double (decimal would round twice)."""
    return float(x).hex()


# --- samplers: each returns one double ---------------------------------------------------

def log_uniform(rng, lo_exp, hi_exp, signed=True):
    x = 2.0 ** rng.uniform(lo_exp, hi_exp)
    return -x if signed and rng.random() < 0.5 else x


def uniform(lo, hi):
    return lambda rng: rng.uniform(lo, hi)


def logu(lo_exp, hi_exp, signed=True):
    return lambda rng: log_uniform(rng, lo_exp, hi_exp, signed)


def near_one(lo_exp, hi_exp, signed=True):
    """1 - d (and -(1 - d) when signed) for small d: the edges of asin, acos, atanh."""
    def sample(rng):
        x = 1.0 - 2.0 ** rng.uniform(lo_exp, hi_exp)
        return -x if signed and rng.random() < 0.5 else x
    return sample


def around_one(lo_exp, hi_exp):
    return lambda rng: 1.0 + log_uniform(rng, lo_exp, hi_exp)


def above_one(lo_exp, hi_exp):
    return lambda rng: 1.0 + log_uniform(rng, lo_exp, hi_exp, signed=False)


def near_half_pi_multiples(rng):
    """Doubles next to k*pi/2, where sin, cos or tan are hard to reduce."""
    k = rng.randint(1, 10 ** 6)
    x = float(k * mpmath.pi / 2)
    for _ in range(rng.randint(0, 3)):
        x = math.nextafter(x, math.inf if rng.random() < 0.5 else -math.inf)
    return -x if rng.random() < 0.5 else x


def mix(*parts):
    """parts: (weight, sampler) pairs; picks a sampler by weight for each point."""
    total = sum(w for w, _ in parts)

    def sample(rng):
        u = rng.random() * total
        for w, s in parts:
            if u < w:
                return s(rng)
            u -= w
        return parts[-1][1](rng)
    return sample


TRIG = mix((40, uniform(-10, 10)), (25, logu(-60, 30)), (10, logu(30, 1000)),
           (15, near_half_pi_multiples), (10, logu(-1074, -60)))

def real_cbrt(x):
    """The real cube root (mpmath's cbrt of a negative number is the principal complex root)."""
    return -mpmath.cbrt(-x) if x < 0 else mpmath.cbrt(x)


# name: (sampler, functions of x whose values follow x on each line)
REAL = {
    "sincos": (TRIG, [mpmath.sin, mpmath.cos]),
    "tan": (TRIG, [mpmath.tan]),
    "asin": (mix((60, uniform(-1, 1)), (20, near_one(-53, -1)), (20, logu(-1074, -1))), [mpmath.asin]),
    "acos": (mix((60, uniform(-1, 1)), (20, near_one(-53, -1)), (20, logu(-1074, -1))), [mpmath.acos]),
    "atan": (mix((60, logu(-1074, 1023)), (40, uniform(-10, 10))), [mpmath.atan]),
    "sinh": (mix((40, uniform(-20, 20)), (30, uniform(-710.4, 710.4)), (30, logu(-1074, -1))), [mpmath.sinh]),
    "cosh": (mix((40, uniform(-20, 20)), (30, uniform(-710.4, 710.4)), (30, logu(-1074, -1))), [mpmath.cosh]),
    "tanh": (mix((50, uniform(-20, 20)), (30, logu(-1074, -1)), (20, logu(-1, 9))), [mpmath.tanh]),
    "asinh": (mix((70, logu(-1074, 1023)), (30, uniform(-10, 10))), [mpmath.asinh]),
    "acosh": (mix((40, above_one(-52, 4)), (60, logu(0, 1023, signed=False))), [mpmath.acosh]),
    "atanh": (mix((50, uniform(-1, 1)), (25, near_one(-53, -1)), (25, logu(-1074, -1))), [mpmath.atanh]),
    "exp": (mix((50, uniform(-745.2, 709.78)), (30, uniform(-10, 10)), (20, logu(-1074, -1))), [mpmath.exp]),
    "ln": (mix((60, logu(-1074, 1024, signed=False)), (40, around_one(-53, -2))), [mpmath.log]),
    "log10": (mix((60, logu(-1074, 1024, signed=False)), (40, around_one(-53, -2))), [mpmath.log10]),
    "cbrt": (logu(-1074, 1024), [lambda x: real_cbrt(x)]),
    "invsqrt": (logu(-1074, 1024, signed=False), [lambda x: 1 / mpmath.sqrt(x)]),
    "invcbrt": (logu(-1074, 1024), [lambda x: 1 / real_cbrt(x)]),
}

# Added later with their own seeds, so that the files above keep their points.
REAL_LATER = {
    "exp2": (mix((50, uniform(-1075, 1024)), (30, uniform(-10, 10)), (20, logu(-1074, -1))),
             [lambda x: mpmath.power(2, x)]),
    "exp10": (mix((50, uniform(-323.6, 308.25)), (30, uniform(-10, 10)), (20, logu(-1074, -1))),
              [lambda x: mpmath.power(10, x)]),
    "log2": (mix((60, logu(-1074, 1024, signed=False)), (40, around_one(-53, -2))), [lambda x: mpmath.log(x, 2)]),
}


def real_pow(x, y):
    """x^y for a real result (negative x only with integer y)."""
    if x < 0:
        return (-1) ** int(y) * mpmath.power(-x, y)
    return mpmath.power(x, y)


def pow_pair(rng):
    kind = rng.random()
    while True:
        if kind < 0.7:
            x, y = log_uniform(rng, -30, 30, signed=False), rng.uniform(-30, 30)
        elif kind < 0.85:
            x, y = 1.0 + log_uniform(rng, -40, -5), rng.uniform(-1e6, 1e6)
        else:
            x, y = log_uniform(rng, -10, 10, signed=False) * -1.0, float(rng.randint(-60, 60))
        if abs(y * math.log2(abs(x))) < 1000:
            return x, y


POWX_EXPONENTS = [-2.5, -1.0 / 3.0, 0.5, 3.0, 17.25, -7.0]


def powx_pair(rng, v):
    while True:
        x = log_uniform(rng, -60, 60, signed=v == int(v))
        if abs(v * math.log2(abs(x))) < 1000:
            return x


COMPLEX = {
    "csin": ("xy", mpmath.sin),
    "ccos": ("xy", mpmath.cos),
    "ctan": ("xy", mpmath.tan),
    "csinh": ("yx", mpmath.sinh),
    "ccosh": ("yx", mpmath.cosh),
    "ctanh": ("yx", mpmath.tanh),
    "cexp": ("exp", mpmath.exp),
}


def complex_point(rng, shape):
    """Away from the part near 0 whose sinh loses relative accuracy by design."""
    trig, hyp = rng.uniform(-10, 10), rng.choice([-1, 1]) * rng.uniform(0.5, 20)
    if shape == "xy":
        return trig, hyp
    if shape == "yx":
        return hyp, trig
    return rng.uniform(-50, 50), rng.uniform(-10, 10)


def write(name, header, lines):
    path = os.path.join(OUT_DIR, "kernels_%s.txt" % name)
    with open(path, "w") as f:
        f.write("# %s\n" % header)
        f.write("".join(line + "\n" for line in lines))
    print("wrote", path, len(lines), "points")


def write_tan_quadrants():
    """Quadrants 600 to 1099 of tan, in order, on both sides of 1024 quadrants: the doubles next
    to k pi/2 and one point inside each, so that whole runs of vectors share a reduction. Then,
    ordered by k, the 32 doubles closest to some k pi/2 with 600 <= k < 8192: the hardest to reduce."""
    mp.prec = 300
    rng = random.Random(2003)
    points = []
    for k in range(600, 1100):
        centre = float(k * mpmath.pi / 2)
        inside = rng.uniform(-0.75, 0.75) + centre
        points += [centre, -math.nextafter(centre, math.inf), math.nextafter(centre, -math.inf), -inside]
    near = []
    for k in range(600, 8192):
        exact = k * mpmath.pi / 2
        centre = float(exact)
        for x in (centre, math.nextafter(centre, math.inf), math.nextafter(centre, -math.inf)):
            near.append((abs(mpmath.mpf(x) - exact), k, x))
    points += [x for _, _, x in sorted(sorted(near)[:32], key=lambda e: e[1])]
    lines = ["%s %s" % (in_text(x), exact_text(mpmath.tan(mpmath.mpf(x)))) for x in points]
    write("tan_quadrants", "x, then the exact value of tan", lines)


def main():
    only = set(sys.argv[1:])
    tables = [(1000 + seed, item) for seed, item in enumerate(sorted(REAL.items()))]
    tables += [(4000 + seed, item) for seed, item in enumerate(sorted(REAL_LATER.items()))]
    for seed, (name, (sampler, funcs)) in tables:
        if only and name not in only:
            continue
        # Trigonometric arguments up to 2^1000 need that many extra bits to reduce.
        mp.prec = 1200 if name in ("sincos", "tan") else 200
        rng = random.Random(seed)
        lines = []
        for _ in range(REAL_POINTS):
            x = sampler(rng)
            values = [exact_text(f(mpmath.mpf(x))) for f in funcs]
            lines.append(" ".join([in_text(x)] + values))
        write(name, "x, then the exact value of each function of " + name, lines)

    if not only or "tan_quadrants" in only:
        write_tan_quadrants()
    if only:
        return
    mp.prec = 200
    rng = random.Random(2000)
    lines = []
    for _ in range(REAL_POINTS):
        x, y = pow_pair(rng)
        lines.append("%s %s %s" % (in_text(x), in_text(y), exact_text(real_pow(mpmath.mpf(x), mpmath.mpf(y)))))
    write("pow", "x y x^y", lines)

    rng = random.Random(2001)
    lines = []
    for v in POWX_EXPONENTS:
        for _ in range(REAL_POINTS // len(POWX_EXPONENTS)):
            x = powx_pair(rng, v)
            lines.append("%s %s %s" % (in_text(x), in_text(v), exact_text(real_pow(mpmath.mpf(x), mpmath.mpf(v)))))
    write("powx", "x v x^v (grouped by v)", lines)

    rng = random.Random(2002)
    lines = []
    for _ in range(REAL_POINTS):
        if rng.random() < 0.5:
            y, x = rng.uniform(-5, 5), rng.uniform(-5, 5)
        else:
            y, x = log_uniform(rng, -200, 200), log_uniform(rng, -200, 200)
        lines.append("%s %s %s" % (in_text(y), in_text(x), exact_text(mpmath.atan2(mpmath.mpf(y), mpmath.mpf(x)))))
    write("atan2", "y x atan2(y,x)", lines)

    for seed, (name, (shape, f)) in enumerate(sorted(COMPLEX.items())):
        rng = random.Random(3000 + seed)
        lines = []
        for _ in range(COMPLEX_POINTS):
            re, im = complex_point(rng, shape)
            v = f(mpmath.mpc(re, im))
            lines.append(" ".join([in_text(re), in_text(im), exact_text(v.real), exact_text(v.imag)]))
        write(name, "re im f.re f.im", lines)


if __name__ == "__main__":
    main()
