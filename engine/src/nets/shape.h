// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>

namespace kalvio::engine {

// A tensor of float values: rows from top to bottom, pixels from left to right, the channels of a pixel next to each
// other. A list of n points of d values has the height 1, the width n and d channels.
struct Shape {
	int height;
	int width;
	int channels;

	size_t values() const
	{
		return static_cast<size_t>(height) * static_cast<size_t>(width) * static_cast<size_t>(channels);
	}
	bool operator==(const Shape &) const = default;
};

} // namespace kalvio::engine
