// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

namespace kalvio::engine {

inline constexpr int bytes_per_pixel = 4;
// Of the kernels, on any processor.
inline constexpr int widest_vector_bytes = 64;

// One frame as the boundary hands it over, checked: RGBA rows from top to bottom, two buffers that do not overlap.
struct Frame {
	const uint8_t *input;
	uint8_t *output;
	int width;
	int height;
	int stride_bytes;

	const uint8_t *input_row(int y) const { return input + size_t(y) * size_t(stride_bytes); }
	uint8_t *output_row(int y) const { return output + size_t(y) * size_t(stride_bytes); }
	size_t row_bytes() const { return size_t(width) * bytes_per_pixel; }
	// Kernels that work in whole vectors stay within such a row; others go through scratch memory.
	bool has_rows_of_whole_vectors() const { return row_bytes() % widest_vector_bytes == 0; }
};

// Some pixels of a row.
struct RowPart {
	int x;
	int width;

	size_t first_byte() const { return size_t(x) * bytes_per_pixel; }
	size_t byte_count() const { return size_t(width) * bytes_per_pixel; }
};

} // namespace kalvio::engine
