// SPDX-License-Identifier: GPL-2.0-or-later
#include "kernels/warp_kernels.h"

#include "engine_fixture.h"

#include <hwy/targets.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace kalvio::engine::testing {
namespace {

using kernels::WarpNode;
using kernels::WarpSource;

constexpr int one = 1 << 16;

// A field of nodes over a whole picture.
struct Field {
	Field(const Picture &source, int cell_shift, WarpNode offset)
		: shift(cell_shift), columns(((source.width - 1) >> cell_shift) + 2),
		  rows(((source.height - 1) >> cell_shift) + 2), nodes(size_t(columns) * size_t(rows), offset)
	{
	}

	int shift;
	int columns;
	int rows;
	std::vector<WarpNode> nodes;
};

Picture warped(const Picture &source, const Field &field)
{
	const WarpSource seen = {source.bytes.data(), source.stride, source.width, source.height};
	const int cells = field.columns - 1;
	int reach = 0;
	for (const WarpNode &node : field.nodes)
		reach = std::max({reach, (std::abs(node.x) >> 16) + 1, (std::abs(node.y) >> 16) + 1});
	Picture wide(cells << field.shift, source.height);
	Picture output(source.width, source.height);
	for (int y = 0; y < source.height; ++y) {
		const WarpNode *above = field.nodes.data() + ptrdiff_t{y >> field.shift} * field.columns;
		const kernels::WarpLine line = {
			above, above + field.columns, field.shift, y & ((1 << field.shift) - 1), reach, 0, y};
		kernels::warp_row(seen, line, cells, wide.pixel(0, y));
		std::copy_n(wide.pixel(0, y), size_t(output.width) * 4, output.pixel(0, y));
	}
	return output;
}

// Keys' kernel with a = -1/2, from its definition.
double keys_weight(double distance)
{
	const double t = std::abs(distance);
	if (t < 1)
		return 1.5 * t * t * t - 2.5 * t * t + 1;
	return t < 2 ? -0.5 * t * t * t + 2.5 * t * t - 4 * t + 2 : 0;
}

double expected_value(const Picture &source, double x, double y, int channel)
{
	const int column = int(std::floor(x));
	const int row = int(std::floor(y));
	double sum = 0;
	for (int j = row - 1; j <= row + 2; ++j) {
		for (int i = column - 1; i <= column + 2; ++i)
			sum += keys_weight(x - i) * keys_weight(y - j) *
			       source.pixel(std::clamp(i, 0, source.width - 1),
					    std::clamp(j, 0, source.height - 1))[channel];
	}
	return std::clamp(sum, 0.0, 255.0);
}

TEST(WarpKernels, NoOffsetGivesTheSourcesBytes)
{
	for (const int shift : {1, 2, 3, 4, 5}) {
		const Picture source = noise_picture(61, 43, 3);
		EXPECT_EQ(warped(source, Field(source, shift, {0, 0})).bytes, source.bytes) << shift;
	}
}

TEST(WarpKernels, WholePixelsMoveUnchangedAndTheEdgeIsRepeated)
{
	const Picture source = noise_picture(61, 43, 4);
	for (const auto &[x, y] : {std::array{3, -2}, std::array{-7, 5}, std::array{100, 0}, std::array{0, -100}}) {
		const Picture output = warped(source, Field(source, 2, {x * one, y * one}));
		for (int row = 0; row < source.height; ++row) {
			for (int column = 0; column < source.width; ++column) {
				const uint8_t *from = source.pixel(std::clamp(column + x, 0, source.width - 1),
								   std::clamp(row + y, 0, source.height - 1));
				ASSERT_TRUE(std::equal(from, from + 4, output.pixel(column, row)))
					<< column << " " << row;
			}
		}
	}
}

TEST(WarpKernels, PartsOfPixelsFollowTheCubicKernel)
{
	const Picture source = noise_picture(48, 32, 5);
	std::minstd_rand random(7);
	double worst = 0;
	for (int trial = 0; trial < 40; ++trial) {
		// Whole steps of a phase, so that the place is not rounded.
		const int x = int(random() % 400) - 200;
		const int y = int(random() % 400) - 200;
		const Picture output = warped(source, Field(source, 3, {x * (one / 64), y * (one / 64)}));
		for (int row = 0; row < source.height; ++row) {
			for (int column = 0; column < source.width; ++column) {
				for (int channel = 0; channel < 4; ++channel)
					worst = std::max(worst, std::abs(output.pixel(column, row)[channel] -
									 expected_value(source, column + x / 64.0,
											row + y / 64.0, channel)));
			}
		}
	}
	EXPECT_LE(worst, 0.75); // half a level, and what the fixed point loses
}

TEST(WarpKernels, BetweenNodesTheOffsetIsBilinear)
{
	// A ramp tells where it was read.
	Picture ramp(64, 64);
	for (int y = 0; y < ramp.height; ++y) {
		for (int x = 0; x < ramp.width; ++x) {
			ramp.pixel(x, y)[0] = uint8_t(4 * x);
			ramp.pixel(x, y)[1] = uint8_t(4 * y);
		}
	}
	std::minstd_rand random(9);
	for (const int shift : {1, 3, 5}) {
		Field field(ramp, shift, {0, 0});
		for (WarpNode &node : field.nodes)
			node = {int(random() % (4 * one)) - 2 * one, int(random() % (4 * one)) - 2 * one};
		const Picture output = warped(ramp, field);
		const double cell = 1 << shift;
		for (int y = 6; y < 58; ++y) {
			for (int x = 6; x < 58; ++x) {
				const size_t upper = size_t(y >> shift) * size_t(field.columns) + size_t(x >> shift);
				const size_t lower = upper + size_t(field.columns);
				const double across = std::fmod(x, cell) / cell;
				const double down = std::fmod(y, cell) / cell;
				const auto offset = [&](int32_t WarpNode::*axis) {
					const double above = field.nodes[upper].*axis * (1 - across) +
							     field.nodes[upper + 1].*axis * across;
					const double below = field.nodes[lower].*axis * (1 - across) +
							     field.nodes[lower + 1].*axis * across;
					return (above * (1 - down) + below * down) / one;
				};
				// 1/64 pixel is 1/16 of a level.
				ASSERT_NEAR(output.pixel(x, y)[0], 4 * (x + offset(&WarpNode::x)), 0.6);
				ASSERT_NEAR(output.pixel(x, y)[1], 4 * (y + offset(&WarpNode::y)), 0.6);
			}
		}
	}
}

// Rows that stay within the source go another way than those that may not.
TEST(WarpKernels, BothWaysGiveTheSameBytes)
{
	const Picture source = noise_picture(128, 64, 8);
	const WarpSource seen = {source.bytes.data(), source.stride, source.width, source.height};
	std::minstd_rand random(13);
	std::vector<WarpNode> nodes(34);
	for (WarpNode &node : nodes)
		node = {int(random() % (6 * one)) - 3 * one, int(random() % (6 * one)) - 3 * one};
	constexpr int cells = 16;
	std::array<Picture, 2> rows = {Picture(cells * 4, 1), Picture(cells * 4, 1)};
	for (const int line : {0, 1, 3}) {
		for (const size_t careful : {size_t{0}, size_t{1}})
			kernels::warp_row(seen,
					  {nodes.data(), nodes.data() + 17, 2, line, careful != 0 ? 1000 : 3, 24, 30},
					  cells, rows[careful].pixel(0, 0));
		EXPECT_EQ(rows[0].bytes, rows[1].bytes) << line;
	}
}

TEST(WarpKernels, SmallSourcesWork)
{
	for (const auto &[width, height] : {std::array{1, 1}, std::array{2, 3}, std::array{3, 2}, std::array{4, 4}}) {
		Picture source(width, height);
		std::fill(source.bytes.begin(), source.bytes.end(), uint8_t{77});
		EXPECT_EQ(warped(source, Field(source, 1, {one / 3, -one / 5})).bytes, source.bytes)
			<< width << " x " << height;
	}
}

TEST(WarpKernels, TheSameBytesOnEveryInstructionSet)
{
	const Picture source = noise_picture(333, 97, 6);
	std::minstd_rand random(11);
	for (const int shift : {1, 2, 5}) {
		Field field(source, shift, {0, 0});
		for (WarpNode &node : field.nodes)
			node = {int(random() % (8 * one)) - 4 * one, int(random() % (8 * one)) - 4 * one};
		const std::vector<uint8_t> expected = warped(source, field).bytes;
		const int64_t supported = hwy::SupportedTargets();
		for (int64_t target = 1; target <= HWY_SSE4; target <<= 1) {
			if ((supported & target) == 0)
				continue;
			hwy::SetSupportedTargetsForTest(target);
			hwy::GetChosenTarget().DeInit();
			EXPECT_EQ(warped(source, field).bytes, expected) << hwy::TargetName(target);
			hwy::SetSupportedTargetsForTest(0);
			hwy::GetChosenTarget().DeInit();
		}
	}
}

} // namespace
} // namespace kalvio::engine::testing
