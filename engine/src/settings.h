// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstdint>

namespace kalvio::engine {

inline constexpr int face_reshape_count = 26;
inline constexpr int body_reshape_count = 9;

// One makeup item: how strong, which style, which colour. Items without styles or colours leave theirs at 0.
struct Makeup {
	float strength = 0;
	int32_t style = 0;
	int32_t color = 0;
};

enum class KeyColor : int32_t { Green = 0, Blue = 1, Red = 2 };

struct ChromaKeySettings {
	bool enabled = false;
	int32_t color = 0; // KeyColor
	float similarity = 0;
	float smoothness = 0;
	float desaturation = 0;
};

enum class BackgroundMode { Captured, Blur, Picture };

// Everything that a setter of the boundary stores, always within its range. The initial values are neutral.
struct Settings {
	float smoothing = 0;
	int32_t smoothing_style = 1;
	float whitening = 0;
	int32_t whitening_style = 0;
	float rosiness = 0;
	float sharpening = 0;
	bool skin_only = false;

	std::array<float, face_reshape_count> face_reshape = {};
	std::array<float, body_reshape_count> body_reshape = {};

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
