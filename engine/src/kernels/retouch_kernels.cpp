// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/kernels.h"
#include "kernels/retouch_tables.h"
#include "pixel_tables.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/retouch_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// A vector holds whole pixels, at most four, all of one cell of the grid.
template <int CellPixels>
using PixelTag = hn::CappedTag<int16_t, CellPixels == 2 ? 8 : 16>;

// Adds up the four channels of each pixel; every channel gets the sum.
template <class Tag, class Vector = hn::Vec<Tag>>
HWY_INLINE Vector sum_of_pixel(Tag d, Vector values)
{
	const hn::RepartitionToWide<hn::RebindToUnsigned<Tag>> d32;
	const Vector swapped = hn::BitCast(d, hn::RotateRight<16>(hn::BitCast(d32, values)));
	const Vector pairs = hn::Add(values, swapped);
	return hn::Add(pairs, hn::BitCast(d, hn::Shuffle2301(hn::BitCast(d32, pairs))));
}

// A group of the field at the pixels of one vector, interpolated between this cell and its neighbors.
template <class Tag, class Vector = hn::Vec<Tag>>
HWY_INLINE Vector interpolate(Tag d, const int16_t *HWY_RESTRICT group, int cell_values, Vector left, Vector right)
{
	const Vector center = hn::LoadDup128(d, group);
	const Vector to_left = hn::SaturatedSub(hn::LoadDup128(d, group - cell_values), center);
	const Vector to_right = hn::SaturatedSub(hn::LoadDup128(d, group + cell_values), center);
	return hn::Add(center, hn::Add(hn::MulFixedPoint15(to_left, left), hn::MulFixedPoint15(to_right, right)));
}

template <class Vector>
HWY_INLINE Vector clamp(Vector value, Vector top)
{
	return hn::Min(hn::Max(value, hn::Zero(hn::DFromV<Vector>())), top);
}

template <bool Masked, int CellPixels>
HWY_INLINE void retouch(uint8_t *HWY_RESTRICT row, int width, const int16_t *HWY_RESTRICT field, int y)
{
	using Tag = PixelTag<CellPixels>;
	using Vector = hn::Vec<Tag>;
	const Tag d;
	const hn::Rebind<uint8_t, Tag> d8;
	const int lanes = static_cast<int>(hn::Lanes(d));
	constexpr int cell_values = Masked ? masked_field_values : field_values;
	const Vector luma = hn::LoadDup128(d, luma_weights);
	const Vector color = hn::LoadDup128(d, color_lanes);
	const Vector top = hn::Set(d, white);

	constexpr int cell_bytes = CellPixels * 4;
	const int cells = (width + CellPixels - 1) / CellPixels;
	for (int cell = 0; cell < cells; ++cell, field += cell_values) {
		for (int part = 0; part < cell_bytes; part += lanes) {
			uint8_t *pixels = row + cell * cell_bytes + part;
			const Vector left = hn::LoadU(d, neighbor_weights<CellPixels>.left + part);
			const Vector right = hn::LoadU(d, neighbor_weights<CellPixels>.right + part);
			const Vector input = hn::ShiftLeft<6>(hn::PromoteTo(d, hn::LoadU(d8, pixels)));

			// Smoothing: c + gain * c + offset.
			const Vector offset = interpolate(d, field, cell_values, left, right);
			const Vector slope = interpolate(d, field + 8, cell_values, left, right);
			Vector value = hn::Add(hn::Add(input, hn::MulFixedPoint15(input, slope)), offset);
			value = clamp(value, top);

			if (Masked) {
				const Vector input_gray = sum_of_pixel(d, hn::MulFixedPoint15(input, luma));
				const Vector skin_slope = interpolate(d, field + 16, cell_values, left, right);
				const Vector skin_offset = interpolate(d, field + 24, cell_values, left, right);
				Vector mask = hn::MulFixedPoint15(input_gray, skin_slope);
				mask = clamp(hn::SaturatedAdd(mask, skin_offset), hn::Set(d, full_mask));
				const Vector all = hn::Sub(value, input);
				value = hn::Add(input, hn::MulFixedPoint15(all, hn::ShiftLeft<4>(mask)));
				// The mask takes alpha's place: 11 bits become the 8 + 6 that are stored below.
				value = hn::IfVecThenElse(color, value, clamp(hn::ShiftLeft<3>(mask), top));
			}
			const Vector rounding = hn::LoadU(d, dither_rows[y & 3] + (cell * cell_bytes + part) % 16);
			const Vector rounded = hn::ShiftRight<6>(hn::Add(value, rounding));
			hn::StoreU(hn::DemoteTo(d8, rounded), d8, pixels);
		}
	}
}

template <int CellPixels>
HWY_INLINE void retouch_cells(uint8_t *row, int width, const int16_t *field, bool masked, int y)
{
	if (masked)
		retouch<true, CellPixels>(row, width, field, y);
	else
		retouch<false, CellPixels>(row, width, field, y);
}

void retouch_row(uint8_t *row, int width, const int16_t *field, int cell_pixels, bool masked, int y)
{
	if (cell_pixels == 2)
		retouch_cells<2>(row, width, field, masked, y);
	else if (cell_pixels == 4)
		retouch_cells<4>(row, width, field, masked, y);
	else
		retouch_cells<8>(row, width, field, masked, y);
}

void copy_alpha(const uint8_t *HWY_RESTRICT from, int width, uint8_t *HWY_RESTRICT row)
{
	const hn::ScalableTag<uint32_t> d;
	const hn::Repartition<uint8_t, decltype(d)> d8;
	const int bytes = static_cast<int>(hn::Lanes(d8));
	const auto alpha = hn::Set(d, 0xFF000000U);
	for (int byte = 0; byte < width * 4; byte += bytes) {
		const auto color = hn::BitCast(d, hn::LoadU(d8, row + byte));
		const auto source = hn::BitCast(d, hn::LoadU(d8, from + byte));
		const auto result = hn::Or(hn::And(source, alpha), hn::AndNot(alpha, color));
		hn::StoreU(hn::BitCast(d8, result), d8, row + byte);
	}
}

void mix_row_by_alpha(uint8_t *HWY_RESTRICT row, int width, const uint8_t *HWY_RESTRICT other)
{
	// One row of four words a pixel.
	const hn::ScalableTag<int16_t> d;
	const hn::Rebind<uint8_t, decltype(d)> d8;
	const hn::RepartitionToWide<hn::RebindToUnsigned<decltype(d)>> d32;
	const int lanes = static_cast<int>(hn::Lanes(d));
	for (int byte = 0; byte < width * 4; byte += lanes) {
		const auto pixels = hn::PromoteTo(d, hn::LoadU(d8, row + byte));
		const auto others = hn::PromoteTo(d, hn::LoadU(d8, other + byte));
		// Alpha lies in the upper word of each second pair: to both words, then to both pairs.
		const auto pair = hn::BitCast(d32, pixels);
		const auto upper = hn::ShiftRight<16>(pair);
		const auto words = hn::BitCast(d, hn::Or(upper, hn::ShiftLeft<16>(upper)));
		const auto alpha = hn::BitCast(d, hn::DupOdd(hn::BitCast(d32, words)));
		// 0..255 becomes 0..32767.
		const auto share = hn::Add(hn::ShiftLeft<7>(alpha), hn::ShiftRight<1>(alpha));
		const auto change = hn::MulFixedPoint15(hn::ShiftLeft<6>(hn::Sub(others, pixels)), share);
		const auto mixed = hn::Add(pixels, hn::ShiftRight<6>(hn::Add(change, hn::Set(d, 32))));
		hn::StoreU(hn::DemoteTo(d8, mixed), d8, row + byte);
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(retouch_row);
HWY_EXPORT(copy_alpha);
HWY_EXPORT(mix_row_by_alpha);

void retouch_row(uint8_t *row, int width, const int16_t *field, int cell_pixels, bool masked, int y)
{
	HWY_DYNAMIC_DISPATCH(retouch_row)(row, width, field, cell_pixels, masked, y);
}

void copy_alpha(const uint8_t *from, int width, uint8_t *row)
{
	HWY_DYNAMIC_DISPATCH(copy_alpha)(from, width, row);
}

void mix_row_by_alpha(uint8_t *row, int width, const uint8_t *other)
{
	HWY_DYNAMIC_DISPATCH(mix_row_by_alpha)(row, width, other);
}

} // namespace kalvio::engine::kernels
#endif
