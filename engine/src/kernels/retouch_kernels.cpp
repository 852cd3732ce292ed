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

template <bool Masked>
HWY_INLINE void sharpen(const uint8_t *HWY_RESTRICT above, const uint8_t *HWY_RESTRICT centre,
			const uint8_t *HWY_RESTRICT below, int width, int strength, uint8_t *HWY_RESTRICT out)
{
	const hn::ScalableTag<int16_t> d;
	using Wide = hn::Vec<decltype(d)>;
	const hn::Rebind<uint8_t, decltype(d)> d8;
	const hn::RepartitionToWide<hn::RebindToUnsigned<decltype(d)>> d32;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const Wide amount = hn::Set(d, static_cast<int16_t>(strength << 3));
	const Wide colour = hn::LoadDup128(d, colour_lanes);
	// What is below 1.5 levels (4 fraction bits) is noise as often as it is detail.
	const Wide core = hn::Set(d, 24);
	const Wide overshoot = hn::Set(d, 3);

	for (int byte = 0; byte < width * 4; byte += lanes) {
		Wide low = hn::Set(d, 255);
		Wide high = hn::Zero(d);
		const auto column = [&](int offset) HWY_ATTR {
			const Wide a = hn::PromoteTo(d, hn::LoadU(d8, above + byte + offset));
			const Wide c = hn::PromoteTo(d, hn::LoadU(d8, centre + byte + offset));
			const Wide b = hn::PromoteTo(d, hn::LoadU(d8, below + byte + offset));
			low = hn::Min(low, hn::Min(a, hn::Min(b, c)));
			high = hn::Max(high, hn::Max(a, hn::Max(b, c)));
			return hn::Add(hn::Add(a, b), hn::Add(c, c));
		};
		const Wide middle = column(0);
		const Wide sum = hn::Add(hn::Add(column(-4), column(4)), hn::Add(middle, middle));
		const Wide value = hn::PromoteTo(d, hn::LoadU(d8, centre + byte));
		Wide detail = hn::Sub(hn::ShiftLeft<4>(value), sum); // 4 fraction bits
		detail = hn::Sub(detail, hn::Min(hn::Max(detail, hn::Neg(core)), core));

		Wide factor = amount; // 11 fraction bits: with the 4 of the detail the 15 that the product drops
		if (Masked) {
			// Alpha of each pixel, 0..255: the high half of its second 32-bit word, to all four places.
			const auto words = hn::ShiftRight<16>(hn::BitCast(d32, value));
			const auto both = hn::Or(words, hn::ShiftLeft<16>(words));
			const Wide alpha = hn::BitCast(d, hn::OddEven(both, hn::Shuffle2301(both)));
			factor = hn::MulFixedPoint15(amount, hn::ShiftLeft<7>(alpha));
		}
		Wide result = hn::Add(value, hn::MulFixedPoint15(detail, factor));
		result = hn::Min(hn::Max(result, hn::Sub(low, overshoot)), hn::Add(high, overshoot));
		result = hn::IfVecThenElse(colour, result, value);
		hn::StoreU(hn::DemoteTo(d8, result), d8, out + byte);
	}
}

void sharpen_row(const uint8_t *above, const uint8_t *centre, const uint8_t *below, int width, int strength,
		 bool masked, uint8_t *out)
{
	if (masked)
		sharpen<true>(above, centre, below, width, strength, out);
	else
		sharpen<false>(above, centre, below, width, strength, out);
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
HWY_EXPORT(sharpen_row);
HWY_EXPORT(copy_alpha);

void retouch_row(uint8_t *row, int width, const int16_t *field, bool masked, const ToneGains &tone, int y)
{
	HWY_DYNAMIC_DISPATCH(retouch_row)(row, width, field, masked, tone, y);
}

void sharpen_row(const uint8_t *above, const uint8_t *centre, const uint8_t *below, int width, int strength,
		 bool masked, uint8_t *out)
{
	HWY_DYNAMIC_DISPATCH(sharpen_row)(above, centre, below, width, strength, masked, out);
}

void copy_alpha(const uint8_t *from, int width, uint8_t *row)
{
	HWY_DYNAMIC_DISPATCH(copy_alpha)(from, width, row);
}

} // namespace kalvio::engine::kernels
#endif
