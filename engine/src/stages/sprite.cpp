// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/sprite.h"

#include <algorithm>
#include <utility>

namespace kalvio::engine {

namespace {

void premultiply(Image &image)
{
	for (size_t index = 0; index < image.pixels.size(); index += 4) {
		const int alpha = image.pixels[index + 3];
		for (size_t channel = 0; channel < 3; ++channel) {
			uint8_t &value = image.pixels[index + channel];
			value = static_cast<uint8_t>((value * alpha + 127) / 255);
		}
	}
}

} // namespace

Sprite::Sprite(Image image)
{
	premultiply(image);
	levels_.push_back(std::move(image));
	while (levels_.back().width > 2 && levels_.back().height > 2)
		levels_.push_back(halved(levels_.back()));
}

const Image &Sprite::level(float scale) const
{
	constexpr float root_of_half = 0.70710678F; // nearer to the half than to the whole
	size_t number = 0;
	for (; number + 1 < levels_.size() && scale < root_of_half; ++number)
		scale *= 2;
	return levels_[number];
}

} // namespace kalvio::engine
