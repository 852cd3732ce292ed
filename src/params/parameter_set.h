// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "params/beauty_params.h"
#include "params/reshape_tables.h"

#include <array>
#include <string>

namespace kalvio {

struct SkinParameters {
	float smoothing = 0.0f;
	beauty_params::SmoothingStyle smoothing_style = beauty_params::SmoothingStyle::Texture;
	float whitening = 0.0f;
	beauty_params::WhiteningStyle whitening_style = beauty_params::WhiteningStyle::ColdWhite;
	float rosiness = 0.0f;
	float sharpening = 0.0f;
	bool skin_only = false; // limit the skin effects to detected skin

	bool operator==(const SkinParameters &) const = default;
};

// One makeup item: with styles and colors, with styles, with colors. The initial choices are those of the template.
template <class Style, class Color, Style initial_style = Style{}, Color initial_color = Color{}>
struct MakeupItem {
	float strength = 0.0f;
	Style style = initial_style;
	Color color = initial_color;

	bool operator==(const MakeupItem &) const = default;
};

template <class Style>
struct StyledMakeupItem {
	float strength = 0.0f;
	Style style = Style{};

	bool operator==(const StyledMakeupItem &) const = default;
};

template <class Color>
struct ColoredMakeupItem {
	float strength = 0.0f;
	Color color = Color{};

	bool operator==(const ColoredMakeupItem &) const = default;
};

using LipstickParameters = ColoredMakeupItem<beauty_params::LipstickColor>;
using BlushParameters =
	MakeupItem<beauty_params::BlushStyle, beauty_params::BlushColor, beauty_params::BlushStyle::Soft>;
using ContourParameters = StyledMakeupItem<beauty_params::ContourStyle>;
using EyeShadowParameters = MakeupItem<beauty_params::EyeShadowStyle, beauty_params::EyeShadowColor>;
using EyeLinerParameters = MakeupItem<beauty_params::EyeLinerStyle, beauty_params::EyeLinerColor,
				      beauty_params::EyeLinerStyle::Classic, beauty_params::EyeLinerColor::Coffee>;
using EyebrowParameters = MakeupItem<beauty_params::EyebrowStyle, beauty_params::EyebrowColor>;
using EyelashParameters = MakeupItem<beauty_params::EyelashStyle, beauty_params::EyelashColor>;
using PupilParameters = ColoredMakeupItem<beauty_params::PupilColor>;

struct MakeupParameters {
	LipstickParameters lipstick;
	BlushParameters blush;
	ContourParameters contour;
	EyeShadowParameters eyeshadow;
	EyeLinerParameters eyeliner;
	EyebrowParameters eyebrow;
	EyelashParameters eyelash;
	PupilParameters pupil;

	bool operator==(const MakeupParameters &) const = default;
};

// What stands behind the person, and the color key that tells it from the person.
struct BackgroundParameters {
	int fill = 0; // FillMode
	float blur = 0.0f;
	std::string preset = "office"; // id of a preset picture
	std::string image;             // full path of a user's picture; wins over the preset when the file exists
	int chroma = 0;                // 0 no color key (portrait segmentation), 1 green, 2 blue, 3 red
	float chroma_similarity = 0.0f;
	float chroma_smoothness = 0.0f;
	float chroma_desaturation = 0.0f; // removal of color spill

	bool operator==(const BackgroundParameters &) const = default;
};

// The values of BackgroundParameters::fill.
enum FillMode : int { FillNone = 0, FillBlur = 1, FillPicture = 2 };

inline constexpr int fill_mode_count = 3;

struct FilterParameters {
	std::string id; // empty: no color filter
	float intensity = 0.5f;

	bool operator==(const FilterParameters &) const = default;
};

// Every parameter of one filter, with its default. This is the single source of the defaults; assigning {} to a group
// resets it.
//
// Strengths are 0..1 and face reshapes -1..1; nothing here clamps them. They are single precision in the record and
// double in the settings. The order of the fields is not the order of the settings; see parameter_table.h.
struct ParameterSet {
	bool enabled = true; // false: frames pass through untouched; never sent to the engine
	SkinParameters skin;
	std::array<float, face_reshape_count> reshape{}; // indexed by engine id
	std::array<float, body_reshape_count> body{};    // indexed by engine id, 0..1
	MakeupParameters makeup;
	BackgroundParameters background;
	FilterParameters filter;
	std::string sticker_id; // empty: no sticker

	bool operator==(const ParameterSet &) const = default;
};

} // namespace kalvio
