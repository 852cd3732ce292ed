// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/scale_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using FloatVector = hn::Vec<Floats>;

HWY_INLINE FloatVector load_floats(const uint8_t *bytes)
{
	const hn::Rebind<int32_t, Floats> d32;
	const hn::Rebind<uint8_t, Floats> d8;
	return hn::ConvertTo(Floats(), hn::PromoteTo(d32, hn::LoadU(d8, bytes)));
}

void weigh_byte_rows(const uint8_t *const *rows, const float *weights, int taps, int bytes, float *HWY_RESTRICT out)
{
	const Floats d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	int place = 0;
	// Four sums at a time: each waits for its own additions.
	for (; place + 4 * lanes <= bytes; place += 4 * lanes) {
		FloatVector sum0 = hn::Zero(d);
		FloatVector sum1 = hn::Zero(d);
		FloatVector sum2 = hn::Zero(d);
		FloatVector sum3 = hn::Zero(d);
		for (int tap = 0; tap < taps; ++tap) {
			const uint8_t *row = rows[tap] + place;
			const FloatVector weight = hn::Set(d, weights[tap]);
			sum0 = hn::Add(sum0, hn::Mul(weight, load_floats(row)));
			sum1 = hn::Add(sum1, hn::Mul(weight, load_floats(row + lanes)));
			sum2 = hn::Add(sum2, hn::Mul(weight, load_floats(row + 2 * lanes)));
			sum3 = hn::Add(sum3, hn::Mul(weight, load_floats(row + 3 * lanes)));
		}
		hn::StoreU(sum0, d, out + place);
		hn::StoreU(sum1, d, out + place + lanes);
		hn::StoreU(sum2, d, out + place + 2 * lanes);
		hn::StoreU(sum3, d, out + place + 3 * lanes);
	}
	// The row may end where its memory ends.
	for (; place < bytes; ++place) {
		float sum = 0;
		for (int tap = 0; tap < taps; ++tap)
			sum += weights[tap] * static_cast<float>(rows[tap][place]);
		out[place] = sum;
	}
}

void weigh_pixels(const float *HWY_RESTRICT row, const int *HWY_RESTRICT firsts, const float *HWY_RESTRICT weights,
		  int taps, int width, uint8_t *HWY_RESTRICT out)
{
	const hn::FixedTag<float, 4> d;
	const hn::FixedTag<uint8_t, 4> d8;
	for (int x = 0; x < width; ++x) {
		const float *pixel = row + firsts[x];
		auto sum = hn::Zero(d);
		for (int tap = 0; tap < taps; ++tap)
			sum = hn::Add(sum, hn::Mul(hn::Set(d, weights[tap]), hn::LoadU(d, pixel + tap * 4)));
		weights += taps;
		hn::StoreU(hn::DemoteTo(d8, hn::NearestInt(sum)), d8, out + x * 4);
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(weigh_byte_rows);
HWY_EXPORT(weigh_pixels);

void weigh_byte_rows(const uint8_t *const *rows, const float *weights, int taps, int bytes, float *out)
{
	HWY_DYNAMIC_DISPATCH(weigh_byte_rows)(rows, weights, taps, bytes, out);
}

void weigh_pixels(const float *row, const int *firsts, const float *weights, int taps, int width, uint8_t *out)
{
	HWY_DYNAMIC_DISPATCH(weigh_pixels)(row, firsts, weights, taps, width, out);
}

} // namespace kalvio::engine::kernels
#endif
