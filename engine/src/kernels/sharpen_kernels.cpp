// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/sharpen_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <hwy/cache_control.h>

#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<uint8_t>; // one channel a lane
using ByteVector = hn::Vec<Bytes>;

// A part of the row to sharpen, with a pixel at both of its ends: what is needed of the neighbours at left and right.
struct Columns {
	static constexpr int part_bytes = 2048; // small enough to stay in the first cache beside three rows of pixels
	static constexpr int room = 64;         // of the widest vector

	// The first byte of the part stands at `room`.
	alignas(64) uint8_t centre[part_bytes + 3 * room];
	alignas(64) uint8_t mean[part_bytes + 3 * room]; // of the three pixels in a column; complemented: 255 less it
};

// The part of the rows from byte `first` on. What a vector would read beyond the row's end it reads before instead.
HWY_INLINE void measure_columns(const uint8_t *above, const uint8_t *centre, const uint8_t *below, int row_bytes,
				int first, int bytes, Columns &columns)
{
	const Bytes d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const int last = HWY_MAX(row_bytes - lanes, 0);
	const int end = HWY_MIN(first + bytes + 4, row_bytes);
	for (int place = first == 0 ? 0 : first - lanes; place < end; place += lanes) {
		const int byte = HWY_MIN(place, last);
		const int column = Columns::room + byte - first;
		const ByteVector c = hn::LoadU(d, centre + byte);
		const ByteVector outer = hn::AverageRound(hn::LoadU(d, above + byte), hn::LoadU(d, below + byte));
		hn::StoreU(c, d, columns.centre + column);
		hn::StoreU(hn::Not(hn::AverageRound(c, outer)), d, columns.mean + column);
	}
	for (uint8_t *values : {columns.centre, columns.mean}) {
		if (first == 0)
			std::memcpy(values + Columns::room - 4, values + Columns::room, 4);
		if (first + bytes == row_bytes)
			std::memcpy(values + Columns::room + bytes, values + Columns::room + bytes - 4, 4);
	}
}

// How much of the detail is added.
struct Amount {
	hn::Vec<hn::Repartition<uint16_t, Bytes>> strength; // 8 fraction bits
	ByteVector limit;                                   // of detail, so that the product fits a byte; 0 for alpha
};

// All in 8 bits. `mean` is that of 3 x 3 pixels; what is at left, at right, above and below holds the result to a
// range.
template <bool Masked>
HWY_INLINE ByteVector sharpen_pixels(ByteVector pixels, ByteVector mean, ByteVector left, ByteVector right,
				     ByteVector above, ByteVector below, const Amount &amount)
{
	const Bytes d;
	const hn::Repartition<uint16_t, Bytes> d16;
	const hn::Repartition<uint32_t, Bytes> d32;
	// What is not above one level is noise as often as it is detail.
	const ByteVector core = hn::Set(d, 1);
	const ByteVector overshoot = hn::Set(d, 3);

	// Darker pixels than the mean are turned round, and back at the end: then all are brighter.
	const auto turn = hn::VecFromMask(d, hn::Eq(hn::SaturatedSub(pixels, mean), hn::Zero(d)));
	const ByteVector value = hn::Xor(pixels, turn);
	ByteVector detail = hn::Sub(value, hn::Xor(mean, turn));
	detail = hn::Min(hn::SaturatedSub(detail, core), amount.limit);

	auto factor = amount.strength;
	if (Masked) {
		// Alpha of each pixel above 8 zero bits, to both halves of its word.
		const auto alpha = hn::And(hn::BitCast(d32, pixels), hn::Set(d32, 0xFF000000U));
		const auto both = hn::Or(alpha, hn::ShiftRight<16>(alpha));
		factor = hn::MulHigh(hn::BitCast(d16, both), factor);
	}
	const auto words = hn::BitCast(d16, detail);
	const auto even = hn::MulHigh(hn::ShiftLeft<8>(words), factor);
	const auto odd = hn::ShiftLeft<8>(hn::MulHigh(hn::And(words, hn::Set(d16, 0xFF00)), factor));
	const ByteVector change = hn::BitCast(d, hn::Or(even, odd));

	const ByteVector across = hn::Max(hn::Xor(left, turn), hn::Xor(right, turn));
	const ByteVector down = hn::Max(hn::Xor(above, turn), hn::Xor(below, turn));
	const ByteVector top = hn::Max(hn::Max(across, down), value);
	const ByteVector result = hn::Min(hn::SaturatedAdd(value, change), hn::SaturatedAdd(top, overshoot));
	return hn::Xor(result, turn);
}

template <bool Masked>
HWY_INLINE void sharpen(const uint8_t *HWY_RESTRICT above, const uint8_t *HWY_RESTRICT centre,
			const uint8_t *HWY_RESTRICT below, int width, int strength, uint8_t *HWY_RESTRICT out)
{
	// Without it the processor's own guess comes late at each row: measured, a third of the time at 1080p.
	constexpr int prefetched_bytes = 2560;
	const Bytes d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const auto limit = static_cast<uint32_t>(65535 / HWY_MAX(strength, 257));
	const Amount amount = {
		hn::Set(hn::Repartition<uint16_t, Bytes>(), static_cast<uint16_t>(strength)),
		hn::BitCast(d, hn::Set(hn::Repartition<uint32_t, Bytes>(), limit * 0x010101U)),
	};

	Columns columns;
	const int row_bytes = width * 4;
	for (int first = 0, bytes; first < row_bytes; first += bytes) {
		bytes = row_bytes - first;
		if (bytes >= Columns::part_bytes + lanes) // no part is shorter than a vector, unless the row is
			bytes = Columns::part_bytes;
		measure_columns(above, centre, below, row_bytes, first, bytes, columns);
		for (int place = 0; place < bytes; place += lanes) {
			const int in_part = HWY_MAX(HWY_MIN(place, bytes - lanes), 0);
			const int byte = first + in_part;
			hwy::Prefetch(below + byte + prefetched_bytes);
			hwy::Prefetch(out + byte + prefetched_bytes);
			const auto column = [in_part](const uint8_t *values, int pixel) HWY_ATTR {
				return hn::LoadU(Bytes(), values + Columns::room + in_part + pixel * 4);
			};
			// An average of averages: those in the columns round up and those across, of complements, down,
			// so that neither brightens nor darkens the picture.
			const ByteVector sides = hn::AverageRound(column(columns.mean, -1), column(columns.mean, 1));
			const ByteVector mean = hn::Not(hn::AverageRound(sides, column(columns.mean, 0)));
			const ByteVector result =
				sharpen_pixels<Masked>(hn::LoadU(d, centre + byte), mean, column(columns.centre, -1),
						       column(columns.centre, 1), hn::LoadU(d, above + byte),
						       hn::LoadU(d, below + byte), amount);
			hn::StoreU(result, d, out + byte);
		}
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

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(sharpen_row);

void sharpen_row(const uint8_t *above, const uint8_t *centre, const uint8_t *below, int width, int strength,
		 bool masked, uint8_t *out)
{
	HWY_DYNAMIC_DISPATCH(sharpen_row)(above, centre, below, width, strength, masked, out);
}

} // namespace kalvio::engine::kernels
#endif
