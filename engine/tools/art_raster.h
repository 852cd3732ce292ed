// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <vector>

namespace kalvio::engine {

struct PathPoint {
	double x;
	double y;
};

using Polygon = std::vector<PathPoint>;

// How much of each pixel the polygons cover (non-zero rule), 0..1, width * height values.
std::vector<float> cover(const std::vector<Polygon> &polygons, int width, int height);

// A Gaussian in three passes of box filters, over planes of `channels` interleaved values.
void blur_plane(std::vector<float> &values, int width, int height, int channels, double sigma);

} // namespace kalvio::engine
