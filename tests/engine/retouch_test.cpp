// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine::testing {
namespace {

struct Colour {
	int red;
	int green;
	int blue;
};

constexpr Colour light_skin = {226, 178, 152};
constexpr Colour blue_cloth = {60, 90, 170};

// One colour with noise of a few levels; the right half may have another.
Picture patches(int width, int height, Colour left, Colour right, int noise)
{
	Picture picture = noise_picture(width, height, 11);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			uint8_t *pixel = picture.pixel(x, y);
			const Colour colour = x < width / 2 ? left : right;
			const int shift = noise == 0 ? 0 : pixel[0] % (2 * noise + 1) - noise;
			pixel[0] = static_cast<uint8_t>(colour.red + shift);
			pixel[1] = static_cast<uint8_t>(colour.green + shift);
			pixel[2] = static_cast<uint8_t>(colour.blue + shift);
		}
	}
	return picture;
}

double mean_of(const Picture &picture, int channel, int x0, int x1)
{
	double sum = 0;
	for (int y = 0; y < picture.height; ++y) {
		for (int x = x0; x < x1; ++x)
			sum += picture.pixel(x, y)[channel];
	}
	return sum / (double(picture.height) * (x1 - x0));
}

double deviation_of(const Picture &picture, int channel, int x0, int x1)
{
	const double mean = mean_of(picture, channel, x0, x1);
	double sum = 0;
	for (int y = 0; y < picture.height; ++y) {
		for (int x = x0; x < x1; ++x)
			sum += std::pow(picture.pixel(x, y)[channel] - mean, 2);
	}
	return std::sqrt(sum / (double(picture.height) * (x1 - x0)));
}

class Retouch : public EngineTest {};

TEST_F(Retouch, SmoothingTakesNoiseOffAFlatPatch)
{
	const Picture input = patches(256, 192, light_skin, light_skin, 10);
	kl_set_smoothing(engine.get(), 1);
	kl_set_smoothing_style(engine.get(), 2);
	EXPECT_LT(deviation_of(processed(input), 1, 32, 224), 0.25 * deviation_of(input, 1, 32, 224));
}

TEST_F(Retouch, SmoothingStylesKeepTextureInTheirOrder)
{
	const Picture input = patches(256, 192, light_skin, light_skin, 10);
	kl_set_smoothing(engine.get(), 1);
	double deviation[3];
	for (int style = 0; style < 3; ++style) {
		kl_set_smoothing_style(engine.get(), style);
		deviation[style] = deviation_of(processed(input), 1, 32, 224);
	}
	EXPECT_GT(deviation[1], 1.3 * deviation[0]); // texture keeps more than natural
	EXPECT_GT(deviation[0], 1.3 * deviation[2]); // and natural more than smooth
}

TEST_F(Retouch, SmoothingKeepsAnEdge)
{
	const Picture input = patches(256, 192, light_skin, {90, 60, 50}, 0);
	kl_set_smoothing(engine.get(), 1);
	kl_set_smoothing_style(engine.get(), 2);
	const Picture output = processed(input);
	const int step = output.pixel(127, 96)[1] - output.pixel(128, 96)[1];
	EXPECT_GT(step, 0.85 * (178 - 60));
}

TEST_F(Retouch, SmoothingKeepsTheStrandsOfDarkHair)
{
	// Strands of a few pixels' width, by no more levels than a lit cheek is uneven.
	Picture input(256, 192);
	for (int y = 0; y < 192; ++y) {
		for (int x = 0; x < 256; ++x) {
			const double strand = 11 * std::sin(x / 3.0);
			const auto channel = [strand](double level) {
				return static_cast<uint8_t>(level + strand * level / 55);
			};
			const uint8_t pixel[4] = {channel(82), channel(55), channel(36), 255};
			std::copy_n(pixel, 4, input.pixel(x, y));
		}
	}
	kl_set_smoothing(engine.get(), 1);
	kl_set_smoothing_style(engine.get(), 2);
	EXPECT_GT(deviation_of(processed(input), 1, 32, 224), 0.3 * deviation_of(input, 1, 32, 224));
}

TEST_F(Retouch, SmoothingKeepsTheMean)
{
	const Picture input = patches(256, 192, light_skin, light_skin, 10);
	for (int style = 0; style < 3; ++style) {
		kl_set_smoothing(engine.get(), 1);
		kl_set_smoothing_style(engine.get(), style);
		EXPECT_NEAR(mean_of(processed(input), 0, 32, 224), mean_of(input, 0, 32, 224), 0.3) << style;
	}
}

TEST_F(Retouch, SmoothingLeavesNoStepsInASlowGradient)
{
	// A ramp of one level in 16 pixels: after smoothing, dither must spread each step over several columns.
	Picture input(512, 64);
	for (int y = 0; y < 64; ++y) {
		for (int x = 0; x < 512; ++x) {
			const int level = 100 + (x + (x * 7 + y * 13) % 16) / 16;
			const uint8_t pixel[4] = {uint8_t(level), uint8_t(level), uint8_t(level), 255};
			std::copy_n(pixel, 4, input.pixel(x, y));
		}
	}
	kl_set_smoothing(engine.get(), 1);
	kl_set_smoothing_style(engine.get(), 2);
	const Picture output = processed(input);
	int mixed_columns = 0;
	for (int x = 64; x < 448; ++x) {
		bool mixed = false;
		for (int y = 1; y < 64; ++y)
			mixed = mixed || output.pixel(x, y)[0] != output.pixel(x, 0)[0];
		mixed_columns += mixed;
	}
	EXPECT_GT(mixed_columns, 384 / 2);
}

TEST_F(Retouch, WhiteningBrightensAndLeavesBlackAndWhiteAlone)
{
	kl_set_whitening(engine.get(), 1);
	for (int style = 0; style < 4; ++style) {
		kl_set_whitening_style(engine.get(), style);
		EXPECT_GT(mean_of(processed(patches(64, 64, light_skin, light_skin, 0)), 1, 0, 64), 178 + 5) << style;
		const Picture extremes = patches(64, 64, {0, 0, 0}, {255, 255, 255}, 0);
		EXPECT_EQ(processed(extremes).bytes, extremes.bytes) << style;
	}
}

TEST_F(Retouch, WhiteningTonesDifferAsTheirNamesSay)
{
	const Picture input = patches(64, 64, light_skin, light_skin, 0);
	kl_set_whitening(engine.get(), 1);
	double red_over_blue[5];
	double green[5];
	for (int style = 0; style < 5; ++style) {
		kl_set_whitening_style(engine.get(), style);
		const Picture output = processed(input);
		red_over_blue[style] = mean_of(output, 0, 0, 64) / mean_of(output, 2, 0, 64);
		green[style] = mean_of(output, 1, 0, 64);
	}
	EXPECT_LT(red_over_blue[0] + 0.02, red_over_blue[1]); // cold below pink
	EXPECT_LT(red_over_blue[1] + 0.02, red_over_blue[2]); // pink below warm
	EXPECT_LT(red_over_blue[2] + 0.02, red_over_blue[3]); // warm below wheat
	EXPECT_LT(green[4], 178 - 10);                        // tan darkens
}

TEST_F(Retouch, RosinessMovesTowardsRed)
{
	const Picture input = patches(64, 64, light_skin, light_skin, 0);
	kl_set_rosiness(engine.get(), 1);
	const Picture output = processed(input);
	EXPECT_GT(mean_of(output, 0, 0, 64), 226 + 2);
	EXPECT_LT(mean_of(output, 1, 0, 64), 178 - 5);
}

TEST_F(Retouch, SharpeningSteepensAnEdgeWithoutAHalo)
{
	Picture input = patches(64, 64, {120, 120, 120}, {160, 160, 160}, 0);
	for (int y = 0; y < 64; ++y) {
		for (int channel = 0; channel < 3; ++channel) {
			input.pixel(31, y)[channel] = 130;
			input.pixel(32, y)[channel] = 150;
		}
	}
	kl_set_sharpening(engine.get(), 1);
	const Picture output = processed(input);
	EXPECT_GT(output.pixel(32, 30)[0] - output.pixel(31, 30)[0], 22);
	for (int x = 0; x < 64; ++x) {
		EXPECT_GE(output.pixel(x, 30)[0], 120 - 3) << x;
		EXPECT_LE(output.pixel(x, 30)[0], 160 + 3) << x;
	}
}

TEST_F(Retouch, SkinOnlyLeavesOtherColoursAlone)
{
	const Picture input = patches(256, 192, light_skin, blue_cloth, 8);
	kl_set_beauty_skin_only(engine.get(), true);
	kl_set_smoothing(engine.get(), 1);
	kl_set_whitening(engine.get(), 1);
	kl_set_sharpening(engine.get(), 1);
	const Picture output = processed(input);
	EXPECT_GT(mean_of(output, 1, 0, 100), 178 + 10);
	int changed = 0;
	for (int y = 0; y < 192; ++y) {
		for (int x = 160; x < 256; ++x)
			changed += std::abs(output.pixel(x, y)[2] - input.pixel(x, y)[2]) > 1;
	}
	EXPECT_EQ(changed, 0);
}

TEST_F(Retouch, AlphaIsKept)
{
	const Picture input = noise_picture(131, 67, 5);
	for (const bool skin_only : {false, true}) {
		kl_set_beauty_skin_only(engine.get(), skin_only);
		kl_set_smoothing(engine.get(), 0.8F);
		kl_set_rosiness(engine.get(), 0.8F);
		kl_set_sharpening(engine.get(), 0.8F);
		const Picture output = processed(input);
		for (int y = 0; y < input.height; ++y) {
			for (int x = 0; x < input.width; ++x)
				ASSERT_EQ(output.pixel(x, y)[3], input.pixel(x, y)[3]) << x << ", " << y;
		}
	}
}

TEST_F(Retouch, SettingsTakeEffectOnTheNextFrame)
{
	const Picture input = patches(64, 64, light_skin, blue_cloth, 5);
	kl_set_whitening(engine.get(), 1);
	EXPECT_NE(processed(input).bytes, input.bytes);
	kl_set_whitening(engine.get(), 0);
	EXPECT_EQ(processed(input).bytes, input.bytes);
}

} // namespace
} // namespace kalvio::engine::testing
