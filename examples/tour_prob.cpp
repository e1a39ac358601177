// Tour: probability distributions. A normal quantile and the p-value of a chi-square test.
#include <cstdio>

#include "quorel/objects/vec.h"
#include "quorel/stats/probabilities.h"
#include "tour_sections.h"

using namespace quorel;

void TourProbabilities() {
  SectionTitle("Probability distributions");
  // the 97.5 % quantile of the standard normal: the half-width of a 95 % interval in sigmas
  std::printf("  NormalCDFInv(0.975, 0, 1) = %.6f   (expected 1.959964)\n", NormalCDFInv(0.975, 0, 1));

  // a die thrown 120 times: is it fair? Pearson's statistic against 20 per face, 5 degrees of
  // freedom; the p-value is the upper tail of the chi-square distribution
  const double counts[6] = {14, 25, 17, 22, 28, 14};
  double chi2 = 0;
  for (double c : counts) chi2 += (c - 20) * (c - 20) / 20;
  const double pValue = 1 - ChiSquareCDF(chi2, 5);
  std::printf("  fair die? chi-square = %.3f, p-value = %.4f (%s at the 5 %% level)\n", chi2, pValue,
              pValue < 0.05 ? "rejected" : "not rejected");

  // the same distribution on a whole vector at once
  TVec x, pdf;
  x.SetIt(false, {-2, -1, 0, 1, 2});
  NormalPDF(x, 0, 1, pdf);
  std::printf("  NormalPDF on -2..2:");
  for (int i = 0; i < pdf.Length(); ++i) std::printf(" %.5f", pdf[i]);
  std::printf("   (peak 1/sqrt(2 pi) = 0.39894)\n");
}
