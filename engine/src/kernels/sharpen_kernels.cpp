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

// A part of the row to sharpen, with `step` pixels at both of its ends: what is needed of the neighbors at left and
// right.
struct Columns {
	static constexpr int part_bytes = 2048;  // small enough to stay in the first cache beside three rows of pixels
	static constexpr int padding_bytes = 64; // one of the widest vectors

	// The first byte of the part stands at `padding_bytes`.
	alignas(64) uint8_t center[part_bytes + 3 * padding_bytes];
	alignas(64) uint8_t
		mean[part_bytes + 3 * padding_bytes]; // of the three pixels in a column; complemented: 255 less it
};

// The part of the rows from byte `first` on. What a vector would read beyond the row's end it reads before instead.
HWY_INLINE void measure_columns(const uint8_t *above, const uint8_t *center, const uint8_t *below, int row_bytes,
				int first, int bytes, int step, Columns &columns)
{
	const Bytes d;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const int last = HWY_MAX(row_bytes - lanes, 0);
	const int end = HWY_MIN(first + bytes + 4 * step, row_bytes);
	const int before = (4 * step + lanes - 1) / lanes * lanes; // at most padding_bytes
	for (int place = first == 0 ? 0 : first - before; place < end; place += lanes) {
		const int byte = HWY_MIN(place, last);
		const int column = Columns::padding_bytes + byte - first;
		const ByteVector c = hn::LoadU(d, center + byte);
		const ByteVector outer = hn::AverageRound(hn::LoadU(d, above + byte), hn::LoadU(d, below + byte));
		hn::StoreU(c, d, columns.center + column);
		hn::StoreU(hn::Not(hn::AverageRound(c, outer)), d, columns.mean + column);
	}
	const int left = row_bytes - first; // of the row
	for (uint8_t *values : {columns.center, columns.mean}) {
		uint8_t *part = values + Columns::padding_bytes;
		for (int pixel = 1; first == 0 && pixel <= step; ++pixel)
			std::memcpy(part - pixel * 4, part, 4);
		for (int byte = left; byte < bytes + 4 * step; byte += 4)
			std::memcpy(part + byte, part + left - 4, 4);
	}
}

// How much of the detail is added.
struct Amount {
	hn::Vec<hn::Repartition<uint16_t, Bytes>> strength; // 8 fraction bits
	ByteVector limit;                                   // of detail, so that the product fits a byte; 0 for alpha
};

// All in 8 bits. `mean` is that of 3 x 3 pixels `step` apart; what is at left, at right, above and below holds the
// result to a range.
template <bool Masked>
HWY_INLINE ByteVector sharpen_pixels(ByteVector pixels, ByteVector mean, ByteVector left, ByteVector right,
				     ByteVector above, ByteVector below, const Amount &amount)
{
	const Bytes d;
	const hn::Repartition<uint16_t, Bytes> d16;
	const hn::Repartition<uint32_t, Bytes> d32;
	// What is not above two levels is noise as often as it is detail.
	const ByteVector core = hn::Set(d, 2);
	const ByteVector overshoot = hn::Set(d, 2);

	// Pixels below the mean are complemented, and back at the end, so that the detail is never negative.
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
HWY_INLINE void sharpen(const uint8_t *HWY_RESTRICT above, const uint8_t *HWY_RESTRICT center,
			const uint8_t *HWY_RESTRICT below, int width, int step, int strength, uint8_t *HWY_RESTRICT out)
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
		measure_columns(above, center, below, row_bytes, first, bytes, step, columns);
		for (int place = 0; place < bytes; place += lanes) {
			const int in_part = HWY_MAX(HWY_MIN(place, bytes - lanes), 0);
			const int byte = first + in_part;
			hwy::Prefetch(below + byte + prefetched_bytes);
			hwy::Prefetch(out + byte + prefetched_bytes);
			const auto column = [in_part](const uint8_t *values, int pixel) HWY_ATTR {
				return hn::LoadU(Bytes(), values + Columns::padding_bytes + in_part + pixel * 4);
			};
			// An average of averages: those in the columns round up and those across, of complements, down,
			// so that neither brightens nor darkens the picture.
			const ByteVector sides =
				hn::AverageRound(column(columns.mean, -step), column(columns.mean, step));
			const ByteVector mean = hn::Not(hn::AverageRound(sides, column(columns.mean, 0)));
			const ByteVector result =
				sharpen_pixels<Masked>(hn::LoadU(d, center + byte), mean, column(columns.center, -step),
						       column(columns.center, step), hn::LoadU(d, above + byte),
						       hn::LoadU(d, below + byte), amount);
			hn::StoreU(result, d, out + byte);
		}
	}
}

void sharpen_row(const uint8_t *above, const uint8_t *center, const uint8_t *below, int width, int step, int strength,
		 bool masked, uint8_t *out)
{
	if (masked)
		sharpen<true>(above, center, below, width, step, strength, out);
	else
		sharpen<false>(above, center, below, width, step, strength, out);
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(sharpen_row);

void sharpen_row(const uint8_t *above, const uint8_t *center, const uint8_t *below, int width, int step, int strength,
		 bool masked, uint8_t *out)
{
	HWY_DYNAMIC_DISPATCH(sharpen_row)(above, center, below, width, step, strength, masked, out);
}

} // namespace kalvio::engine::kernels
#endif
