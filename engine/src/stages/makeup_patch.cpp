// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/makeup_patch.h"

#include "kernels/matte_kernels.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

void MakeupPatch::set(const MakeupGrid &grid)
{
	grid_ = grid;
	coated_ = false;
	for (int part = 0; part < grid.pitch; ++part)
		parts_[size_t(part)] = (static_cast<float>(part) + 0.5F) / static_cast<float>(grid.pitch);
	const size_t cells = grid.cells();
	float *memory = memory_.ensure_capacity(with_reserve(cells * planes_.size()));
	for (size_t plane = 0; plane < planes_.size(); ++plane) {
		planes_[plane] = memory + plane * cells;
		std::fill_n(planes_[plane], cells, plane < 3 ? 1.0F : 0.0F);
	}
}

// A row of pixels between the two rows of cells whose middles lie above and below it, and likewise along the row.
const float *MakeupPatch::stretched(const float *plane, int y, float *scratch) const
{
	const int pitch = grid_.pitch;
	if (pitch == 1)
		return plane + size_t(y - grid_.top) * size_t(grid_.columns);

	const float scale = 1 / static_cast<float>(pitch);
	const float place = (static_cast<float>(y - grid_.top) + 0.5F) * scale - 0.5F;
	const int above = static_cast<int>(std::floor(place));
	const float weight = place - static_cast<float>(above);
	const float *first = plane + size_t(std::max(above, 0)) * size_t(grid_.columns);
	const float *second = plane + size_t(std::min(above + 1, grid_.rows - 1)) * size_t(grid_.columns);
	// With each end's cell once more beyond it.
	float *cells = scratch;
	for (int x = 0; x < grid_.columns; ++x)
		cells[x + 1] = first[x] + (second[x] - first[x]) * weight;
	cells[0] = cells[1];
	cells[grid_.columns + 1] = cells[grid_.columns];
	float *out = scratch + grid_.columns + 2;
	if (pitch % 4 == 0) {
		kernels::widen_cells(cells, grid_.columns, pitch, parts_.data(), out);
	} else {
		for (int x = 0; x <= grid_.columns; ++x) {
			const float step = cells[x + 1] - cells[x];
			for (int part = 0; part < pitch; ++part)
				out[x * pitch + part] = cells[x] + step * parts_[size_t(part)];
		}
	}
	return out + pitch / 2;
}

void MakeupPatch::lay_row(int y, float *const gain[3], float *const add[3], float *scratch, bool below_is_clear) const
{
	const int count = grid_.columns * grid_.pitch;
	float *second = scratch + count + grid_.columns + scratch_padding;
	for (size_t channel = 0; channel < 3; ++channel) {
		const float *own_gain = stretched(planes_[channel], y, scratch);
		float *gains = gain[channel];
		for (int x = 0; x < count; ++x)
			gains[x] *= own_gain[x];
		if (!coated_ && below_is_clear)
			continue;
		const float *own_add = stretched(planes_[channel + 3], y, second);
		float *adds = add[channel];
		for (int x = 0; x < count; ++x)
			adds[x] = adds[x] * own_gain[x] + own_add[x];
	}
}

} // namespace kalvio::engine
