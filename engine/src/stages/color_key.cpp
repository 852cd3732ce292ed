// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/color_key.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

kernels::ColorKey color_key(const ChromaKeySettings &settings)
{
	// Narrower than this the ramp is a saw-tooth on every edge.
	constexpr float narrowest_ramp = 1.0F / 128.0F;
	// By key colour: green, blue, red.
	constexpr float blue[] = {-0.38543F, 0.5F, -0.11457F};
	constexpr float red[] = {-0.45415F, -0.04585F, 0.5F};
	constexpr int channel[] = {1, 2, 0};

	const auto color = static_cast<size_t>(settings.color);
	const float distance = std::sqrt(blue[color] * blue[color] + red[color] * red[color]);
	kernels::ColorKey key = {};
	key.direction_blue = blue[color] / distance;
	key.direction_red = red[color] / distance;
	key.distance = distance;
	key.inner = settings.similarity;
	key.ramp_scale = 1.0F / std::max(settings.smoothness, narrowest_ramp);
	key.channel = channel[color];
	key.despill = static_cast<int32_t>(std::lrint(settings.desaturation * 256.0F));
	return key;
}

} // namespace kalvio::engine
