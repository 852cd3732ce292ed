// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_tracker.h"
#include "stages/head_depth.h"
#include "stages/sticker_bundle.h"
#include "stages/sticker_drawing.h"

#include <array>
#include <span>

namespace kalvio::engine {

struct HeadGeometry;

inline constexpr int max_face_sprites = max_tracked_faces * (max_items + max_quads);

// The parts of stickers on the faces of one frame. They lie as the head does: they roll, turn and nod with it, and fade
// with the confidence in the part of the face that holds them. Memory is kept from frame to frame. One thread.
class FaceStickers {
public:
	// Puts the parts on every face of a frame of this size; of stickers that are not there (null), nothing.
	// `head` has the triangles that hide what lies behind them. The result is good until the next call.
	std::span<const PlacedSprite> place(const Sticker *sticker, const Sticker3d *sticker_3d,
					    std::span<const TrackedFace> faces, const HeadGeometry &head, int width,
					    int height);

private:
	void place_items(const Sticker &sticker, const TrackedFace &face, int width, int height);
	void place_quads(const Sticker3d &sticker, const TrackedFace &face, const HeadGeometry &head, HeadDepth &depth,
			 int width, int height);

	std::array<PlacedSprite, max_face_sprites> placed_;
	size_t count_ = 0;
	std::array<HeadDepth, max_tracked_faces> depths_;
};

// How far anything of a sticker that belongs to faces may show, 0..1: as much as the face that is there most.
float strongest_presence(std::span<const TrackedFace> faces);

} // namespace kalvio::engine
