// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"
#include "frame.h"
#include "kernels/key_kernels.h"
#include "settings.h"
#include "stages/screen_field.h"

#include <array>
#include <cstdint>
#include <vector>

namespace kalvio::engine {

class Pool;

// Cuts out what is before a screen of the key's color: a difference matte (Vlahos 1964) in linear light, against the
// light that the screen has nearby, with the screen's light taken out of what is partly transparent (Smith and Blinn,
// "Blue Screen Matting", 1996). The same frames at the same times give the same bytes with any number of threads.
class ColorKey {
public:
	// Looks at the next frame, taken at `now_us` of a clock that does not run backwards. A frame of another size,
	// with another key, more than half a second after the last one or behind a cut starts from nothing. Allocates
	// when the frame's size changes alone.
	void update(const Frame &frame, const ChromaKeySettings &settings, int64_t now_us, Pool &pool);

	// The matte of row `y`, 4 equal bytes per pixel; frees `row` from the screen's light. `captured` are the rows y
	// - 1, y and y + 1 as they came, in scratch memory or of whole vectors; the first and the last one of the frame
	// stand for those beyond. Each row once per frame, in rising order within one slot.
	void write_row(int y, int slot, int width, const std::array<const uint8_t *, 3> &captured, uint8_t *row,
		       uint8_t *matte);
	// The matte of a row alone, a little noisier. `captured` is in scratch memory or has whole vectors.
	void write_matte_row(int y, int slot, int width, const uint8_t *captured, uint8_t *matte);

private:
	struct OpacityRow {
		int y = -1;
		kernels::KeyOpacity *values = nullptr;
		std::vector<int16_t> inverse_screen; // from a cell before the first to one behind the last
	};
	struct WorkerScratch {
		Aligned<kernels::KeyOpacity> values;
		std::array<OpacityRow, 3> rows; // around the one that is worked on, by y modulo 3
		OpacityRow matte_row;
	};

	void choose_ramp(const ChromaKeySettings &settings);
	void resize(const Frame &frame, int slots);
	void restart();
	void measure_row(int y, int width, const uint8_t *captured, OpacityRow &row) const;
	const OpacityRow &opacity_row(int y, int width, const uint8_t *captured, WorkerScratch &slot) const;

	ScreenField screen_;
	kernels::KeyChannel channel_ = {};
	kernels::KeyRamp ramp_ = {};
	ChromaKeySettings settings_;
	int width_ = 0;
	int height_ = 0;
	int64_t time_us_ = 0;
	size_t row_values_ = 0;
	size_t row_groups_ = 0;
	// The opacities of the frame before, where it was neither screen nor foreground.
	Aligned<kernels::KeyOpacity> before_;
	std::vector<uint8_t> known_;
	std::vector<WorkerScratch> slots_;
};

} // namespace kalvio::engine
