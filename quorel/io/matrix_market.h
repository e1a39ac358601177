#pragma once
// Dense matrices as Matrix Market array files.

#include <cstdint>
#include <string>

#include "quorel/core/types.h"

namespace quorel {

class TMtx;

/// Version number written into the comment line of Matrix Market files.
constexpr std::int32_t QuorelLibraryVersion = 2;

/// The lines of a Matrix Market array file of Mtx: the banner ("real " or "complex "), the
/// version and date comments, "Rows Cols", then one element per line in column-major order
/// (a complex element as its real and imaginary part separated by a blank), each value in the
/// shortest text that reads back exactly. Numbers use the current locale's decimal separator, like
/// every number this library writes: under a comma locale the file reads back here, but other
/// Matrix Market readers expect a point.
TStringList MatrixMarketArrayLines(const TMtx& mtx);

/// Saves MatrixMarketArrayLines(Mtx) as a text file. Raises Exception when the file cannot be
/// written.
void SaveToMatrixMarketFile(const TMtx& mtx, const std::string& fileName);

}  // namespace quorel
