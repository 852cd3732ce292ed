// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/image_views.h"

#include "kernels/crop_kernels.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

constexpr int cell_values = 4;  // of a block's mean
constexpr int kernel_block = 4; // the largest that kernels::block_sums knows
// Blocks of 128 pixels a side: no more are needed, and their sums are whole numbers that a float holds exactly.
constexpr int max_shift = 7;

// Centers of `count` squares of `side`, spread evenly over `length`.
float spread(int index, int count, float side, float length)
{
	return side / 2 + (length - side) * static_cast<float>(index) / static_cast<float>(count - 1);
}

} // namespace

// The sums of up to four lines' cells, with `add` on top of what is there. Pixels behind the last whole cell make one
// of their own.
void CropSampler::sum_lines(const uint8_t *const *rows, int lines, int cell, int pixels, bool add, float *sums)
{
	const int whole = pixels / cell;
	kernels::block_sums(rows, lines, cell, whole, add, 1, sums);
	if (whole * cell == pixels)
		return;
	float *last = sums + size_t(whole) * cell_values;
	if (!add)
		std::fill_n(last, cell_values, 0.0F);
	for (int line = 0; line < lines; ++line) {
		for (int index = whole * cell * bytes_per_pixel; index < pixels * bytes_per_pixel; ++index)
			last[index % bytes_per_pixel] += static_cast<float>(rows[line][index]);
	}
}

// Row `y` of the part's blocks.
void CropSampler::measure_row(const Frame &frame, const Blocks &blocks, int y, float *means)
{
	const int block = 1 << blocks.shift;
	const int cell = std::min(block, kernel_block);
	const int first_pixel = blocks.left * block;
	const int pixels = std::min(blocks.columns * block, frame.width - first_pixel);
	const int top = (blocks.top + y) * block;
	const int lines = std::min(block, frame.height - top);
	const uint8_t *rows[kernel_block];
	for (int line = 0; line < lines; line += cell) {
		const int count = std::min(cell, lines - line);
		for (int index = 0; index < count; ++index)
			rows[index] = frame.input_row(top + line + index) + size_t(first_pixel) * bytes_per_pixel;
		if (cell == block && blocks.columns * block == pixels) {
			const float share = 1 / static_cast<float>(block * lines);
			kernels::block_sums(rows, count, cell, blocks.columns, false, share, means);
			return;
		}
		sum_lines(rows, count, cell, pixels, line > 0, sums_.data());
	}
	const float *sums = sums_.data();
	for (int column = 0; column < blocks.columns; ++column, means += cell_values) {
		const int width = std::min(block, pixels - column * block);
		float totals[cell_values] = {};
		for (int pixel = 0; pixel < width; pixel += cell, sums += cell_values) {
			for (int value = 0; value < cell_values; ++value)
				totals[value] += sums[value];
		}
		const float share = 1 / static_cast<float>(width * lines);
		for (int value = 0; value < cell_values; ++value)
			means[value] = totals[value] * share;
	}
}

void CropSampler::measure(const Frame &frame, const Blocks &blocks)
{
	const size_t row_values = size_t(blocks.columns) * cell_values;
	means_.resize(std::max(means_.size(), row_values * size_t(blocks.rows)));
	sums_.resize(std::max(sums_.size(), row_values << std::max(blocks.shift - 2, 0)));
	for (int row = 0; row < blocks.rows; ++row)
		measure_row(frame, blocks, row, means_.data() + row_values * size_t(row));
}

void CropSampler::sample(const Frame &frame, const CropSquare &square, int size, CropBorder border, LevelScale scale,
			 std::span<float> out)
{
	const float pixel_side = square.side / static_cast<float>(size); // of the crop, in pixels of the frame
	int shift = 0;
	while (shift < max_shift && pixel_side >= static_cast<float>(2 << shift))
		++shift;
	const auto cell = static_cast<float>(1 << shift);
	struct {
		int columns;
		int rows;
	} const extent = {(frame.width + (1 << shift) - 1) >> shift, (frame.height + (1 << shift) - 1) >> shift};

	const float half = 0.5F / static_cast<float>(size);
	const float step = pixel_side / cell;
	const Point origin = square.to_frame({half, half}) * (1 / cell) - Point{0.5F, 0.5F};
	const Point right = square.right * step;
	const Point down = Point{-right.y, right.x};
	const kernels::CropGrid grid = {origin.x,     origin.y,    right.x, right.y,
					down.x,       down.y,      size,    border == CropBorder::Black,
					scale.factor, scale.offset};
	if (shift == 0) {
		kernels::crop_pixels({frame.input, frame.stride_bytes, 0, 0, frame.width, frame.height}, grid,
				     out.data());
		return;
	}

	// The cells around the crop's corners, as far as the frame has them.
	Point low = origin;
	Point high = origin;
	const auto last = static_cast<float>(size - 1);
	for (const Point corner : {origin + right * last, origin + down * last, origin + (right + down) * last}) {
		low = {std::min(low.x, corner.x), std::min(low.y, corner.y)};
		high = {std::max(high.x, corner.x), std::max(high.y, corner.y)};
	}
	const auto bounded = [](float value, int cells) {
		return static_cast<int>(std::clamp(value, 0.0F, static_cast<float>(cells - 1)));
	};
	Blocks blocks;
	blocks.shift = shift;
	blocks.left = bounded(std::floor(low.x) - 1, extent.columns);
	blocks.top = bounded(std::floor(low.y) - 1, extent.rows);
	blocks.columns = bounded(std::floor(high.x) + 2, extent.columns) + 1 - blocks.left;
	blocks.rows = bounded(std::floor(high.y) + 2, extent.rows) + 1 - blocks.top;
	measure(frame, blocks);
	// A crop wholly beside the frame reads the border cells that were measured.
	kernels::crop_cells({means_.data(), ptrdiff_t{cell_values} * blocks.columns, blocks.left, blocks.top,
			     extent.columns, extent.rows},
			    grid, out.data());
}

CropSquare view_square(int view, int frame_width, int frame_height)
{
	const auto width = static_cast<float>(frame_width);
	const auto height = static_cast<float>(frame_height);
	const bool wide = frame_width >= frame_height;
	const float longer = std::max(width, height);
	const float shorter = std::min(width, height);
	if (view == whole_view)
		return {{width / 2, height / 2}, longer};
	float side = shorter;
	float along = 0;
	float across = 0;
	if (view < first_half_view) {
		along = spread(view - first_square_view, square_view_count, side, longer);
		across = shorter / 2;
	} else {
		side = shorter / 2;
		const int index = view - first_half_view;
		along = spread(index % half_views_along, half_views_along, side, longer);
		across = spread(index / half_views_along, half_views_across, side, shorter);
	}
	return {wide ? Point{along, across} : Point{across, along}, side};
}

} // namespace kalvio::engine
