// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

// The hot loops, compiled for every instruction set and picked at run time. All of them give the same bytes on each:
// floating-point work is element by element in one order, without fused multiply-add.
//
// Rows are RGBA, 8 bits per channel, aligned to nothing. They lie in scratch memory, readable and writable
// `row_padding_bytes` beyond both ends, or in a frame whose rows are whole vectors: of such a row, or of a part of it
// that begins at a multiple of `widest_vector_bytes`, nothing beyond the next multiple is read or written. Cells are
// what squares of 2, 4 or 8 pixels a side become on a reduced grid.
namespace kalvio::engine::kernels {

inline constexpr int row_padding_bytes = 128;
// A row of cells or of field values can be read and written this many elements beyond its end.
inline constexpr int grid_padding = 64;

// --- Reduced grid -------------------------------------------------------------------------------------------------

// `cell_pixels` rows (2, 4 or 8) of `cells` * `cell_pixels` pixels become cells of four floats: the mean of r, g and b
// less 128, weighted by alpha, and the mean alpha, 0..1. A cell that is transparent all over is {0, 0, 0, 0}.
void cell_means(const uint8_t *const *rows, int cell_pixels, int cells, float *out);

// out[i] = sum over the rows of row[i].
void add_rows(const float *const *rows, int row_count, int floats, float *out);

// Sums of 2 * radius + 1 neighboring cells of four floats each, times `scale`. `padded` starts `radius` cells before
// the first output.
void box_cells(const float *padded, int radius, int cells, float scale, float *out);

// One row between two rows of 16-bit values, `weight` 0..32767 of the lower one.
void lerp_rows(const int16_t *above, const int16_t *below, int16_t weight, int count, int16_t *out);

// --- Retouch ------------------------------------------------------------------------------------------------------

// Values of one cell of the correction field without and with a skin mask. Each group of 8 holds the channels r g b a
// of a pixel twice:
//   0  smoothing offset, 6 fraction bits            16  skin slope, 12 fraction bits
//   8  smoothing gain, 15 fraction bits             24  skin offset, 11 fraction bits
inline constexpr int field_values = 16;
inline constexpr int masked_field_values = 32;

// Smooths a row in place. `field` points at the first cell of a grid of `cell_pixels` (2, 4 or 8), brought to this
// row's height; it is read one cell before and behind the row. A part of a row may be given that begins at a multiple
// of 4 pixels. With a mask, alpha becomes the skin mask, else it is kept. `y` picks the row of the dither pattern.
void retouch_row(uint8_t *row, int width, const int16_t *field, int cell_pixels, bool masked, int y);

// row = row + (other - row) * the row's alpha; alpha is kept.
void mix_row_by_alpha(uint8_t *row, int width, const uint8_t *other);

// out = center + strength * detail, where detail is taken against the binomial mean of 3 x 3 pixels `step` apart, less
// what may be noise, and the result is held to these pixels' range and a little more, so that no halo appears. `above`
// and `below` are `step` rows away; beyond both ends of a row stands its last pixel. `strength` has 8 fraction bits, at
// most 4095. With a mask the center's alpha scales the strength. Alpha of `out` is that of the center. Rows of at least
// `unpadded_pixels` need no padding.
inline constexpr int unpadded_pixels = 16;
inline constexpr int max_sharpen_step = 6;
void sharpen_row(const uint8_t *above, const uint8_t *center, const uint8_t *below, int width, int step, int strength,
		 bool masked, uint8_t *out);

// Gives `row` the alpha of `from`.
void copy_alpha(const uint8_t *from, int width, uint8_t *row);

// --- Color filter ------------------------------------------------------------------------------------------------

// One cell of the lookup: eight pairs of LUT colors {r, g, b, 0} with 6 fraction bits. A color lies in one of six
// tetrahedra, told by the order of its three fractions; all hold the cell's two far corners, the pair `diagonal`. The
// other two corners are the pair at the tetrahedron's code.
struct LutCell {
	static constexpr int cells_per_side = 32;
	static constexpr int values = 64;
	static constexpr int diagonal = 1;
	static constexpr int unused = 6;

	// Code: 4 for r >= g, 2 for g >= b, 1 for r >= b. Channels 0, 1, 2 of the largest and the smallest fraction.
	struct Order {
		int code;
		int largest;
		int smallest;
	};
	static constexpr Order orders[6] = {{7, 0, 2}, {5, 0, 1}, {4, 2, 1}, {0, 2, 0}, {2, 1, 0}, {3, 1, 2}};
};

// Replaces the colors of a row; alpha is kept. `out` may be the row itself.
void lookup_row(const uint8_t *row, int width, const int16_t *cells, uint8_t *out);

// --- Key and background -------------------------------------------------------------------------------------------

// Alpha becomes alpha * matte.
void scale_alpha_by_matte(uint8_t *row, int width, const uint8_t *matte);

// row = background + (row - background) * matte; alpha is kept.
void composite_row(uint8_t *row, int width, const uint8_t *matte, const uint8_t *background);

// row = row + (other - row) * weight (8 fraction bits, 0..256); alpha is kept.
void mix_row(uint8_t *row, int width, const uint8_t *other, int weight);

// --- Background picture -------------------------------------------------------------------------------------------
//
// Weights have 15 fraction bits, are at least 0 and 32767 together. Sums have 7 fraction bits.

// out[i] = sum over the rows of rows[tap][i] * weights[tap]. Nothing is read or written beyond the rows.
void weigh_byte_rows(const uint8_t *const *rows, const int16_t *weights, int taps, int bytes, int16_t *out);

// Pixels of four bytes out of a row of pixels of four sums: each is made of 2 * `pairs` neighbors, from the value
// firsts[x] on. The weights, aligned to 16 bytes, follow each other pixel by pixel, each four times.
void weigh_pixels(const int16_t *row, const int *firsts, const int16_t *weights, int pairs, int width, uint8_t *out);

// --- Background blur ----------------------------------------------------------------------------------------------
//
// Cells stand for blocks of block x block pixels, 4 to 128 per side. Pixels travel as pairs of channels, red and blue
// or green and alpha: bytes become 16-bit values and bytes again without changing their order. A cell is {r, b, g, a}.

// A row with the weight that the matte leaves to the background, and alpha to what can be seen:
// out = {r, g, b, 255} * (255 - matte) / 255 * alpha / 255.
void background_weighted_row(const uint8_t *row, int width, const uint8_t *matte, uint8_t *out);

struct ChannelSums {
	uint16_t *red_blue;
	uint16_t *green_alpha;
};

// The sums of four rows, with `add` on top of what is there. At most 128 rows fit.
void sum_rows(const uint8_t *const rows[4], int bytes, bool add, const ChannelSums &sums);

// The sums of `block` rows become cells of four floats, the mean of each channel, 0..1; alpha is 1 if `opaque`.
void average_blocks(const ChannelSums &sums, int block, int cells, bool opaque, float *out);

// out = sum over the taps of padded[cell + tap] * weights[tap]; `padded` starts at the first tap of the first cell.
void convolve_cells(const float *padded, const float *weights, int taps, int cells, float *out);
// out[i] = sum over the rows of row[i] * weights[row].
void convolve_rows(const float *const *rows, const float *weights, int taps, int floats, float *out);

// Cells with a weight in their fourth channel become colors with 6 fraction bits, opaque; black where all weights are
// next to nothing.
void unpremultiply_to_fixed(const float *weighted, int cells, int16_t *out);

struct ChannelRows {
	int16_t *red_blue;
	int16_t *green_alpha;
};

// A row of `count` cells, read one cell before and behind, upsampled along the row by linear interpolation. `left` and
// `right` hold for the pixels of a cell the weights of its neighbors, 15 fraction bits, each twice.
void upsample_row(const int16_t *cells, int block, const int16_t *left, const int16_t *right, int count,
		  const ChannelRows &out);
// Pixels between two such rows, `weight` 0..32767 of the lower one. `y` picks the dither row.
void blend_rows(const ChannelRows &above, const ChannelRows &below, int16_t weight, int width, int y, uint8_t *row);

} // namespace kalvio::engine::kernels
