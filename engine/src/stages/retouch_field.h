// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"
#include "pipeline.h"
#include "settings.h"
#include "stages/skin_map.h"

#include <cstdint>
#include <vector>

namespace kalvio::engine {

class Pool;

// Everything about smoothing and the skin map that does not need the full picture, on a grid of 4 x 4 pixels. Rebuilt
// for every frame; the memory is kept.
//
// Smoothing is the self-guided filter of He, Sun and Tang ("Guided Image Filtering", 2013) with one keep factor for
// all three channels, computed on a reduced grid as in "Fast Guided Filter" (He and Sun, 2015). What the reduced grid
// cannot see, single pores and hairs, is kept or taken away by style.
class RetouchField {
public:
	// Whether these settings need a field at all.
	static bool is_needed(const Settings &settings);

	void build(const Frame &frame, const Settings &settings, Pool &pool);

	// The field brought to the height of pixel row `y`; valid until the slot's next call. Points at the first cell,
	// readable one cell before and behind the row.
	const int16_t *row(int y, int slot);

private:
	struct Slot {
		Aligned<float> sums;    // one padded row of vertical sums
		Aligned<float> windows; // one row of window means
		Aligned<int16_t> row;   // one row of the field between two grid rows
		uint8_t edge[4][16];    // the last, incomplete cell of a grid row
	};

	void resize(const Frame &frame, int slots);
	float *grid_row(Aligned<float> &grid, int y) { return grid.data() + size_t(y) * size_t(row_floats_); }
	int16_t *field_row(int y) { return field_.data() + size_t(y) * size_t(row_field_values_); }
	void measure_row(const Frame &frame, int y, Slot &slot);
	// The means of the windows around the cells of row y.
	const float *window_row(Aligned<float> &grid, int y, Slot &slot);
	void write_smoothing(int y, const float *windows, float strength, float fine);
	void write_skin(int y, const float *windows);
	void repeat_edge_cells(int y);

	int columns_ = 0;
	int rows_ = 0;
	int radius_ = 1;
	int row_floats_ = 0;
	int row_field_values_ = 0;
	int cell_values_ = 0;
	bool masked_ = false;
	Aligned<float> means_;        // {r, g, b less 128, squares} of each cell
	Aligned<float> coefficients_; // {offset r, g, b, keep}
	Aligned<float> skin_;         // {mask, luma, mask * luma, luma * luma}
	Aligned<float> skin_line_;    // {slope, offset, 0, 0}
	SkinModel skin_model_;
	Aligned<int16_t> field_;
	std::vector<Slot> slots_;
};

} // namespace kalvio::engine
