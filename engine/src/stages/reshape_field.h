// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_tracker.h"
#include "kernels/warp_kernels.h"
#include "settings.h"
#include "stages/body_moves.h"
#include "stages/displacement_grid.h"
#include "stages/reshape_place.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace kalvio::engine {

class Pool;
struct ReshapeMove;

// Where each output pixel is read so that faces and bodies take the shape that the settings ask for. What is done to a
// body stands in body_moves.h and is added to the field of its face. Each face has one smooth
// displacement field, the sum of what its settings do. A setting's part of it follows the moved points: around each
// lies a compactly supported radial function (Wendland, "Piecewise polynomial, positive definite and compactly
// supported radial functions of minimal degree", 1995), and between them the displacement is their weighted mean
// (Shepard, "A two-dimensional interpolation function for irregularly-spaced data", 1968), as far as their weights
// reach 1.
//
// A field is zero from a quarter of the face's size outside of its oval on, at the frame's edges, and where the face is
// not relied on. It is weakened as a whole before it folds. Fields of several faces add up.
class ReshapeField {
public:
	// Whether any amount differs from 0: of faces or bodies, and of bodies alone.
	static bool is_needed(const Settings &settings);
	static bool needs_bodies(const Settings &settings);

	// What every output pixel's area is at least of what it shows.
	static constexpr float least_area = 0.32F;

	// Takes in the faces and figures of the next frame of this size. A figure without its face among `faces` is
	// left alone. Takes memory only for more or larger fields, or more moves, than ever before. The same field with
	// any number of threads.
	void build(int width, int height, const std::array<float, KL_RESHAPE_COUNT> &amounts,
		   std::span<const TrackedFace> faces, Pool &pool, const BodyRequest &bodies = {});

	// A rectangle of cells in which pixels are displaced. No two of them overlap. The last cells may reach beyond
	// the frame, by less than a cell.
	struct Region {
		DisplacementGrid grid;
		std::vector<kernels::WarpNode> nodes; // as many as the grid's
		// For each row of cells, the first and the end of those that are not at rest.
		std::vector<std::array<int, 2>> spans;
		int reach = 0; // pixels; no node's offset is larger

		const kernels::WarpNode *node_row(int row) const { return nodes.data() + grid.index(0, row); }
		// Row `y` of the frame, which lies in the region, from column `first` of its cells on.
		kernels::WarpLine line(int y, int first) const
		{
			const int row = (y - grid.y) >> grid.cell_shift;
			return {node_row(row) + first,
				node_row(row + 1) + first,
				grid.cell_shift,
				(y - grid.y) & (grid.cell() - 1),
				reach,
				grid.x + first * grid.cell(),
				y};
		}
	};
	// Valid until the next build. Empty where nothing is displaced.
	std::span<const Region> regions() const { return {regions_.data(), size_t(region_count_)}; }

private:
	// A moved point with its displacement, in pixels.
	struct Handle {
		Point place;
		Point shift;
		float share; // of what moves the part as a whole
	};

	// One part of a move, as it is to be added to the field.
	struct Part {
		size_t first_handle;
		size_t end_handle;
		Point low; // of the handles' places
		Point high;
		float radius; // pixels
		bool is_affine;
		Point center;
		Point right; // the displacement of a place one pixel to the right of the center
		Point down;  // and of one below it
	};
	// Rows of the field's nodes.
	struct Rows {
		int first;
		int end;
	};

	void add_face(const PlacedField &placed, const std::array<float, KL_RESHAPE_COUNT> &amounts, int width,
		      int height, Pool &pool, DisplacementGrid &grid);
	void collect_parts(const PlacedField &placed, const std::array<float, KL_RESHAPE_COUNT> &amounts);
	void collect_side(const PlacedField &placed, const ReshapeMove &move, float amount, int side);
	// Each of these changes the given rows alone.
	void add_part(const Part &part, Rows rows);
	void measure_distances(const PlacedField &placed, float band, Rows rows);
	void fade_outside(const PlacedField &placed, int width, int height, Rows rows);
	static void finish(Region &region);

	std::array<Region, max_tracked_faces> regions_;
	int region_count_ = 0;

	// Scratch of one face.
	DisplacementGrid field_;
	std::vector<float> distances_; // squared, from the oval; 0 within
	std::vector<Handle> handles_;  // of all parts
	std::vector<Part> parts_;
	struct PartSums {
		std::vector<float> weights;
		std::vector<float> shares;
		std::vector<float> across;
		std::vector<float> down;
	} sums_;
};

} // namespace kalvio::engine
