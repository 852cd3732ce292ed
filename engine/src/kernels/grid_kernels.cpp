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

// The sum of a square of pixels, channel by channel.
HWY_INLINE hn::Vec<hn::FixedTag<int32_t, 4>> sum_of_cell(const uint8_t *const *rows, int cell_pixels, int first_byte)
{
	const hn::FixedTag<uint16_t, 8> d16;
	const hn::FixedTag<uint8_t, 8> d8;
	auto sum = hn::Zero(d16);
	for (int row = 0; row < cell_pixels; ++row) {
		const uint8_t *pixels = rows[row] + first_byte;
		for (int byte = 0; byte < cell_pixels * 4; byte += 8)
			sum = hn::Add(sum, hn::PromoteTo(d16, hn::LoadU(d8, pixels + byte)));
	}
	const hn::FixedTag<int32_t, 4> d32;
	const hn::FixedTag<uint16_t, 4> half;
	return hn::Add(hn::PromoteTo(d32, hn::LowerHalf(half, sum)), hn::PromoteTo(d32, hn::UpperHalf(half, sum)));
}

// The colors of a cell that is not opaque all over, weighted by alpha: what is hidden has no say.
HWY_INLINE void weighted_mean(const uint8_t *const *rows, int cell_pixels, int first_byte, float *HWY_RESTRICT out)
{
	int sums[4] = {0, 0, 0, 0};
	for (int row = 0; row < cell_pixels; ++row) {
		const uint8_t *pixel = rows[row] + first_byte;
		for (int column = 0; column < cell_pixels; ++column, pixel += 4) {
			for (int channel = 0; channel < 3; ++channel)
				sums[channel] += pixel[channel] * pixel[3];
			sums[3] += pixel[3];
		}
	}
	for (int channel = 0; channel < 3; ++channel)
		out[channel] =
			sums[3] > 0 ? static_cast<float>(sums[channel]) / static_cast<float>(sums[3]) - 128.0F : 0.0F;
	out[3] = static_cast<float>(sums[3]) / static_cast<float>(255 * cell_pixels * cell_pixels);
}

template <int CellPixels>
HWY_INLINE void means_of_cells(const uint8_t *const *rows, int cells, float *HWY_RESTRICT out)
{
	constexpr int pixels = CellPixels * CellPixels;
	const Cell d;
	const hn::FixedTag<int32_t, 4> d32;
	const auto scale = hn::Set(d, 1.0F / float(pixels));
	const auto middle = hn::Set(d, 128.0F);
	const auto color = hn::FirstN(d, 3);
	for (int cell = 0; cell < cells; ++cell, out += 4) {
		const auto sum = sum_of_cell(rows, CellPixels, cell * CellPixels * 4);
		if (hn::ExtractLane(hn::Reverse(d32, sum), 0) != 255 * pixels) {
			weighted_mean(rows, CellPixels, cell * CellPixels * 4, out);
			continue;
		}
		const auto mean = hn::Sub(hn::Mul(hn::ConvertTo(d, sum), scale), middle);
		hn::StoreU(hn::IfThenElse(color, mean, hn::Set(d, 1.0F)), d, out);
	}
}

void cell_means(const uint8_t *const *rows, int cell_pixels, int cells, float *HWY_RESTRICT out)
{
	if (cell_pixels == 2)
		means_of_cells<2>(rows, cells, out);
	else if (cell_pixels == 4)
		means_of_cells<4>(rows, cells, out);
	else
		means_of_cells<8>(rows, cells, out);
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
HWY_EXPORT(lerp_rows);

void cell_means(const uint8_t *const *rows, int cell_pixels, int cells, float *out)
{
	HWY_DYNAMIC_DISPATCH(cell_means)(rows, cell_pixels, cells, out);
}

void add_rows(const float *const *rows, int row_count, int floats, float *out)
{
	HWY_DYNAMIC_DISPATCH(add_rows)(rows, row_count, floats, out);
}

void box_cells(const float *padded, int radius, int cells, float scale, float *out)
{
	HWY_DYNAMIC_DISPATCH(box_cells)(padded, radius, cells, scale, out);
}

void lerp_rows(const int16_t *above, const int16_t *below, int16_t weight, int count, int16_t *out)
{
	HWY_DYNAMIC_DISPATCH(lerp_rows)(above, below, weight, count, out);
}

} // namespace kalvio::engine::kernels
#endif
