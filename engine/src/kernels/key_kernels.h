// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

// The chroma key, compiled for every instruction set and picked at run time. All of them give the same bytes on each:
// every value is made by the same operations in the same order.
//
// Light is linear, 0..1. The color difference of a pixel is its light in the key's channel less `others` times the
// larger of the two other channels; it is 0 and below for neutral colors, and largest for the screen.
//
// Rows are RGBA, 8 bits per channel, and lie where kernels.h says. Pixels are worked on in groups of eight; what
// lies beyond the last pixel of a row does not matter.
namespace kalvio::engine::kernels {

// A difference of 1 - pixel / screen, 11 fraction bits: 0 is the screen, 1 a neutral color, and more has less of the
// key's color than that.
using KeyOpacity = int16_t;
inline constexpr int one_opacity = 1 << 11;
inline constexpr int largest_opacity = 3640; // the sum of nine fits 16 bits
inline constexpr float most_inverse_screen = 15.9F;
inline constexpr int key_group_pixels = 8;
inline constexpr int key_cell_pixels = 16; // on a cell's side

struct KeyChannel {
	int channel;        // of the key color: 0 red, 1 green, 2 blue
	float others;       // of the color difference; a multiple of 1/16
	float least_purity; // the difference's part of the light in the channel, from which on a color may be a
			    // screen's
};

// The opacities of a row. `inverse_screen` is 1 / the screen's color difference in the middle of each cell, 11 fraction
// bits; it is read one cell before the first and behind the last. Hidden pixels are opaque, whatever their color.
// Writes whole groups, continued by the last pixel, and one value on both sides.
void key_opacity_row(const uint8_t *row, int width, const KeyChannel &key, const int16_t *inverse_screen,
		     KeyOpacity *opacities);

// How opacities become a matte.
struct KeyRamp {
	float low;         // up to here all is screen
	float high;        // from here on all is foreground
	float despill;     // part of the spill that is taken out of the foreground, 0..1
	float noise;       // of opacities where the largest channel is a screen's, as a standard deviation
	float noise_level; // that channel's level; noise in linear light grows with the level
};

// The screen and the foreground near one cell.
struct KeyCell {
	float screen[3];     // light for a color difference of 1
	uint32_t fill;       // the foreground's color as a pixel, alpha 0
	float front[3];      // the foreground's light
	float front_opacity; // 1 or more; of a front that has less of the key's color than a neutral one
};

// The matte of the row before, 11 fraction bits, and whether each group has one.
struct KeyHistory {
	KeyOpacity *opacities;
	uint8_t *known;
};

struct KeyRows {
	const KeyOpacity *above;
	const KeyOpacity *own;
	const KeyOpacity *below;
};

// Writes the matte, 4 equal bytes per pixel, 0 screen to 255 foreground, and frees `row` from the screen's light: a
// pixel that is partly screen gets the foreground's color, one that is all screen the color of the foreground nearby.
// Alpha is kept.
void key_row(const KeyRows &rows, int width, const KeyRamp &ramp, const KeyChannel &key, const int16_t *inverse_screen,
	     const KeyCell *cells, const KeyHistory &history, uint8_t *row, uint8_t *matte);

// The matte alone, without a look at neighbors or at the frame before.
void key_matte_row(const KeyOpacity *opacities, int width, const KeyRamp &ramp, uint8_t *matte);

} // namespace kalvio::engine::kernels
