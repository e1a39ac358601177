#!/usr/bin/python3
"""Reference values for the scalar tests, computed with mpmath at 256 bits and rounded to double.

Run once with Debian's /usr/bin/python3 (it has mpmath); the tests only read the files it writes:
  tests/data/scalar_real.txt     elementary real functions   Name x [y] expected
  tests/data/scalar_special.txt  gamma family and Bessel     Name x expected
  tests/data/scalar_complex.txt  complex functions           Name re im [re im] ref_re ref_im
With --bessel-centres it prints instead the expansion centres of the J0 evaluation as C++, and
with --kernel-tables the extended-precision tables of the exponential and sine kernels.
"""
import math
import os
import random
import sys

from mpmath import mp, mpf, mpc

mp.prec = 256
HERE = os.path.dirname(os.path.abspath(__file__))
DATA = os.path.join(HERE, "..", "tests", "data")
rng = random.Random(20240611)


def rnd(x):
    """Correctly rounded double of an mpf (None when it is not a normal finite double)."""
    f = float(x)
    if math.isfinite(f) and f != 0 and abs(f) < 2.2250738585072014e-308:
        return None
    return f


def loguni(lo, hi, signed=False):
    v = math.exp(rng.uniform(math.log(lo), math.log(hi)))
    return -v if signed and rng.random() < 0.5 else v


def uni(lo, hi):
    return rng.uniform(lo, hi)


def near(x, ulps=8):
    """A double within a few ulps of x."""
    for _ in range(rng.randint(0, ulps)):
        x = math.nextafter(x, math.inf if rng.random() < 0.5 else -math.inf)
    return x


# The real-function file is the largest; its sampling is thinned to keep it near 200 KB.
DENSITY = {"real": 0.6, "special": 1.0}
density = 1.0


def pts(n, gen):
    return [gen() for _ in range(max(10, int(n * density)))]


PI = mp.pi


def nearest_multiples(step, count, kmax):
    out = []
    for _ in range(count):
        k = rng.randint(1, kmax) * rng.choice((-1, 1))
        out.append(float(k * step))
    return out


# name -> (arity, mpmath function, argument lists)
def real_cases():
    c = {}
    trig = (pts(120, lambda: uni(-10, 10)) + pts(80, lambda: loguni(1e-12, 1e6, True)) +
            pts(30, lambda: loguni(1e6, 1e300, True)) + nearest_multiples(PI / 2, 30, 10 ** 6))
    c["Sin"] = (1, mp.sin, trig)
    c["Cos"] = (1, mp.cos, trig)
    c["Tan"] = (1, mp.tan, trig)
    unit = (pts(150, lambda: uni(-1, 1)) + pts(40, lambda: loguni(1e-20, 1, True)) +
            [s * (1 - 2.0 ** -k) for k in range(1, 54, 2) for s in (1, -1)])
    c["ArcSin"] = (1, mp.asin, unit)
    c["ArcCos"] = (1, mp.acos, unit)
    c["ArcTan"] = (1, mp.atan, pts(250, lambda: loguni(1e-20, 1e20, True)))
    c["ArcTan2"] = (2, mp.atan2, [(loguni(1e-10, 1e10, True), loguni(1e-10, 1e10, True)) for _ in range(250)])
    logs = pts(200, lambda: loguni(1e-300, 1e300)) + pts(80, lambda: 1 + loguni(1e-15, 0.5, True))
    c["Ln"] = (1, mp.log, logs)
    c["Log2"] = (1, lambda x: mp.log(x, 2), logs)
    c["Log2X"] = (1, lambda x: mp.log(x, 2), logs)
    c["Log10"] = (1, mp.log10, logs)
    c["Ln1"] = (1, mp.log1p, pts(150, lambda: loguni(1e-20, 1e10)) + pts(100, lambda: -loguni(1e-20, 0.999)))
    c["LogN"] = (2, lambda b, x: mp.log(x) / mp.log(b),
                 [(loguni(1e-5, 1e5), loguni(1e-100, 1e100)) for _ in range(200)])
    c["Exp"] = (1, mp.exp, pts(200, lambda: uni(-700, 709)) + pts(60, lambda: loguni(1e-18, 1, True)))
    c["Exp2"] = (1, lambda x: mpf(2) ** x, pts(200, lambda: uni(-1020, 1023)) + pts(60, lambda: loguni(1e-18, 1, True)))
    c["Exp10"] = (1, lambda x: mpf(10) ** x, pts(200, lambda: uni(-307, 308)) + pts(60, lambda: loguni(1e-18, 1, True)))
    powargs = []
    for _ in range(250):
        b = loguni(1e-8, 1e8)
        e = uni(-700, 700) / abs(math.log(b)) if rng.random() < 0.5 else uni(-10, 10)
        powargs.append((b, e))
    powargs += [(-loguni(0.1, 100), float(rng.randint(-100, 100))) for _ in range(40)]
    c["Power"] = (2, lambda b, e: mpf(b) ** mpf(e), powargs)
    c["IntPower"] = (2, lambda b, n: mpf(b) ** int(n),
                     [(loguni(0.5, 2, True), float(rng.randint(-500, 500))) for _ in range(150)] +
                     [(loguni(1e-3, 1e3, True), float(rng.randint(-40, 40))) for _ in range(100)])
    hyp = pts(150, lambda: uni(-710, 710)) + pts(80, lambda: loguni(1e-18, 20, True))
    c["Sinh"] = (1, mp.sinh, hyp)
    c["Cosh"] = (1, mp.cosh, hyp)
    th = pts(150, lambda: uni(-20, 20)) + pts(100, lambda: loguni(1e-18, 1, True))
    c["Tanh"] = (1, mp.tanh, th)
    c["TanhX"] = (1, mp.tanh, th)
    c["ArcSinh"] = (1, mp.asinh, pts(250, lambda: loguni(1e-20, 1e300, True)))
    c["ArcCosh"] = (1, mp.acosh, pts(150, lambda: 1 + loguni(1e-15, 1e300)))
    c["ArcTanh"] = (1, mp.atanh, pts(150, lambda: uni(-1, 1)) + [s * (1 - 2.0 ** -k) for k in range(1, 54, 2) for s in (1, -1)])
    small = pts(60, lambda: uni(-10, 10)) + pts(40, lambda: loguni(1e-8, 1e3, True))
    c["Sec"] = (1, mp.sec, small)
    c["Csc"] = (1, mp.csc, small)
    c["Cot"] = (1, mp.cot, small)
    c["Sech"] = (1, mp.sech, pts(100, lambda: loguni(1e-8, 700, True)))
    c["Csch"] = (1, mp.csch, pts(100, lambda: loguni(1e-8, 700, True)))
    c["Coth"] = (1, mp.coth, pts(100, lambda: loguni(1e-8, 30, True)))
    big = pts(70, lambda: loguni(1, 1e300, True)) + [s * (1 + 2.0 ** -k) for k in range(2, 53, 3) for s in (1, -1)]
    c["ArcSec"] = (1, mp.asec, big)
    c["ArcCsc"] = (1, mp.acsc, big)
    c["ArcCot"] = (1, lambda x: mp.atan(1 / mpf(x)), pts(100, lambda: loguni(1e-20, 1e20, True)))
    c["ArcSech"] = (1, mp.asech, pts(80, lambda: loguni(1e-300, 1)) + [1 - 2.0 ** -k for k in range(2, 53, 3)])
    c["ArcCsch"] = (1, mp.acsch, pts(100, lambda: loguni(1e-300, 1e300, True)))
    c["ArcCoth"] = (1, mp.acoth, big)
    c["Pythag"] = (2, lambda a, b: mp.sqrt(mpf(a) ** 2 + mpf(b) ** 2),
                   [(loguni(1e-300, 1e300, True), loguni(1e-300, 1e300, True)) for _ in range(100)] +
                   [(loguni(0.1, 10, True), loguni(0.1, 10, True)) for _ in range(100)])
    c["DegToRad"] = (1, lambda x: mpf(x) * PI / 180, pts(60, lambda: loguni(1e-5, 1e5, True)))
    c["RadToDeg"] = (1, lambda x: mpf(x) * 180 / PI, pts(60, lambda: loguni(1e-5, 1e5, True)))
    return c


def bessel_zeros(order, below):
    out, k = [], 1
    while True:
        z = mp.besseljzero(order, k)
        if z > below:
            return out
        out.append(z)
        k += 1


def special_cases():
    c = {}
    g = (pts(250, lambda: uni(0, 171.6)) + pts(40, lambda: loguni(1e-300, 1)) +
         pts(150, lambda: uni(-185, 0)) + pts(40, lambda: -loguni(1e-300, 1)) +
         [float(n) for n in range(1, 172, 7)] + [n + s * 2.0 ** -40 for n in range(-30, 0, 3) for s in (1, -1)])
    c["Gamma"] = (1, mp.gamma, [x for x in g if x != int(x) or x > 0])
    lg = (g + pts(100, lambda: loguni(171, 2.5e305)) + pts(40, lambda: uni(0.5, 2.5)) +
          pts(60, lambda: -loguni(185, 1e10)))
    c["LnGamma"] = (1, lambda x: mp.log(abs(mp.gamma(x))) if abs(x) < 1e6 else mp.loggamma(x).real,
                    [x for x in lg if x != int(x) or x > 0])
    j0 = (pts(200, lambda: uni(-80, 80)) + pts(80, lambda: loguni(80, 1e5)) + pts(30, lambda: loguni(1e5, 1e300)) +
          pts(30, lambda: loguni(1e-20, 1)))
    j0 += [near(float(z)) for z in bessel_zeros(0, 80)]
    c["BesselJ0"] = (1, mp.besselj0 if hasattr(mp, "besselj0") else (lambda x: mp.besselj(0, x)), j0)
    c["BesselI0"] = (1, lambda x: mp.besseli(0, x), pts(200, lambda: uni(-713, 713)) + pts(40, lambda: loguni(1e-20, 50, True)))
    return c


def fmt(x):
    return repr(float(x))


def write_real(path, cases, keep=lambda v: True):
    lines = 0
    with open(path, "w") as f:
        f.write("# name args expected; mpmath at %d bits, rounded to the nearest double\n" % mp.prec)
        for name, (arity, fn, args) in cases.items():
            for a in args:
                a = a if isinstance(a, tuple) else (a,)
                v = rnd(fn(*[mpf(x) for x in a]))
                if v is None or not math.isfinite(v) or not keep(v):
                    continue
                f.write("%s %s %s\n" % (name, " ".join(fmt(x) for x in a), fmt(v)))
                lines += 1
    print(path, lines, "lines")


def cplx_cases():
    pts_c = ([(uni(-5, 5), uni(-5, 5)) for _ in range(40)] +
             [(loguni(1e-6, 1e3, True), loguni(1e-6, 1e3, True)) for _ in range(20)] +
             [(x, s) for x in (-3.0, -1.5, -0.5, 0.5, 1.5, 3.0) for s in (0.0, -0.0)] +
             [(s, y) for y in (-3.0, -1.5, -0.5, 0.5, 1.5, 3.0) for s in (0.0, -0.0)])
    one = lambda f: (1, f)
    c = {
        "Exp": one(mp.exp), "Ln": one(mp.log), "CSqrt": one(mp.sqrt),
        "Sin": one(mp.sin), "Cos": one(mp.cos), "Tan": one(mp.tan), "Tanh": one(mp.tanh),
        "ArcSin": one(mp.asin), "ArcCos": one(mp.acos), "ArcTan": one(mp.atan),
        "ArcSinh": one(mp.asinh), "ArcCosh": one(mp.acosh), "ArcTanh": one(mp.atanh),
    }
    out = []
    for name, (arity, fn) in c.items():
        for re, im in pts_c:
            if name in ("Tan", "Tanh") and max(abs(re), abs(im)) > 50:
                continue
            # mpmath ignores the sign of a zero on a cut: approach it from the zero's side instead.
            z = mpc(re, im if im != 0 else math.copysign(mpf(10) ** -70, im))
            if name in ("ArcTan", "ArcSinh") and re == 0:
                z = mpc(math.copysign(mpf(10) ** -70, re), im)
            if name == "CSqrt" and im == 0:
                z = mpc(re, mpf(10) ** -70)  # CSqrt treats -0 as +0
            w = fn(z)
            out.append((name, (re, im), (float(w.real), float(w.imag))))
    for _ in range(60):
        a = (uni(-3, 3), uni(-3, 3))
        b = (uni(-3, 3), uni(-2, 2))
        w = mp.power(mpc(*a), mpc(*b))
        out.append(("Power", a + b, (float(w.real), float(w.imag))))
    return out


def write_complex(path):
    rows = cplx_cases()
    with open(path, "w") as f:
        f.write("# name re im [re im] ref_re ref_im; mpmath at %d bits\n" % mp.prec)
        for name, args, ref in rows:
            f.write("%s %s %s\n" % (name, " ".join(fmt(x) for x in args), " ".join(fmt(x) for x in ref)))
    print(path, len(rows), "lines")


def hexd(x):
    return float(x).hex()


def split(x):
    hi = float(x)
    lo = float(x - mpf(hi))
    return hi, lo


def bessel_centres(below=82):
    centres = [(z, mpf(0), -mp.besselj(1, z)) for z in bessel_zeros(0, below)]
    centres += [(z, mp.besselj(0, z), mpf(0)) for z in bessel_zeros(1, below)]
    centres.sort(key=lambda t: t[0])
    print("// x, J0(x) and J0'(x) at the zeros of J0 and of J1 below %d, each as a double pair." % below)
    print("constexpr Centre kCentres[] = {")
    for z, v, d in centres:
        vals = split(z) + split(v) + split(d)
        print("    {" + ", ".join(hexd(t) for t in vals) + "},")
    print("};")


def split_bits(v, bits):
    """v rounded to its leading `bits` bits."""
    e = int(mp.floor(mp.log(abs(v), 2)))
    return mp.nint(v * mpf(2) ** (bits - 1 - e)) / mpf(2) ** (bits - 1 - e)


def pair_table(name, values):
    print("inline constexpr double %s[][2] = {" % name)
    for v in values:
        hi, lo = split(v)
        print("    {%s, %s}," % (hexd(hi), hexd(lo)))
    print("};")


def kernel_tables():
    print("// 2^(j/256), j = 0 .. 255, as double pairs hi + lo.")
    pair_table("kExp2Table", [mpf(2) ** (mpf(j) / 256) for j in range(256)])
    print("// sin(j pi/32) and cos(j pi/32), j = 0 .. 63, as double pairs hi + lo.")
    pair_table("kSinTable", [mp.sin(j * mp.pi / 32) if j % 32 else mpf(0) for j in range(64)])
    pair_table("kCosTable", [mp.cos(j * mp.pi / 32) if (j - 16) % 32 else mpf(0) for j in range(64)])
    p1 = split_bits(mp.pi / 32, 32)
    p2 = split_bits(mp.pi / 32 - p1, 32)
    print("// pi/32 in three parts; the first two have 32 bits, so n times them is exact for n < 2^31.")
    print("inline constexpr double kPiDiv32[3] = {%s, %s, %s};" % (hexd(p1), hexd(p2), hexd(mp.pi / 32 - p1 - p2)))
    for name, v in (("kLn2Div256", mp.log(2) / 256), ("kLg2Div256", mp.log10(2) / 256)):
        p1 = split_bits(v, 32)
        print("// %s in two parts; the first has 32 bits, so n times it is exact." % name)
        print("inline constexpr double %s[2] = {%s, %s};" % (name, hexd(p1), hexd(v - p1)))


if __name__ == "__main__":
    if "--kernel-tables" in sys.argv:
        kernel_tables()
        sys.exit(0)
    if "--bessel-centres" in sys.argv:
        bessel_centres()
        sys.exit(0)
    os.makedirs(DATA, exist_ok=True)
    density = DENSITY["real"]
    write_real(os.path.join(DATA, "scalar_real.txt"), real_cases())
    density = DENSITY["special"]
    write_real(os.path.join(DATA, "scalar_special.txt"), special_cases())
    write_complex(os.path.join(DATA, "scalar_complex.txt"))
