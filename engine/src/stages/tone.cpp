// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/tone.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

// What a full strength adds: `red`, `green` and `blue` are fractions of the whole range at middle brightness, falling
// to nothing at black and white; `saturation` is the part of the distance to grey that is taken away.
struct Tone {
	float red;
	float green;
	float blue;
	float saturation;
};

// In the order of the whitening styles: cold white, pink white, warm white, wheat, tan.
constexpr Tone whitening_tones[] = {
	{0.125F, 0.150F, 0.195F, 0.12F},  {0.185F, 0.135F, 0.165F, 0.05F},     {0.185F, 0.155F, 0.110F, 0.03F},
	{0.105F, 0.075F, 0.015F, -0.05F}, {-0.060F, -0.100F, -0.145F, -0.05F},
};

constexpr Tone rosy_tone = {0.050F, -0.036F, -0.008F, -0.03F};

int16_t to_fixed(float value)
{
	return static_cast<int16_t>(std::lrint(std::clamp(value, -0.99F, 0.99F) * 32768.0F));
}

} // namespace

kernels::ToneGains tone_gains(const Settings &settings)
{
	const Tone &white = whitening_tones[settings.whitening_style];
	const auto mix = [&](float Tone::*part) {
		return to_fixed(white.*part * settings.whitening + rosy_tone.*part * settings.rosiness);
	};
	const int16_t gain[4] = {mix(&Tone::red), mix(&Tone::green), mix(&Tone::blue), 0};
	const int16_t saturation = mix(&Tone::saturation);
	kernels::ToneGains result = {};
	for (int lane = 0; lane < 8; ++lane) {
		result.gain[lane] = gain[lane % 4];
		result.saturation[lane] = lane % 4 == 3 ? int16_t{0} : saturation;
	}
	return result;
}

} // namespace kalvio::engine
