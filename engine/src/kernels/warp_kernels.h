// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

// Resampling of a picture through a displacement field, compiled for every instruction set and picked at run time; the
// same bytes on each: all arithmetic is of integers.
namespace kalvio::engine::kernels {

// RGBA rows. Nothing outside of them is read.
struct WarpSource {
	const uint8_t *pixels;
	ptrdiff_t row_bytes;
	int width;  // at least 1, at most 16,384
	int height; // the same
};

// Where an output pixel is read, as an offset from its own place: pixels with 16 fraction bits, at most 4,096 pixels.
struct WarpNode {
	int32_t x;
	int32_t y;
};

// Nodes lie 1 << shift pixels apart, both ways.
inline constexpr int max_warp_cell_shift = 5;

// A row of the output and the nodes that it lies between.
struct WarpLine {
	const WarpNode *above; // at the first column, and one for each cell behind it
	const WarpNode *below; // the same, a cell further down
	int cell_shift;
	int number; // how many rows it lies below the upper nodes, 0 to (1 << cell_shift) - 1
	int reach;  // pixels; no node's offset is larger, along either axis
	int x;      // where it begins, in the source's coordinates
	int y;
};

// One output row of `cells` cells. Between the nodes the offset is bilinear; between the source's pixels the value
// follows the cubic convolution of Keys ("Cubic convolution interpolation for digital image processing", 1981; a =
// -1/2) in steps of 1/64 pixel, held to 0..255. Beyond the source's edges stands its last pixel. An offset of 0 gives
// the source's own bytes.
void warp_row(const WarpSource &source, const WarpLine &line, int cells, uint8_t *out);

} // namespace kalvio::engine::kernels
