// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"
#include "stages/makeup_canvas.h"
#include "stages/makeup_looks.h"

#include <array>
#include <cstddef>

namespace kalvio::engine {

// A part of the frame, and what all makeup layers there do together to the light of each of its cells:
// light * gain + add. Layers are laid one over the other.
class MakeupPatch {
public:
	// Nothing lies here.
	void clear() { grid_ = {}; }
	// No makeup on this grid yet. Allocates only where it is larger than ever before.
	void set(const MakeupGrid &grid);
	const MakeupGrid &grid() const { return grid_; }

	// A stain: `gains` where the mask is 1.
	void stain(int column, int row, float mask, const MakeupColor &gains)
	{
		const size_t cell = index(column, row);
		for (size_t channel = 0; channel < 3; ++channel) {
			const float gain = 1 + mask * (gains[channel] - 1);
			planes_[channel][cell] *= gain;
			planes_[channel + 3][cell] *= gain;
		}
	}
	// A coat that replaces `mask` of the light by `mask` of its own.
	void coat(int column, int row, float mask, const MakeupColor &light)
	{
		coated_ = true;
		const size_t cell = index(column, row);
		for (size_t channel = 0; channel < 3; ++channel) {
			planes_[channel][cell] *= 1 - mask;
			planes_[channel + 3][cell] = planes_[channel + 3][cell] * (1 - mask) + mask * light[channel];
		}
	}

	// The pixels of the frame's row `y` from first_pixel() on: lays this patch over what `gain` and `add` say
	// there. `below_is_clear`: nothing is added there yet. `scratch` holds two rows of pixels and some.
	void lay_row(int y, float *const gain[3], float *const add[3], float *scratch, bool below_is_clear) const;
	bool has_row(int y) const { return y >= grid_.top && y < grid_.top + grid_.rows * grid_.pitch; }
	int first_pixel() const { return grid_.left; }
	int end_pixel() const { return grid_.left + grid_.columns * grid_.pitch; }
	static constexpr int scratch_padding = 64; // values that `scratch` holds beyond the pixels of both rows

	// Masks to draw the layers with, on the same grid once they are set.
	std::array<MakeupMask, 3> masks;

private:
	size_t index(int column, int row) const { return size_t(row) * size_t(grid_.columns) + size_t(column); }
	const float *stretched(const float *plane, int y, float *scratch) const;

	static constexpr int largest_pitch = 32;

	MakeupGrid grid_;
	bool coated_ = false;                         // otherwise nothing is added anywhere
	std::array<float, largest_pitch> parts_ = {}; // of the way from cell to cell, of the pixels between them
	Aligned<float> memory_;
	std::array<float *, 6> planes_ = {}; // gains, then additions: red, green, blue
};

} // namespace kalvio::engine
