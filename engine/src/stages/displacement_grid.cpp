// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/displacement_grid.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

// The smallest positive root of c + b s + a s * s with c above 0, at most 1.
float first_root(float a, float b, float c)
{
	if (a + b + c >= 0 && std::min(a, 0.0F) + std::min(b, 0.0F) + c >= 0)
		return 1;
	const float discriminant = b * b - 4 * a * c;
	if (discriminant < 0)
		return 1;
	// The form that does not cancel.
	const float root = 2 * c / (std::sqrt(discriminant) - b);
	return root > 0 ? std::min(root, 1.0F) : 1;
}

} // namespace

void DisplacementGrid::reset(int first_x, int first_y, int shift, int node_columns, int node_rows)
{
	x = first_x;
	y = first_y;
	cell_shift = shift;
	columns = node_columns;
	rows = node_rows;
	across.assign(size_t(columns) * size_t(rows), 0.0F);
	down.assign(size_t(columns) * size_t(rows), 0.0F);
}

// Within a cell the determinant of a bilinear map is linear in both directions: it is smallest in a corner.
float unfolded_share(const DisplacementGrid &grid, float least_area)
{
	float share = 1;
	const float per_pixel = 1.0F / static_cast<float>(grid.cell());
	const float *across = grid.across.data();
	const float *down = grid.down.data();
	for (int row = 0; row + 1 < grid.rows; ++row) {
		for (int column = 0; column + 1 < grid.columns; ++column) {
			const size_t upper = grid.index(column, row);
			const size_t lower = upper + size_t(grid.columns);
			for (int corner = 0; corner < 4; ++corner) {
				const size_t line = corner < 2 ? upper : lower;
				const auto side = size_t(corner % 2);
				// Minus the derivatives of the displacement at this corner.
				const float xx = (across[line] - across[line + 1]) * per_pixel;
				const float yx = (down[line] - down[line + 1]) * per_pixel;
				const float xy = (across[upper + side] - across[lower + side]) * per_pixel;
				const float yy = (down[upper + side] - down[lower + side]) * per_pixel;
				share = std::min(share, first_root(xx * yy - xy * yx, xx + yy, 1 - least_area));
			}
		}
	}
	return share;
}

} // namespace kalvio::engine
