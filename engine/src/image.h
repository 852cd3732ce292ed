// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kalvio::engine {

// A decoded picture: RGBA, 8 bits per channel, straight alpha, no padding, as a person would see it (its orientation is
// applied).
struct Image {
	int width = 0;
	int height = 0;
	std::vector<uint8_t> pixels;

	const uint8_t *pixel(int x, int y) const { return pixels.data() + (size_t(y) * size_t(width) + size_t(x)) * 4; }
	uint8_t *pixel(int x, int y) { return pixels.data() + (size_t(y) * size_t(width) + size_t(x)) * 4; }
	size_t pixel_bytes() const { return size_t(width) * size_t(height) * 4; }

	// Takes the size and memory for it, and as much more as a reader of whole vectors needs behind the last row:
	// `pixels` can later grow by `spare_bytes` without being copied.
	static constexpr size_t spare_bytes = 128;
	void resize(int new_width, int new_height)
	{
		const size_t bytes = size_t(new_width) * size_t(new_height) * 4;
		pixels.reserve(bytes + spare_bytes);
		pixels.resize(bytes);
		width = new_width;
		height = new_height;
	}
};

// Half as wide and high, each pixel the mean of four; at least one pixel. A last column or row that is left over goes.
Image halved(const Image &image);

// Checked before a picture's memory is taken: 16384 per side and 64 million pixels in all.
inline constexpr int max_image_side = 16384;
inline constexpr int64_t max_image_pixels = int64_t{64} << 20;

} // namespace kalvio::engine
