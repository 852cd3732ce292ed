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
	alignas(64) uint32_t diagonal[block_pixels]; // offset of the pair of the far corners, in values
	alignas(64) uint32_t corners[block_pixels];  // offset of the pair of the two others
	alignas(64) uint32_t far_weights[block_pixels];
	alignas(64) uint32_t near_weights[block_pixels];
};

// One pixel in 32 bits, as two words.
using Pixels = hn::CappedTag<uint32_t, block_pixels>;
using PixelVector = hn::Vec<Pixels>;
using Words = hn::Repartition<uint16_t, Pixels>;
using WordVector = hn::Vec<Words>;

// In both words of each pixel.
HWY_INLINE WordVector words(uint32_t low, uint32_t high)
{
	return hn::BitCast(Words(), hn::Set(Pixels(), low | high << 16));
}

// The first word of each pixel where its second one is, and the other way round.
HWY_INLINE WordVector swapped(WordVector value)
{
	return hn::BitCast(Words(), hn::RotateRight<16>(hn::BitCast(Pixels(), value)));
}

struct Position {
	WordVector cell;
	WordVector fraction; // 0..255, in units of 1/255 of a cell
};

// value * 32 / 255, split.
HWY_INLINE Position locate(WordVector value)
{
	const Words d;
	// The quotient is exact for all bytes.
	WordVector cell = hn::MulHigh(value, hn::Set(d, 8225));
	cell = hn::Min(cell, hn::Set(d, LutCell::cells_per_side - 1));
	return {cell, hn::Sub(hn::Add(hn::ShiftLeft<5>(value), cell), hn::ShiftLeft<8>(cell))};
}

// Weights 0..255 as 15-bit fractions.
HWY_INLINE PixelVector fixed(WordVector weights)
{
	return hn::BitCast(Pixels(), hn::ShiftRight<1>(hn::Add(hn::ShiftLeft<8>(weights), weights)));
}

// The code of the tetrahedron, as an offset of values. Two equal fractions may come in any order.
HWY_INLINE PixelVector code_of(WordVector red_blue, WordVector green)
{
	const Pixels d;
	// Differences below 0 have their upper bits set.
	const PixelVector from_green = hn::BitCast(d, hn::Sub(red_blue, green));
	const PixelVector from_red = hn::BitCast(d, hn::Sub(swapped(red_blue), red_blue)); // of blue, in the first word
	constexpr uint32_t red_before_green = 4 * 8;
	constexpr uint32_t green_before_blue = 2 * 8;
	constexpr uint32_t red_before_blue = 1 * 8;
	const PixelVector first = hn::AndNot(hn::ShiftRight<8>(from_green), hn::Set(d, red_before_green));
	const PixelVector second = hn::And(hn::ShiftRight<24>(from_green), hn::Set(d, green_before_blue));
	const PixelVector third = hn::And(hn::ShiftRight<8>(from_red), hn::Set(d, red_before_blue));
	return hn::Or(first, hn::Or(second, third));
}

HWY_INLINE void prepare(const uint8_t *HWY_RESTRICT pixels, Block &block)
{
	const Pixels d;
	const Words d16;
	const hn::Repartition<uint8_t, Pixels> d8;
	const int lanes = static_cast<int>(hn::Lanes(d));
	const PixelVector byte = hn::Set(d, 255);
	for (int first = 0; first < block_pixels; first += lanes) {
		const PixelVector rgba = hn::BitCast(d, hn::LoadU(d8, pixels + first * 4));
		const PixelVector only_green = hn::And(hn::ShiftRight<8>(rgba), byte);
		const Position red_blue = locate(hn::And(hn::BitCast(d16, rgba), words(255, 255)));
		const Position green = locate(hn::BitCast(d16, hn::Or(only_green, hn::ShiftLeft<16>(only_green))));

		// The same in both words.
		WordVector largest = hn::Max(red_blue.fraction, green.fraction);
		largest = hn::Max(largest, swapped(largest));
		WordVector smallest = hn::Min(red_blue.fraction, green.fraction);
		smallest = hn::Min(smallest, swapped(smallest));
		WordVector middle = hn::Add(red_blue.fraction, hn::Add(swapped(red_blue.fraction), green.fraction));
		middle = hn::Sub(middle, hn::Add(largest, smallest));

		const WordVector cell =
			hn::Or(hn::Mul(red_blue.cell, words(1 << 6, 1)), hn::Mul(green.cell, words(1 << 11, 0)));
		const PixelVector offset = hn::BitCast(d, cell);
		hn::Store(hn::Add(offset, hn::Set(d, LutCell::diagonal * 8)), d, block.diagonal + first);
		hn::Store(hn::Add(offset, code_of(red_blue.fraction, green.fraction)), d, block.corners + first);
		const WordVector far = hn::OddEven(smallest, hn::Sub(words(255, 255), largest));
		const WordVector near = hn::OddEven(hn::Sub(middle, smallest), hn::Sub(largest, middle));
		hn::Store(fixed(far), d, block.far_weights + first);
		hn::Store(fixed(near), d, block.near_weights + first);
	}
}

// A pair of colors of a pixel, or where vectors are wide enough those of it and of the next but one.
using Pairs = hn::CappedTag<int16_t, 16>;
using PairsVector = hn::Vec<Pairs>;

template <class D>
HWY_INLINE hn::Vec<D> load_pairs(D d, const int16_t *HWY_RESTRICT cells, const uint32_t *offsets, int pixel)
{
	if constexpr (hn::MaxLanes(d) == 16) {
		const hn::Half<D> half;
		return hn::Combine(d, hn::Load(half, cells + offsets[pixel + 2]),
				   hn::Load(half, cells + offsets[pixel]));
	} else {
		return hn::Load(d, cells + offsets[pixel]);
	}
}

// The weights of a pixel's pair, each for the four channels of its color.
HWY_INLINE PairsVector load_weights(const uint32_t *weights, int pixel)
{
	// Of the words of four pixels; those of the pixels 0 and 2, and of 1 and 3, follow each other.
	alignas(32) static constexpr uint8_t spread[4][16] = {
		{0, 1, 0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 2, 3},
		{8, 9, 8, 9, 8, 9, 8, 9, 10, 11, 10, 11, 10, 11, 10, 11},
		{4, 5, 4, 5, 4, 5, 4, 5, 6, 7, 6, 7, 6, 7, 6, 7},
		{12, 13, 12, 13, 12, 13, 12, 13, 14, 15, 14, 15, 14, 15, 14, 15},
	};
	const hn::Repartition<uint8_t, Pairs> d8;
	const hn::Repartition<uint32_t, Pairs> d32;
	const int in_four = pixel % 4;
	const auto words = hn::BitCast(d8, hn::LoadDup128(d32, weights + (pixel - in_four)));
	const auto pattern = hn::Load(d8, spread[in_four % 2 * 2 + in_four / 2]);
	return hn::BitCast(Pairs(), hn::TableLookupBytes(words, pattern));
}

// The sum over a pixel's four corners, or of it and of the next but one: the first and the second four lanes of each
// are still to be added.
HWY_INLINE PairsVector weigh(const int16_t *HWY_RESTRICT cells, const Block &block, int pixel)
{
	const PairsVector far = load_pairs(Pairs(), cells, block.diagonal, pixel);
	const PairsVector near = load_pairs(Pairs(), cells, block.corners, pixel);
	return hn::Add(hn::MulFixedPoint15(far, load_weights(block.far_weights, pixel)),
		       hn::MulFixedPoint15(near, load_weights(block.near_weights, pixel)));
}

// The colors of a pixel and the next one, or of four pixels, with the fraction bits gone.
HWY_INLINE PairsVector finished_colors(const int16_t *HWY_RESTRICT cells, const Block &block, int pixel)
{
	const Pairs d;
	const hn::Repartition<uint64_t, Pairs> d64;
	const auto first = hn::BitCast(d64, weigh(cells, block, pixel));
	const auto second = hn::BitCast(d64, weigh(cells, block, pixel + 1));
	const auto low = hn::BitCast(d, hn::InterleaveLower(d64, first, second));
	const auto high = hn::BitCast(d, hn::InterleaveUpper(d64, first, second));
	return hn::ShiftRight<6>(hn::Add(hn::Add(low, high), hn::Set(d, 32)));
}

template <class D>
HWY_INLINE hn::Vec<hn::FixedTag<uint8_t, 16>> four_colors(D d, const int16_t *HWY_RESTRICT cells, const Block &block,
							  int pixel)
{
	const hn::Rebind<uint8_t, D> bytes;
	const auto colors = hn::DemoteTo(bytes, finished_colors(cells, block, pixel));
	if constexpr (hn::MaxLanes(d) == 16)
		return colors;
	else
		return hn::Combine(hn::FixedTag<uint8_t, 16>(),
				   hn::DemoteTo(bytes, finished_colors(cells, block, pixel + 2)), colors);
}

void lookup_row(const uint8_t *row, int width, const int16_t *HWY_RESTRICT cells, uint8_t *out)
{
	const hn::FixedTag<uint8_t, 16> d8;
	const hn::FixedTag<uint32_t, 4> d32;
	const auto alpha = hn::Set(d32, 0xFF000000U);
	Block block;
	for (int first = 0; first < width; first += block_pixels) {
		const uint8_t *pixels = row + first * 4;
		prepare(pixels, block);
		for (int pixel = 0; pixel < block_pixels; pixel += 4) {
			const auto colors = hn::BitCast(d32, four_colors(Pairs(), cells, block, pixel));
			const auto old = hn::BitCast(d32, hn::LoadU(d8, pixels + pixel * 4));
			const auto result = hn::Or(hn::And(old, alpha), hn::AndNot(alpha, colors));
			hn::StoreU(hn::BitCast(d8, result), d8, out + (first + pixel) * 4);
		}
	}
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(lookup_row);

void lookup_row(const uint8_t *row, int width, const int16_t *cells, uint8_t *out)
{
	HWY_DYNAMIC_DISPATCH(lookup_row)(row, width, cells, out);
}

} // namespace kalvio::engine::kernels
#endif
