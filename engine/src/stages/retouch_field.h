// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"
#include "frame.h"
#include "settings.h"
#include "stages/face_skin.h"
#include "stages/skin_map.h"
#include "stages/smoothing.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace kalvio::engine {

class Pool;

// The faces of a frame, `seconds` after those of the last frame.
struct SeenFaces {
	std::span<const TrackedFace> faces;
	float seconds;
};

// Everything about smoothing and the skin map that does not need the full picture, on a grid of 2 x 2, 4 x 4 or 8 x 8
// pixels by the frame's height. Rebuilt for every frame; the memory is kept. What the grid cannot see, single pores and
// hairs, is kept or taken away by style.
class RetouchField {
public:
	// Whether these settings need a field at all.
	static bool is_needed(const Settings &settings);

	// With `seen` skin is what the faces say, without it what color and place say; and what is smoothed goes by the
	// size of the largest face, without it by the frame's height.
	void build(const Frame &frame, const Settings &settings, Pool &pool, const std::optional<SeenFaces> &seen = {});

	// With a skin map: what of pixel row `y` may be skin, so that sharpening it needs no more of the row.
	// Everything else keeps its pixels. A multiple of `part_pixels` but at the row's end, and begins at one; empty,
	// {0, 0}, where nothing is skin.
	RowPart skin_part(int y) const;
	// A part is worked on in whole vectors, perhaps in the output's own row: they must end within the row.
	static constexpr int part_pixels = 32;
	static_assert(part_pixels * bytes_per_pixel % widest_vector_bytes == 0);

	// The field brought to the height of pixel row `y`, for a part of it that begins at a multiple of
	// `part_pixels`; valid until the slot's next call. Points at the part's first cell, readable one cell before
	// and behind the part.
	const int16_t *row(int y, const RowPart &part, int slot);
	// Of the grid: 2, 4 or 8.
	int cell_pixels() const { return cell_pixels_; }

private:
	struct WorkerScratch {
		Aligned<float> sums;    // one padded row of vertical sums
		Aligned<float> windows; // one row of window means
		Aligned<int16_t> row;   // one row of the field between two grid rows
		uint8_t edge[8][32];    // the last, incomplete cell of a grid row
	};

	// Of a grid row; none where first >= end.
	struct CellSpan {
		int first;
		int end;
	};
	// The grid rows above and below the middle of a pixel row.
	struct RowPlace {
		int upper;
		int lower;
		int16_t weight_of_lower; // 15 fraction bits
	};

	void resize(const Frame &frame, int slots);
	RowPlace place_of(int y) const;
	float *grid_row(Aligned<float> &grid, int y) { return grid.data() + size_t(y) * size_t(row_floats_); }
	CellGrid means_grid() const;
	int16_t *field_row(int y) { return field_.data() + size_t(y) * size_t(row_field_values_); }
	void measure_row(const Frame &frame, int y, WorkerScratch &slot);
	// The means of the windows around the cells of row y.
	const float *window_row(Aligned<float> &grid, int y, WorkerScratch &slot);
	void write_skin(int y, const float *windows);
	void repeat_edge_cells(int y);

	int cell_pixels_ = 4;
	int width_ = 0; // of the frame, in pixels
	int columns_ = 0;
	int rows_ = 0;
	int radius_ = 1; // of the windows of the skin map, in cells
	int row_floats_ = 0;
	int row_field_values_ = 0;
	int cell_values_ = 0;
	bool masked_ = false;
	Smoothing smoothing_;
	Aligned<float> means_;     // {r, g, b less 128, alpha 0..1} of each cell
	Aligned<float> skin_;      // {mask, luma, mask * luma, luma * luma}
	Aligned<float> skin_line_; // {slope, offset, 0, 0}
	SkinModel skin_model_;
	FaceSkin face_skin_;
	Aligned<int16_t> field_;
	std::vector<CellSpan> skin_cells_; // of each grid row: with a mask that is not 0
	std::vector<WorkerScratch> slots_;
};

} // namespace kalvio::engine
