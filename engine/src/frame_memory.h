// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"
#include "stages/background_blur.h"
#include "stages/retouch_field.h"

#include <array>
#include <vector>

namespace kalvio::engine {

// What one engine keeps from frame to frame so that a steady stream of frames takes no memory from the heap.
struct FrameMemory {
	// Scratch of one thread at work: picture rows with room before and behind.
	struct Slot {
		Aligned<uint8_t> bytes;
		std::array<uint8_t *, 3> retouched = {}; // a ring: rows y - 1, y and y + 1
		uint8_t *row = nullptr;                  // the row that the stages work on
		std::array<uint8_t *, 3> captured = {};  // a ring of the same rows as they came
		uint8_t *matte = nullptr;                // how far each of its pixels is foreground
		uint8_t *background = nullptr;           // what comes behind it
	};

	RetouchField field;
	BackgroundBlur blur;
	std::vector<Slot> slots;
};

} // namespace kalvio::engine
