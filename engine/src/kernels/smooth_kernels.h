// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

// Smoothing of cell colors over several scales, compiled for every instruction set and picked at run time. All of them
// give the same bytes on each: every value is made by the same operations in the same order.
//
// A row of planes holds red, green and blue of its cells, each in a line of its own, `stride` floats from one to the
// next. Lines are readable `plane_padding` floats before the first cell and behind the last, and may be written a
// vector beyond that; colors are levels less 128.
namespace kalvio::engine::kernels {

inline constexpr int plane_padding = 32;

// Cells {r, g, b, weight} become a row of planes and a line of weights.
void split_cells(const float *cells, int columns, int stride, float *planes, float *weights);

// The rows above, at and below, `step` cells apart, with their weights.
struct PlaneRows {
	const float *colors[3];
	const float *weights[3];
	int stride;
};

// Colors that differ by less than a tolerance are smoothed together; the tolerance is `floor` levels and `share` of the
// cell's brightness.
struct Tolerance {
	float floor;
	float share;
};

// One scale of an edge-avoiding wavelet: out = the mean of the 3 x 3 cells `step` apart by binomial weights, times the
// neighbor's own, times Tukey's biweight (1 - d^2 / tolerance^2)^2 of the color difference d; then
// correction += part * (out - center), or = where `first`.
void smooth_planes(const PlaneRows &rows, int step, int columns, const Tolerance &tolerance, float part, bool first,
		   float *out, float *correction);

// How rough each cell is, 0..1: its difference from the binomial mean of 3 x 3 cells, in tolerances, at most 1.
void roughness(const PlaneRows &rows, int columns, const Tolerance &tolerance, float *out);

// out[i] = sum of the 2 * radius + 1 values from padded[i] on.
void box_line(const float *padded, int radius, int columns, float *out);

// How a row of smoothing is stored.
struct SmoothingLine {
	const float *colors;     // of the cells
	const float *correction; // to add to what the grid sees
	const float *roughness;  // sums
	const float *weights;
	int stride;
	float calm;     // the fourth power of roughness times this is 1 where half of the smoothing is left
	float strength; // 0..1
	float fine;     // part of what the grid does not see that is taken away
	float spots;    // more of it, where the correction is as large as that of a spot
	Tolerance spot; // a correction of so much has half of that effect
};

// Writes groups 0 and 1 of the cells' fields (kernels.h), `cell_values` apart.
void store_smoothing(const SmoothingLine &line, int columns, int cell_values, int16_t *field);

} // namespace kalvio::engine::kernels
