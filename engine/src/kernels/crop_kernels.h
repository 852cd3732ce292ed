// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

// Squares of a frame for the input of a net, compiled for every instruction set and picked at run time. All of them
// give the same bytes on each: sums of bytes are whole numbers, which a float holds exactly, and every value of a crop
// is made by the same operations in the same order, multiplied and then added, never both in one.
//
// A cell is four floats: red, green, blue and alpha of a block of pixels.
namespace kalvio::engine::kernels {

// Sums of `block` x `lines` pixels, with `add` on top of what is there, times `scale`. `block` is 2 or 4, `lines` at
// most 4; the rows have `cells` * `block` pixels.
void block_sums(const uint8_t *const *rows, int lines, int block, int cells, bool add, float scale, float *out);

// A part of an image: cells, or pixels of four bytes. Places count the elements of the whole image, of which `first` is
// the one at (left, top).
template <typename Value>
struct ImagePart {
	const Value *first;
	ptrdiff_t row; // values from one row to the next
	int left;
	int top;
	int columns; // of the whole image
	int rows;
};

// Where the pixels of a crop lie: that in column i and row j at (x, y) + i * right + j * down, with the center of the
// image's first element at (0, 0).
struct CropGrid {
	float x, y;
	float right_x, right_y;
	float down_x, down_y;
	int size;     // columns and rows
	bool black;   // beyond the image; else its edge goes on
	float factor; // a value of the crop is level * factor + offset
	float offset;
};

// Interpolates between the four nearest elements and writes size * size * 3 values: red, green, blue. `image` holds
// every element of the whole image that this needs.
void crop_cells(const ImagePart<float> &image, const CropGrid &grid, float *out);
void crop_pixels(const ImagePart<uint8_t> &image, const CropGrid &grid, float *out);

} // namespace kalvio::engine::kernels
