// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <vector>

namespace kalvio::engine {

struct PathPoint {
	double x;
	double y;
};

using Polygon = std::vector<PathPoint>;

// How much of each pixel is covered, 0..1, `width` values per row. Rows above and below the polygons are left out.
struct Coverage {
	int first_row;
	std::vector<float> values;
};

// What the polygons cover (non-zero rule) of a picture of this size.
Coverage cover(const std::vector<Polygon> &polygons, int width, int height);

// A Gaussian in three passes of box filters, over planes of `channels` interleaved values.
void blur_plane(std::vector<float> &values, int width, int height, int channels, double sigma);

// How many pixels away something can be and still change a pixel of a blur.
int blur_reach(double sigma);

} // namespace kalvio::engine
