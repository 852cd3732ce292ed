// SPDX-License-Identifier: GPL-2.0-or-later
#include "art_raster.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

constexpr int lines_per_pixel = 8;

struct Crossing {
	double x;
	int winding;
};

std::vector<Crossing> crossings_at(const std::vector<Polygon> &polygons, double y)
{
	std::vector<Crossing> crossings;
	for (const Polygon &polygon : polygons) {
		for (size_t index = 0; index < polygon.size(); ++index) {
			const PathPoint &from = polygon[index];
			const PathPoint &to = polygon[(index + 1) % polygon.size()];
			if ((from.y <= y) == (to.y <= y))
				continue;
			const double x = from.x + (y - from.y) / (to.y - from.y) * (to.x - from.x);
			crossings.push_back({x, from.y <= y ? 1 : -1});
		}
	}
	std::sort(crossings.begin(), crossings.end(), [](const Crossing &a, const Crossing &b) { return a.x < b.x; });
	return crossings;
}

// Adds the exact horizontal coverage of one span.
void add_span(float *row, int width, double from, double to)
{
	const double low = std::clamp(from, 0.0, static_cast<double>(width));
	const double high = std::clamp(to, 0.0, static_cast<double>(width));
	for (int x = static_cast<int>(low); x < width && x < high; ++x) {
		const double part = std::min(high, x + 1.0) - std::max(low, static_cast<double>(x));
		row[x] += static_cast<float>(part / lines_per_pixel);
	}
}

// One pass of a box filter of 2 * `radius` + 1 values over a line of `count` values that lie `step` apart. Beyond both
// ends the line continues with its last value.
void box_line(float *line, int count, size_t step, int radius, std::vector<float> &copy)
{
	copy.resize(static_cast<size_t>(count));
	for (int index = 0; index < count; ++index)
		copy[size_t(index)] = line[size_t(index) * step];
	const auto at = [&](int index) {
		return double{copy[size_t(std::clamp(index, 0, count - 1))]};
	};
	double sum = 0;
	for (int index = -radius; index <= radius; ++index)
		sum += at(index);
	for (int index = 0; index < count; ++index) {
		line[size_t(index) * step] = static_cast<float>(std::max(sum, 0.0) / (2 * radius + 1));
		sum += at(index + radius + 1) - at(index - radius);
	}
}

constexpr int blur_passes = 3;

// Three boxes of this radius have the variance (2 r + 1)^2 - 1 over 4.
int blur_radius(double sigma)
{
	return std::max(1, static_cast<int>(std::lround((std::sqrt(4 * sigma * sigma + 1) - 1) / 2)));
}

} // namespace

Coverage cover(const std::vector<Polygon> &polygons, int width, int height)
{
	double top = height;
	double bottom = 0;
	for (const Polygon &polygon : polygons) {
		for (const PathPoint &point : polygon) {
			top = std::min(top, point.y);
			bottom = std::max(bottom, point.y);
		}
	}
	const int first = std::max(0, static_cast<int>(top));
	const int end = std::max(first, std::min(height, static_cast<int>(std::ceil(bottom))));
	Coverage coverage = {first, std::vector<float>(size_t(end - first) * size_t(width))};
	for (int line = first * lines_per_pixel; line < end * lines_per_pixel; ++line) {
		float *row = coverage.values.data() + size_t(line / lines_per_pixel - first) * size_t(width);
		int winding = 0;
		double start = 0;
		for (const Crossing &crossing : crossings_at(polygons, (line + 0.5) / lines_per_pixel)) {
			if (winding == 0)
				start = crossing.x;
			winding += crossing.winding;
			if (winding == 0)
				add_span(row, width, start, crossing.x);
		}
	}
	for (float &value : coverage.values)
		value = std::min(value, 1.0F);
	return coverage;
}

void blur_plane(std::vector<float> &values, int width, int height, int channels, double sigma)
{
	const int radius = blur_radius(sigma);
	const size_t row = size_t(width) * size_t(channels);
	std::vector<float> copy;
	for (int pass = 0; pass < blur_passes; ++pass) {
		for (int channel = 0; channel < channels; ++channel) {
			float *plane = values.data() + channel;
			for (int y = 0; y < height; ++y)
				box_line(plane + size_t(y) * row, width, size_t(channels), radius, copy);
			for (int x = 0; x < width; ++x)
				box_line(plane + x * channels, height, row, radius, copy);
		}
	}
}

int blur_reach(double sigma)
{
	return blur_passes * blur_radius(sigma);
}

} // namespace kalvio::engine
