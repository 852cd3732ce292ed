// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kalvio::engine {

// A matte on a grid that is stretched over the frame, row by row: 0 background, 1 person.
struct CoarseMatte {
	const float *cells;
	int columns;
	int rows;

	const float *row(int y) const { return cells + size_t(y) * size_t(columns); }
};

// A place between two neighbors of such a grid.
struct CoarsePlace {
	int first;
	int second;
	float part; // of the second, 0..1

	// `place` counts cells, the middle of the first one is 0.
	CoarsePlace(float place, int count)
	{
		const float held = std::clamp(place, 0.0F, static_cast<float>(count - 1));
		first = static_cast<int>(held);
		second = std::min(first + 1, count - 1);
		part = held - static_cast<float>(first);
	}

	float mix(const float *values) const { return values[first] + (values[second] - values[first]) * part; }
};

} // namespace kalvio::engine
