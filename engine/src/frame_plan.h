// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_tracker.h"
#include "frame.h"
#include "kernels/kernels.h"
#include "stages/sticker_bundle.h"
#include "stages/sticker_drawing.h"

#include <array>
#include <cstdint>
#include <span>

struct kl_engine;

namespace kalvio::engine {

class BackgroundPicture;

// What the stages of one frame need, worked out once before the rows.
struct FramePlan {
	bool retouch = false;
	bool masked = false;
	bool makeup = false;
	const int16_t *tone = nullptr; // the lookup of whitening and rosiness
	int sharpening = 0;
	int sharpen_step = 1; // pixels
	bool reshape = false;
	bool bodies = false; // `reshape` changes them, too
	bool keyed = false;
	bool person = false;                        // cut out by what people look like
	float blur_sigma = 0;                       // of the background, in pixels
	const BackgroundPicture *picture = nullptr; // in the background's place
	const int16_t *lookup = nullptr;            // the color filter
	bool face_stickers = false;                 // one is set that belongs to faces, and later: is seen
	std::span<const PlacedSprite> face_sprites; // of stickers, on faces
	int sprite_count = 0;                       // of a sticker, moving over the frame
	std::array<PlacedSprite, max_moving_sprites> sprites;

	bool has_matte() const { return keyed || person; }
	// Row by row, that is.
	bool does_nothing_but_sharpen() const
	{
		return !retouch && tone == nullptr && !makeup && !has_matte() && lookup == nullptr && !face_stickers &&
		       sprite_count == 0;
	}
	bool leaves_rows_alone() const { return does_nothing_but_sharpen() && sharpening == 0; }
	// The color filter and stickers, that is.
	bool only_finishes() const
	{
		return !retouch && tone == nullptr && sharpening == 0 && !makeup && !has_matte() && !reshape;
	}
	// Whether no stage writes beyond a row of whole vectors. Makeup and reshape work on parts that end anywhere,
	// and write whole vectors; the parts of the skin are whole vectors.
	bool stays_within_rows() const { return !makeup && !reshape; }
	bool is_neutral() const { return leaves_rows_alone() && !reshape; }
};

// What the settings and the loaded effects ask for at `now_us` of the engine's clock. What needs nets is not planned
// without them. A background picture is brought to the frame's size.
FramePlan plan_frame(kl_engine &engine, const Frame &frame, int64_t now_us);

// Whether a stage asks for the frame's faces.
bool needs_faces(const kl_engine &engine, const FramePlan &plan);

// Puts stickers on the faces. What moves over the frame with a face sticker is seen as far as a face is.
void place_face_stickers(FramePlan &plan, kl_engine &engine, const Frame &frame, std::span<const TrackedFace> faces);

} // namespace kalvio::engine
