// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/lookup_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr int block_pixels = 16;

// Where each pixel of a block finds its four LUT colors, and how much of each it takes.
struct Block {
	alignas(64) int32_t diagonal[block_pixels]; // offset of the pair of the far corners, in values
	alignas(64) int32_t corners[block_pixels];  // offset of the pair of the two others
	alignas(64) uint32_t far_weights[block_pixels];
	alignas(64) uint32_t near_weights[block_pixels];
};

using Wide = hn::CappedTag<int32_t, block_pixels>;
using WideVector = hn::Vec<Wide>;

struct Position {
	WideVector cell;
	WideVector fraction; // 0..255, in units of 1/255 of a cell
};

// value * 32 / 255, split.
HWY_INLINE Position locate(WideVector value)
{
	const Wide d;
	const WideVector scaled = hn::ShiftLeft<5>(value);
	// Division by 255, exact below 65535.
	WideVector cell = hn::Add(scaled, hn::Set(d, 1));
	cell = hn::ShiftRight<8>(hn::Add(cell, hn::ShiftRight<8>(scaled)));
	cell = hn::Min(cell, hn::Set(d, LutCell::cells_per_side - 1));
	return {cell, hn::Sub(scaled, hn::Sub(hn::ShiftLeft<8>(cell), cell))};
}

// Two weights 0..255 as 15-bit fractions in one word.
HWY_INLINE WideVector weight_pair(WideVector first, WideVector second)
{
	const auto fixed = [](WideVector weight) HWY_ATTR {
		return hn::ShiftRight<1>(hn::Add(hn::ShiftLeft<8>(weight), weight));
	};
	return hn::Or(fixed(first), hn::ShiftLeft<16>(fixed(second)));
}

HWY_INLINE void prepare(const uint8_t *HWY_RESTRICT pixels, Block &block)
{
	const Wide d;
	const hn::RebindToUnsigned<Wide> du;
	const hn::Repartition<uint8_t, Wide> d8;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const WideVector byte = hn::Set(d, 255);
	for (int first = 0; first < block_pixels; first += lanes) {
		const WideVector rgba = hn::BitCast(d, hn::LoadU(d8, pixels + first * 4));
		const Position red = locate(hn::And(rgba, byte));
		const Position green = locate(hn::And(hn::ShiftRight<8>(rgba), byte));
		const Position blue = locate(hn::And(hn::ShiftRight<16>(rgba), byte));

		const auto bit = [&](WideVector left, WideVector right, int value) HWY_ATTR {
			return hn::IfThenZeroElse(hn::Lt(left, right), hn::Set(d, value));
		};
		const WideVector code =
			hn::Or(bit(red.fraction, green.fraction, 4),
			       hn::Or(bit(green.fraction, blue.fraction, 2), bit(red.fraction, blue.fraction, 1)));
		WideVector cell = hn::Or(hn::ShiftLeft<10>(blue.cell), hn::ShiftLeft<5>(green.cell));
		cell = hn::ShiftLeft<6>(hn::Or(cell, red.cell));

		const WideVector largest = hn::Max(red.fraction, hn::Max(green.fraction, blue.fraction));
		const WideVector smallest = hn::Min(red.fraction, hn::Min(green.fraction, blue.fraction));
		WideVector middle = hn::Add(red.fraction, hn::Add(green.fraction, blue.fraction));
		middle = hn::Sub(middle, hn::Add(largest, smallest));

		hn::Store(hn::Add(cell, hn::Set(d, LutCell::diagonal * 8)), d, block.diagonal + first);
		hn::Store(hn::Add(cell, hn::ShiftLeft<3>(code)), d, block.corners + first);
		hn::Store(hn::BitCast(du, weight_pair(hn::Sub(byte, largest), smallest)), du,
			  block.far_weights + first);
		hn::Store(hn::BitCast(du, weight_pair(hn::Sub(largest, middle), hn::Sub(middle, smallest))), du,
			  block.near_weights + first);
	}
}

using Pair = hn::FixedTag<int16_t, 8>;
using PairVector = hn::Vec<Pair>;

// The sum over a pixel's four corners: the first and the second four lanes are still to be added.
HWY_INLINE PairVector weigh(const int16_t *HWY_RESTRICT cells, const Block &block, int pixel)
{
	alignas(16) static constexpr uint8_t spread[16] = {0, 1, 0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 2, 3};
	const Pair d;
	const hn::FixedTag<uint8_t, 16> d8;
	const hn::FixedTag<uint32_t, 4> d32;
	const auto pattern = hn::Load(d8, spread);
	const auto weights = [&](uint32_t word) HWY_ATTR {
		return hn::BitCast(d, hn::TableLookupBytes(hn::BitCast(d8, hn::Set(d32, word)), pattern));
	};
	const PairVector far = hn::Load(d, cells + block.diagonal[pixel]);
	const PairVector near = hn::Load(d, cells + block.corners[pixel]);
	return hn::Add(hn::MulFixedPoint15(far, weights(block.far_weights[pixel])),
		       hn::MulFixedPoint15(near, weights(block.near_weights[pixel])));
}

// The colors of two pixels with the fraction bits gone.
HWY_INLINE PairVector finish(PairVector first, PairVector second)
{
	const Pair d;
	const hn::FixedTag<uint64_t, 2> d64;
	const auto low = hn::InterleaveLower(d64, hn::BitCast(d64, first), hn::BitCast(d64, second));
	const auto high = hn::InterleaveUpper(d64, hn::BitCast(d64, first), hn::BitCast(d64, second));
	const PairVector sum = hn::Add(hn::BitCast(d, low), hn::BitCast(d, high));
	return hn::ShiftRight<6>(hn::Add(sum, hn::Set(d, 32)));
}

void lookup_row(uint8_t *HWY_RESTRICT row, int width, const int16_t *HWY_RESTRICT cells)
{
	const hn::FixedTag<uint8_t, 16> d8;
	const hn::FixedTag<uint32_t, 4> d32;
	const auto alpha = hn::Set(d32, 0xFF000000U);
	Block block;
	for (int first = 0; first < width; first += block_pixels) {
		uint8_t *pixels = row + first * 4;
		prepare(pixels, block);
		for (int pixel = 0; pixel < block_pixels; pixel += 4) {
			const PairVector lower = finish(weigh(cells, block, pixel), weigh(cells, block, pixel + 1));
			const PairVector upper = finish(weigh(cells, block, pixel + 2), weigh(cells, block, pixel + 3));
			const hn::FixedTag<uint8_t, 8> half;
			const auto colors = hn::Combine(d8, hn::DemoteTo(half, upper), hn::DemoteTo(half, lower));
			const auto old = hn::BitCast(d32, hn::LoadU(d8, pixels + pixel * 4));
			const auto result = hn::Or(hn::And(old, alpha), hn::AndNot(alpha, hn::BitCast(d32, colors)));
			hn::StoreU(hn::BitCast(d8, result), d8, pixels + pixel * 4);
		}
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(lookup_row);

void lookup_row(uint8_t *row, int width, const int16_t *cells)
{
	HWY_DYNAMIC_DISPATCH(lookup_row)(row, width, cells);
}

} // namespace kalvio::engine::kernels
#endif
