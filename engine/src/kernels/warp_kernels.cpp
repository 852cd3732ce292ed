// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/warp_kernels.h"

#include <algorithm>
#include <array>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/warp_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef KALVIO_WARP_TABLES
#define KALVIO_WARP_TABLES
namespace kalvio::engine::kernels {

constexpr int phase_bits = 6;
constexpr int phases = 1 << phase_bits;
constexpr int position_bits = 16;
constexpr int taps = 4;
constexpr int weight_one = 1 << 14;

// What the four neighbors along one axis count at each phase, as the vectors that the kernel multiplies by. The outer
// two count against the pixel.
struct CubicWeights {
	alignas(64) std::array<std::array<std::array<uint16_t, 8>, taps>, phases> down; // magnitudes
	alignas(64) std::array<std::array<std::array<int16_t, 8>, 2>, phases> across;   // of two pixels each
};

constexpr std::array<int, taps> cubic_weights(int phase)
{
	// Keys' polynomials at phase / 64, times 1 << 14.
	const int i = phase;
	const auto rounded = [](int numerator) {
		return numerator >= 0 ? (numerator + 16) / 32 : -((-numerator + 16) / 32);
	};
	const int cube = i * i * i;
	std::array<int, taps> weights = {rounded(-4096 * i + 128 * i * i - cube), 0,
					 rounded(4096 * i + 256 * i * i - 3 * cube), rounded(-64 * i * i + cube)};
	weights[1] = weight_one - weights[0] - weights[2] - weights[3];
	return weights;
}

constexpr CubicWeights make_cubic_weights()
{
	CubicWeights table = {};
	for (int phase = 0; phase < phases; ++phase) {
		const std::array<int, taps> weights = cubic_weights(phase);
		for (size_t tap = 0; tap < taps; ++tap) {
			const int weight = weights[tap];
			for (uint16_t &lane : table.down[size_t(phase)][tap])
				lane = static_cast<uint16_t>(weight < 0 ? -weight : weight);
			for (size_t lane = 0; lane < 4; ++lane)
				table.across[size_t(phase)][tap / 2][tap % 2 * 4 + lane] = static_cast<int16_t>(weight);
		}
	}
	return table;
}

inline constexpr CubicWeights cubic_table = make_cubic_weights();

} // namespace kalvio::engine::kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace kalvio::engine::kernels::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// One pixel to a block of 128 bits, two at once where vectors are that wide.
using Bytes = hn::CappedTag<uint8_t, 32>;
using Words = hn::Repartition<uint16_t, Bytes>;
using SignedWords = hn::Repartition<int16_t, Bytes>;
constexpr int most_pixels_at_once = 2;

template <class Tag>
HWY_INLINE hn::Vec<Tag> load_blocks(Tag tag, const hn::TFromD<Tag> *first, const hn::TFromD<Tag> *second)
{
	if constexpr (hn::MaxLanes(tag) * sizeof(hn::TFromD<Tag>) == 16) {
		return hn::LoadU(tag, first);
	} else {
		const hn::Half<Tag> half;
		return hn::Combine(tag, hn::LoadU(half, second), hn::LoadU(half, first));
	}
}

// Where the 4 x 4 neighbors of an output pixel begin, and how it lies between the middle ones.
struct Place {
	const uint8_t *pixels;
	int phase_x;
	int phase_y;
};

// One pixel of the output, or two neighbors.
HWY_INLINE void store_pixels(const Place &left, const Place &right, ptrdiff_t row_bytes, uint8_t *HWY_RESTRICT out)
{
	const Bytes d8;
	const Words d;
	const SignedWords ds;
	const auto &down_left = cubic_table.down[size_t(left.phase_y)];
	const auto &down_right = cubic_table.down[size_t(right.phase_y)];
	const auto zero = hn::Zero(d8);
	// Four rows become one, with 6 fraction bits: the first two pixels, then the others. The bytes are the upper
	// halves of words, so that the upper half of the product is byte * weight >> 8. Written out tap by tap: a loop
	// would keep the vectors in memory.
	const auto row = [&](int tap) HWY_ATTR {
		return load_blocks(d8, left.pixels + tap * row_bytes, right.pixels + tap * row_bytes);
	};
	const auto weight = [&](size_t tap) HWY_ATTR {
		return load_blocks(d, down_left[tap].data(), down_right[tap].data());
	};
	const auto lower = [&](hn::Vec<Bytes> bytes, hn::Vec<Words> by) HWY_ATTR {
		return hn::MulHigh(hn::BitCast(d, hn::InterleaveLower(d8, zero, bytes)), by);
	};
	const auto upper = [&](hn::Vec<Bytes> bytes, hn::Vec<Words> by) HWY_ATTR {
		return hn::MulHigh(hn::BitCast(d, hn::InterleaveUpper(d8, zero, bytes)), by);
	};
	const auto row_0 = row(0);
	const auto row_1 = row(1);
	const auto row_2 = row(2);
	const auto row_3 = row(3);
	const auto weight_0 = weight(0);
	const auto weight_1 = weight(1);
	const auto weight_2 = weight(2);
	const auto weight_3 = weight(3);
	const auto first_sum = hn::BitCast(ds, hn::Sub(hn::Add(lower(row_1, weight_1), lower(row_2, weight_2)),
						       hn::Add(lower(row_0, weight_0), lower(row_3, weight_3))));
	const auto second_sum = hn::BitCast(ds, hn::Sub(hn::Add(upper(row_1, weight_1), upper(row_2, weight_2)),
							hn::Add(upper(row_0, weight_0), upper(row_3, weight_3))));

	const auto &across_left = cubic_table.across[size_t(left.phase_x)];
	const auto &across_right = cubic_table.across[size_t(right.phase_x)];
	// Less one fraction bit.
	const auto pair = hn::Add(
		hn::MulFixedPoint15(first_sum, load_blocks(ds, across_left[0].data(), across_right[0].data())),
		hn::MulFixedPoint15(second_sum, load_blocks(ds, across_left[1].data(), across_right[1].data())));
	const hn::Repartition<uint64_t, SignedWords> d64;
	const auto swapped = hn::BitCast(ds, hn::Shuffle01(hn::BitCast(d64, pair)));
	const auto level = hn::ShiftRight<5>(hn::Add(hn::Add(pair, swapped), hn::Set(ds, 16)));
	// Each block holds its pixel twice.
	const hn::Rebind<uint8_t, SignedWords> narrow;
	const auto bytes = hn::DemoteTo(narrow, level);
	const hn::Repartition<uint32_t, decltype(narrow)> d32;
	const hn::Half<decltype(d32)> pixels;
	const auto twice = hn::BitCast(d32, bytes);
	hn::StoreU(hn::LowerHalf(pixels, hn::ConcatEven(d32, twice, twice)), pixels, reinterpret_cast<uint32_t *>(out));
}

constexpr int phase_shift = position_bits - phase_bits;

HWY_INLINE int phase_of(int32_t place)
{
	return (place >> phase_shift) & (phases - 1);
}

// Positions along a row of the output: where its pixels are read, with `position_bits`.
struct Path {
	int32_t x;
	int32_t y;
	int32_t step_x;
	int32_t step_y;

	HWY_INLINE void advance()
	{
		x += step_x;
		y += step_y;
	}
};

// Whether the neighbors of all of `count` pixels lie within the source.
HWY_INLINE bool is_inside(const WarpSource &source, const Path &path, int count)
{
	const int32_t last_x = path.x + path.step_x * (count - 1);
	const int32_t last_y = path.y + path.step_y * (count - 1);
	const auto low = [](int32_t from, int32_t to) {
		return (std::min(from, to) >> position_bits) >= 1;
	};
	const auto high = [](int32_t from, int32_t to, int size) {
		return (std::max(from, to) >> position_bits) + 2 < size;
	};
	return low(path.x, last_x) && low(path.y, last_y) && high(path.x, last_x, source.width) &&
	       high(path.y, last_y, source.height);
}

HWY_INLINE void warp_inside(const WarpSource &source, Path path, int count, uint8_t *HWY_RESTRICT out)
{
	const auto place = [&]() HWY_ATTR {
		const ptrdiff_t row = (path.y >> position_bits) - 1;
		const ptrdiff_t column = (path.x >> position_bits) - 1;
		const Place here = {source.pixels + row * source.row_bytes + column * 4, phase_of(path.x),
				    phase_of(path.y)};
		path.advance();
		return here;
	};
	constexpr bool in_pairs = hn::MaxLanes(SignedWords()) == 16;
	for (int pixel = 0; pixel < count; pixel += in_pairs ? 2 : 1) {
		const Place left = place();
		const Place right = in_pairs ? place() : left;
		store_pixels(left, right, source.row_bytes, out + ptrdiff_t{4} * pixel);
	}
}

// The same at the source's edges.
void warp_edge(const WarpSource &source, Path path, int count, uint8_t *out)
{
	for (int pixel = 0; pixel < count; ++pixel, path.advance()) {
		const int column = path.x >> position_bits;
		const int row = path.y >> position_bits;
		uint8_t near[taps * taps * 4];
		for (int y = 0; y < taps; ++y) {
			const int line = std::clamp(row - 1 + y, 0, source.height - 1);
			for (int x = 0; x < taps; ++x) {
				const int place = std::clamp(column - 1 + x, 0, source.width - 1);
				std::copy_n(source.pixels + line * source.row_bytes + ptrdiff_t{4} * place, 4,
					    near + (y * taps + x) * 4);
			}
		}
		const Place place = {near, phase_of(path.x), phase_of(path.y)};
		uint8_t result[most_pixels_at_once * 4];
		store_pixels(place, place, ptrdiff_t{taps} * 4, result);
		std::copy_n(result, 4, out + ptrdiff_t{4} * pixel);
	}
}

template <bool Inside>
HWY_INLINE void warp_cells(const WarpSource &source, const WarpLine &line, int cells, uint8_t *HWY_RESTRICT out)
{
	const int shift = line.cell_shift;
	const int cell = 1 << shift;
	const WarpNode *above = line.above;
	const WarpNode *below = line.below;
	const int32_t part = line.number;
	const auto between = [&](int32_t upper, int32_t lower) HWY_ATTR {
		return upper + (((lower - upper) * part) >> shift);
	};
	constexpr int half_phase = 1 << (phase_shift - 1);
	const int32_t place_y = (line.y << position_bits) + half_phase;
	WarpNode node = {between(above->x, below->x), between(above->y, below->y)};
	int32_t place_x = (line.x << position_bits) + half_phase;
	for (int index = 0; index < cells; ++index) {
		++above;
		++below;
		const WarpNode next = {between(above->x, below->x), between(above->y, below->y)};
		const Path path = {place_x + node.x, place_y + node.y,
				   ((next.x - node.x) >> shift) + (1 << position_bits), (next.y - node.y) >> shift};
		if (Inside || is_inside(source, path, cell))
			warp_inside(source, path, cell, out);
		else
			warp_edge(source, path, cell, out);
		node = next;
		place_x += cell << position_bits;
		out += ptrdiff_t{4} * cell;
	}
}

void warp_row(const WarpSource &source, const WarpLine &line, int cells, uint8_t *HWY_RESTRICT out)
{
	constexpr int neighbors = 2;
	const int margin = line.reach + neighbors;
	const int end = line.x + (cells << line.cell_shift);
	if (line.x >= margin && line.y >= margin && end + margin < source.width && line.y + margin < source.height)
		warp_cells<true>(source, line, cells, out);
	else
		warp_cells<false>(source, line, cells, out);
}

} // namespace kalvio::engine::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kalvio::engine::kernels {

HWY_EXPORT(warp_row);

void warp_row(const WarpSource &source, const WarpLine &line, int cells, uint8_t *out)
{
	HWY_DYNAMIC_DISPATCH(warp_row)(source, line, cells, out);
}

} // namespace kalvio::engine::kernels
#endif
