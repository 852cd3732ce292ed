// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"
#include "kernels/kernels.h"
#include "pool.h"
#include "stages/matte_refinement.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kalvio::engine::testing {
namespace {

constexpr int coarse_columns = 256;
constexpr int coarse_rows = 144;
using Color = std::array<int, 3>;
constexpr Color person_color = {200, 150, 120};
constexpr Color wall_color = {60, 90, 110};

// A person on the right, from pixel `edge` on, with a soft edge of `soft` pixels.
Picture person_before_wall(int width, int height, int edge, int soft = 0)
{
	Picture picture(width, height);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			const float share = std::clamp(
				(static_cast<float>(x - edge) + 0.5F) / static_cast<float>(std::max(soft, 1)) + 0.5F,
				0.0F, 1.0F);
			for (size_t channel = 0; channel < 3; ++channel) {
				const auto from = static_cast<float>(wall_color[channel]);
				const auto to = static_cast<float>(person_color[channel]);
				picture.pixel(x, y)[channel] =
					static_cast<uint8_t>(std::lround(from + (to - from) * share));
			}
			picture.pixel(x, y)[3] = 255;
		}
	}
	return picture;
}

// A matte that goes from 0 to 1 over three cells around `edge`, 0..1 of the width.
std::vector<float> coarse_edge(float edge)
{
	std::vector<float> cells(size_t(coarse_columns) * coarse_rows);
	for (size_t cell = 0; cell < cells.size(); ++cell) {
		const auto x = static_cast<float>(cell % coarse_columns) + 0.5F;
		cells[cell] = std::clamp((x - edge * coarse_columns) / 3 + 0.5F, 0.0F, 1.0F);
	}
	return cells;
}

class MatteRefinementTest : public ::testing::Test {
protected:
	void refine(const Picture &picture, const std::vector<float> &coarse)
	{
		const Frame frame = {picture.bytes.data(), nullptr, picture.width, picture.height, picture.stride};
		refinement.measure(frame, pool);
		refinement.refine({coarse.data(), coarse_columns, coarse_rows}, pool);
	}

	// The matte of a row; `shown` becomes the row of what is in front.
	std::vector<int> row(const Picture &picture, int y, MatteUse use = MatteUse::Picture)
	{
		const size_t bytes = size_t(picture.width) * 4;
		std::vector<uint8_t> captured(bytes + kernels::row_padding_bytes);
		std::copy_n(picture.pixel(0, y), bytes, captured.begin());
		shown = captured;
		std::vector<uint8_t> matte(captured.size());
		refinement.write_row(y, 0, picture.width, use, captured.data(), shown.data(), matte.data());
		std::vector<int> values;
		for (size_t byte = 0; byte < bytes; byte += 4) {
			EXPECT_EQ(matte[byte], matte[byte + 1]);
			EXPECT_EQ(matte[byte], matte[byte + 3]);
			values.push_back(matte[byte]);
		}
		return values;
	}

	Pool pool = Pool(2);
	MatteRefinement refinement;
	std::vector<uint8_t> shown;
};

TEST_F(MatteRefinementTest, TheEdgeGoesWhereTheFramesEdgeIs)
{
	for (const auto &[width, height] : {std::array{1920, 1080}, std::array{1280, 720}, std::array{640, 360},
					    std::array{320, 180}, std::array{1366, 767}}) {
		const int edge = width * 2 / 5 + 3;
		const Picture picture = person_before_wall(width, height, edge);
		// The net is a cell off.
		refine(picture, coarse_edge(static_cast<float>(edge) / static_cast<float>(width) + 1.0F / 256));
		for (const int y : {0, height / 2, height - 1}) {
			const std::vector<int> matte = row(picture, y);
			const auto at = [&](int x) {
				return matte[size_t(x)];
			};
			EXPECT_LT(at(edge - 1), 64) << width;
			EXPECT_GT(at(edge), 128) << width;
			EXPECT_EQ(at(edge - width / 40), 0) << width;
			EXPECT_EQ(at(edge + width / 40), 255) << width;
		}
	}
}

TEST_F(MatteRefinementTest, WhatIsCertainIsExact)
{
	const Picture picture = noise_picture(1280, 720, 5);
	for (const float value : {0.0F, 1.0F}) {
		refine(picture, std::vector<float>(size_t(coarse_columns) * coarse_rows, value));
		for (const int level : row(picture, 300))
			ASSERT_EQ(level, value == 0 ? 0 : 255);
		EXPECT_TRUE(std::equal(shown.begin(), shown.begin() + 1280 * 4, picture.pixel(0, 300)));
	}
}

TEST_F(MatteRefinementTest, ATileThatWasMixedIsForgotten)
{
	const Picture picture = person_before_wall(640, 360, 300);
	refine(picture, coarse_edge(300 / 640.0F));
	refine(picture, std::vector<float>(size_t(coarse_columns) * coarse_rows, 1.0F));
	for (const int level : row(picture, 100))
		ASSERT_EQ(level, 255);
}

TEST_F(MatteRefinementTest, TheOldBackgroundsLightIsTakenOutOfTheEdge)
{
	constexpr int edge = 500;
	const Picture picture = person_before_wall(1280, 720, edge, 8);
	refine(picture, coarse_edge(edge / 1280.0F));
	const std::vector<int> matte = row(picture, 360);
	int seen = 0;
	for (int x = edge - 8; x < edge + 8; ++x) {
		if (matte[size_t(x)] < 100 || matte[size_t(x)] == 255)
			continue;
		++seen;
		for (size_t channel = 0; channel < 3; ++channel) {
			const int captured = picture.pixel(x, 360)[channel];
			const int wanted = person_color[channel];
			const int now = shown[size_t(x) * 4 + channel];
			EXPECT_LE(std::abs(now - wanted), std::max(std::abs(captured - wanted) / 2, 8)) << x;
		}
		EXPECT_EQ(shown[size_t(x) * 4 + 3], 255);
	}
	EXPECT_GE(seen, 2);
}

TEST_F(MatteRefinementTest, ForABlurTheEdgeLiesFurtherOutAndTheRowIsKept)
{
	constexpr int edge = 500;
	const Picture picture = person_before_wall(1280, 720, edge, 12);
	refine(picture, coarse_edge(edge / 1280.0F));
	const std::vector<int> exact = row(picture, 360);
	const std::vector<int> wide = row(picture, 360, MatteUse::Blur);
	int wider = 0;
	for (size_t x = 0; x < exact.size(); ++x) {
		ASSERT_GE(wide[x], exact[x]) << x;
		wider += wide[x] > exact[x];
	}
	EXPECT_GT(wider, 3);
	EXPECT_TRUE(std::equal(shown.begin(), shown.begin() + 1280 * 4, picture.pixel(0, 360)));
}

TEST_F(MatteRefinementTest, EverySizeWorks)
{
	const std::vector<float> coarse = coarse_edge(0.5F);
	for (const auto &[width, height] : {std::array{1, 1}, std::array{2, 3}, std::array{17, 5}, std::array{16384, 1},
					    std::array{1, 16384}, std::array{16384, 33}, std::array{33, 5000}}) {
		const Picture picture = person_before_wall(width, height, width / 2);
		refine(picture, coarse);
		const std::vector<int> matte = row(picture, height - 1);
		if (width > 1000) {
			EXPECT_EQ(matte.front(), 0);
			EXPECT_EQ(matte.back(), 255);
		}
	}
}

} // namespace
} // namespace kalvio::engine::testing
