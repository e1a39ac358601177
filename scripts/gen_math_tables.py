#!/usr/bin/python3
"""Writes quorel/platform/kernels/detail/math_tables.h: the tables of the vector log, exp and atan and
the polynomial coefficients of the vector sin, cos, sinh, tanh, atan and log; and
math_tables_trig.h: the rational fit of the vector tan.

Run with Debian's Python (it needs mpmath):  /usr/bin/python3 scripts/gen_math_tables.py
Every table value is exact to about 106 bits (a high and a low double), computed at 200 bits.
The polynomials are near-minimax fits (Lawson's iteration on Chebyshev nodes) of the relative
error; the script prints the worst error of the rounded coefficients (log2) for each.
"""

import os
import struct

import mpmath
from mpmath import mp

mp.prec = 200
LOG_BITS = 5            # log for pow: 2^LOG_BITS subintervals of [OFF, 2 OFF), OFF near 0.69 (16 for log alone)
# Steps of the high parts of log c in bases e, 2, 10: the ulps of 42-bit ln 2, 1, log10 2.
LOG_QUANTUM = (mpmath.mpf(2) ** -42, mpmath.mpf(2) ** -42, mpmath.mpf(2) ** -43)
ATAN_SCALE = 7.4995       # atan: bins of width 1/ATAN_SCALE in t or 1/t
EXP_BITS = 4            # exp: 2^(j / 2^EXP_BITS), j < 2^EXP_BITS (one permute per table)
OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "quorel", "platform", "kernels",
                   "detail", "math_tables.h")
TRIG_OUT = os.path.join(os.path.dirname(OUT), "math_tables_trig.h")


def bits_to_double(b):
    return struct.unpack("<d", struct.pack("<Q", b))[0]


def split(v):
    hi = float(v)
    lo = float(v - mpmath.mpf(hi))
    return hi, lo


def fit(g, deg, b, iters=40, npts=300, start=0, power=None):
    """Coefficients c of sum c[k] z^k near-minimax for g on [start, b], weighted by |z|^power (the
    error relative to the function once the leading terms are added: z is r^2 for the odd
    functions, power 1; g is weighted by r^2 or r for log, by the power of r it was divided by
    less one), and the worst error, log2."""
    if power is None:
        power = 1 if start == 0 else 2
    weight = lambda z: abs(z) ** power
    pts = [start + (b - start) * (1 - mpmath.cos(mp.pi * (i + 0.5) / npts)) / 2 for i in range(npts)]
    gv = [g(z) for z in pts]
    lam = [mpmath.mpf(1) / npts] * npts
    for _ in range(iters):
        a = mpmath.matrix(deg + 1, deg + 1)
        rhs = mpmath.matrix(deg + 1, 1)
        for z, gz, lz in zip(pts, gv, lam):
            ww = lz * weight(z) ** 2
            pw = [z ** k for k in range(deg + 1)]
            for i in range(deg + 1):
                rhs[i] += ww * pw[i] * gz
                for j in range(deg + 1):
                    a[i, j] += ww * pw[i] * pw[j]
        c = mpmath.lu_solve(a, rhs)
        err = [abs(weight(z) * (gz - sum(c[k] * z ** k for k in range(deg + 1)))) for z, gz in zip(pts, gv)]
        total = sum(lz * e for lz, e in zip(lam, err))
        lam = [lz * e / total for lz, e in zip(lam, err)]
    cd = [float(c[k]) for k in range(deg + 1)]
    worst = max(abs(weight(z) * (g(z) - sum(mpmath.mpf(cd[k]) * z ** k for k in range(deg + 1))))
                for z in (start + (b - start) * mpmath.mpf(i) / 2000 for i in range(1, 2001)) if z != 0)
    return cd, float(mpmath.log(worst, 2))


def odd_tail(f):
    """(f(r) - r) / r^3 as a function of z = r^2."""
    return lambda z: (f(mpmath.sqrt(z)) - mpmath.sqrt(z)) / mpmath.sqrt(z) ** 3


def polynomials():
    quarter_pi = (mp.pi / 4 * (1 + mpmath.mpf(2) ** -20)) ** 2
    return [
        # sin r = r + r^3 S(r^2), cos r = 1 - r^2/2 + r^4 C(r^2), |r| <= pi/4
        ("kSinCoef", "sin r = r + r^3 S(r^2), |r| <= pi/4", fit(odd_tail(mpmath.sin), 5, quarter_pi)),
        ("kCosCoef", "cos r = 1 - r^2/2 + r^4 C(r^2), |r| <= pi/4",
         fit(lambda z: (mpmath.cos(mpmath.sqrt(z)) - 1 + z / 2) / (z * z), 5, quarter_pi)),
        ("kTanhCoef", "tanh x = x + x^3 T(x^2), |x| <= 1/8",
         fit(odd_tail(mpmath.tanh), 5, mpmath.mpf(1) / 64, iters=25, npts=150)),
        ("kSinhCoef", "sinh x = x + x^3 S(x^2), |x| <= 1/2",
         fit(odd_tail(mpmath.sinh), 5, mpmath.mpf(1) / 4, iters=25, npts=150)),
        ("kATanCoef", "atan u = u + u^3 A(u^2), |u| <= 0.0668",
         fit(odd_tail(mpmath.atan), 4, mpmath.mpf(0.0668) ** 2, iters=25, npts=150)),
        # -0.0153 <= r <= 2^-6 (plus a little) on the 32-entry table of the log for pow
        ("kLogCoef", "log(1 + r) = r - r^2/2 + r^3 P(r), -0.0153 <= r <= 0.0157",
         fit(lambda r: (mpmath.log1p(r) - r + r * r / 2) / r ** 3, 7, mpmath.mpf(0.0157), iters=25, npts=150,
             start=-mpmath.mpf(0.0153))),
    ] + [
        # -0.0295 <= r <= 2^-5 (plus a little) on the 16-entry tables, in each base
        ("kLog16Coef" + suffix, "log_%s(1 + r) = r / ln %s + r^2 Q(r), -0.0295 <= r <= 0.0313" % (base, base),
         fit(lambda r, lb=lb: (mpmath.log1p(r) - r) / (r * r * lb), 7, mpmath.mpf(0.0313), iters=25, npts=150,
             start=-mpmath.mpf(0.0295), power=1))
        for suffix, base, lb in (("", "e", mpmath.mpf(1)), ("2", "2", mpmath.log(2)), ("10", "10", mpmath.log(10)))
    ]


def log_rows(bits, quantum=None):
    """1/c and -log(1/c) for the 2^bits subintervals of [OFF, 2 OFF), and OFF. With quantum (a
    power of 2 per base), the high parts are multiples of it, so that k log_B 2 (high part) plus
    the high part is exact."""
    # Bits of 0.6875 plus half a subinterval, so that 1 lies inside one (where c = 1), not on a border.
    off = 0x3FE6000000000000 + (1 << (51 - bits))
    shift = 52 - bits
    rows = []
    for i in range(1 << bits):
        lo_z = mpmath.mpf(bits_to_double(off + (i << shift)))
        hi_z = mpmath.mpf(bits_to_double(off + ((i + 1) << shift)))
        c = mpmath.mpf(1) if lo_z <= 1 < hi_z else (lo_z + hi_z) / 2
        invc = float(1 / c)
        logc = -mpmath.log(mpmath.mpf(invc))
        row = (invc,)
        for k, v in enumerate((logc, logc / mpmath.log(2), logc / mpmath.log(10))):
            if quantum is None:
                row += split(v)
            else:
                hi = mpmath.nint(v / quantum[k]) * quantum[k]
                row += (float(hi), float(v - hi))
        rows.append(row)
    return rows, off


def tan_fit(k, l, b, iters=30, npts=200):
    """tan r = r P(z) / Q(z) with P = 1 + z p(z), Q = 1 - z/4 + z^2 q(z), z = r^2 in (0, b]: p has k
    coefficients and q has l, near-minimax in the relative error (linearised r P - Q tan r = 0,
    reweighted by the last Q and by Lawson's rule). Q's fixed 1 - z/4 lets the kernel carry the
    large part of the denominator exactly, as for cos. Returns p, q and the worst error, log2."""
    pts = [b * (1 - mpmath.cos(mp.pi * (i + 0.5) / npts)) / 2 for i in range(npts)]
    tv = [mpmath.tan(mpmath.sqrt(z)) for z in pts]
    lam = [mpmath.mpf(1) / npts] * npts
    qprev = [mpmath.mpf(1)] * npts
    m = k + l

    def num(p, z):
        return 1 + z * mpmath.polyval(p[::-1], z)

    def den(q, z):
        return 1 - z / 4 + z * z * mpmath.polyval(q[::-1], z)

    for _ in range(iters):
        a = mpmath.matrix(m, m)
        rhs = mpmath.matrix(m, 1)
        for z, t, lz, qz in zip(pts, tv, lam, qprev):
            r = mpmath.sqrt(z)
            ww = lz / (t * qz) ** 2
            row = [r * z ** (j + 1) for j in range(k)] + [-t * z ** (j + 2) for j in range(l)]
            g = t * (1 - z / 4) - r
            for i in range(m):
                rhs[i] += ww * row[i] * g
                for j in range(m):
                    a[i, j] += ww * row[i] * row[j]
        c = mpmath.lu_solve(a, rhs)
        p, q = [c[j] for j in range(k)], [c[k + j] for j in range(l)]
        err = [abs(mpmath.sqrt(z) * num(p, z) / (den(q, z) * t) - 1) for z, t in zip(pts, tv)]
        qprev = [den(q, z) for z in pts]
        total = sum(lz * e for lz, e in zip(lam, err))
        lam = [lz * e / total for lz, e in zip(lam, err)]
    pd, qd = [float(v) for v in p], [float(v) for v in q]
    pm, qm = [mpmath.mpf(v) for v in pd], [mpmath.mpf(v) for v in qd]
    worst = max(abs(mpmath.sqrt(z) * num(pm, z) / (den(qm, z) * mpmath.tan(mpmath.sqrt(z))) - 1)
                for z in (b * mpmath.mpf(i) / 3000 for i in range(1, 3001)))
    return pd, qd, float(mpmath.log(worst, 2))


def write_trig_tables():
    """Writes math_tables_trig.h: the rational fit of tan on the reduced range |r| <= pi/4."""
    quarter_pi = (mp.pi / 4 * (1 + mpmath.mpf(2) ** -20)) ** 2
    p, q, worst = tan_fit(3, 4, quarter_pi)
    print("kTanNum/kTanDen: worst relative error 2^%.1f" % worst)
    with open(TRIG_OUT, "w") as f:
        f.write("#pragma once\n// Generated by scripts/gen_math_tables.py; do not edit.\n\n")
        f.write("namespace quorel::kern::detail {\n\n")
        f.write("/// tan r = r (1 + z N(z)) / (1 - z/4 + z^2 D(z)), z = r^2, |r| <= pi/4 (relative error 2^%.1f).\n"
                % worst)
        for name, coef in (("kTanNum", p), ("kTanDen", q)):
            f.write("inline constexpr double %s[%d] = {\n" % (name, len(coef)))
            f.write("".join("    %s,\n" % v.hex() for v in coef))
            f.write("};\n")
        f.write("\n}  // namespace quorel::kern::detail\n")
    print("wrote", TRIG_OUT)


def atan_rows():
    """c and atan c (high and low parts) for the 16 bins of atan: k = round(K t) for t < 1 (c = k / K),
    8 + round(K / t) beyond (c = K / k, 2^60 for k = 0), K a little below 7.5 so that k <= 7
    even with an approximate 1 / t; |(t - c) / (1 + c t)| <= 0.0668."""
    rows = [float(k / ATAN_SCALE) for k in range(8)] + [2.0 ** 60] + [float(ATAN_SCALE / k) for k in range(1, 8)]
    return [(c,) + split(mpmath.atan(mpmath.mpf(c))) for c in rows]


def main():
    log_tables = [("kLog", LOG_BITS) + log_rows(LOG_BITS, LOG_QUANTUM), ("kLog16", 4) + log_rows(4, LOG_QUANTUM)]
    exp_rows = [split(mpmath.power(2, mpmath.mpf(j) / (1 << EXP_BITS))) for j in range(1 << EXP_BITS)]

    polys = polynomials()
    with open(OUT, "w") as f:
        f.write("#pragma once\n// Generated by scripts/gen_math_tables.py; do not edit.\n\n")
        f.write("namespace quorel::kern::detail {\n\n")
        for prefix, bits, rows, off in log_tables:
            f.write("inline constexpr int %sTableBits = %d;\n" % (prefix, bits))
            f.write("inline constexpr unsigned long long %sOffset = 0x%016XULL;\n" % (prefix, off))
            f.write("/// For z in subinterval i of [OFF, 2 OFF): 1/c (c its middle, or 1 in the one holding 1)\n")
            f.write("/// and -log(1/c) as high and low parts (natural; the 16-entry set also in bases 2 and 10).\n")
            names = (("InvC", 0), ("CHi", 1), ("CLo", 2))
            if bits == 4:
                names += (("C2Hi", 3), ("C2Lo", 4), ("C10Hi", 5), ("C10Lo", 6))
            for name, k in names:
                f.write("alignas(64) inline constexpr double %s%s[%d] = {\n" % (prefix, name, len(rows)))
                f.write("".join("    %s,\n" % r[k].hex() for r in rows))
                f.write("};\n")
        f.write("\ninline constexpr int kExpTableBits = %d;\n" % EXP_BITS)
        f.write("/// 2^(j/%d) as high and low parts.\n" % (1 << EXP_BITS))
        for name, k in (("kExp2Hi", 0), ("kExp2Lo", 1)):
            f.write("alignas(64) inline constexpr double %s[%d] = {\n" % (name, len(exp_rows)))
            f.write("".join("    %s,\n" % r[k].hex() for r in exp_rows))
            f.write("};\n")
        f.write("\ninline constexpr double kATanScale = %s;\n" % ATAN_SCALE.hex())
        f.write("/// atan: c of each bin and atan c as high and low parts.\n")
        atan = atan_rows()
        for name, k in (("kATanC", 0), ("kATanHi", 1), ("kATanLo", 2)):
            f.write("alignas(64) inline constexpr double %s[16] = {\n" % name)
            f.write("".join("    %s,\n" % r[k].hex() for r in atan))
            f.write("};\n")
        for name, what, (coef, worst) in polys:
            print("%s: worst error 2^%.1f" % (name, worst))
            f.write("\n/// %s.\n" % what)
            f.write("inline constexpr double %s[%d] = {\n" % (name, len(coef)))
            f.write("".join("    %s,\n" % v.hex() for v in coef))
            f.write("};\n")
        f.write("\n}  // namespace quorel::kern::detail\n")
    print("wrote", OUT)
    write_trig_tables()


if __name__ == "__main__":
    main()
