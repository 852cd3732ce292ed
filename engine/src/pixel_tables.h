// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

// Constants that several kernels load into vectors of 16-bit channel values.
namespace kalvio::engine::kernels {

// Ordered dither (Bayer 4 x 4) over the six fraction bits that the last rounding drops: smoothing takes away the noise
// that hides 8-bit steps, and a smooth cheek would show them. Alpha is rounded plainly.
alignas(64) inline constexpr int16_t dither_rows[4][16] = {
	{2, 2, 2, 32, 34, 34, 34, 32, 10, 10, 10, 32, 42, 42, 42, 32},
	{50, 50, 50, 32, 18, 18, 18, 32, 58, 58, 58, 32, 26, 26, 26, 32},
	{14, 14, 14, 32, 46, 46, 46, 32, 6, 6, 6, 32, 38, 38, 38, 32},
	{62, 62, 62, 32, 30, 30, 30, 32, 54, 54, 54, 32, 22, 22, 22, 32},
};

// The same for two channels of four pixels.
alignas(16) inline constexpr int16_t pair_dither_rows[4][8] = {
	{2, 2, 34, 34, 10, 10, 42, 42},
	{50, 50, 18, 18, 58, 58, 26, 26},
	{14, 14, 46, 46, 6, 6, 38, 38},
	{62, 62, 30, 30, 54, 54, 22, 22},
};

alignas(16) inline constexpr int16_t luma_weights[8] = {6963, 23434, 2371, 0, 6963, 23434, 2371, 0}; // Rec. 709
alignas(16) inline constexpr int16_t color_lanes[8] = {-1, -1, -1, 0, -1, -1, -1, 0};

inline constexpr int16_t white = 255 << 6;

} // namespace kalvio::engine::kernels
