// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "read_result.h"
#include "stages/sprite.h"

#include <cstddef>
#include <vector>

namespace kalvio::engine {

enum class StickerMotion { None, Fall, Flutter };

// Where a part of a sticker is held. Left and right are the picture's.
enum class StickerAnchor { Eyes, Forehead, Nose, UpperLip, CheekLeft, CheekRight, TempleLeft, TempleRight };

// A part of a sticker that follows the face: its middle lies at the anchor plus `offset`, its width is `size`, both in
// distances between the eyes.
struct StickerItem {
	size_t sprite;
	StickerAnchor anchor;
	float size;
	float offset[2];
	float rotation_degrees;
};

// A part of a 3D sticker, a parallelogram: four corners in millimetres from the bridge of the nose, x to the right, y
// up, z to the viewer; from the sprite's upper left clockwise.
struct StickerQuad {
	size_t sprite;
	float corners[4][3];
};

// A face or screen sticker as its bundle describes it (docs/bundle-format.md).
struct Sticker {
	bool on_screen = false; // drawn over the frame; false: its items follow a face
	StickerMotion motion = StickerMotion::None;
	int count = 0;      // moving sprites
	float smallest = 0; // height of a moving sprite, as a fraction of the frame's height
	float largest = 0;
	size_t moving_sprites = 0; // how many of `sprites`, from the first, move
	std::vector<Sprite> sprites;
	std::vector<StickerItem> items;
};

// A 3D sticker as its bundle describes it.
struct Sticker3d {
	std::vector<Sprite> sprites;
	std::vector<StickerQuad> quads;
};

// Limits of a bundle's numbers.
inline constexpr int max_moving_sprites = 64;
inline constexpr int max_sprite_side = 1024;
// Of the moving sprites at their largest, together, in squares as high as the frame. Twice what ours need; drawing that
// much takes about 20 ms at 1080p on one thread, while 64 sprites of the largest size would take 1.8 s.
inline constexpr float max_moving_area = 0.25F;
inline constexpr int max_items = 16;
inline constexpr int max_quads = 16;
// Of the items or quads together, in squares as wide as the eyes are apart. Ours need 6 at most; of a face as large as
// it can be found, this is three frames.
inline constexpr float max_face_area = 24;

ReadResult load_sticker(const char *path, Sticker &sticker);      // a bundle of the kind "sticker"
ReadResult load_3d_sticker(const char *path, Sticker3d &sticker); // a bundle of the kind "sticker3d"

} // namespace kalvio::engine
