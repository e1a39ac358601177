// Every refusal of the matrix, by family: the exception class and the exact text. The Self-as-source
// refusals are checked with ConditionCheck on and off in MtxOps.SelfAmongTheSources.
#include <gtest/gtest.h>

#include "support/support.h"

namespace quorel {
namespace {
using test::Numbered;
using test::Real;

struct MtxMessages : ::testing::Test {
  TMtx a = Numbered(2, 3, false);   // 2 x 3 real
  TMtx c = Numbered(2, 3, true);    // 2 x 3 complex
  TMtx big = Numbered(4, 4, false);
  TMtx tall = Numbered(3, 1, false);
  TVec v = Real({1, 2, 3});
  TVec empty;
};

TEST_F(MtxMessages, BlockCopyAndVectors) {
  test::ExpectMessages<EQuorelInvalidArgument>({
      {[&] { a.Copy(c, 0, 0, 0, 0, 1, 1); }, "Mtx.Complex <> Complex"},
      {[&] { big.Copy(a, 1, 0, 0, 0, 2, 1); }, "MtxRow + NrRows > Mtx.Rows"},
      {[&] { big.Copy(a, 0, 2, 0, 0, 1, 2); }, "MtxCol + NrCols > Mtx.Cols"},
      {[&] { a.Copy(big, 0, 0, 1, 0, 2, 1); }, "Row + NrRows > Rows"},
      {[&] { a.Copy(big, 0, 0, 0, 2, 1, 2); }, "Col + NrCols > Cols"},
      {[&] { c.CopyVec(v); }, "Vec.Complex <> Complex"},
      {[&] { a.CopyVec(empty); }, "Vec.Length = 0"},
      {[&] { a.CopyVec(v, 1, 3, 0); }, "(VecIndex+Len-1) > Vec.Length"},
      {[&] { a.CopyVec(v, 0, 3, 4); }, "(StartPos +VecIndex + Len) > Mtx.Cols*Mtx.Rows"},
      {[&] { a.CopyVec(nullptr, 1); }, "Vec = nil"},
      {[&] { a.CopyVec(&v, 2); }, "Vec.Length mod NrRows <> 0"},
  });
}

TEST_F(MtxMessages, Concatenation) {
  test::ExpectMessages<EQuorelRangeError>({
      {[&] { big.Concat(0, 2, {&a, &a}); }, "TMtx.Concat: Invalid ARows,ACols values: 0,2"},
      {[&] { big.Concat(2, 2, {&a, &a}); }, "TMtx.Concat: (ARows*ACols)<>Length(Src): (2*2) <> 2"},
      {[&] { big.Concat(1, 2, {&a, &tall}); }, "TMtx.Concat: Invalid source matrix dimension: 1 (3,1)"},
  });
  test::ExpectMessages<EQuorelInvalidArgument>({
      {[&] { big.Concat(1, 2, {&a, &c}); }, "TMtx.Concat: Source matrixes have mixed real/complex type"},
      {[&] { big.ConcatHorz({&a, &big}); }, "Src[0].Rows <> Src[i].Rows"},
      {[&] { big.ConcatHorz({&a, &c}); }, "Src[0].Complex <> Src[i].Complex"},
      {[&] { a.ConcatHorz(1, 0, {&a}); }, "DestRow + Src[i].Rows > Rows"},
      {[&] { big.ConcatHorz(0, 0, {&c}); }, "Complex <> Src[i].Complex"},
      {[&] { big.ConcatHorz(0, 2, {&a}); }, "Too many columns!"},
      {[&] { big.ConcatVert({&a, &big}); }, "Src[0].Cols <> Src[i].Cols"},
      {[&] { big.ConcatVert({&a, &c}); }, "Src[0].Complex <> Src[i].Complex"},
      {[&] { big.ConcatVert(0, 2, {&a}); }, "DestCol + Src[i].Cols > Cols"},
      {[&] { big.ConcatVert(0, 0, {&c}); }, "Complex <> Src[i].Complex"},
      {[&] { big.ConcatVert(3, 0, {&a}); }, "Too many rows!"},
  });
}

TEST_F(MtxMessages, RowsColumnsDiagonals) {
  test::ExpectMessages<EQuorelInvalidArgument>({
      {[&] { a.SetCol(nullptr, 0); }, "Vec = nil"},
      {[&] { c.SetCol(&v, 0); }, "Complex <> Vec.Complex"},
      {[&] { a.SetCol(&v, 0, 0, 3, 1); }, "Col > (Cols-1)"},
      {[&] { a.SetCol(&v, 0, 1, 0, 2); }, "(Row+Len) > Rows"},
      {[&] { a.SetRow(&v, 2); }, "Row > (Rows-1)"},
      {[&] { a.SetRow(&v, 0, 0, 1, 3); }, "(Col+Len) > Cols"},
      {[&] { a.Diag(empty, 0); }, "Vec.Length = 0"},
      {[&] { c.Diag(v, 0); }, "Vec.Complex <> Complex"},
      {[&] { a.Diag(v, 1); }, "(((n + k) > fCols) or (n > fRows))"},
      {[&] { big.Diag(v, -2); }, "(((n - k) > fRows) or (n > fCols))"},
  });
}

TEST_F(MtxMessages, StructureAndRanges) {
  test::ExpectMessages<EQuorelInvalidArgument>({
      {[&] { a.RowExchange(2, 0); }, "i >= FRows"},
      {[&] { a.ColExchange(3, 0); }, "i >= fCols"},
      {[&] { a.ValidateRange(-1, 0, 1, 1); }, "(Row < 0) or (Col < 0)"},
      {[&] { a.ValidateRange(1, 0, 0, 1); }, "Row > ToRow"},
      {[&] { a.ValidateRange(0, 2, 1, 1); }, "Col > ToCol"},
      {[&] { a.ValidateRange(0, 0, 2, 1); }, "ToRows >= Rows"},
      {[&] { big.DenseToBanded(a, 3); }, "(SuperDiag+SubDiag)*Cols > MaxElemCount"},
      {[&] { a.BandedToDense(c); }, "A.Complex = True"},
  });
}

}  // namespace
}  // namespace quorel
