#pragma once
// What every test executable shares (target quorel_test_support, linked by tests/CMakeLists.txt;
// include "support/support.h" or one of its parts). Everything is in namespace quorel::test.
//
// Messages (support/messages.h)
//   MessageOf<E>(f)            text of the E that f() raises, or "<no exception>"
//   ExpectMessages<E>(cases)   each call of a Cases list raises E with its paired text
// Values (support/values.h)
//   Real({..}), Cplx({..}), IndexList({..})     vectors; RealMtx, CplxMtx, Numbered: matrices
//   Doubles(q), Ints(q)                         an object's storage as a std::vector
// Accuracy (support/accuracy.h)
//   kEps                        the double epsilon (2^-52)
//   UlpDistance(a, b)           doubles between two doubles (+0 and -0 coincide)
//   UlpError(got, exact)        |got - exact| in ulps of the double at a long double exact value
//   RelativeError(got, want), ComplexRelError(got, wantRe, wantIm)
//   ReadRows<T>(file)           numeric rows of tests/data/<file> ('#' lines skipped)
//   ReadReference(file)         "name numbers..." rows of tests/data/<file>, grouped by name

#include "support/accuracy.h"
#include "support/messages.h"
#include "support/values.h"
