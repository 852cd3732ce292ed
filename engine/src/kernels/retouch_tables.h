// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

namespace kalvio::engine::kernels {

// Weights of the left and of the right neighbor cell for the pixels of a cell, 15 fraction bits, each for the four
// channels of its pixel: with cells of 4 pixels their centers lie 3/8 and 1/8 of a cell from the center of their cell.
template <int CellPixels>
struct NeighborWeights {
	alignas(64) int16_t left[size_t{CellPixels} * 4] = {};
	alignas(64) int16_t right[size_t{CellPixels} * 4] = {};

	constexpr NeighborWeights()
	{
		for (int pixel = 0; pixel < CellPixels; ++pixel) {
			const int from_center = (2 * pixel + 1 - CellPixels) * 16384 / CellPixels;
			for (int channel = 0; channel < 4; ++channel) {
				left[pixel * 4 + channel] = static_cast<int16_t>(from_center < 0 ? -from_center : 0);
				right[pixel * 4 + channel] = static_cast<int16_t>(from_center > 0 ? from_center : 0);
			}
		}
	}
};
template <int CellPixels>
inline constexpr NeighborWeights<CellPixels> neighbor_weights;

// 11 fraction bits, just short of 1: shifted to 15 bits it must not overflow.
inline constexpr int16_t full_mask = 2047;

} // namespace kalvio::engine::kernels
