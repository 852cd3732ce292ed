// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/grid_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Cell = hn::FixedTag<float, 4>;
using CellVector = hn::Vec<Cell>;

// Selects the first three of four lanes.
HWY_INLINE hn::Mask<Cell> colour_lanes()
{
	return hn::FirstN(Cell(), 3);
}

// r*r + g*g + b*b in every lane; the fourth lane of `colour` is 0.
HWY_INLINE CellVector squares_of(CellVector colour)
{
	CellVector sum = hn::Mul(colour, colour);
	sum = hn::Add(sum, hn::Shuffle2301(sum));
	return hn::Add(sum, hn::Shuffle1032(sum));
}

// The sum of 4 x 4 pixels, channel by channel.
HWY_INLINE hn::Vec<hn::FixedTag<int32_t, 4>> sum_of_cell(const uint8_t *const rows[4], int first_byte)
{
	const hn::FixedTag<uint16_t, 8> d16;
	const hn::FixedTag<uint8_t, 8> d8;
	auto sum = hn::Zero(d16);
	for (int row = 0; row < 4; ++row) {
		const uint8_t *pixels = rows[row] + first_byte;
		const auto first = hn::PromoteTo(d16, hn::LoadU(d8, pixels));
		const auto second = hn::PromoteTo(d16, hn::LoadU(d8, pixels + 8));
		sum = hn::Add(sum, hn::Add(first, second));
	}
	const hn::FixedTag<int32_t, 4> d32;
	const hn::FixedTag<uint16_t, 4> half;
	return hn::Add(hn::PromoteTo(d32, hn::LowerHalf(half, sum)), hn::PromoteTo(d32, hn::UpperHalf(half, sum)));
}

void cell_means(const uint8_t *const rows[4], int cells, float *HWY_RESTRICT out)
{
	const Cell d;
	const auto scale = hn::Set(d, 1.0F / 16.0F);
	const auto middle = hn::Set(d, 128.0F);
	for (int cell = 0; cell < cells; ++cell) {
		const auto sum = hn::ConvertTo(d, sum_of_cell(rows, cell * 16));
		const auto mean = hn::IfThenElseZero(colour_lanes(), hn::Sub(hn::Mul(sum, scale), middle));
		hn::StoreU(hn::IfThenElse(colour_lanes(), mean, squares_of(mean)), d, out + cell * 4);
	}
}

void add_rows(const float *const *rows, int row_count, int floats, float *HWY_RESTRICT out)
{
	const hn::ScalableTag<float> d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	for (int index = 0; index < floats; index += lanes) {
		auto sum = hn::LoadU(d, rows[0] + index);
		for (int row = 1; row < row_count; ++row)
			sum = hn::Add(sum, hn::LoadU(d, rows[row] + index));
		hn::StoreU(sum, d, out + index);
	}
}

void box_cells(const float *HWY_RESTRICT padded, int radius, int cells, float scale, float *HWY_RESTRICT out)
{
	const hn::ScalableTag<float> d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const auto factor = hn::Set(d, scale);
	const int window = 2 * radius + 1;
	for (int index = 0; index < cells * 4; index += lanes) {
		auto sum = hn::LoadU(d, padded + index);
		for (int step = 1; step < window; ++step)
			sum = hn::Add(sum, hn::LoadU(d, padded + index + step * 4));
		hn::StoreU(hn::Mul(sum, factor), d, out + index);
	}
}

void keep_and_offset(const float *HWY_RESTRICT means, int cells, float epsilon, float *HWY_RESTRICT out)
{
	const Cell d;
	const auto one = hn::Set(d, 1.0F);
	const auto least = hn::Set(d, 0.25F);
	const auto middle = hn::Set(d, 128.0F);
	for (int cell = 0; cell < cells; ++cell) {
		const auto window = hn::LoadU(d, means + cell * 4);
		const auto mean = hn::IfThenElseZero(colour_lanes(), window);
		const auto variance = hn::Max(hn::Sub(hn::Broadcast<3>(window), squares_of(mean)), hn::Zero(d));
		// Contrast is seen, and made by light, in proportion to brightness: the strands of dark hair vary by
		// fewer levels than the blemishes of a lit cheek.
		const auto brightness = hn::Mul(hn::Add(hn::Broadcast<1>(window), middle), hn::Set(d, 1.0F / 140.0F));
		const auto factor = hn::Min(hn::Max(brightness, least), one);
		const auto scaled_epsilon = hn::Mul(hn::Mul(factor, factor), hn::Set(d, epsilon));
		const auto squared = hn::Mul(variance, variance);
		const auto keep = hn::Div(squared, hn::Add(squared, hn::Mul(scaled_epsilon, scaled_epsilon)));
		const auto offset = hn::Mul(mean, hn::Sub(one, keep));
		hn::StoreU(hn::IfThenElse(colour_lanes(), offset, keep), d, out + cell * 4);
	}
}

void lerp_rows(const int16_t *HWY_RESTRICT above, const int16_t *HWY_RESTRICT below, int16_t weight, int count,
	       int16_t *HWY_RESTRICT out)
{
	const hn::ScalableTag<int16_t> d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const auto factor = hn::Set(d, weight);
	for (int index = 0; index < count; index += lanes) {
		const auto first = hn::LoadU(d, above + index);
		const auto step = hn::SaturatedSub(hn::LoadU(d, below + index), first);
		hn::StoreU(hn::Add(first, hn::MulFixedPoint15(step, factor)), d, out + index);
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(cell_means);
HWY_EXPORT(add_rows);
HWY_EXPORT(box_cells);
HWY_EXPORT(keep_and_offset);
HWY_EXPORT(lerp_rows);

void cell_means(const uint8_t *const rows[4], int cells, float *out)
{
	HWY_DYNAMIC_DISPATCH(cell_means)(rows, cells, out);
}

void add_rows(const float *const *rows, int row_count, int floats, float *out)
{
	HWY_DYNAMIC_DISPATCH(add_rows)(rows, row_count, floats, out);
}

void box_cells(const float *padded, int radius, int cells, float scale, float *out)
{
	HWY_DYNAMIC_DISPATCH(box_cells)(padded, radius, cells, scale, out);
}

void keep_and_offset(const float *means, int cells, float epsilon, float *out)
{
	HWY_DYNAMIC_DISPATCH(keep_and_offset)(means, cells, epsilon, out);
}

void lerp_rows(const int16_t *above, const int16_t *below, int16_t weight, int count, int16_t *out)
{
	HWY_DYNAMIC_DISPATCH(lerp_rows)(above, below, weight, count, out);
}

} // namespace kalvio::engine::kernels
#endif
