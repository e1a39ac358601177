#!/usr/bin/python3
"""Writes the reference values of the special-function tests (tests/data/special_*.txt).

Values are computed with mpmath at 60 significant digits and printed with 30, so that strtod's
rounding of the printed text is the correctly rounded double. Run once; the files are checked in.
"""
import os
import mpmath as mp

mp.mp.dps = 60
OUT = os.path.join(os.path.dirname(__file__), '..', 'tests', 'data')


def s(x):
    return mp.nstr(mp.mpf(x), 30, min_fixed=1, max_fixed=0)


def c(z):
    z = mp.mpc(z)
    return '%s %s' % (s(z.real), s(z.imag))


def stable(fn):
    """fn() at rising working precision until two evaluations agree to 40 digits (cancellation
    inside mpmath, e.g. in J + iY where H is exponentially small, would go unnoticed otherwise)."""
    prev = None
    for dps in (60, 120, 240, 480, 960):
        with mp.workdps(dps):
            v = mp.mpc(fn())
        if v == 0:
            raise RuntimeError('reference vanished: cancellation')
        if prev is not None and abs(v - prev) <= abs(v) * mp.mpf(10) ** -40:
            return v
        prev = v
    raise RuntimeError('reference did not settle')


def zeta(z):
    return mp.mpf(2) / 3 * z * mp.sqrt(z)


def hankel(kind):
    """H(1) and H(2) through K where that formula holds: J +- iY cancels where H is exponentially
    smaller than J and Y (mpmath then returns 0)."""
    def h(nu, z):
        a = mp.arg(z)
        if kind == 1 and -mp.pi / 2 < a <= mp.pi:
            return 2 / (1j * mp.pi) * mp.exp(-1j * mp.pi * nu / 2) * mp.besselk(nu, -1j * z)
        if kind == 2 and -mp.pi < a <= mp.pi / 2:
            return -2 / (1j * mp.pi) * mp.exp(1j * mp.pi * nu / 2) * mp.besselk(nu, 1j * z)
        return mp.hankel1(nu, z) if kind == 1 else mp.hankel2(nu, z)
    return h


# The scale factor of each scaled form, and the function itself.
BESSEL = {
    'J': (mp.besselj, lambda z: mp.exp(-abs(z.imag))),
    'Y': (mp.bessely, lambda z: mp.exp(-abs(z.imag))),
    'I': (mp.besseli, lambda z: mp.exp(-abs(z.real))),
    'K': (mp.besselk, lambda z: mp.exp(z)),
    'H1': (hankel(1), lambda z: mp.exp(-1j * z)),
    'H2': (hankel(2), lambda z: mp.exp(1j * z)),
}

ORDERS = ['0', '0.25', '1', '2.5', '7', '20.5']
POINTS = [(0.5, 0), (3, 0), (-2.5, 0), (30, 0), (1, 1), (-4, 2), (0.3, -7), (12, -5), (-20, -0.5),
          (0, 3), (60, 40), (1e-3, 2e-3), (-150, 300), (708.5, 0)]
NEGATIVE = ['-0.5', '-1', '-2.3', '-3.75']
NEG_POINTS = [(1.5, 0), (2, 1), (-3, 0.5), (0.25, -4)]


def bessel_file():
    rows = ['# name nu re(z) im(z) scaled re(f) im(f): scaled rows multiply f by the scale factor']
    for name, (f, scale) in BESSEL.items():
        for nu in ORDERS:
            for p in POINTS:
                z = mp.mpc(*p)
                for scaled in (0, 1):
                    w = stable(lambda: f(mp.mpf(nu), z) * (scale(z) if scaled else 1))
                    rows.append('%s %s %r %r %d %s' % (name, nu, p[0], p[1], scaled, c(w)))
    # Negative orders: J, Y, I by the reflection formulas (the true function of order nu), K even,
    # the Hankel functions as e^{-+ i v pi} H_v with v = -nu.
    for nu in NEGATIVE:
        v = -mp.mpf(nu)
        for p in NEG_POINTS:
            z = mp.mpc(*p)
            vals = {'J': lambda: mp.besselj(mp.mpf(nu), z), 'Y': lambda: mp.bessely(mp.mpf(nu), z),
                    'I': lambda: mp.besseli(mp.mpf(nu), z), 'K': lambda: mp.besselk(v, z),
                    'H1': lambda: mp.exp(-1j * mp.pi * v) * mp.hankel1(v, z),
                    'H2': lambda: mp.exp(1j * mp.pi * v) * mp.hankel2(v, z)}
            for name, f in vals.items():
                rows.append('%s %s %r %r 0 %s' % (name, nu, p[0], p[1], c(stable(f))))
                w = stable(lambda: f() * BESSEL[name][1](z))
                rows.append('%s %s %r %r 1 %s' % (name, nu, p[0], p[1], c(w)))
    return rows


AIRY_POINTS = [(0, 0), (1, 0), (-1, 0), (4.5, 0), (-7.25, 0), (25, 0), (-60, 0), (1, 1), (-3, 2),
               (2, -5), (-0.5, -0.5), (30, 20), (-100, 1), (0, 40), (200, -3), (104.5, 0), (105.2, 0.5)]


def airy_file():
    rows = ['# name re(z) im(z) scaled re(f) im(f): Ai, Ai\', Bi, Bi\' as Ai Aid Bi Bid']
    for p in AIRY_POINTS:
        z = mp.mpc(*p)
        for name, f, scale in (('Ai', lambda: mp.airyai(z), lambda: mp.exp(zeta(z))),
                               ('Aid', lambda: mp.airyai(z, derivative=1), lambda: mp.exp(zeta(z))),
                               ('Bi', lambda: mp.airybi(z), lambda: mp.exp(-abs(zeta(z).real))),
                               ('Bid', lambda: mp.airybi(z, derivative=1), lambda: mp.exp(-abs(zeta(z).real)))):
            rows.append('%s %r %r 0 %s' % (name, p[0], p[1], c(stable(f))))
            rows.append('%s %r %r 1 %s' % (name, p[0], p[1], c(stable(lambda: f() * scale()))))
    return rows


def elliptic_file():
    rows = ['# K m K(m) E(m);  J u m sn cn dn;  P n m x P_n^m(x)']
    d = lambda t: mp.mpf(float(t))  # the double the test passes, not the decimal
    for m in ['1e-12', '0.01', '0.3', '0.5', '0.875', '0.99', '0.999999']:
        rows.append('K %s %s %s' % (m, s(mp.ellipk(d(m))), s(mp.ellipe(d(m)))))
    for u in ['0.2', '1', '-2.5', '7.3']:
        for m in ['0.001', '0.3', '0.7', '0.99']:
            uu, mm = d(u), d(m)
            rows.append('J %s %s %s %s %s' % (u, m, s(mp.ellipfun('sn', uu, m=mm)),
                                              s(mp.ellipfun('cn', uu, m=mm)), s(mp.ellipfun('dn', uu, m=mm))))
    for n, m in [(0, 0), (1, 0), (2, 0), (5, 0), (30, 0), (1, 1), (3, 2), (6, 3), (10, 10), (25, 4)]:
        for x in ['-0.9', '-0.3', '0.05', '0.5', '0.99']:
            rows.append('P %d %d %s %s' % (n, m, x, s(mp.legenp(n, m, d(x), type=2))))
    return rows


for name, rows in (('bessel', bessel_file()), ('airy', airy_file()), ('elliptic', elliptic_file())):
    with open(os.path.join(OUT, 'special_%s.txt' % name), 'w') as f:
        f.write('\n'.join(rows) + '\n')
