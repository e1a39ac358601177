// The README's first program: create, compute, print, save.
#include <iostream>
#include "quorel/quorel.h"
using namespace quorel;

int main() {
  TVec t(8), y;
  t.Ramp(0, 0.25);                                    // create: 0, 0.25, ..., 1.75
  y.Sin(t).Scale(2);                                  // compute: y = 2 sin(t), element by element
  std::cout << "mean " << y.Mean() << ", max " << y.Max() << "\n" << y << "\n";  // print
  y.SaveToFile("y.bin");                              // save; LoadFromFile reads it back
}
