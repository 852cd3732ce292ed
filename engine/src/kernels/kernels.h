// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

// The hot loops, compiled for every instruction set and picked at run time. All of them give the same bytes on each:
// floating-point work is element by element in one order, without fused multiply-add.
//
// Rows are RGBA, 8 bits a channel, in scratch memory: readable and writable `row_padding_bytes` beyond both ends. Cells
// are what 4 x 4 pixels become on a reduced grid.
namespace kalvio::engine::kernels {

inline constexpr int row_padding_bytes = 128;
// A row of cells or of field values can be read and written this many elements beyond its end.
inline constexpr int grid_padding = 64;

// --- Reduced grid -------------------------------------------------------------------------------------------------

// Four rows of `cells` * 4 pixels become cells of four floats: the mean of r, g and b less 128, and the sum of the
// squares of these three.
void cell_means(const uint8_t *const rows[4], int cells, float *out);

// out[i] = sum over the rows of row[i].
void add_rows(const float *const *rows, int row_count, int floats, float *out);

// Sums of 2 * radius + 1 neighbouring cells of four floats each, times `scale`. `padded` starts `radius` cells before
// the first output.
void box_cells(const float *padded, int radius, int cells, float scale, float *out);

// From window means {r, g, b, squares}, the keep factor and offset of a self-guided filter whose guide is all three
// channels: keep = V^2 / (V^2 + epsilon^2), offset = (1 - keep) * mean. Out: {offset r, g, b, keep}. The squares make
// the step from smoothed to kept steeper than the plain ratio, which still softens a strong edge by a tenth. Below a
// green of 140 epsilon shrinks with the square of brightness.
void keep_and_offset(const float *means, int cells, float epsilon, float *out);

// One row between two rows of 16-bit values, `weight` 0..32767 of the lower one.
void lerp_rows(const int16_t *above, const int16_t *below, int16_t weight, int count, int16_t *out);

// --- Retouch ------------------------------------------------------------------------------------------------------

// Adjustments of tone, for the channels r g b a of two pixels.
struct ToneGains {
	int16_t gain[8];       // of the parabola 4 c (1 - c), in units of 1/32768 of half the range; alpha: 0
	int16_t saturation[8]; // pull towards luma, 15 fraction bits; alpha: 0
};

// Values of one cell of the correction field without and with a skin mask. Each group of 8 holds the channels r g b a
// of a pixel twice:
//   0  smoothing offset, 6 fraction bits            16  skin slope, 12 fraction bits
//   8  smoothing gain, 15 fraction bits             24  skin offset, 11 fraction bits
inline constexpr int field_values = 16;
inline constexpr int masked_field_values = 32;

// Smooths and tones a row in place. `field` points at the first cell of a 4 x 4 grid, brought to this row's height; it
// is read one cell before and behind the row. With a mask, alpha becomes the skin mask, else it is kept. `y` picks the
// row of the dither pattern.
void retouch_row(uint8_t *row, int width, const int16_t *field, bool masked, const ToneGains &tone, int y);

// out = centre + strength * detail, where detail is taken against the 3 x 3 binomial mean and the result is held to the
// neighbourhood's range and a little more, so that no halo appears. Beyond both ends of a row stands its last pixel.
// `strength` has 8 fraction bits, at most 4095. With a mask the centre's alpha scales the strength. Alpha of `out` is
// that of the centre. Rows of at least `unpadded_pixels` need no padding.
inline constexpr int unpadded_pixels = 16;
void sharpen_row(const uint8_t *above, const uint8_t *centre, const uint8_t *below, int width, int strength,
		 bool masked, uint8_t *out);

// Gives `row` the alpha of `from`.
void copy_alpha(const uint8_t *from, int width, uint8_t *row);

// --- Colour filter ------------------------------------------------------------------------------------------------

// One cell of the lookup: eight pairs of lattice colours {r, g, b, 0} with 6 fraction bits. A colour lies in one of six
// tetrahedra, told by the order of its three fractions; all hold the cell's two far corners, the pair `diagonal`. The
// other two corners are the pair at the tetrahedron's code.
struct LookupCell {
	static constexpr int cells_a_side = 32;
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

// Replaces the colours of a row; alpha is kept.
void lookup_row(uint8_t *row, int width, const int16_t *cells);

// --- Key and background -------------------------------------------------------------------------------------------

// A colour key in the plane of colour differences (Cb, Cr of Rec. 709, each -0.5..0.5).
struct ColorKey {
	float direction_blue; // unit vector towards the key colour
	float direction_red;
	float distance;   // of the key colour from grey
	float inner;      // up to this distance from the key colour all is background
	float ramp_scale; // 1 / width of the ramp to the foreground
	int channel;      // of the key colour: 0 red, 1 green, 2 blue
	int32_t despill;  // part of the spill that is taken out, 8 fraction bits
};

// The matte of a row: 4 equal bytes a pixel, 0 background to 255 foreground.
void key_row(const uint8_t *row, int width, const ColorKey &key, uint8_t *matte);

// The same with less noise: each pixel's distance from the key colour gives way to that of the nine around it, by no
// more than noise may be. The rows are read one pixel before and behind.
void key_row_among(const uint8_t *above, const uint8_t *row, const uint8_t *below, int width, const ColorKey &key,
		   uint8_t *matte);

// Holds the key's channel down to the larger of the other two; red to twice that, as there is red in every face.
void despill_row(uint8_t *row, int width, const ColorKey &key);

// Alpha becomes alpha * matte.
void cut_row(uint8_t *row, int width, const uint8_t *matte);

// row = background + (row - background) * matte; alpha is kept.
void composite_row(uint8_t *row, int width, const uint8_t *matte, const uint8_t *background);

// row = row + (other - row) * weight (8 fraction bits, 0..256); alpha is kept.
void mix_row(uint8_t *row, int width, const uint8_t *other, int weight);

// --- Background picture -------------------------------------------------------------------------------------------
//
// Weights have 15 fraction bits, are at least 0 and 32767 together. Sums have 7 fraction bits.

// out[i] = sum over the rows of rows[tap][i] * weights[tap]. Nothing is read or written beyond the rows.
void weigh_byte_rows(const uint8_t *const *rows, const int16_t *weights, int taps, int bytes, int16_t *out);

// Pixels of four bytes out of a row of pixels of four sums: each is made of 2 * `pairs` neighbours, from the value
// firsts[x] on. The weights, aligned to 16 bytes, follow each other pixel by pixel, each four times.
void weigh_pixels(const int16_t *row, const int *firsts, const int16_t *weights, int pairs, int width, uint8_t *out);

// --- Background blur ----------------------------------------------------------------------------------------------
//
// Cells stand for blocks of block x block pixels, 4 to 128 a side. Pixels travel as pairs of channels, red and blue or
// green and alpha: bytes become 16-bit values and bytes again without changing their order. A cell is {r, b, g, a}.

// A row with the weight that the matte leaves to the background: out = {r, g, b, 255} * (255 - matte) / 255.
void weigh_row(const uint8_t *row, int width, const uint8_t *matte, uint8_t *out);

struct ChannelSums {
	uint16_t *red_blue;
	uint16_t *green_alpha;
};

// The sums of four rows, with `add` on top of what is there. At most 128 rows fit.
void sum_rows(const uint8_t *const rows[4], int bytes, bool add, const ChannelSums &sums);

// The sums of `block` rows become cells of four floats, the mean of each channel, 0..1; alpha is 1 if `opaque`.
void cells_of_sums(const ChannelSums &sums, int block, int cells, bool opaque, float *out);

// out = sum over the taps of padded[cell + tap] * weights[tap]; `padded` starts at the first tap of the first cell.
void convolve_cells(const float *padded, const float *weights, int taps, int cells, float *out);
// out[i] = sum over the rows of row[i] * weights[row].
void convolve_rows(const float *const *rows, const float *weights, int taps, int floats, float *out);

// Cells with a weight in their fourth channel become colours with 6 fraction bits, opaque; black where all weights are
// next to nothing.
void fixed_cells(const float *weighted, int cells, int16_t *out);

struct ChannelRows {
	int16_t *red_blue;
	int16_t *green_alpha;
};

// A row of `count` cells, read one cell before and behind, enlarged along the row by linear interpolation. `left` and
// `right` hold for the pixels of a cell the weights of its neighbours, 15 fraction bits, each twice.
void enlarge_cells(const int16_t *cells, int block, const int16_t *left, const int16_t *right, int count,
		   const ChannelRows &out);
// Pixels between two such rows, `weight` 0..32767 of the lower one. `y` picks the dither row.
void blend_rows(const ChannelRows &above, const ChannelRows &below, int16_t weight, int width, int y, uint8_t *row);

} // namespace kalvio::engine::kernels
