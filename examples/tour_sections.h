#pragma once
// The tour's sections, one per subsystem, each in its own tour_<subsystem>.cpp. A section prints
// its title with SectionTitle, then a few results, each with the value a reader should expect.

/// Prints a section's title (defined in tour.cpp).
void SectionTitle(const char* title);

void TourSignal();
void TourDense();
void TourSparse();
void TourProbabilities();
void TourRandom();
void TourSpecial();
void TourPoly();
void TourOptim();
