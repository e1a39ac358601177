#pragma once
// Enumerations of the matrix settings and of the linear-algebra vocabulary (ordinals fixed: the
// binary matrix header stores them).

#include <cstdint>

namespace quorel {

/// Matrix structure as used by products and solvers.
enum TMtxType : std::uint8_t {
  mtSymmPosDef,
  mtSymmetric,
  mtHermPosDef,
  mtHermitian,
  mtTriangle,
  mtGeneral,
  mtBandSymmPosDef,
  mtBandHermPosDef,
  mtBandGeneral
};

/// Operation applied to an operand: none, transpose, conjugate transpose.
enum TMtxOperation : std::uint8_t { opNone, opTran, opHerm };

/// Condition estimate after a solve: none, 1-norm, infinity norm.
enum TConditionNumber : std::uint8_t { cnNone, cnNorm1, cnNormInf };

/// Which triangle of a triangular or symmetric matrix holds the data.
enum TTriangleForm : std::uint8_t { tfLower, tfUpper };

/// Balancing before an eigenvalue computation.
enum TBalanceType : std::uint8_t { btNone, btScale, btPerm, btFull };

/// Kind of generalised eigenproblem: A z = l B z, A B z = l z, B A z = l z.
enum TEigGenType : std::uint8_t { etAzBz, etABz, etBAz };

/// Eigenvector or Schur output of Eig.
enum TVectorForm : std::uint8_t { vfEig, vfSchur };

/// Sign of the second term of the Sylvester equation.
enum TSign : std::uint8_t { siPlus, siMinus };

}  // namespace quorel
