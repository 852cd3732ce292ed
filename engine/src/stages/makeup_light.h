// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_tracker.h"
#include "frame.h"
#include "stages/makeup_canvas.h"
#include "stages/makeup_looks.h"

#include <array>
#include <span>

namespace kalvio::engine {

// What makeup has to know of the light on a face, in linear light 0..1.
struct FaceLight {
	MakeupColor skin;
	MakeupColor lips;
	float skin_luma;
	float lips_luma;
	// Red's share of red and green, and of red and blue: the hues that what is seen is compared with.
	std::array<float, 2> skin_shares;
	std::array<float, 2> lips_shares;
	// How bright a white pigment would be. A dark face may have dark skin or little light: the level falls by the
	// power 3/8 of its luma, so that pigments show on dark skin and do not glow in the dark.
	float level;
};

// Follows the light on each face: what is measured comes in slowly, so that noise and blinks do not show.
class FaceLights {
public:
	// Takes in the faces of the next frame, `seconds` after the last one. Allocates nothing.
	void follow(std::span<const TrackedFace> faces, const Frame &frame, float seconds);
	// Of the face with this index in the last call.
	const FaceLight &of(size_t index) const { return lights_[index]; }

private:
	struct Subject {
		int number = 0; // of the tracked face; 0: none
		MakeupColor skin;
		MakeupColor lips;
	};

	std::array<Subject, max_tracked_faces> subjects_;
	std::array<FaceLight, max_tracked_faces> lights_ = {};
};

inline float luma_of(const MakeupColor &light)
{
	return 0.2126F * light[0] + 0.7152F * light[1] + 0.0722F * light[2];
}

// The light of a cell: the mean of up to four of its pixels.
MakeupColor cell_light(const Frame &frame, const MakeupGrid &grid, int column, int row);

// The gains that turn `base` into a coat of `pigment` which hides `cover` (0..1) of it, as lit by `level`.
MakeupColor pigment_gains(const MakeupColor &base, const MakeupColor &pigment, float level, float cover);

// The pigment scaled so that it is no brighter than `share` of a surface of luma `luma`.
MakeupColor darkened(const MakeupColor &pigment, float level, float luma, float share);

// The hue of `light` with a luma of `luma`.
MakeupColor tinted_like(const MakeupColor &light, float luma);

// `share` of the second color in the first.
MakeupColor mixed(const MakeupColor &first, const MakeupColor &second, float share);

// How far light looks like lit skin and not like hair, a frame of glasses or a reflection, 0..1.
float skin_likeness(const MakeupColor &light, const FaceLight &face);

// How far light looks like lips and not like teeth, the inside of the mouth or something before it, 0..1.
float lip_likeness(const MakeupColor &light, const FaceLight &face);

} // namespace kalvio::engine
