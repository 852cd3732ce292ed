// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"
#include "stages/sprite.h"

#include <cstdint>

namespace kalvio::engine {

class HeadDepth;

// How a sprite lies on a frame: the place of its middle, and where one pixel of the whole drawing to the right and one
// down lead, in pixels of the frame.
struct SpriteAxes {
	Point middle;
	Point along;
	Point down;
};

// One sprite on one frame: where it is and how a pixel maps back to it.
struct PlacedSprite {
	const Image *image;
	int left, right, top, bottom; // pixels, the ends excluded
	float center_x, center_y;
	float u_x, u_y, v_x, v_y; // pixels of `image` for each frame pixel
	int opacity = 256;        // 0..256

	// Where the head is nearer to the camera than the sprite, it hides it. Null: nothing does.
	const HeadDepth *head = nullptr;
	// Of the sprite's middle and its change per pixel, towards the camera, in pixels, as the head's.
	float depth = 0, depth_x = 0, depth_y = 0;
	// So far behind the surface nothing of it is seen.
	float hidden_behind = 1;
};

// The sprite on a frame of this size; with nothing to draw where it lies outside, or on its edge.
PlacedSprite place_sprite(const Sprite &sprite, const SpriteAxes &axes, int width, int height);

// Draws what of the sprites lies on row y, from column `first` to before `end`, over what is there, the first one
// lowest.
void draw_sprites(const PlacedSprite *placed, int count, int y, int first, int end, uint8_t *row);

} // namespace kalvio::engine
