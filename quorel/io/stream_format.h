#pragma once
// operator<< for complex values, vectors and matrices: a compact layout in the manner of NumPy,
// "\n" between rows and none after the last, numbers in the stream's own format (precision,
// fixed/scientific), so std::setprecision applies.
//
//   std::cout << TCplx(1, -2)             1-2i
//   std::cout << TVec{1, 2.5, 3}          [  1 2.5   3]
//   std::cout << TMtx{{1, 2}, {3, 4}}     [[1 2]
//                                          [3 4]]
//
// Columns share one width. An object of more than 1,000 elements shows its first and last three
// elements of each dimension around "...". Integer vectors (index lists, masks) print as integers.

#include <iosfwd>

#include "quorel/core/types.h"

namespace quorel {

class TVec;
class TMtx;

/// Writes re+imi, e.g. 1-2i (the sign is the sign bit of Im, so -0 shows as 1-0i).
std::ostream& operator<<(std::ostream& os, const TCplx& z);
/// Writes the current range as [a b c].
std::ostream& operator<<(std::ostream& os, const TVec& v);
/// Writes the current range as [[a b]\n [c d]].
std::ostream& operator<<(std::ostream& os, const TMtx& m);

}  // namespace quorel
