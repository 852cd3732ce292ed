// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <vector>

namespace kalvio::engine {

// A displacement in pixels for each node of a grid that lies over a part of the frame.
struct DisplacementGrid {
	int x = 0; // the first node stands for this pixel
	int y = 0;
	int cell_shift = 0; // nodes lie 1 << cell_shift pixels apart
	int columns = 0;    // of nodes
	int rows = 0;
	std::vector<float> across; // row by row; positive is where the picture's content moves to the right
	std::vector<float> down;

	// Zero displacements. Takes memory only for more nodes than ever before.
	void reset(int first_x, int first_y, int shift, int node_columns, int node_rows);
	int cell() const { return 1 << cell_shift; }
	size_t index(int column, int row) const { return size_t(row) * size_t(columns) + size_t(column); }
	// The frame coordinate of a node, see face_geometry.h.
	float node_x(int column) const { return static_cast<float>(x + (column << cell_shift)) + 0.5F; }
	float node_y(int row) const { return static_cast<float>(y + (row << cell_shift)) + 0.5F; }
};

// The largest share of a field, 0..1, that compresses no place to less than `least_area` of its area: output pixel p
// shows what is at p - share * displacement, bilinear between nodes. That map's Jacobian determinant is then at least
// `least_area` everywhere, so that nothing folds.
float unfolded_share(const DisplacementGrid &grid, float least_area);

} // namespace kalvio::engine
