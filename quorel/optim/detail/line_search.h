#pragma once
// Line search for the gradient methods: finds a step satisfying the Wolfe conditions
//   phi(a) <= phi(0) + c1 a phi'(0)  and  |phi'(a)| <= c2 |phi'(0)|   (strong)
//                                     or   phi'(a) >= c2 phi'(0)       (weak)
// by bracketing and zooming with safeguarded cubic interpolation (Nocedal and Wright, Alg. 3.5/3.6).

namespace quorel::detail {

/// phi(a) = f(x + a d) along a fixed direction.
class TLineFunction {
 public:
  /// Evaluates phi at `alpha`.
  virtual double Value(double alpha) = 0;
  /// phi' at the point of the latest Value call (NaN when phi is not finite there). The search asks
  /// for it only at points with sufficient decrease, so a rejected trial costs no gradient.
  virtual double Slope() = 0;

 protected:
  ~TLineFunction() = default;
};

struct TLineResult {
  bool Wolfe = false;   // both conditions hold at Alpha, and the last Value and Slope calls were there
  double Alpha = 0;     // else the best step with sufficient decrease seen (0: none)
  double F = 0;
};

/// The acceptance rule of one search.
struct TWolfeRule {
  double C1 = 1e-4;  // sufficient decrease
  double C2 = 0.9;   // curvature
  bool Strong = true;
  // After two rejected trials, model phi by the cubic through phi(lo), phi'(lo) and both rejected
  // values instead of the quadratic through the latest one.
  bool CubicBacktrack = false;
};

/// Searches from the trial step `alpha1` (> 0) with at most `maxEvals` evaluations.
TLineResult WolfeSearch(TLineFunction& phi, double f0, double slope0, double alpha1, const TWolfeRule& rule, int maxEvals);

}  // namespace quorel::detail
