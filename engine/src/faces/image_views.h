// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"
#include "frame.h"

#include <cstdint>
#include <span>
#include <vector>

namespace kalvio::engine {

// What a crop shows where it reaches beyond the frame.
enum class CropBorder { Black, Repeated };

// How a channel's level 0..255 becomes a number of the crop.
struct LevelScale {
	float factor;
	float offset;
};

// Cuts squares out of frames and brings them to the size of a net's input. Keeps its memory; one thread at a time.
class CropSampler {
public:
	// Writes size x size pixels of three channels, row by row. Where a pixel of the crop covers two pixels of the
	// frame or more, it is taken from means of 2 x 2, 4 x 4, ... pixels, so that nothing of the frame is left out;
	// between them the values are interpolated. `square` must be finite.
	void sample(const Frame &frame, const CropSquare &square, int size, CropBorder border, LevelScale scale,
		    std::span<float> out);

private:
	// A part of the frame as means of blocks.
	struct Blocks {
		int shift = 0; // a block has 2^shift pixels a side
		int left = 0;  // in blocks
		int top = 0;
		int columns = 0;
		int rows = 0;
	};

	static void sum_lines(const uint8_t *const *rows, int lines, int cell, int pixels, bool add, float *sums);
	void measure_row(const Frame &frame, const Blocks &blocks, int y, float *means);
	void measure(const Frame &frame, const Blocks &blocks);

	std::vector<float> means_;
	std::vector<float> sums_;
};

// The squares in which faces are looked for, for frames of any shape: the whole frame with black around it, three
// squares as large as the shorter side allows, then fifteen of half that side. Each finds faces whose eyes are about 5
// to 40 % of its side apart.
inline constexpr int whole_view = 0;
inline constexpr int first_square_view = 1;
inline constexpr int square_view_count = 3;
inline constexpr int first_half_view = first_square_view + square_view_count;
inline constexpr int half_views_along = 5;
inline constexpr int half_views_across = 3;
inline constexpr int view_count = first_half_view + half_views_along * half_views_across;

CropSquare view_square(int view, int frame_width, int frame_height);

} // namespace kalvio::engine
