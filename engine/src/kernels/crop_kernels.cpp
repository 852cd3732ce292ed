// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/crop_kernels.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/crop_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Cell = hn::FixedTag<float, 4>;
using CellVector = hn::Vec<Cell>;
using Words = hn::FixedTag<uint16_t, 8>; // two pixels
using WordVector = hn::Vec<Words>;

HWY_INLINE WordVector load_pair(const uint8_t *pixels)
{
	const hn::FixedTag<uint8_t, 8> d8;
	return hn::PromoteTo(Words(), hn::LoadU(d8, pixels));
}

// The sum of `Block` pixels of each row.
template <int Block>
HWY_INLINE CellVector sum_of_block(const uint8_t *const *rows, int lines, size_t first_byte)
{
	WordVector sum = hn::Zero(Words());
	for (int line = 0; line < lines; ++line) {
		const uint8_t *pixels = rows[line] + first_byte;
		sum = hn::Add(sum, load_pair(pixels));
		if constexpr (Block == 4)
			sum = hn::Add(sum, load_pair(pixels + 8));
	}
	const hn::FixedTag<int32_t, 4> d32;
	const hn::FixedTag<uint16_t, 4> half;
	return hn::ConvertTo(Cell(), hn::Add(hn::PromoteTo(d32, hn::LowerHalf(half, sum)),
					     hn::PromoteTo(d32, hn::UpperHalf(half, sum))));
}

template <int Block>
HWY_INLINE void sum_blocks(const uint8_t *const *rows, int lines, int cells, bool add, float scale,
			   float *HWY_RESTRICT out)
{
	const Cell d;
	const CellVector factor = hn::Set(d, scale);
	for (int cell = 0; cell < cells; ++cell, out += 4) {
		const CellVector sum = sum_of_block<Block>(rows, lines, size_t(cell) * Block * 4);
		hn::StoreU(hn::Mul(add ? hn::Add(sum, hn::LoadU(d, out)) : sum, factor), d, out);
	}
}

void block_sums(const uint8_t *const *rows, int lines, int block, int cells, bool add, float scale,
		float *HWY_RESTRICT out)
{
	if (block == 2)
		sum_blocks<2>(rows, lines, cells, add, scale, out);
	else
		sum_blocks<4>(rows, lines, cells, add, scale, out);
}

HWY_INLINE CellVector load_element(const float *cell)
{
	return hn::LoadU(Cell(), cell);
}

HWY_INLINE CellVector load_element(const uint8_t *pixel)
{
	const hn::FixedTag<uint8_t, 4> d8;
	const hn::FixedTag<int32_t, 4> d32;
	return hn::ConvertTo(Cell(), hn::PromoteTo(d32, hn::LoadU(d8, pixel)));
}

// The two elements on both sides of a place along one axis, and how far it lies from the first one.
struct Neighbors {
	int first;
	int second;
	float first_weight;
	float second_weight;
};

HWY_INLINE Neighbors neighbors_inside(float place)
{
	const int first = static_cast<int>(place);
	const float part = place - static_cast<float>(first);
	return {first, first + 1, 1 - part, part};
}

HWY_INLINE Neighbors neighbors_anywhere(float place, int count, bool black)
{
	const float bounded = std::min(std::max(place, -2.0F), static_cast<float>(count) + 1);
	const int first = static_cast<int>(bounded + 2) - 2; // rounds down without a call of floor
	const float part = bounded - static_cast<float>(first);
	Neighbors near = {first, first + 1, 1 - part, part};
	if (black && (first < 0 || first >= count))
		near.first_weight = 0;
	if (black && (first + 1 < 0 || first + 1 >= count))
		near.second_weight = 0;
	near.first = std::min(std::max(near.first, 0), count - 1);
	near.second = std::min(std::max(near.second, 0), count - 1);
	return near;
}

template <typename Value>
HWY_INLINE CellVector interpolated(const ImagePart<Value> &image, const Neighbors &x, const Neighbors &y)
{
	const Cell d;
	const Value *upper = image.first + (y.first - image.top) * image.row;
	const Value *lower = image.first + (y.second - image.top) * image.row;
	const ptrdiff_t left = ptrdiff_t{4} * (x.first - image.left);
	const ptrdiff_t right = ptrdiff_t{4} * (x.second - image.left);
	const auto weighted = [&](const Value *row, float row_weight) HWY_ATTR {
		return hn::Add(hn::Mul(hn::Set(d, x.first_weight * row_weight), load_element(row + left)),
			       hn::Mul(hn::Set(d, x.second_weight * row_weight), load_element(row + right)));
	};
	return hn::Add(weighted(upper, y.first_weight), weighted(lower, y.second_weight));
}

// Whether all elements between two places along an axis have neighbors.
HWY_INLINE bool is_inside(float from, float to, int count)
{
	return std::min(from, to) >= 0 && std::max(from, to) < static_cast<float>(count - 1);
}

// Four floats a pixel, of which the next pixel overwrites the last: `count` pixels need 3 * count + 1 floats.
template <bool Inside, typename Value>
HWY_INLINE void crop_row(const ImagePart<Value> &image, const CropGrid &grid, float row_x, float row_y, int count,
			 float *HWY_RESTRICT out)
{
	const Cell d;
	const CellVector factor = hn::Set(d, grid.factor);
	const CellVector offset = hn::Set(d, grid.offset);
	for (int column = 0; column < count; ++column, out += 3) {
		const float x = grid.right_x * static_cast<float>(column) + row_x;
		const float y = grid.right_y * static_cast<float>(column) + row_y;
		const CellVector level = Inside ? interpolated(image, neighbors_inside(x), neighbors_inside(y))
						: interpolated(image, neighbors_anywhere(x, image.columns, grid.black),
							       neighbors_anywhere(y, image.rows, grid.black));
		hn::StoreU(hn::Add(hn::Mul(level, factor), offset), d, out);
	}
}

template <typename Value>
HWY_INLINE void crop(const ImagePart<Value> &image, const CropGrid &grid, float *HWY_RESTRICT out)
{
	const auto last = static_cast<float>(grid.size - 1);
	for (int row = 0; row < grid.size; ++row, out += ptrdiff_t{3} * grid.size) {
		const float x = grid.down_x * static_cast<float>(row) + grid.x;
		const float y = grid.down_y * static_cast<float>(row) + grid.y;
		const bool is_last = row + 1 == grid.size; // nothing behind it may be overwritten
		const int count = is_last ? grid.size - 1 : grid.size;
		if (is_inside(x, grid.right_x * last + x, image.columns) &&
		    is_inside(y, grid.right_y * last + y, image.rows))
			crop_row<true>(image, grid, x, y, count, out);
		else
			crop_row<false>(image, grid, x, y, count, out);
		if (is_last) {
			float pixel[4];
			crop_row<false>(image, grid, grid.right_x * last + x, grid.right_y * last + y, 1, pixel);
			std::copy_n(pixel, 3, out + ptrdiff_t{3} * count);
		}
	}
}

void crop_cells(const ImagePart<float> &image, const CropGrid &grid, float *HWY_RESTRICT out)
{
	crop(image, grid, out);
}

void crop_pixels(const ImagePart<uint8_t> &image, const CropGrid &grid, float *HWY_RESTRICT out)
{
	crop(image, grid, out);
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(block_sums);
HWY_EXPORT(crop_cells);
HWY_EXPORT(crop_pixels);

void block_sums(const uint8_t *const *rows, int lines, int block, int cells, bool add, float scale, float *out)
{
	HWY_DYNAMIC_DISPATCH(block_sums)(rows, lines, block, cells, add, scale, out);
}

void crop_cells(const ImagePart<float> &image, const CropGrid &grid, float *out)
{
	HWY_DYNAMIC_DISPATCH(crop_cells)(image, grid, out);
}

void crop_pixels(const ImagePart<uint8_t> &image, const CropGrid &grid, float *out)
{
	HWY_DYNAMIC_DISPATCH(crop_pixels)(image, grid, out);
}

} // namespace kalvio::engine::kernels
#endif
