// Tour stop: independent random streams and a Gaussian fill.
#include <cmath>
#include <cstdio>
#include <string>

#include "quorel/objects/vec.h"
#include "quorel/stats/random_streams.h"
#include "tour_sections.h"

using namespace quorel;

void TourRandom() {
  std::printf("Random streams:\n");
  // Four streams that share one MCG59 sequence by leapfrogging: stream i takes values i, i + 4, ...
  TRandomGenerator gen;
  gen.SetStreamIndependence(rsiLeapfrog);
  gen.SetStreamCount(4);
  gen.Init(brgMCG59, 2024);
  TVec v;
  v.SetLength(100000);
  for (int i = 0; i < gen.StreamCount(); ++i) {
    gen.Streams(i).RandomUniform(v, 0, 1);
    double sum = 0;
    for (double x : v.Values()) sum += x;
    std::printf("  stream %d, mean of %d uniforms     %.4f\n", i, v.Length(), sum / v.Length());
  }

  // A Gaussian fill summarised as a histogram in half standard deviations.
  TRngStream s;
  s.NewStream(brgPhilox4x32x10, 7);
  s.RandomGaussian(v, 0, 1, grmBoxMuller2);
  int bins[8] = {};
  for (double x : v.Values()) {
    const int b = static_cast<int>(std::floor(x * 2)) + 4;
    if (b >= 0 && b < 8) ++bins[b];
  }
  std::printf("  N(0, 1), %d values:\n", v.Length());
  for (int b = 0; b < 8; ++b) {
    const double share = static_cast<double>(bins[b]) / v.Length();
    std::printf("  [%+4.1f, %+4.1f) %6.3f %s\n", (b - 4) / 2.0, (b - 3) / 2.0, share,
                std::string(static_cast<std::size_t>(share * 100 + 0.5), '#').c_str());
  }
  std::printf("\n");
}
