// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "image.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kalvio::engine {

enum class StickerMotion { None, Fall, Flutter };

// A part of a sticker that follows the face: its middle lies at the anchor plus `offset`, its width is `size`, both in
// distances between the eyes.
struct StickerItem {
	size_t sprite;
	std::string anchor;
	float size;
	float offset[2];
	float rotation_degrees;
};

// A part of a 3D sticker: four corners in millimetres from the bridge of the nose, x to the right, y up, z to the
// viewer; from the sprite's upper left clockwise.
struct StickerQuad {
	size_t sprite;
	float corners[4][3];
};

// A sticker as its bundle describes it (docs/bundle-format.md).
struct Sticker {
	bool on_screen = false; // drawn over the frame; everything else needs a face
	StickerMotion motion = StickerMotion::None;
	int count = 0;      // moving sprites
	float smallest = 0; // height of a moving sprite, as a fraction of the frame's height
	float largest = 0;
	size_t moving_sprites = 0;  // how many of `sprites`, from the first, move
	std::vector<Image> sprites; // premultiplied
	std::vector<StickerItem> items;
	std::vector<StickerQuad> quads;
};

// Limits of a bundle's numbers.
inline constexpr int max_moving_sprites = 64;
inline constexpr int max_sprite_side = 1024;

ReadResult load_sticker(const char *path, Sticker &sticker);    // a bundle of the kind "sticker"
ReadResult load_3d_sticker(const char *path, Sticker &sticker); // a bundle of the kind "sticker3d"

// One sprite on one frame: where it is and how a pixel maps back to it.
struct PlacedSprite {
	const Image *image;
	int left, right, top, bottom; // pixels, the ends excluded
	float centre_x, centre_y;
	float u_x, u_y, v_x, v_y; // sprite pixels for each frame pixel
};

// The moving sprites when the animation has run for `age_us` microseconds, at least 0. Always the same for the same age
// and size. `placed` has room for max_moving_sprites; the number placed is returned.
int place_sprites(const Sticker &sticker, int64_t age_us, int width, int height, PlacedSprite *placed);

// Draws what of the sprites lies on row y, over what is there.
void draw_sprites(const PlacedSprite *placed, int count, int y, uint8_t *row);

} // namespace kalvio::engine
