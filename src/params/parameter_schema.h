// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "params/beauty_params.h"
#include "params/reshape_tables.h"

#include <array>
#include <obs-data.h>
#include <string>

namespace kalvio {

// Every parameter of one filter, with its default. This is the single source of the defaults.
//
// Strengths are 0..1 and face reshapes -1..1; nothing here clamps them. They are single precision in the record and
// double in the settings. The order of the fields is not the order of the settings; see visit_parameters.
struct ParameterSet {
	bool enabled = true; // false: frames pass through untouched; never sent to the engine

	float smoothing = 0.0f;
	beauty_params::SmoothingStyle smoothing_style = beauty_params::SmoothingStyle::Texture;
	float whitening = 0.0f;
	beauty_params::WhiteningStyle whitening_style = beauty_params::WhiteningStyle::ColdWhite;
	float rosiness = 0.0f;
	float sharpening = 0.0f;
	bool skin_only = false; // limit the skin effects to detected skin

	std::array<float, face_reshape_count> reshape{}; // indexed by engine id
	std::array<float, body_reshape_count> body{};    // indexed by engine id, 0..1

	float lipstick = 0.0f;
	beauty_params::LipstickColor lipstick_color = beauty_params::LipstickColor::Rouge;
	float blush = 0.0f;
	beauty_params::BlushStyle blush_style = beauty_params::BlushStyle::Soft;
	beauty_params::BlushColor blush_color = beauty_params::BlushColor::CoralPink;
	float contour = 0.0f;
	beauty_params::ContourStyle contour_style = beauty_params::ContourStyle::Natural;
	float eyeshadow = 0.0f;
	beauty_params::EyeShadowStyle eyeshadow_style = beauty_params::EyeShadowStyle::Soft;
	beauty_params::EyeShadowColor eyeshadow_color = beauty_params::EyeShadowColor::Plum;
	float eyeliner = 0.0f;
	beauty_params::EyeLinerStyle eyeliner_style = beauty_params::EyeLinerStyle::Classic;
	beauty_params::EyeLinerColor eyeliner_color = beauty_params::EyeLinerColor::Coffee;
	float eyebrow = 0.0f;
	beauty_params::EyebrowStyle eyebrow_style = beauty_params::EyebrowStyle::Natural;
	beauty_params::EyebrowColor eyebrow_color = beauty_params::EyebrowColor::DarkBrown;
	float eyelash = 0.0f;
	beauty_params::EyelashStyle eyelash_style = beauty_params::EyelashStyle::Classic;
	beauty_params::EyelashColor eyelash_color = beauty_params::EyelashColor::Black;
	float pupil = 0.0f;
	beauty_params::PupilColor pupil_color = beauty_params::PupilColor::Hazel;

	int bg_fill = 0; // 0 background as captured, 1 blur, 2 picture
	float bg_blur = 0.0f;
	std::string bg_preset = "office"; // id of a preset picture
	std::string bg_image;             // full path of a user's picture; wins over the preset when the file exists
	int chroma = 0;                   // 0 no colour key (portrait segmentation), 1 green, 2 blue, 3 red
	float chroma_similarity = 0.0f;
	float chroma_smoothness = 0.0f;
	float chroma_desaturation = 0.0f; // removal of colour spill

	std::string filter_id; // empty: no colour filter
	float filter_intensity = 0.5f;
	std::string sticker_id; // empty: no sticker

	bool operator==(const ParameterSet &) const = default;
};

// Calls visit(key, field) for every parameter of `set` (a ParameterSet, const or not), in the order in which the
// settings are registered, written and read.
template <class Set, class Visitor>
void visit_parameters(Set &set, Visitor &&visit)
{
	const auto visit_reshape = [&visit](auto &values, std::span<const ReshapeGroup> groups) {
		for (const ReshapeGroup &group : groups) {
			for (const ReshapeItem &item : std::span(group.items, static_cast<size_t>(group.count)))
				visit(item.setting_key, values[static_cast<size_t>(item.engine_id)]);
		}
	};

	visit("enabled", set.enabled);
	visit("skin_only", set.skin_only);
	visit("smoothing", set.smoothing);
	visit("smoothing_style", set.smoothing_style);
	visit("whitening", set.whitening);
	visit("whitening_style", set.whitening_style);
	visit("rosiness", set.rosiness);
	visit("sharpening", set.sharpening);

	visit_reshape(set.reshape, face_reshape_groups);
	visit_reshape(set.body, body_reshape_groups);

	visit("lipstick", set.lipstick);
	visit("lipstick_color", set.lipstick_color);
	visit("blush", set.blush);
	visit("blush_style", set.blush_style);
	visit("blush_color", set.blush_color);
	visit("contour", set.contour);
	visit("contour_style", set.contour_style);
	visit("eyeshadow", set.eyeshadow);
	visit("eyeshadow_style", set.eyeshadow_style);
	visit("eyeshadow_color", set.eyeshadow_color);
	visit("eyeliner", set.eyeliner);
	visit("eyeliner_style", set.eyeliner_style);
	visit("eyeliner_color", set.eyeliner_color);
	visit("eyebrow", set.eyebrow);
	visit("eyebrow_style", set.eyebrow_style);
	visit("eyebrow_color", set.eyebrow_color);
	visit("eyelash", set.eyelash);
	visit("eyelash_style", set.eyelash_style);
	visit("eyelash_color", set.eyelash_color);
	visit("pupil", set.pupil);
	visit("pupil_color", set.pupil_color);

	visit("bg_fill", set.bg_fill);
	visit("bg_blur", set.bg_blur);
	visit("bg_preset", set.bg_preset);
	visit("bg_image", set.bg_image);
	visit("chroma", set.chroma);
	visit("chroma_similarity", set.chroma_similarity);
	visit("chroma_smoothness", set.chroma_smoothness);
	visit("chroma_desaturation", set.chroma_desaturation);

	visit("filter_id", set.filter_id);
	visit("filter_intensity", set.filter_intensity);
	visit("sticker_id", set.sticker_id);
}

// Registers the default of every parameter on `settings` (not null). This is the source type's get_defaults.
void register_defaults(obs_data_t *settings);

// Registers the defaults on `settings` (not null) and sets every key from `set`.
void write_parameters(const ParameterSet &set, obs_data_t *settings);

// Fills `set` from `settings` (not null). A key that was never set yields its registered default; a value of another
// type reads as 0, false or empty, as the host reads it.
void read_parameters(obs_data_t *settings, ParameterSet &set);

} // namespace kalvio
