#pragma once
// operator<< for sparse matrices, in the layout of the dense ones' (quorel/io/stream_format.h):
//
//   3x3 sparse, 2 stored
//     (0, 0)   1
//     (2, 1) -4.5
//
// Stored entries in column order, one per line, "\n" between lines and none after the last; more
// than 1,000 entries show the first and last three around "...".

#include <iosfwd>

namespace quorel {

class TSparseMtx;

/// Writes the shape line, then "(row, col) value" for each stored entry.
std::ostream& operator<<(std::ostream& os, const TSparseMtx& a);

}  // namespace quorel
