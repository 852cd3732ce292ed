// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"
#include "frame.h"
#include "kernels/matte_kernels.h"
#include "stages/coarse_matte.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace kalvio::engine {

class Pool;

// What a matte is for.
enum class MatteUse {
	Picture, // something else comes behind: the edge is exact, and the old background's light is taken out of it
	Blur     // the same comes behind, blurred: the edge lies a little outside, so that no strand of hair is blurred
};

// Brings a coarse matte to the frame's size along the frame's own edges: the guided filter of He, Sun and Tang ("Guided
// Image Filtering", 2013) with the frame's colors as its guide, computed on a reduced grid as in "Fast Guided Filter"
// (He and Sun, 2015). Only the tiles of the grid in which the matte changes are worked on.
class MatteRefinement {
public:
	// Measures the guide of a frame. The grid's cells are blocks of pixels, so many that there are 57,600 or more;
	// of single pixels in a smaller frame.
	void measure(const Frame &frame, Pool &pool);

	// The guide: cells of {r, b, g, 1}, 0..1.
	const float *guide_row(int y) const { return guide_.data() + size_t(y) * size_t(guide_row_floats_); }
	int columns() const { return columns_; }
	int rows() const { return rows_; }
	int block() const { return block_; } // pixels on a cell's side

	// Refines a matte of the measured frame.
	void refine(const CoarseMatte &coarse, Pool &pool);

	// The matte of a pixel row, 4 equal bytes per pixel, from its captured colors. For MatteUse::Picture `row`,
	// which is made from `captured`, becomes what is in front alone. All are scratch rows.
	void write_row(int y, int slot, int width, MatteUse use, const uint8_t *captured, uint8_t *row, uint8_t *matte);

private:
	enum class TileKind : uint8_t { Unknown, Background, Person, Mixed };

	struct WorkerScratch {
		Aligned<uint8_t> lines; // four picture rows
		Aligned<uint16_t> column_sums;
		std::unique_ptr<kernels::MatteTileInput> input;
		std::unique_ptr<kernels::MatteTileScratch> tile;
		Aligned<float> pixels; // a tile's row of each plane
	};

	void resize(const Frame &frame, int slots);
	void measure_blocks(const Frame &frame, int y, WorkerScratch &slot);
	void measure_pixels(const Frame &frame, int y);
	void place_coarse_cells(const CoarseMatte &coarse);
	TileKind classify(const CoarseMatte &coarse, int first_column, int first_row) const;
	void load_tile(const CoarseMatte &coarse, int first_column, int first_row,
		       kernels::MatteTileInput &input) const;
	void fill_tile(int first_column, int first_row, TileKind kind);
	void repeat_edge_cells(int tile_column, int first_row);
	void write_mixed(int y, int tile, int count, MatteUse use, const uint8_t *captured, uint8_t *row,
			 uint8_t *matte, WorkerScratch &slot);
	float *plane_row(int plane, int y) { return planes_.data() + plane * plane_floats_ + y * row_floats_ + front; }

	// Cells before the first of a row: one is used.
	static constexpr int front = 8;

	int width_ = 0;
	int height_ = 0;
	int block_ = 1;
	int columns_ = 0;
	int rows_ = 0;
	int tile_columns_ = 0;
	int tile_rows_ = 0;
	int guide_row_floats_ = 0;
	ptrdiff_t row_floats_ = 0;
	ptrdiff_t plane_floats_ = 0;
	Aligned<float> guide_;
	Aligned<float> planes_;            // kernels::matte_planes of them
	std::vector<TileKind> tile_kinds_; // what the planes hold
	std::vector<CoarsePlace> coarse_columns_;
	std::vector<CoarsePlace> coarse_rows_;
	std::vector<float> parts_; // where a block's pixels lie between two cells
	std::vector<WorkerScratch> slots_;
};

} // namespace kalvio::engine
