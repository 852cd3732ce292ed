// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/kernels.h"
#include "kernels/retouch_tables.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/background_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// How far noise may move a colour in the key's plane.
constexpr float key_noise = 0.03F;

using Pixels = hn::ScalableTag<int32_t>; // one pixel a lane
using PixelVector = hn::Vec<Pixels>;
using Floats = hn::Rebind<float, Pixels>;
using Bytes = hn::Repartition<uint8_t, Pixels>;

HWY_INLINE PixelVector load_pixels(const uint8_t *row)
{
	return hn::BitCast(Pixels(), hn::LoadU(Bytes(), row));
}

HWY_INLINE void store_pixels(PixelVector pixels, uint8_t *row)
{
	hn::StoreU(hn::BitCast(Bytes(), pixels), Bytes(), row);
}

template <int Channel>
HWY_INLINE PixelVector channel_of(PixelVector pixels)
{
	return hn::And(hn::ShiftRight<Channel * 8>(pixels), hn::Set(Pixels(), 255));
}

// Where the colours of some pixels lie, as seen from the key colour.
struct KeyPlane {
	const Floats df;
	const hn::Vec<Floats> scale_blue;
	const hn::Vec<Floats> scale_red;
	const hn::Vec<Floats> toward_blue;
	const hn::Vec<Floats> toward_red;
	const hn::Vec<Floats> key_distance;

	// `pixels` is how many were added up in each channel.
	HWY_INLINE KeyPlane(const ColorKey &key, float pixels)
		: scale_blue(hn::Set(df, 1.0F / (1.8556F * 255.0F * pixels))),
		  scale_red(hn::Set(df, 1.0F / (1.5748F * 255.0F * pixels))),
		  toward_blue(hn::Set(df, key.direction_blue)), toward_red(hn::Set(df, key.direction_red)),
		  key_distance(hn::Set(df, key.distance))
	{
	}

	HWY_INLINE hn::Vec<Floats> distance(PixelVector red_sum, PixelVector green_sum, PixelVector blue_sum) const
	{
		const auto red = hn::ConvertTo(df, red_sum);
		const auto blue = hn::ConvertTo(df, blue_sum);
		auto luma = hn::Add(hn::Mul(red, hn::Set(df, 0.2126F)),
				    hn::Mul(hn::ConvertTo(df, green_sum), hn::Set(df, 0.7152F)));
		luma = hn::Add(luma, hn::Mul(blue, hn::Set(df, 0.0722F)));
		const auto cb = hn::Mul(hn::Sub(blue, luma), scale_blue);
		const auto cr = hn::Mul(hn::Sub(red, luma), scale_red);

		const auto forward = hn::Add(hn::Mul(cb, toward_blue), hn::Mul(cr, toward_red));
		// A shadow on the screen moves its colour towards grey: that way distances count a little less.
		auto along = hn::Sub(forward, key_distance);
		along = hn::Max(along, hn::Mul(along, hn::Set(df, 0.91F)));
		const auto across = hn::Sub(hn::Mul(cr, toward_blue), hn::Mul(cb, toward_red));
		return hn::Sqrt(hn::Add(hn::Mul(along, along), hn::Mul(across, across)));
	}
};

HWY_INLINE void store_matte(hn::Vec<Floats> distance, const ColorKey &key, uint8_t *HWY_RESTRICT matte)
{
	const Floats df;
	auto position = hn::Mul(hn::Sub(distance, hn::Set(df, key.inner)), hn::Set(df, key.ramp_scale));
	position = hn::Min(hn::Max(position, hn::Zero(df)), hn::Set(df, 1.0F));
	const auto bend = hn::Sub(hn::Set(df, 3.0F), hn::Add(position, position));
	const auto smooth = hn::Mul(hn::Mul(position, position), bend);
	const PixelVector value = hn::NearestInt(hn::Mul(smooth, hn::Set(df, 255.0F)));
	const PixelVector pair = hn::Or(value, hn::ShiftLeft<8>(value));
	store_pixels(hn::Or(pair, hn::ShiftLeft<16>(pair)), matte);
}

void key_row(const uint8_t *HWY_RESTRICT row, int width, const ColorKey &key, uint8_t *HWY_RESTRICT matte)
{
	const int lanes = static_cast<int>(hn::Lanes(Pixels()));
	const KeyPlane plane(key, 1);
	for (int x = 0; x < width; x += lanes) {
		const PixelVector pixels = load_pixels(row + x * 4);
		const auto distance =
			plane.distance(channel_of<0>(pixels), channel_of<1>(pixels), channel_of<2>(pixels));
		store_matte(distance, key, matte + x * 4);
	}
}

void key_row_among(const uint8_t *HWY_RESTRICT above, const uint8_t *HWY_RESTRICT row,
		   const uint8_t *HWY_RESTRICT below, int width, const ColorKey &key, uint8_t *HWY_RESTRICT matte)
{
	const Pixels d;
	const Floats df;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const KeyPlane plane(key, 1);
	const KeyPlane plane_of_nine(key, 9);
	const PixelVector even = hn::Set(d, 0x00FF00FF);
	const auto limit = hn::Set(df, key_noise);
	// Beyond these no neighbour changes anything, and few pixels lie between them.
	const auto surely_screen = hn::Set(df, key.inner - key_noise);
	const auto surely_kept = hn::Set(df, key.inner + 1.0F / key.ramp_scale + key_noise);
	for (int x = 0; x < width; x += lanes) {
		const PixelVector pixels = load_pixels(row + x * 4);
		auto distance = plane.distance(channel_of<0>(pixels), channel_of<1>(pixels), channel_of<2>(pixels));
		const auto is_clear = hn::Or(hn::Le(distance, surely_screen), hn::Ge(distance, surely_kept));
		if (!hn::AllTrue(df, is_clear)) {
			// Two channels a word: nine bytes need twelve bits.
			PixelVector red_blue = hn::Zero(d);
			PixelVector green = hn::Zero(d);
			for (const uint8_t *line : {above, row, below}) {
				for (int offset = -4; offset <= 4; offset += 4) {
					const PixelVector near = load_pixels(line + x * 4 + offset);
					red_blue = hn::Add(red_blue, hn::And(near, even));
					green = hn::Add(green, channel_of<1>(near));
				}
			}
			const auto around = plane_of_nine.distance(hn::And(red_blue, hn::Set(d, 0xFFFF)), green,
								   hn::ShiftRight<16>(red_blue));
			const auto step = hn::Sub(around, distance);
			distance = hn::Add(distance, hn::Min(hn::Max(step, hn::Neg(limit)), limit));
		}
		store_matte(distance, key, matte + x * 4);
	}
}

template <int Channel>
HWY_INLINE void despill(uint8_t *HWY_RESTRICT row, int width, int32_t amount)
{
	const Pixels d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const PixelVector part = hn::Set(d, amount);
	for (int x = 0; x < width; x += lanes) {
		const PixelVector pixels = load_pixels(row + x * 4);
		const PixelVector own = channel_of<Channel>(pixels);
		PixelVector limit =
			hn::Max(channel_of<(Channel + 1) % 3>(pixels), channel_of<(Channel + 2) % 3>(pixels));
		// Skin and lips have up to twice as much red as of the others; only what is more is the screen's.
		if (Channel == 0)
			limit = hn::Add(limit, limit);
		const PixelVector spill = hn::Max(hn::Sub(own, limit), hn::Zero(d));
		const PixelVector taken = hn::ShiftRight<8>(hn::Add(hn::Mul(spill, part), hn::Set(d, 128)));
		// What is taken stays within its byte: no borrow from the next.
		store_pixels(hn::Sub(pixels, hn::ShiftLeft<Channel * 8>(taken)), row + x * 4);
	}
}

void despill_row(uint8_t *row, int width, const ColorKey &key)
{
	if (key.channel == 0)
		despill<0>(row, width, key.despill);
	else if (key.channel == 1)
		despill<1>(row, width, key.despill);
	else
		despill<2>(row, width, key.despill);
}

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

void cut_row(uint8_t *HWY_RESTRICT row, int width, const uint8_t *HWY_RESTRICT matte)
{
	const Words d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const WordVector colour = hn::LoadDup128(d, colour_lanes);
	for (int byte = 0; byte < width * 4; byte += lanes) {
		const WordVector value = load_words(row + byte);
		const WordVector cut = blend(value, hn::Zero(d), load_words(matte + byte));
		hn::StoreU(hn::DemoteTo(WordBytes(), hn::IfVecThenElse(colour, value, cut)), WordBytes(), row + byte);
	}
}

void composite_row(uint8_t *HWY_RESTRICT row, int width, const uint8_t *HWY_RESTRICT matte,
		   const uint8_t *HWY_RESTRICT background)
{
	const Words d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const WordVector colour = hn::LoadDup128(d, colour_lanes);
	for (int byte = 0; byte < width * 4; byte += lanes) {
		const WordVector value = load_words(row + byte);
		const WordVector mixed = blend(value, load_words(background + byte), load_words(matte + byte));
		hn::StoreU(hn::DemoteTo(WordBytes(), hn::IfVecThenElse(colour, mixed, value)), WordBytes(), row + byte);
	}
}

void weigh_row(const uint8_t *row, int width, const uint8_t *matte, uint8_t *out)
{
	const Words d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const WordVector colour = hn::LoadDup128(d, colour_lanes);
	for (int byte = 0; byte < width * 4; byte += lanes) {
		const WordVector value = hn::IfVecThenElse(colour, load_words(row + byte), hn::Set(d, 255));
		const WordVector weighted = blend(hn::Zero(d), value, load_words(matte + byte));
		hn::StoreU(hn::DemoteTo(WordBytes(), weighted), WordBytes(), out + byte);
	}
}

void mix_row(uint8_t *HWY_RESTRICT row, int width, const uint8_t *HWY_RESTRICT other, int weight)
{
	const Words d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const WordVector factor = hn::And(hn::LoadDup128(d, colour_lanes), hn::Set(d, static_cast<int16_t>(weight)));
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

HWY_EXPORT(key_row);
HWY_EXPORT(key_row_among);
HWY_EXPORT(despill_row);
HWY_EXPORT(cut_row);
HWY_EXPORT(composite_row);
HWY_EXPORT(mix_row);
HWY_EXPORT(weigh_row);

void key_row(const uint8_t *row, int width, const ColorKey &key, uint8_t *matte)
{
	HWY_DYNAMIC_DISPATCH(key_row)(row, width, key, matte);
}

void key_row_among(const uint8_t *above, const uint8_t *row, const uint8_t *below, int width, const ColorKey &key,
		   uint8_t *matte)
{
	HWY_DYNAMIC_DISPATCH(key_row_among)(above, row, below, width, key, matte);
}

void despill_row(uint8_t *row, int width, const ColorKey &key)
{
	HWY_DYNAMIC_DISPATCH(despill_row)(row, width, key);
}

void cut_row(uint8_t *row, int width, const uint8_t *matte)
{
	HWY_DYNAMIC_DISPATCH(cut_row)(row, width, matte);
}

void composite_row(uint8_t *row, int width, const uint8_t *matte, const uint8_t *background)
{
	HWY_DYNAMIC_DISPATCH(composite_row)(row, width, matte, background);
}

void mix_row(uint8_t *row, int width, const uint8_t *other, int weight)
{
	HWY_DYNAMIC_DISPATCH(mix_row)(row, width, other, weight);
}

void weigh_row(const uint8_t *row, int width, const uint8_t *matte, uint8_t *out)
{
	HWY_DYNAMIC_DISPATCH(weigh_row)(row, width, matte, out);
}

} // namespace kalvio::engine::kernels
#endif
