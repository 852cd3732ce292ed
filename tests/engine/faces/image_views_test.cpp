// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"
#include "faces/image_views.h"
#include "nets/net_fixture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

namespace kalvio::engine::testing {
namespace {

constexpr LevelScale as_it_is = {1, 0};

Frame frame_of(const Picture &picture)
{
	return {picture.bytes.data(), nullptr, picture.width, picture.height, picture.stride};
}

// Red grows to the right and green downwards, blue is even.
Picture slope(int width, int height, float across, float down)
{
	Picture picture(width, height, 12);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			const uint8_t pixel[] = {uint8_t(std::lround(float(x) * across)),
						 uint8_t(std::lround(float(y) * down)), 77, 255};
			std::copy_n(pixel, 4, picture.pixel(x, y));
		}
	}
	return picture;
}

std::vector<float> crop(const Picture &picture, const CropSquare &square, int size, CropBorder border)
{
	std::vector<float> out(size_t(size) * size_t(size) * 3);
	CropSampler sampler;
	sampler.sample(frame_of(picture), square, size, border, as_it_is, out);
	return out;
}

const float *at(const std::vector<float> &crop, int size, int x, int y)
{
	return &crop[(size_t(y) * size_t(size) + size_t(x)) * 3];
}

TEST(CropSampler, ACropOfTheFramesOwnPixelsIsTheFrame)
{
	const Picture picture = noise_picture(40, 32, 5, 8);
	const std::vector<float> out = crop(picture, {{20, 16}, 16}, 16, CropBorder::Black);
	for (int y = 0; y < 16; ++y) {
		for (int x = 0; x < 16; ++x) {
			for (int channel = 0; channel < 3; ++channel)
				ASSERT_EQ(at(out, 16, x, y)[channel], picture.pixel(12 + x, 8 + y)[channel]);
		}
	}
}

TEST(CropSampler, AReducedCropOfAMultipleIsTheMeanOfItsPixels)
{
	const Picture picture = noise_picture(64, 64, 6);
	for (const int factor : {2, 4, 8}) {
		const int size = 64 / factor;
		const std::vector<float> out = crop(picture, {{32, 32}, 64}, size, CropBorder::Black);
		for (int y = 0; y < size; ++y) {
			for (int x = 0; x < size; ++x) {
				float sum = 0;
				for (int row = 0; row < factor; ++row) {
					for (int column = 0; column < factor; ++column)
						sum += picture.pixel(x * factor + column, y * factor + row)[1];
				}
				ASSERT_NEAR(at(out, size, x, y)[1], sum / float(factor * factor), 1e-3)
					<< factor << ", " << x << ", " << y;
			}
		}
	}
}

TEST(CropSampler, TheLastBlocksAreMeansOfThePixelsThatAreThere)
{
	const Picture picture = noise_picture(67, 45, 6, 12);
	for (const int factor : {2, 4, 8}) {
		const int size = (67 + factor - 1) / factor;
		const auto side = float(size * factor);
		const std::vector<float> out = crop(picture, {{side / 2, side / 2}, side}, size, CropBorder::Repeated);
		for (int y = 0; y * factor < 45; ++y) {
			for (int x = 0; x < size; ++x) {
				float sum = 0;
				int count = 0;
				for (int row = y * factor; row < std::min((y + 1) * factor, 45); ++row) {
					for (int column = x * factor; column < std::min((x + 1) * factor, 67);
					     ++column, ++count)
						sum += picture.pixel(column, row)[2];
				}
				ASSERT_NEAR(at(out, size, x, y)[2], sum / float(count), 1e-3)
					<< factor << ", " << x << ", " << y;
			}
		}
	}
}

TEST(CropSampler, EveryInstructionSetGivesTheSameCrop)
{
	const Picture picture = noise_picture(331, 203, 9, 4);
	for (const float side : {30.0F, 150.0F, 290.0F, 700.0F}) {
		const CropSquare square = {{170.3F, 90.7F}, side, {0.8F, 0.6F}};
		std::vector<float> reference;
		for (const int64_t targets : machine_targets()) {
			use_targets(targets);
			const std::vector<float> out = crop(picture, square, 48, CropBorder::Black);
			if (reference.empty())
				reference = out;
			EXPECT_EQ(std::memcmp(out.data(), reference.data(), out.size() * sizeof(float)), 0) << side;
		}
		use_targets(0);
	}
}

TEST(CropSampler, ATurnedCropReadsWhereItsSquareLies)
{
	const Picture picture = slope(240, 200, 1, 1);
	for (const float degrees : {0.0F, 30.0F, 90.0F, 180.0F, -135.0F}) {
		const float angle = degrees * std::numbers::pi_v<float> / 180;
		for (const float side : {40.0F, 70.0F, 130.0F}) { // above, at and below the frame's own pixels
			const CropSquare square = {{120, 100}, side, {std::cos(angle), std::sin(angle)}};
			constexpr int size = 32;
			const std::vector<float> out = crop(picture, square, size, CropBorder::Repeated);
			for (int y = 0; y < size; y += 5) {
				for (int x = 0; x < size; x += 5) {
					const Point place =
						square.to_frame({(float(x) + 0.5F) / size, (float(y) + 0.5F) / size});
					ASSERT_NEAR(at(out, size, x, y)[0], place.x - 0.5F, 0.02) << degrees;
					ASSERT_NEAR(at(out, size, x, y)[1], place.y - 0.5F, 0.02) << degrees;
					ASSERT_NEAR(at(out, size, x, y)[2], 77, 1e-3);
				}
			}
		}
	}
}

TEST(CropSampler, BeyondTheFrameItIsBlackOrTheEdgeGoesOn)
{
	const Picture picture = slope(64, 32, 2, 0);
	for (const int size : {16, 64}) {
		const std::vector<float> black = crop(picture, {{32, 16}, 64}, size, CropBorder::Black);
		const std::vector<float> repeated = crop(picture, {{32, 16}, 64}, size, CropBorder::Repeated);
		for (const int y : {0, size / 8, size - 1}) { // above and below the picture
			EXPECT_EQ(at(black, size, size / 2, y)[2], 0);
			EXPECT_EQ(at(repeated, size, size / 2, y)[2], 77);
		}
		EXPECT_EQ(at(black, size, size / 2, size / 2)[2], 77);
	}
}

TEST(CropSampler, AnyFrameAndSquareIsReadWithinItsBytes)
{
	// What is wrong here, the address sanitizer finds.
	CropSampler sampler;
	std::vector<float> out(size_t(32) * 32 * 3);
	for (const auto &[width, height] :
	     {std::pair(1, 1), std::pair(3, 700), std::pair(1000, 2), std::pair(131, 97)}) {
		const Picture picture = noise_picture(width, height, 8);
		for (const float side : {0.01F, 1.0F, 31.0F, 64.0F, 300.0F, 5000.0F, 60000.0F}) {
			for (const Point center : {Point{0, 0}, Point{-500, 40}, Point{2000, 2000}, Point{50, 40}}) {
				for (const Point right : {Point{1, 0}, Point{0.6F, -0.8F}}) {
					sampler.sample(frame_of(picture), {center, side, right}, 32,
						       CropBorder::Repeated, as_it_is, out);
					for (const float value : out)
						ASSERT_TRUE(value >= 0 && value <= 255.01F) << width << ", " << side;
				}
			}
		}
	}
}

TEST(ViewSquare, TheViewsLieWithinTheFrameAndCoverIt)
{
	for (const auto &[width, height] : {std::pair(1920, 1080), std::pair(1080, 1920), std::pair(640, 480)}) {
		const CropSquare whole = view_square(whole_view, width, height);
		EXPECT_EQ(whole.side, float(std::max(width, height)));
		for (const int first : {first_square_view, first_half_view}) {
			const int end = first == first_square_view ? first_half_view : view_count;
			std::vector<uint8_t> covered(size_t(width / 20) * size_t(height / 20), 0);
			for (int view = first; view < end; ++view) {
				const CropSquare square = view_square(view, width, height);
				const Point low = square.to_frame({0, 0});
				const Point high = square.to_frame({1, 1});
				EXPECT_GE(std::min(low.x, low.y), -0.01F);
				EXPECT_LE(high.x, float(width) + 0.01F);
				EXPECT_LE(high.y, float(height) + 0.01F);
				for (int y = 0; y < height / 20; ++y) {
					for (int x = 0; x < width / 20; ++x) {
						const Point place = {float(x) * 20 + 10, float(y) * 20 + 10};
						if (place.x > low.x && place.y > low.y && place.x < high.x &&
						    place.y < high.y)
							covered[size_t(y * (width / 20) + x)] = 1;
					}
				}
			}
			EXPECT_EQ(std::count(covered.begin(), covered.end(), 0), 0) << width << ", from view " << first;
		}
	}
}

} // namespace
} // namespace kalvio::engine::testing
