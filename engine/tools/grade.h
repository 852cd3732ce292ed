// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <vector>

namespace kalvio::engine {

// A color look in the terms a colorist uses; every value has a neutral default. Applied in the order of the fields,
// to sRGB-encoded colors 0..1 unless another space is named.
struct Grade {
	using Color = std::array<double, 3>;

	// Colors around a hue, moved. Angles in degrees: 0 red, 120 green, 240 blue.
	struct HueRange {
		double hue = 0;
		double width = 30; // to both sides, falling off smoothly
		double shift = 0;
		double saturation = 1;
		double lightness = 0;
	};

	double exposure = 0;    // stops, in linear light
	double temperature = 0; // -1 cold to 1 warm, in linear light
	double tint = 0;        // -1 green to 1 magenta, in linear light
	double contrast = 1;    // about middle gray, with a soft shoulder
	Color lift = {0, 0, 0}; // added to the shadows
	Color gamma = {1, 1, 1};
	Color gain = {1, 1, 1};
	double saturation = 1;
	double vibrance = 0; // more saturation for what has little of it
	std::vector<HueRange> hues;
	Color shadow_color = {0.5, 0.5, 0.5}; // split toning: gray is neutral
	Color highlight_color = {0.5, 0.5, 0.5};
	double fade = 0; // raises black and lowers white a little, as old paper does
};

// Throws nlohmann's exceptions, or std::runtime_error for an unknown name: a typing error must not pass as a look.
Grade grade_from_json(const nlohmann::json &json);

Grade::Color apply_grade(const Grade &grade, const Grade::Color &input);

} // namespace kalvio::engine
