// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/kernels.h"
#include "kernels/retouch_tables.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/retouch_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// A vector holds whole pixels, at most four: one cell of the grid.
using Tag = hn::CappedTag<int16_t, 16>;
using Vector = hn::Vec<Tag>;

// Adds up the four channels of each pixel; every channel gets the sum.
HWY_INLINE Vector sum_of_pixel(Vector values)
{
	const Tag d;
	const hn::RepartitionToWide<hn::RebindToUnsigned<Tag>> d32;
	const Vector swapped = hn::BitCast(d, hn::RotateRight<16>(hn::BitCast(d32, values)));
	const Vector pairs = hn::Add(values, swapped);
	return hn::Add(pairs, hn::BitCast(d, hn::Shuffle2301(hn::BitCast(d32, pairs))));
}

// A group of the field at the pixels of one vector, interpolated between this cell and its neighbours.
HWY_INLINE Vector interpolate(const int16_t *HWY_RESTRICT group, int cell_values, Vector left, Vector right)
{
	const Tag d;
	const Vector centre = hn::LoadDup128(d, group);
	const Vector to_left = hn::SaturatedSub(hn::LoadDup128(d, group - cell_values), centre);
	const Vector to_right = hn::SaturatedSub(hn::LoadDup128(d, group + cell_values), centre);
	return hn::Add(centre, hn::Add(hn::MulFixedPoint15(to_left, left), hn::MulFixedPoint15(to_right, right)));
}

HWY_INLINE Vector clamp(Vector value, Vector top)
{
	return hn::Min(hn::Max(value, hn::Zero(Tag())), top);
}

template <bool Masked>
HWY_INLINE void retouch(uint8_t *HWY_RESTRICT row, int width, const int16_t *HWY_RESTRICT field, const ToneGains &tone,
			int y)
{
	const Tag d;
	const hn::Rebind<uint8_t, Tag> d8;
	const int lanes = static_cast<int>(hn::Lanes(d));
	constexpr int cell_values = Masked ? masked_field_values : field_values;
	const Vector gain = hn::LoadDup128(d, tone.gain);
	const Vector saturation = hn::LoadDup128(d, tone.saturation);
	const Vector luma = hn::LoadDup128(d, luma_weights);
	const Vector colour = hn::LoadDup128(d, colour_lanes);
	const Vector top = hn::Set(d, white);

	const int cells = (width + 3) / 4;
	for (int cell = 0; cell < cells; ++cell, field += cell_values) {
		for (int part = 0; part < 16; part += lanes) {
			uint8_t *pixels = row + cell * 16 + part;
			const Vector left = hn::LoadU(d, left_weights + part);
			const Vector right = hn::LoadU(d, right_weights + part);
			const Vector input = hn::ShiftLeft<6>(hn::PromoteTo(d, hn::LoadU(d8, pixels)));

			// Smoothing: c + gain * c + offset.
			const Vector offset = interpolate(field, cell_values, left, right);
			const Vector slope = interpolate(field + 8, cell_values, left, right);
			Vector value = hn::Add(hn::Add(input, hn::MulFixedPoint15(input, slope)), offset);
			value = clamp(value, top);

			// Tone: a parabola that leaves black and white where they are, and a pull towards luma.
			const Vector parabola = hn::ShiftLeft<3>(hn::MulFixedPoint15(value, hn::Sub(top, value)));
			const Vector grey = sum_of_pixel(hn::MulFixedPoint15(value, luma));
			const Vector change = hn::Add(hn::MulFixedPoint15(parabola, gain),
						      hn::MulFixedPoint15(hn::Sub(grey, value), saturation));
			value = clamp(hn::Add(value, change), top);

			if (Masked) {
				const Vector input_grey = sum_of_pixel(hn::MulFixedPoint15(input, luma));
				const Vector skin_slope = interpolate(field + 16, cell_values, left, right);
				const Vector skin_offset = interpolate(field + 24, cell_values, left, right);
				Vector mask = hn::MulFixedPoint15(input_grey, skin_slope);
				mask = clamp(hn::SaturatedAdd(mask, skin_offset), hn::Set(d, full_mask));
				const Vector all = hn::Sub(value, input);
				value = hn::Add(input, hn::MulFixedPoint15(all, hn::ShiftLeft<4>(mask)));
				// The mask takes alpha's place: 11 bits become the 8 + 6 that are stored below.
				value = hn::IfVecThenElse(colour, value, clamp(hn::ShiftLeft<3>(mask), top));
			}
			const Vector rounding = hn::LoadU(d, dither_rows[y & 3] + part);
			const Vector rounded = hn::ShiftRight<6>(hn::Add(value, rounding));
			hn::StoreU(hn::DemoteTo(d8, rounded), d8, pixels);
		}
	}
}

void retouch_row(uint8_t *row, int width, const int16_t *field, bool masked, const ToneGains &tone, int y)
{
	if (masked)
		retouch<true>(row, width, field, tone, y);
	else
		retouch<false>(row, width, field, tone, y);
}

void copy_alpha(const uint8_t *HWY_RESTRICT from, int width, uint8_t *HWY_RESTRICT row)
{
	const hn::ScalableTag<uint32_t> d;
	const hn::Repartition<uint8_t, decltype(d)> d8;
	const int bytes = static_cast<int>(hn::Lanes(d8));
	const auto alpha = hn::Set(d, 0xFF000000U);
	for (int byte = 0; byte < width * 4; byte += bytes) {
		const auto colour = hn::BitCast(d, hn::LoadU(d8, row + byte));
		const auto source = hn::BitCast(d, hn::LoadU(d8, from + byte));
		const auto result = hn::Or(hn::And(source, alpha), hn::AndNot(alpha, colour));
		hn::StoreU(hn::BitCast(d8, result), d8, row + byte);
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(retouch_row);
HWY_EXPORT(copy_alpha);

void retouch_row(uint8_t *row, int width, const int16_t *field, bool masked, const ToneGains &tone, int y)
{
	HWY_DYNAMIC_DISPATCH(retouch_row)(row, width, field, masked, tone, y);
}

void copy_alpha(const uint8_t *from, int width, uint8_t *row)
{
	HWY_DYNAMIC_DISPATCH(copy_alpha)(from, width, row);
}

} // namespace kalvio::engine::kernels
#endif
