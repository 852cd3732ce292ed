// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/tone.h"

#include "smoothstep.h"
#include "stages/oklab.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <mutex>
#include <numbers>

namespace kalvio::engine {

namespace {

// What full strength does to light skin.
struct Tone {
	double lightness; // added, 0..1
	double chroma;    // factor
	double turn;      // of the hue, in degrees, towards yellow
};

// In the order of the whitening styles: cold white, pink white, warm white, wheat, tan. Then rosy.
constexpr Tone tones[] = {
	{0.060, 0.68, -3.0}, {0.055, 0.92, -4.0}, {0.055, 0.95, 4.0},
	{0.034, 1.18, 4.0},  {-0.085, 1.18, 3.0}, {-0.012, 1.22, -4.0},
};
constexpr int rosy_tone = 5;

// Light skin, whose lightness the tones are given for.
constexpr double light_skin = 0.8;

// How much a color takes part: skin of any tone in any light fully. Hue in degrees.
double share_of(double lightness, double chroma, double hue)
{
	constexpr double other_colors = 0.2;
	// Teeth and the whites of eyes are paler than skin, lips redder, cloth and walls of any other hue.
	const double colored = smoothstep(0.02, 0.055, chroma / std::max(lightness, 0.05));
	const double warm = smoothstep(14, 36, hue) * (1 - smoothstep(80, 105, hue));
	const double skin = other_colors + (1 - other_colors) * colored * warm;
	const double lit = smoothstep(0.05, 0.30, lightness) * (1 - smoothstep(0.80, 1.0, lightness));
	return skin * lit;
}

Oklab toned(const Oklab &color, const Tone &tone)
{
	const double chroma = std::hypot(color.a, color.b);
	const double hue = std::atan2(color.b, color.a);
	const double share = share_of(color.lightness, chroma, hue * 180 / std::numbers::pi);
	// The darker, the less of each.
	const double depth = std::min(color.lightness / light_skin, 1.0);
	const double lightness = color.lightness + share * depth * tone.lightness;
	const double kept = color.lightness > 0 ? lightness / color.lightness : 1.0;
	const double new_chroma = chroma * kept * (1 + share * depth * (tone.chroma - 1));
	const double new_hue = hue + share * tone.turn * std::numbers::pi / 180;
	return {lightness, new_chroma * std::cos(new_hue), new_chroma * std::sin(new_hue)};
}

// What the tone adds to each color of a table.
std::vector<float> changes_of(const Tone &tone, Pool &pool)
{
	constexpr int side = Lut3d::side;
	double linear[side];
	for (int place = 0; place < side; ++place)
		linear[place] = linear_from_srgb(double(place) / (side - 1));
	std::vector<float> changes(Lut3d::values);
	pool.run(side, [&](int blue, int) {
		float *change = changes.data() + Lut3d::values / side * size_t(blue);
		for (int green = 0; green < side; ++green) {
			for (int red = 0; red < side; ++red) {
				const Oklab color = oklab_from_linear(linear[red], linear[green], linear[blue]);
				double light[3];
				linear_from_oklab(toned(color, tone), light);
				const int places[3] = {red, green, blue};
				for (size_t channel = 0; channel < 3; ++channel) {
					const double level = std::clamp(srgb_from_linear(light[channel]), 0.0, 1.0);
					*change++ = static_cast<float>(level - double(places[channel]) / (side - 1));
				}
			}
		}
	});
	return changes;
}

} // namespace

ToneTable::Changes ToneTable::shared_changes(int tone, Pool &pool)
{
	static std::mutex mutex;
	static std::weak_ptr<const std::vector<float>> present[std::size(tones)]; // guarded by the mutex

	const std::lock_guard lock(mutex);
	Changes changes = present[tone].lock();
	if (!changes) {
		changes = std::make_shared<const std::vector<float>>(changes_of(tones[tone], pool));
		present[tone] = changes;
	}
	return changes;
}

const int16_t *ToneTable::prepare(const Settings &settings, Pool &pool)
{
	if (settings.whitening == 0 && settings.rosiness == 0)
		return nullptr;
	if (settings.whitening == built_whitening_ && settings.rosiness == built_rosiness_ &&
	    settings.whitening_style == built_style_)
		return lookup_.cells();
	if (settings.whitening > 0 && settings.whitening_style != whitening_style_) {
		whitening_ = shared_changes(settings.whitening_style, pool);
		whitening_style_ = settings.whitening_style;
	}
	if (settings.rosiness > 0 && !rosiness_)
		rosiness_ = shared_changes(rosy_tone, pool);

	constexpr size_t side = Lut3d::side;
	table_.colors.resize(Lut3d::values);
	for (size_t index = 0; index < Lut3d::values; ++index) {
		const size_t color = index / 3;
		const size_t places[3] = {color % side, color / side % side, color / (side * side)};
		float level = static_cast<float>(places[index % 3]) / (side - 1);
		if (settings.whitening > 0)
			level += settings.whitening * (*whitening_)[index];
		if (settings.rosiness > 0)
			level += settings.rosiness * (*rosiness_)[index];
		table_.colors[index] = static_cast<uint16_t>(std::lrint(std::clamp(level, 0.0F, 1.0F) * 65535.0F));
	}
	lookup_.build(table_, 1);
	built_whitening_ = settings.whitening;
	built_rosiness_ = settings.rosiness;
	built_style_ = settings.whitening_style;
	return lookup_.cells();
}

} // namespace kalvio::engine
