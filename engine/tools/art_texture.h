// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "art_raster.h"

#include <cstdint>

namespace kalvio::engine {

// Smooth random values, 0..1 with a mean of a half, in four sizes from one unit down to an eighth.
double noise_at(double x, double y, uint64_t seed);

// Where hair lies towards: an angle in degrees, clockwise from the right, at a place. Between places the ways are
// mixed, the nearest most.
struct HairWay {
	PathPoint place;
	double degrees;
};

struct HairStyle {
	int count = 0;
	double shortest = 0, longest = 0;
	double width = 1;  // at the root
	double spread = 0; // degrees to both sides
	double bend = 0;   // degrees from the root to the tip, to both sides
	double vary = 0;   // of the brightness
	uint64_t seed = 1;
	std::vector<HairWay> ways;
};

struct Hair {
	PathPoint root;
	double shade; // what its color is multiplied by
	Polygon shape;
};

// Hairs with their roots in the polygons (non-zero rule), each tapering to its tip.
std::vector<Hair> hairs_in(const std::vector<Polygon> &polygons, const HairStyle &style);

} // namespace kalvio::engine
