#pragma once
// One section of the tour per subsystem; each lives in its own tour_<subsystem>.cpp.

void TourSignal();
void TourDense();
void TourSparse();
void TourProbabilities();
void TourRandom();
void TourSpecial();
void TourPoly();
void TourOptim();
