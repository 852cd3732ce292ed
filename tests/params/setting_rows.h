// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <variant>
#include <vector>

// The settings of a filter as saved scene collections have them, written out once more and apart from the product's own
// table: key, type (of the default's value) and default, in the order in which they are registered, written and read.
namespace kalvio::test {

struct SettingRow {
	const char *key;
	std::variant<bool, int, double, const char *> default_value;
};

inline const std::vector<SettingRow> setting_rows = {
	{"enabled", true},
	{"skin_only", false},
	{"smoothing", 0.0},
	{"smoothing_style", 1},
	{"whitening", 0.0},
	{"whitening_style", 0},
	{"rosiness", 0.0},
	{"sharpening", 0.0},

	{"face_thin", 0.0},
	{"face_narrow", 0.0},
	{"face_small", 0.0},
	{"face_short", 0.0},
	{"face_vshape", 0.0},
	{"cheekbone", 0.0},
	{"jawbone", 0.0},
	{"chin", 0.0},
	{"forehead", 0.0},
	{"brow_position", 0.0},
	{"brow_distance", 0.0},
	{"brow_thickness", 0.0},
	{"eye_size", 0.0},
	{"eye_round", 0.0},
	{"eye_distance", 0.0},
	{"eye_position", 0.0},
	{"eye_angle", 0.0},
	{"eye_corner_open", 0.0},
	{"lower_eyelid", 0.0},
	{"nose_slim", 0.0},
	{"nose_long", 0.0},
	{"philtrum", 0.0},
	{"mouth_size", 0.0},
	{"mouth_position", 0.0},
	{"mouth_smile", 0.0},
	{"lip_thickness", 0.0},

	{"body_slim", 0.0},
	{"torso_long", 0.0},
	{"waist_slim", 0.0},
	{"bust_enhance", 0.0},
	{"shoulder_slim", 0.0},
	{"arm_slim", 0.0},
	{"leg_slim", 0.0},
	{"leg_long", 0.0},
	{"leg_stretch", 0.0},

	{"lipstick", 0.0},
	{"lipstick_color", 0},
	{"blush", 0.0},
	{"blush_style", 2},
	{"blush_color", 0},
	{"contour", 0.0},
	{"contour_style", 0},
	{"eyeshadow", 0.0},
	{"eyeshadow_style", 0},
	{"eyeshadow_color", 0},
	{"eyeliner", 0.0},
	{"eyeliner_style", 0},
	{"eyeliner_color", 3},
	{"eyebrow", 0.0},
	{"eyebrow_style", 0},
	{"eyebrow_color", 0},
	{"eyelash", 0.0},
	{"eyelash_style", 0},
	{"eyelash_color", 0},
	{"pupil", 0.0},
	{"pupil_color", 0},

	{"bg_fill", 0},
	{"bg_blur", 0.0},
	{"bg_preset", "office"},
	{"bg_image", ""},
	{"chroma", 0},
	{"chroma_similarity", 0.0},
	{"chroma_smoothness", 0.0},
	{"chroma_desaturation", 0.0},
	{"filter_id", ""},
	{"filter_intensity", 0.5},
	{"sticker_id", ""},
};

} // namespace kalvio::test
