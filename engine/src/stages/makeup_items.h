// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_tracker.h"
#include "frame.h"
#include "settings.h"
#include "stages/makeup_eye_shape.h"
#include "stages/makeup_light.h"
#include "stages/makeup_patch.h"

#include <span>

// The makeup items, each painted on a patch of one face. What a strength, a confidence or the face's shape makes
// nothing of leaves its patch empty or as it was.
namespace kalvio::engine {

struct MakeupScene {
	const Frame &frame;
	const TrackedFace &face;
	const FaceLight &light;
	const Settings &settings;

	// How much of an item shows where it lies on parts of this group, 0..1.
	float shown(const Makeup &item, FaceGroup group) const
	{
		return item.strength * face.confidence[static_cast<size_t>(group)];
	}
	Point point(int number) const { return face.points[size_t(number)].flat(); }
};

// Blush and contour: soft, on a coarse grid over the whole face.
void paint_cheeks(const MakeupScene &scene, MakeupPatch &patch);
void paint_lips(const MakeupScene &scene, MakeupPatch &patch);
// Everything round one eye: chooses the grid, then paints the items in the order in which they are put on.
void paint_eye(const MakeupScene &scene, bool left, MakeupPatch &patch);

// The steps of paint_eye.
void paint_eye_shadow(const MakeupScene &scene, const EyeShape &eye, MakeupPatch &patch);
void paint_brow(const MakeupScene &scene, const EyeShape &eye, MakeupPatch &patch);
void paint_lens(const MakeupScene &scene, const EyeShape &eye, MakeupPatch &patch);
void paint_eye_liner(const MakeupScene &scene, const EyeShape &eye, MakeupPatch &patch);
void paint_lashes(const MakeupScene &scene, const EyeShape &eye, MakeupPatch &patch);

// The corners of the box round some points, wider by `margin` pixels on each side.
struct MakeupBox {
	Point low = {1e9F, 1e9F};
	Point high = {-1e9F, -1e9F};

	void take(Point point, float margin);
};
// Its part of the frame in cells of `pitch` pixels, which begin at multiples of that. Empty where it lies beyond it.
MakeupGrid grid_of(const MakeupBox &box, const Frame &frame, int pitch);
// Fine enough for lines and lashes: full size for usual faces, less for such as fill a frame of high resolution.
int detail_pitch(float face_size);

} // namespace kalvio::engine
