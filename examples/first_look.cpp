// The README's first program: create, compute, print, save.
#include <cstdio>
#include "quorel/quorel.h"
using namespace quorel;

int main() {
  TVec t, y;
  t.Size(8, false).Ramp(0, 0.25);                        // create: 0, 0.25, ..., 1.75
  y.Sin(t).Scale(2);                                     // compute: y = 2 sin(t), element by element
  std::printf("mean %.4f, max %.4f\n", y.Mean(), y.Max());
  for (double v : y.Values()) std::printf("%.3f ", v);  // print
  std::printf("\n");
  y.SaveToFile("y.bin");                                 // save; LoadFromFile reads it back
}
