// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"
#include "stages/oklab.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace kalvio::engine::testing {
namespace {

struct Color {
	int red;
	int green;
	int blue;
};

constexpr Color light_skin = {226, 178, 152};
constexpr Color blue_cloth = {60, 90, 170};

// One color with noise of a few levels; the right half may have another.
Picture patches(int width, int height, Color left, Color right, int noise)
{
	Picture picture = noise_picture(width, height, 11);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			uint8_t *pixel = picture.pixel(x, y);
			const Color color = x < width / 2 ? left : right;
			const int shift = noise == 0 ? 0 : pixel[0] % (2 * noise + 1) - noise;
			pixel[0] = static_cast<uint8_t>(color.red + shift);
			pixel[1] = static_cast<uint8_t>(color.green + shift);
			pixel[2] = static_cast<uint8_t>(color.blue + shift);
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

// Skin of a frame of 1080 rows in a picture as high, cut to its left part.
constexpr int skin_width = 320;
constexpr int skin_height = 1080;

// Darker and redder by a bell of `sigma` pixels, as real blemishes are.
void plant_blemishes(Picture &picture, double sigma)
{
	constexpr double depth[3] = {0.04, 0.12, 0.11};
	for (int y = 0; y < picture.height; ++y) {
		for (int x = 0; x < picture.width; ++x) {
			const double right = (x + 80) % 160 - 80;
			const double down = (y + 90) % 180 - 90;
			const double bell = std::exp(-0.5 * (right * right + down * down) / (sigma * sigma));
			for (int channel = 0; channel < 3; ++channel) {
				uint8_t &level = picture.pixel(x, y)[channel];
				level = static_cast<uint8_t>(std::lround(level * (1 - depth[channel] * bell)));
			}
		}
	}
}

// How much of a planted difference comes out again.
double part_left(const Picture &clean, const Picture &planted, const Picture &clean_out, const Picture &planted_out)
{
	double product = 0;
	double square = 0;
	for (size_t index = 0; index < clean.bytes.size(); ++index) {
		const double in = double(planted.bytes[index]) - clean.bytes[index];
		product += in * (double(planted_out.bytes[index]) - clean_out.bytes[index]);
		square += in * in;
	}
	return product / square;
}

class RetouchOfBlemishes : public Retouch {
protected:
	double blemish_left(Color skin, double sigma)
	{
		const Picture clean = patches(skin_width, skin_height, skin, skin, 2);
		Picture planted = clean;
		plant_blemishes(planted, sigma);
		return part_left(clean, planted, processed(clean), processed(planted));
	}
	double pores_left()
	{
		const Picture clean = patches(skin_width, skin_height, light_skin, light_skin, 0);
		const Picture planted = patches(skin_width, skin_height, light_skin, light_skin, 5);
		return part_left(clean, planted, processed(clean), processed(planted));
	}
	void smooth(int style, float strength)
	{
		kl_set_smoothing(engine.get(), strength);
		kl_set_smoothing_style(engine.get(), style);
	}
};

constexpr Color dark_skin = {96, 62, 48};

TEST_F(RetouchOfBlemishes, EachStyleTakesThemFromLightAndDarkSkinAlike)
{
	struct Bar {
		int style;
		double left;
	};
	for (const auto &[style, left] : {Bar{0, 0.65}, Bar{1, 0.75}, Bar{2, 0.35}}) {
		smooth(style, 1);
		for (const double sigma : {3.0, 6.0, 12.0}) {
			const double light = blemish_left(light_skin, sigma);
			EXPECT_LT(light, left) << style << ", " << sigma;
			EXPECT_NEAR(blemish_left(dark_skin, sigma), light, 0.05) << style << ", " << sigma;
		}
	}
}

TEST_F(RetouchOfBlemishes, TheStrengthActsEvenly)
{
	for (int style = 0; style < 3; ++style) {
		smooth(style, 1);
		const double whole = 1 - blemish_left(light_skin, 6);
		for (const float strength : {0.1F, 0.3F, 0.5F, 0.8F}) {
			smooth(style, strength);
			EXPECT_NEAR(1 - blemish_left(light_skin, 6), double(strength) * whole, 0.05) << style;
		}
	}
}

TEST_F(RetouchOfBlemishes, PoresStayAsTheStyleSays)
{
	const double expected[3] = {0.85, 0.85, 0.60};
	double left[3];
	for (int style = 0; style < 3; ++style) {
		smooth(style, 1);
		left[style] = pores_left();
		EXPECT_GT(left[style], expected[style]) << style;
	}
	EXPECT_GT(left[1], left[0]);       // texture keeps more than natural
	EXPECT_GT(left[0], left[2] + 0.1); // and natural more than smooth
}

TEST_F(RetouchOfBlemishes, FramesOfAnySizeAreSmoothedAlike)
{
	smooth(2, 1);
	const double usual = blemish_left(light_skin, 6);
	for (const int height : {360, 720, 2160}) {
		const Picture clean = patches(320, height, light_skin, light_skin, 0);
		Picture planted = clean;
		plant_blemishes(planted, 6.0 * height / 1080);
		EXPECT_NEAR(part_left(clean, planted, processed(clean), processed(planted)), usual, 0.10) << height;
	}
}

TEST_F(Retouch, HiddenColorsDoNotEnterSmoothedOnes)
{
	Picture opposite[2] = {patches(256, 192, light_skin, {0, 255, 0}, 0),
			       patches(256, 192, light_skin, {255, 0, 255}, 0)};
	kl_set_smoothing(engine.get(), 1);
	for (int style = 0; style < 3; ++style) {
		kl_set_smoothing_style(engine.get(), style);
		Picture outputs[2] = {Picture(256, 192), Picture(256, 192)};
		for (int which = 0; which < 2; ++which) {
			for (int y = 0; y < 192; ++y) {
				for (int x = 0; x < 256; ++x)
					opposite[which].pixel(x, y)[3] = x < 125 ? 255 : 0;
				for (int x = 125; x < 128; ++x)
					std::copy_n(opposite[which].pixel(200, y), 3, opposite[which].pixel(x, y));
			}
			outputs[which] = processed(opposite[which]);
		}
		for (int x = 0; x < 125; ++x) {
			for (int channel = 0; channel < 3; ++channel)
				ASSERT_EQ(outputs[0].pixel(x, 90)[channel], outputs[1].pixel(x, 90)[channel]) << x;
		}
	}
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

// What becomes of one color: changes of lightness and hue, and the factor of chroma.
struct ToneChange {
	double lightness; // 0..100
	double chroma;
	double hue; // degrees
};

class RetouchTone : public Retouch {
protected:
	static Oklab oklab_of(double red, double green, double blue)
	{
		return oklab_from_linear(linear_from_srgb(red / 255), linear_from_srgb(green / 255),
					 linear_from_srgb(blue / 255));
	}
	ToneChange change_of(Color color)
	{
		const Picture output = processed(patches(32, 32, color, color, 0));
		const Oklab in = oklab_of(color.red, color.green, color.blue);
		const uint8_t *pixel = output.pixel(16, 16);
		const Oklab out = oklab_of(pixel[0], pixel[1], pixel[2]);
		return {100 * (out.lightness - in.lightness), std::hypot(out.a, out.b) / std::hypot(in.a, in.b),
			(std::atan2(out.b, out.a) - std::atan2(in.b, in.a)) * 180 / std::numbers::pi};
	}
};

TEST_F(RetouchTone, KeepsTheHueOfSkin)
{
	for (const Color skin : {light_skin, Color{190, 140, 112}, Color{150, 102, 78}}) {
		for (int style = 0; style < 5; ++style) {
			kl_set_whitening(engine.get(), 1);
			kl_set_whitening_style(engine.get(), style);
			EXPECT_NEAR(change_of(skin).hue, 0, 5) << style << ", " << skin.red;
		}
		kl_set_whitening(engine.get(), 0);
		kl_set_rosiness(engine.get(), 1);
		EXPECT_NEAR(change_of(skin).hue, 0, 5) << skin.red;
		kl_set_rosiness(engine.get(), 0);
	}
}

TEST_F(RetouchTone, WhiteningNeitherGraysDarkSkinNorBleachesLightSkin)
{
	for (int style = 0; style < 4; ++style) {
		kl_set_whitening(engine.get(), 0.5F);
		kl_set_whitening_style(engine.get(), style);
		const ToneChange light = change_of(light_skin);
		const ToneChange dark = change_of(dark_skin);
		EXPECT_GT(dark.chroma, 0.92) << style;
		EXPECT_GT(light.chroma, 0.80) << style;
		EXPECT_GT(light.lightness, 1.0) << style;
		EXPECT_GT(dark.lightness, 0.5) << style;
		EXPECT_LT(dark.lightness, 0.8 * light.lightness) << style;
	}
}

TEST_F(RetouchTone, TeethLipsAndGrayChangeLittle)
{
	for (int style = 0; style < 5; ++style) {
		kl_set_whitening(engine.get(), 1);
		kl_set_whitening_style(engine.get(), style);
		const double skin = std::abs(change_of(light_skin).lightness);
		for (const Color other : {Color{235, 225, 205}, Color{190, 90, 90}, Color{128, 129, 130}})
			EXPECT_LT(std::abs(change_of(other).lightness), 0.45 * skin) << style << ", " << other.green;
	}
}

TEST_F(RetouchTone, TheStrengthActsEvenly)
{
	kl_set_whitening(engine.get(), 1);
	const double whole = change_of(light_skin).lightness;
	for (const float strength : {0.25F, 0.5F, 0.75F}) {
		kl_set_whitening(engine.get(), strength);
		EXPECT_NEAR(change_of(light_skin).lightness, double(strength) * whole, 0.25);
	}
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
	EXPECT_GT(output.pixel(32, 30)[0] - output.pixel(31, 30)[0], 20);
	for (int x = 0; x < 64; ++x) {
		EXPECT_GE(output.pixel(x, 30)[0], 120 - 3) << x;
		EXPECT_LE(output.pixel(x, 30)[0], 160 + 3) << x;
	}
}

// A wave across the frame, `waves` of them in its height, as a camera leaves of what is soft.
Picture soft_waves(int height, double waves)
{
	Picture picture(512, height);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < 512; ++x) {
			const double level = 128 + 20 * std::sin(2 * std::numbers::pi * waves * x / height);
			std::fill_n(picture.pixel(x, y), 3, static_cast<uint8_t>(std::lround(level)));
			picture.pixel(x, y)[3] = 255;
		}
	}
	return picture;
}

TEST_F(Retouch, SharpeningGivesFramesOfAnySizeTheSame)
{
	kl_set_sharpening(engine.get(), 1);
	double gain[3];
	for (int index = 0; index < 3; ++index) {
		const Picture input = soft_waves(std::array{360, 1080, 2160}[size_t(index)], 72);
		gain[index] = deviation_of(processed(input), 1, 30, 482) / deviation_of(input, 1, 30, 482);
	}
	EXPECT_GT(gain[0], 1.1);
	EXPECT_NEAR(gain[1], gain[0], 0.05);
	EXPECT_NEAR(gain[2], gain[0], 0.05);
}

TEST_F(Retouch, SharpeningRaisesNoiseLittle)
{
	kl_set_sharpening(engine.get(), 1);
	for (const int height : {360, 1080}) {
		for (const int noise : {3, 6, 10}) {
			const Picture input = patches(256, height, light_skin, light_skin, noise);
			const double before = deviation_of(input, 1, 16, 240);
			EXPECT_LT(deviation_of(processed(input), 1, 16, 240), 1.3 * before) << height << ", " << noise;
		}
	}
}

TEST_F(Retouch, SharpeningLeavesNoHaloInALargeFrame)
{
	Picture input = patches(256, 1080, {60, 60, 60}, {200, 200, 200}, 0);
	for (int y = 0; y < 1080; ++y) {
		for (int x = 120; x < 136; ++x)
			std::fill_n(input.pixel(x, y), 3, static_cast<uint8_t>(60 + 140 * (x - 119) / 17));
	}
	kl_set_sharpening(engine.get(), 1);
	const Picture output = processed(input);
	for (int x = 0; x < 256; ++x) {
		EXPECT_GE(output.pixel(x, 500)[0], 60 - 3) << x;
		EXPECT_LE(output.pixel(x, 500)[0], 200 + 3) << x;
	}
}

TEST_F(Retouch, SkinOnlyLeavesOtherColorsAlone_WhenTheBundleHasNoNets)
{
	const std::string path = scratch.write_bundle("plain.kld", "resource");
	const kl_engine_config config = {0, 0, nullptr, path.c_str(), "org.test", 0};
	engine.reset(kl_engine_create(&config));
	ASSERT_NE(engine, nullptr);
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
