// SPDX-License-Identifier: GPL-2.0-or-later
#include "image.h"

#include <algorithm>

namespace kalvio::engine {

Image halved(const Image &image)
{
	Image half;
	half.resize(std::max(image.width / 2, 1), std::max(image.height / 2, 1));
	for (int y = 0; y < half.height; ++y) {
		const int below = std::min(2 * y + 1, image.height - 1);
		for (int x = 0; x < half.width; ++x) {
			const int right = std::min(2 * x + 1, image.width - 1);
			for (int channel = 0; channel < 4; ++channel) {
				const int sum = image.pixel(2 * x, 2 * y)[channel] +
						image.pixel(right, 2 * y)[channel] +
						image.pixel(2 * x, below)[channel] + image.pixel(right, below)[channel];
				half.pixel(x, y)[channel] = static_cast<uint8_t>((sum + 2) / 4);
			}
		}
	}
	return half;
}

} // namespace kalvio::engine
