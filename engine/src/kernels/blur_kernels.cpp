// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/kernels.h"
#include "pixel_tables.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/blur_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <hwy/cache_control.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Rows of a frame come from and go to memory: the processor's own guess would come late at each row.
constexpr int prefetched_bytes = 2048;

void sum_rows(const uint8_t *const rows[4], int bytes, bool add, const ChannelSums &sums)
{
	const hn::ScalableTag<uint16_t> d;
	const hn::Repartition<uint8_t, decltype(d)> d8;
	const int lanes = static_cast<int>(hn::Lanes(d8));
	const auto lower_byte = hn::Set(d, 255);
	for (int byte = 0; byte < bytes; byte += lanes) {
		uint16_t *red_blue = sums.red_blue + byte / 2;
		uint16_t *green_alpha = sums.green_alpha + byte / 2;
		auto even = add ? hn::LoadU(d, red_blue) : hn::Zero(d);
		auto odd = add ? hn::LoadU(d, green_alpha) : hn::Zero(d);
		for (int row = 0; row < 4; ++row) {
			hwy::Prefetch(rows[row] + byte + prefetched_bytes);
			const auto pixels = hn::BitCast(d, hn::LoadU(d8, rows[row] + byte));
			even = hn::Add(even, hn::And(pixels, lower_byte));
			odd = hn::Add(odd, hn::ShiftRight<8>(pixels));
		}
		hn::StoreU(even, d, red_blue);
		hn::StoreU(odd, d, green_alpha);
	}
}

using Wide = hn::FixedTag<uint32_t, 4>;
using WideVector = hn::Vec<Wide>;

// Lane by lane the sums of the four lanes of each vector.
HWY_INLINE WideVector sums_of_lanes(WideVector a, WideVector b, WideVector c, WideVector d)
{
	const hn::FixedTag<uint64_t, 2> d64;
	const Wide d32;
	const auto ab = hn::Add(hn::InterleaveLower(d32, a, b), hn::InterleaveUpper(d32, a, b));
	const auto cd = hn::Add(hn::InterleaveLower(d32, c, d), hn::InterleaveUpper(d32, c, d));
	const auto low = hn::InterleaveLower(d64, hn::BitCast(d64, ab), hn::BitCast(d64, cd));
	const auto high = hn::InterleaveUpper(d64, hn::BitCast(d64, ab), hn::BitCast(d64, cd));
	return hn::Add(hn::BitCast(d32, low), hn::BitCast(d32, high));
}

void average_blocks(const ChannelSums &sums, int block, int cells, bool opaque, float *HWY_RESTRICT out)
{
	const Wide d;
	const hn::FixedTag<uint16_t, 8> d16;
	const hn::FixedTag<float, 4> df;
	const auto lower_half = hn::Set(d, 0xFFFF);
	const auto scale = hn::Set(df, 1.0F / (255.0F * static_cast<float>(block * block)));
	for (int cell = 0; cell < cells; ++cell) {
		auto red = hn::Zero(d);
		auto green = hn::Zero(d);
		auto blue = hn::Zero(d);
		auto alpha = hn::Zero(d);
		for (int pixel = cell * block; pixel < (cell + 1) * block; pixel += 4) {
			const auto red_blue = hn::BitCast(d, hn::LoadU(d16, sums.red_blue + pixel * 2));
			const auto green_alpha = hn::BitCast(d, hn::LoadU(d16, sums.green_alpha + pixel * 2));
			red = hn::Add(red, hn::And(red_blue, lower_half));
			blue = hn::Add(blue, hn::ShiftRight<16>(red_blue));
			green = hn::Add(green, hn::And(green_alpha, lower_half));
			alpha = hn::Add(alpha, hn::ShiftRight<16>(green_alpha));
		}
		const hn::FixedTag<int32_t, 4> signed32;
		const auto total = hn::BitCast(signed32, sums_of_lanes(red, blue, green, alpha));
		const auto mean = hn::Mul(hn::ConvertTo(df, total), scale);
		const auto colors = hn::FirstN(df, opaque ? 3 : 4);
		hn::StoreU(hn::IfThenElse(colors, mean, hn::Set(df, 1.0F)), df, out + cell * 4);
	}
}

void convolve_cells(const float *HWY_RESTRICT padded, const float *HWY_RESTRICT weights, int taps, int cells,
		    float *HWY_RESTRICT out)
{
	const hn::ScalableTag<float> d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	for (int index = 0; index < cells * 4; index += lanes) {
		auto sum = hn::Mul(hn::LoadU(d, padded + index), hn::Set(d, weights[0]));
		for (int tap = 1; tap < taps; ++tap)
			sum = hn::Add(sum, hn::Mul(hn::LoadU(d, padded + index + tap * 4), hn::Set(d, weights[tap])));
		hn::StoreU(sum, d, out + index);
	}
}

void convolve_rows(const float *const *rows, const float *HWY_RESTRICT weights, int taps, int floats,
		   float *HWY_RESTRICT out)
{
	const hn::ScalableTag<float> d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	for (int index = 0; index < floats; index += lanes) {
		auto sum = hn::Mul(hn::LoadU(d, rows[0] + index), hn::Set(d, weights[0]));
		for (int tap = 1; tap < taps; ++tap)
			sum = hn::Add(sum, hn::Mul(hn::LoadU(d, rows[tap] + index), hn::Set(d, weights[tap])));
		hn::StoreU(sum, d, out + index);
	}
}

void unpremultiply_to_fixed(const float *HWY_RESTRICT weighted, int cells, int16_t *HWY_RESTRICT out)
{
	const hn::FixedTag<float, 4> df;
	const hn::FixedTag<int16_t, 4> d16;
	const auto white_value = hn::Set(df, float{white});
	const auto almost_none = hn::Set(df, 1.0F / 4096.0F);
	for (int cell = 0; cell < cells; ++cell) {
		const auto sum = hn::LoadU(df, weighted + cell * 4);
		const auto weight = hn::Max(hn::Broadcast<3>(sum), almost_none);
		const auto value = hn::Div(hn::Mul(sum, white_value), weight);
		hn::StoreU(hn::DemoteTo(d16, hn::NearestInt(hn::Min(value, white_value))), d16, out + cell * 4);
	}
}

void upsample_row(const int16_t *HWY_RESTRICT cells, int block, const int16_t *HWY_RESTRICT left,
		  const int16_t *HWY_RESTRICT right, int count, const ChannelRows &out)
{
	const hn::FixedTag<int16_t, 8> d; // two channels of four pixels
	const hn::FixedTag<int32_t, 4> d32;
	for (int cell = 0; cell < count; ++cell) {
		for (int pair = 0; pair < 2; ++pair) {
			const auto both_channels = [&](int neighbor) HWY_ATTR {
				int32_t channels;
				hwy::CopyBytes<4>(cells + (cell + neighbor) * 4 + pair * 2, &channels);
				return hn::BitCast(d, hn::Set(d32, channels));
			};
			const auto center = both_channels(0);
			const auto before = hn::Sub(both_channels(-1), center);
			const auto behind = hn::Sub(both_channels(1), center);
			int16_t *row = (pair == 0 ? out.red_blue : out.green_alpha) + cell * block * 2;
			for (int value = 0; value < block * 2; value += 8) {
				auto sum = hn::Add(center, hn::MulFixedPoint15(before, hn::LoadU(d, left + value)));
				sum = hn::Add(sum, hn::MulFixedPoint15(behind, hn::LoadU(d, right + value)));
				hn::StoreU(sum, d, row + value);
			}
		}
	}
}

void blend_rows(const ChannelRows &above, const ChannelRows &below, int16_t weight, int width, int y,
		uint8_t *HWY_RESTRICT row)
{
	const hn::ScalableTag<int16_t> d;
	const hn::RebindToUnsigned<decltype(d)> du;
	const hn::Repartition<uint8_t, decltype(d)> d8;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const auto factor = hn::Set(d, weight);
	const auto rounding = hn::LoadDup128(d, pair_dither_rows[y & 3]);
	const auto upper_byte = hn::Set(du, 0xFF00);
	const auto between = [&](const int16_t *first, const int16_t *second) HWY_ATTR {
		const auto start = hn::LoadU(d, first);
		const auto step = hn::Sub(hn::LoadU(d, second), start);
		const auto sum = hn::Add(start, hn::MulFixedPoint15(step, factor));
		return hn::BitCast(du, hn::Add(sum, rounding));
	};
	// Out of the structures: the compiler must assume that a written byte belongs to one of them.
	const ChannelRows first = above;
	const ChannelRows second = below;
	for (int value = 0; value < width * 2; value += lanes) {
		hwy::Prefetch(row + value * 2 + prefetched_bytes);
		const auto even = hn::ShiftRight<6>(between(first.red_blue + value, second.red_blue + value));
		const auto odd = hn::ShiftLeft<2>(between(first.green_alpha + value, second.green_alpha + value));
		const auto pixels = hn::Or(even, hn::And(odd, upper_byte));
		hn::StoreU(hn::BitCast(d8, pixels), d8, row + value * 2);
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(sum_rows);
HWY_EXPORT(average_blocks);
HWY_EXPORT(convolve_cells);
HWY_EXPORT(convolve_rows);
HWY_EXPORT(unpremultiply_to_fixed);
HWY_EXPORT(upsample_row);
HWY_EXPORT(blend_rows);

void sum_rows(const uint8_t *const rows[4], int bytes, bool add, const ChannelSums &sums)
{
	HWY_DYNAMIC_DISPATCH(sum_rows)(rows, bytes, add, sums);
}

void average_blocks(const ChannelSums &sums, int block, int cells, bool opaque, float *out)
{
	HWY_DYNAMIC_DISPATCH(average_blocks)(sums, block, cells, opaque, out);
}

void convolve_cells(const float *padded, const float *weights, int taps, int cells, float *out)
{
	HWY_DYNAMIC_DISPATCH(convolve_cells)(padded, weights, taps, cells, out);
}

void convolve_rows(const float *const *rows, const float *weights, int taps, int floats, float *out)
{
	HWY_DYNAMIC_DISPATCH(convolve_rows)(rows, weights, taps, floats, out);
}

void unpremultiply_to_fixed(const float *weighted, int cells, int16_t *out)
{
	HWY_DYNAMIC_DISPATCH(unpremultiply_to_fixed)(weighted, cells, out);
}

void upsample_row(const int16_t *cells, int block, const int16_t *left, const int16_t *right, int count,
		  const ChannelRows &out)
{
	HWY_DYNAMIC_DISPATCH(upsample_row)(cells, block, left, right, count, out);
}

void blend_rows(const ChannelRows &above, const ChannelRows &below, int16_t weight, int width, int y, uint8_t *row)
{
	HWY_DYNAMIC_DISPATCH(blend_rows)(above, below, weight, width, y, row);
}

} // namespace kalvio::engine::kernels
#endif
