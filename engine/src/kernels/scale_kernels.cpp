// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/scale_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Words = hn::ScalableTag<int16_t>;
using WordVector = hn::Vec<Words>;

HWY_INLINE WordVector load_fixed(const uint8_t *bytes)
{
	const hn::Rebind<uint8_t, Words> d8;
	return hn::ShiftLeft<7>(hn::PromoteTo(Words(), hn::LoadU(d8, bytes)));
}

// The same as the vectors do, for one value.
HWY_INLINE int16_t multiply_fixed(int value, int weight)
{
	return static_cast<int16_t>((value * weight + 0x4000) >> 15);
}

void weigh_byte_rows(const uint8_t *const *rows, const int16_t *weights, int taps, int bytes, int16_t *HWY_RESTRICT out)
{
	const Words d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	int place = 0;
	// Two sums at a time: each waits for its own additions.
	for (; place + 2 * lanes <= bytes; place += 2 * lanes) {
		WordVector sum0 = hn::Zero(d);
		WordVector sum1 = hn::Zero(d);
		for (int tap = 0; tap < taps; ++tap) {
			const uint8_t *row = rows[tap] + place;
			const WordVector weight = hn::Set(d, weights[tap]);
			sum0 = hn::SaturatedAdd(sum0, hn::MulFixedPoint15(load_fixed(row), weight));
			sum1 = hn::SaturatedAdd(sum1, hn::MulFixedPoint15(load_fixed(row + lanes), weight));
		}
		hn::StoreU(sum0, d, out + place);
		hn::StoreU(sum1, d, out + place + lanes);
	}
	// The row may end where its memory ends.
	for (; place < bytes; ++place) {
		int sum = 0;
		for (int tap = 0; tap < taps; ++tap) {
			sum += multiply_fixed(rows[tap][place] << 7, weights[tap]);
			sum = sum < INT16_MAX ? sum : INT16_MAX;
		}
		out[place] = static_cast<int16_t>(sum);
	}
}

// Two taps a vector: the first four lanes belong to one pixel of the row, the others to the next.
using Pair = hn::FixedTag<int16_t, 8>;
using PairVector = hn::Vec<Pair>;

template <int KnownPairs>
HWY_INLINE PairVector sum_pairs(const int16_t *pixel, const int16_t *weights, int pairs)
{
	const Pair d;
	const int count = KnownPairs > 0 ? KnownPairs : pairs;
	PairVector sum = hn::MulFixedPoint15(hn::LoadU(d, pixel), hn::Load(d, weights));
	for (int pair = 1; pair < count; ++pair)
		sum = hn::SaturatedAdd(
			sum, hn::MulFixedPoint15(hn::LoadU(d, pixel + pair * 8), hn::Load(d, weights + pair * 8)));
	return sum;
}

// A number of taps that the compiler knows takes less time; 0: `pairs` says how many.
template <int KnownPairs>
HWY_INLINE void weigh_known(const int16_t *HWY_RESTRICT row, const int *HWY_RESTRICT firsts,
			    const int16_t *HWY_RESTRICT weights, int pairs, int width, uint8_t *HWY_RESTRICT out)
{
	const Pair d;
	const hn::Repartition<int64_t, Pair> d64;
	const hn::Rebind<uint8_t, Pair> d8;
	const int count = KnownPairs > 0 ? KnownPairs : pairs;
	const auto rounded = [&](PairVector left_sum, PairVector right_sum) HWY_ATTR {
		const auto left = hn::BitCast(d64, left_sum);
		const auto right = hn::BitCast(d64, right_sum);
		const PairVector even = hn::BitCast(d, hn::InterleaveLower(d64, left, right));
		const PairVector odd = hn::BitCast(d, hn::InterleaveUpper(d64, left, right));
		const PairVector sum = hn::SaturatedAdd(hn::SaturatedAdd(even, odd), hn::Set(d, 64));
		return hn::DemoteTo(d8, hn::ShiftRight<7>(sum));
	};
	int x = 0;
	for (; x + 2 <= width; x += 2) {
		const PairVector left = sum_pairs<KnownPairs>(row + firsts[x], weights, count);
		const PairVector right = sum_pairs<KnownPairs>(row + firsts[x + 1], weights + count * 8, count);
		hn::StoreU(rounded(left, right), d8, out + x * 4);
		weights += count * 16;
	}
	if (x < width) {
		alignas(16) uint8_t pixels[8];
		const PairVector last = sum_pairs<KnownPairs>(row + firsts[x], weights, count);
		hn::StoreU(rounded(last, last), d8, pixels);
		hwy::CopyBytes<4>(pixels, out + x * 4);
	}
}

void weigh_pixels(const int16_t *row, const int *firsts, const int16_t *weights, int pairs, int width, uint8_t *out)
{
	switch (pairs) {
	case 1:
		return weigh_known<1>(row, firsts, weights, pairs, width, out);
	case 2:
		return weigh_known<2>(row, firsts, weights, pairs, width, out);
	case 3:
		return weigh_known<3>(row, firsts, weights, pairs, width, out);
	default:
		return weigh_known<0>(row, firsts, weights, pairs, width, out);
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(weigh_byte_rows);
HWY_EXPORT(weigh_pixels);

void weigh_byte_rows(const uint8_t *const *rows, const int16_t *weights, int taps, int bytes, int16_t *out)
{
	HWY_DYNAMIC_DISPATCH(weigh_byte_rows)(rows, weights, taps, bytes, out);
}

void weigh_pixels(const int16_t *row, const int *firsts, const int16_t *weights, int pairs, int width, uint8_t *out)
{
	HWY_DYNAMIC_DISPATCH(weigh_pixels)(row, firsts, weights, pairs, width, out);
}

} // namespace kalvio::engine::kernels
#endif
