// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "bundle.h"

#include <cstdint>
#include <vector>

namespace kalvio::engine {

// A decoded picture: RGBA, 8 bits a channel, straight alpha, no padding, as a person would see it (its orientation is
// applied).
struct Image {
	int width = 0;
	int height = 0;
	std::vector<uint8_t> pixels;

	const uint8_t *pixel(int x, int y) const { return pixels.data() + (size_t(y) * size_t(width) + size_t(x)) * 4; }
	uint8_t *pixel(int x, int y) { return pixels.data() + (size_t(y) * size_t(width) + size_t(x)) * 4; }
};

// Checked before a picture's memory is taken: 16384 on a side and 64 million pixels in all.
inline constexpr int max_image_side = 16384;
inline constexpr int64_t max_image_pixels = int64_t{64} << 20;
inline constexpr int64_t max_image_file_bytes = int64_t{128} << 20;

// Decodes JPEG (grey, colour, CMYK) or PNG (any depth, palette, alpha; of an animated one the still picture). The
// content decides, not the file's name. KL_ERROR_FORMAT for anything else.
ReadResult decode_image(const Bytes &bytes, Image &image);
ReadResult load_image(const char *path, Image &image);

} // namespace kalvio::engine
