// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"
#include "kernels/kernels.h"
#include "stages/background_blur.h"
#include "stages/body_shape.h"
#include "stages/color_key.h"
#include "stages/face_sticker.h"
#include "stages/makeup.h"
#include "stages/reshape_field.h"
#include "stages/retouch_field.h"
#include "stages/tone.h"

#include <array>
#include <vector>

namespace kalvio::engine {

// What one engine keeps from frame to frame so that a steady stream of frames takes no memory from the heap.
struct FrameMemory {
	// Scratch memory of one worker: picture rows with padding before and behind.
	struct WorkerScratch {
		Aligned<uint8_t> bytes;
		// A ring of the rows from y - step to y + step of the sharpening.
		std::array<uint8_t *, kernels::max_sharpen_step * 2 + 1> retouched = {};
		uint8_t *row = nullptr; // the row that the stages work on: scratch memory, or the output's own row
		std::array<const uint8_t *, 3> captured = {};  // a ring of the rows y - 1, y and y + 1 as they came
		std::array<uint8_t *, 3> captured_copies = {}; // for frames whose rows are no whole vectors
		uint8_t *toned = nullptr;                      // of a row of skin
		uint8_t *matte = nullptr;                      // how far each of its pixels is foreground
		uint8_t *background = nullptr;                 // what comes behind it
	};

	RetouchField field;
	ToneTable tone;
	ColorKey key;
	BackgroundBlur blur;
	MakeupStage makeup;
	FaceStickers face_stickers;
	BodyShape bodies;
	ReshapeField reshape;
	// The frame's size, without gaps; only what the reshape reads is written. Taken by the first frame that needs
	// them.
	Aligned<uint8_t> front;       // what is in front of the background, before it is reshaped
	Aligned<uint8_t> front_matte; // its matte, 4 equal bytes per pixel
	std::vector<WorkerScratch> slots;
};

} // namespace kalvio::engine
