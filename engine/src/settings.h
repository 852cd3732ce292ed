// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kalvio_engine.h"

#include <array>
#include <cstdint>

namespace kalvio::engine {

// One makeup item: how strong, which style, which color. Items without styles or colors leave theirs at 0.
struct Makeup {
	float strength = 0;
	int32_t style = 0;
	int32_t color = 0;
};

struct ChromaKeySettings {
	bool enabled = false;
	int32_t color = KL_CHROMA_KEY_COLOR_GREEN;
	float similarity = 0;
	float smoothness = 0;
	float desaturation = 0;

	bool operator==(const ChromaKeySettings &) const = default;
};

enum class BackgroundMode { Captured, Blur, Picture };

// Everything that a setter of the boundary stores, always within its range. The initial values are neutral.
struct Settings {
	float smoothing = 0;
	int32_t smoothing_style = KL_SMOOTHING_STYLE_TEXTURE;
	float whitening = 0;
	int32_t whitening_style = KL_WHITENING_STYLE_COLD_WHITE;
	float rosiness = 0;
	float sharpening = 0;
	bool skin_only = false;

	std::array<float, KL_RESHAPE_COUNT> face_reshape = {};
	std::array<float, KL_BODY_RESHAPE_COUNT> body_reshape = {};

	Makeup lipstick;
	Makeup blush;
	Makeup contour;
	Makeup eye_shadow;
	Makeup eye_liner;
	Makeup eyebrow;
	Makeup eyelash;
	Makeup pupil;

	ChromaKeySettings chroma_key;

	float filter_intensity = 1;
	BackgroundMode background = BackgroundMode::Captured;
	float background_blur = 0;
};

} // namespace kalvio::engine
