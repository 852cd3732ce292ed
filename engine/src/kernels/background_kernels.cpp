// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/kernels.h"
#include "pixel_tables.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/background_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::ScalableTag<int16_t>; // one channel a lane
using WordVector = hn::Vec<Words>;
using WordBytes = hn::Rebind<uint8_t, Words>;

HWY_INLINE WordVector load_words(const uint8_t *row)
{
	return hn::PromoteTo(Words(), hn::LoadU(WordBytes(), row));
}

// value / 255, rounded, for 0..65025.
HWY_INLINE hn::Vec<hn::ScalableTag<uint16_t>> divide_by_255(hn::Vec<hn::ScalableTag<uint16_t>> value)
{
	const hn::ScalableTag<uint16_t> d;
	const auto rounded = hn::Add(value, hn::Set(d, 128));
	return hn::ShiftRight<8>(hn::Add(rounded, hn::ShiftRight<8>(rounded)));
}

// (value * weight + other * (255 - weight)) / 255
HWY_INLINE WordVector blend(WordVector value, WordVector other, WordVector weight)
{
	const hn::ScalableTag<uint16_t> du;
	const Words d;
	const auto first = hn::BitCast(du, hn::Mul(value, weight));
	const auto second = hn::BitCast(du, hn::Mul(other, hn::Sub(hn::Set(d, 255), weight)));
	return hn::BitCast(d, divide_by_255(hn::Add(first, second)));
}

// The alpha of each pixel, in all of its four words.
HWY_INLINE WordVector alpha_of(WordVector pixels)
{
	const hn::RepartitionToWide<hn::RebindToUnsigned<Words>> d32;
	// It lies in the upper word of each second pair: to both words, then to both pairs.
	const auto upper = hn::ShiftRight<16>(hn::BitCast(d32, pixels));
	return hn::BitCast(Words(), hn::DupOdd(hn::Or(upper, hn::ShiftLeft<16>(upper))));
}

void scale_alpha_by_matte(uint8_t *HWY_RESTRICT row, int width, const uint8_t *HWY_RESTRICT matte)
{
	const hn::ScalableTag<uint32_t> d; // one pixel per lane
	const hn::Repartition<uint16_t, decltype(d)> d16;
	const hn::Repartition<uint8_t, decltype(d)> d8;
	const int bytes = static_cast<int>(hn::Lanes(d8));
	const auto color = hn::Set(d, 0x00FFFFFFU);
	for (int byte = 0; byte < width * 4; byte += bytes) {
		const auto pixels = hn::BitCast(d, hn::LoadU(d8, row + byte));
		const auto weights = hn::ShiftRight<24>(hn::BitCast(d, hn::LoadU(d8, matte + byte)));
		const auto product = hn::Mul(hn::BitCast(d16, hn::ShiftRight<24>(pixels)), hn::BitCast(d16, weights));
		const auto rounded = hn::Add(hn::BitCast(d, product), hn::Set(d, 128));
		const auto alpha = hn::ShiftRight<8>(hn::Add(rounded, hn::ShiftRight<8>(rounded)));
		const auto result = hn::Or(hn::And(pixels, color), hn::ShiftLeft<24>(alpha));
		hn::StoreU(hn::BitCast(d8, result), d8, row + byte);
	}
}

void composite_row(uint8_t *HWY_RESTRICT row, int width, const uint8_t *HWY_RESTRICT matte,
		   const uint8_t *HWY_RESTRICT background)
{
	const Words d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const WordVector color = hn::LoadDup128(d, color_lanes);
	for (int byte = 0; byte < width * 4; byte += lanes) {
		const WordVector value = load_words(row + byte);
		const WordVector mixed = blend(value, load_words(background + byte), load_words(matte + byte));
		hn::StoreU(hn::DemoteTo(WordBytes(), hn::IfVecThenElse(color, mixed, value)), WordBytes(), row + byte);
	}
}

void background_weighted_row(const uint8_t *row, int width, const uint8_t *matte, uint8_t *out)
{
	const Words d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const WordVector color = hn::LoadDup128(d, color_lanes);
	const WordVector one = hn::Set(d, 255);
	for (int byte = 0; byte < width * 4; byte += lanes) {
		const WordVector pixels = load_words(row + byte);
		const WordVector kept_out = blend(load_words(matte + byte), one, alpha_of(pixels));
		const WordVector value = hn::IfVecThenElse(color, pixels, one);
		const WordVector weighted = blend(hn::Zero(d), value, kept_out);
		hn::StoreU(hn::DemoteTo(WordBytes(), weighted), WordBytes(), out + byte);
	}
}

void mix_row(uint8_t *HWY_RESTRICT row, int width, const uint8_t *HWY_RESTRICT other, int weight)
{
	const Words d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const WordVector factor = hn::And(hn::LoadDup128(d, color_lanes), hn::Set(d, static_cast<int16_t>(weight)));
	for (int byte = 0; byte < width * 4; byte += lanes) {
		const WordVector value = load_words(row + byte);
		// 7 bits of difference's product are dropped before the sum: the range of 16 bits is signed.
		const WordVector step = hn::ShiftLeft<7>(hn::Sub(load_words(other + byte), value));
		const WordVector change = hn::MulFixedPoint15(step, factor);
		hn::StoreU(hn::DemoteTo(WordBytes(), hn::Add(value, change)), WordBytes(), row + byte);
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(scale_alpha_by_matte);
HWY_EXPORT(composite_row);
HWY_EXPORT(mix_row);
HWY_EXPORT(background_weighted_row);

void scale_alpha_by_matte(uint8_t *row, int width, const uint8_t *matte)
{
	HWY_DYNAMIC_DISPATCH(scale_alpha_by_matte)(row, width, matte);
}

void composite_row(uint8_t *row, int width, const uint8_t *matte, const uint8_t *background)
{
	HWY_DYNAMIC_DISPATCH(composite_row)(row, width, matte, background);
}

void mix_row(uint8_t *row, int width, const uint8_t *other, int weight)
{
	HWY_DYNAMIC_DISPATCH(mix_row)(row, width, other, weight);
}

void background_weighted_row(const uint8_t *row, int width, const uint8_t *matte, uint8_t *out)
{
	HWY_DYNAMIC_DISPATCH(background_weighted_row)(row, width, matte, out);
}

} // namespace kalvio::engine::kernels
#endif
