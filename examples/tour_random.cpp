// Tour stop: independent random streams and a Gaussian fill.
#include <cmath>
#include <cstdio>

#include "quorel/objects/vec.h"
#include "quorel/stats/random_streams.h"
#include "tour_sections.h"

using namespace quorel;

void TourRandom() {
  SectionTitle("Random numbers");
  // Four streams that share one MCG59 sequence by leapfrogging: stream i takes values i, i + 4, ...
  TRandomGenerator gen;
  gen.SetStreamIndependence(rsiLeapfrog);
  gen.SetStreamCount(4);
  gen.Init(brgMCG59, 2024);
  TVec v;
  v.SetLength(100000);
  std::printf("  means of 100000 uniforms on [0, 1), four leapfrogged streams:");
  for (int i = 0; i < gen.StreamCount(); ++i) {
    gen.Streams(i).RandomUniform(v, 0, 1);
    std::printf(" %.4f", v.Mean());
  }
  std::printf("   (expected 0.5 each)\n");

  // A Gaussian fill: its mean, deviation and the share within one deviation of the mean.
  TRngStream s;
  s.NewStream(brgPhilox4x32x10, 7);
  s.RandomGaussian(v, 0, 1, grmBoxMuller2);
  int inside = 0;
  for (double x : v.Values()) inside += std::fabs(x) < 1;
  std::printf("  N(0, 1): mean %.4f, deviation %.4f, share in (-1, 1) %.4f   (expected 0, 1, 0.6827)\n", v.Mean(),
              v.StdDev(), static_cast<double>(inside) / v.Length());
}
