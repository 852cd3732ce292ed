// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "engine_fixture.h"
#include "image_writer.h"
#include "stages/background_blur.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine::testing {
namespace {

using Pixel = std::array<uint8_t, 4>;

constexpr Pixel green_screen = {48, 172, 66, 255};
constexpr Pixel blue_screen = {30, 60, 190, 255};
constexpr Pixel red_screen = {200, 30, 40, 255};
constexpr Pixel skin = {226, 178, 152, 255};

void fill(Picture &picture, int x0, int x1, Pixel pixel)
{
	for (int y = 0; y < picture.height; ++y) {
		for (int x = x0; x < x1; ++x)
			std::copy_n(pixel.data(), 4, picture.pixel(x, y));
	}
}

// The screen on the left, a person's color on the right.
Picture before_screen(Pixel screen, int width = 256, int height = 144)
{
	Picture picture(width, height);
	fill(picture, 0, width / 2, screen);
	fill(picture, width / 2, width, skin);
	return picture;
}

Pixel at(const Picture &picture, int x, int y)
{
	Pixel pixel;
	std::copy_n(picture.pixel(x, y), 4, pixel.begin());
	return pixel;
}

class Background : public EngineTest {
protected:
	void key(int color, float similarity = 0.4F, float smoothness = 0.08F, float desaturation = 0)
	{
		kl_set_chroma_key(engine.get(), color);
		kl_set_chroma_key_similarity(engine.get(), similarity);
		kl_set_chroma_key_smoothness(engine.get(), smoothness);
		kl_set_chroma_key_desaturation(engine.get(), desaturation);
	}

	std::string write_picture(const std::string &name, int width, int height, Pixel left, Pixel right)
	{
		Image image;
		image.width = width;
		image.height = height;
		image.pixels.resize(size_t(width) * size_t(height) * 4);
		for (int y = 0; y < height; ++y) {
			for (int x = 0; x < width; ++x)
				std::copy_n((x < width / 2 ? left : right).data(), 4, image.pixel(x, y));
		}
		write_image(scratch.place(name), image, 100);
		return scratch.path(name);
	}
};

TEST_F(Background, EachKeyCutsItsScreenAndKeepsThePerson)
{
	const Pixel screens[] = {green_screen, blue_screen, red_screen};
	for (int color = 0; color < 3; ++color) {
		key(color, color == 2 ? 0.24F : 0.4F); // skin lies near red
		const Picture output = processed(before_screen(screens[color]));
		EXPECT_EQ(at(output, 20, 70)[3], 0) << color;
		EXPECT_EQ(at(output, 200, 70), skin) << color;
	}
}

TEST_F(Background, AShadowOnTheScreenIsCutAsWell)
{
	key(0);
	const Picture output = processed(before_screen({30, 110, 42, 255}));
	EXPECT_LT(at(output, 20, 70)[3], 32);
}

TEST_F(Background, NeutralColorsAreKept)
{
	key(0, 0.4F);
	for (const uint8_t level : {uint8_t{0}, uint8_t{60}, uint8_t{128}, uint8_t{255}}) {
		const Picture output = processed(before_screen({level, level, level, 255}));
		EXPECT_EQ(at(output, 20, 70)[3], 255) << int{level};
	}
}

TEST_F(Background, RedSpillIsTakenWithoutTheRedOfAFace)
{
	const Pixel lips = {176, 92, 88, 255};
	Picture input = before_screen(skin);
	fill(input, 0, 20, lips);
	fill(input, 20, 40, {190, 60, 50, 255}); // hair with the screen shining through
	key(2, 0.1F, 0, 1);
	const Picture output = processed(input);
	EXPECT_EQ(at(output, 200, 70), skin);
	EXPECT_EQ(at(output, 10, 70), lips);
	const Pixel hair = at(output, 30, 70);
	EXPECT_NEAR(hair[0], 110, 12);
	EXPECT_NEAR(hair[1], 60, 2);
	EXPECT_EQ(hair[3], 255);
}

TEST_F(Background, NoiseLeavesNoSpecklesOnTheScreen)
{
	Picture input = noise_picture(256, 144, 3);
	for (int y = 0; y < 144; ++y) {
		for (int x = 0; x < 256; ++x) {
			uint8_t *pixel = input.pixel(x, y);
			for (size_t channel = 0; channel < 3; ++channel)
				pixel[channel] = static_cast<uint8_t>(green_screen[channel] + pixel[channel] % 41 - 20);
			pixel[3] = 255;
		}
	}
	key(0, 0.36F, 0.05F);
	const Picture output = processed(input);
	int speckles = 0;
	for (size_t index = 3; index < output.bytes.size(); index += 4)
		speckles += output.bytes[index] > 16;
	EXPECT_LT(speckles, 100); // twice as many and more without a look at the neighbors
}

TEST_F(Background, TheCutScalesTheAlphaThatIsThere)
{
	Picture input = before_screen(green_screen);
	input.pixel(200, 70)[3] = 100;
	key(0);
	EXPECT_EQ(at(processed(input), 200, 70)[3], 100);
}

TEST_F(Background, ClearingTheKeyGivesThePictureBack)
{
	const Picture input = before_screen(green_screen);
	key(0);
	kl_clear_chroma_key(engine.get());
	EXPECT_EQ(processed(input).bytes, input.bytes);
}

TEST_F(Background, WithoutAKeyAndNetsThePictureIsLeftAlone)
{
	const std::string bare = scratch.write_bundle("bare.kld", "resource");
	const kl_engine_config config = {0, 0, nullptr, bare.c_str(), "org.test.engine", 0};
	engine.reset(kl_engine_create(&config));
	const Picture input = before_screen(green_screen);
	kl_set_virtual_background_blur(engine.get(), 1);
	EXPECT_EQ(processed(input).bytes, input.bytes);
	ASSERT_EQ(kl_set_virtual_background(engine.get(), write_picture("a.png", 64, 36, skin, skin).c_str()), KL_OK);
	EXPECT_EQ(processed(input).bytes, input.bytes);
}

TEST_F(Background, ABlurOfStrengthZeroIsTheCapturedPicture)
{
	const Picture input = before_screen(green_screen);
	key(0);
	kl_set_virtual_background_blur(engine.get(), 0);
	EXPECT_EQ(processed(input).bytes, input.bytes);
	kl_clear_chroma_key(engine.get());
	EXPECT_EQ(processed(input).bytes, input.bytes);
	EXPECT_EQ(engine->person, nullptr);
}

TEST_F(Background, APictureComesBehindThePerson)
{
	key(0);
	ASSERT_EQ(kl_set_virtual_background(engine.get(), write_picture("a.png", 640, 360, blue_screen, skin).c_str()),
		  KL_OK);
	const Picture output = processed(before_screen(green_screen));
	EXPECT_EQ(at(output, 20, 70), blue_screen);
	EXPECT_EQ(at(output, 200, 70), skin);
}

TEST_F(Background, APictureIsScaledToCoverAndCroppedToItsCenter)
{
	key(0);
	// Three times as wide as the frame asks for: left and right thirds fall away, the seam stays in the middle.
	ASSERT_EQ(kl_set_virtual_background(engine.get(),
					    write_picture("wide.png", 3 * 640, 360, blue_screen, skin).c_str()),
		  KL_OK);
	Picture input(256, 144);
	fill(input, 0, 256, green_screen);
	const Picture output = processed(input);
	EXPECT_EQ(at(output, 2, 2), blue_screen);
	EXPECT_EQ(at(output, 120, 140), blue_screen);
	EXPECT_EQ(at(output, 136, 2), skin);
	EXPECT_EQ(at(output, 253, 140), skin);
}

TEST_F(Background, APictureFollowsTheFramesSize)
{
	key(0);
	kl_set_virtual_background(engine.get(), write_picture("a.png", 64, 64, blue_screen, blue_screen).c_str());
	for (const int size : {1, 2, 33, 300}) {
		Picture input(size, size + 3);
		fill(input, 0, size, green_screen);
		EXPECT_EQ(at(processed(input), size - 1, size + 2), blue_screen) << size;
	}
}

TEST_F(Background, AFailedPictureLeavesThePreviousOne)
{
	key(0);
	kl_set_virtual_background(engine.get(), write_picture("a.png", 64, 64, blue_screen, blue_screen).c_str());
	EXPECT_EQ(kl_set_virtual_background(engine.get(), scratch.path("absent.jpg").c_str()), KL_ERROR_FILE);
	EXPECT_EQ(kl_set_virtual_background(engine.get(), nullptr), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(at(processed(before_screen(green_screen)), 20, 70), blue_screen);
}

TEST_F(Background, BlurLetsNoLightOfThePersonOut)
{
	key(0);
	kl_set_virtual_background_blur(engine.get(), 1);
	const Picture output = processed(before_screen(green_screen, 640, 360));
	// Right beside the person the screen is the screen.
	for (int x = 300; x < 319; ++x) {
		const Pixel pixel = at(output, x, 180);
		EXPECT_NEAR(pixel[0], green_screen[0], 1) << x;
		EXPECT_NEAR(pixel[1], green_screen[1], 1) << x;
	}
	EXPECT_EQ(at(output, 500, 180), skin);
}

TEST_F(Background, AlphaIsOpaqueBehindACut_WhenThereIsABackground)
{
	key(0);
	kl_set_virtual_background_blur(engine.get(), 0.5F);
	EXPECT_EQ(at(processed(before_screen(green_screen)), 20, 70)[3], 255);
}

double light_of(double level)
{
	const double value = level / 255;
	return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double level_of(double light)
{
	return 255 * (light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055);
}

enum class BlurOf { Levels, Light };

// Against a Gaussian in double precision, over the strengths and some sizes.
double blur_psnr(const Picture &input, float sigma, BlurOf what = BlurOf::Levels)
{
	BackgroundBlur blur;
	Pool pool(1);
	const Frame frame = {input.bytes.data(), nullptr, input.width, input.height, input.stride};
	const bool linear = what == BlurOf::Light;
	const float nobody = 0;
	if (linear)
		blur.build_linear(frame, {&nobody, 1, 1}, sigma, pool);
	else
		blur.build(frame, nullptr, sigma, pool);
	const int radius = static_cast<int>(std::ceil(4 * sigma));
	std::vector<double> weights;
	double total = 0;
	for (int tap = -radius; tap <= radius; ++tap)
		total += weights.emplace_back(std::exp(-0.5 * tap * tap / double(sigma * sigma)));

	const auto clamped = [](int value, int size) {
		return std::min(std::max(value, 0), size - 1);
	};
	std::vector<double> across(size_t(input.width) * size_t(input.height));
	for (int y = 0; y < input.height; ++y) {
		for (int x = 0; x < input.width; ++x) {
			double sum = 0;
			for (int tap = -radius; tap <= radius; ++tap) {
				const double level = input.pixel(clamped(x + tap, input.width), y)[1];
				sum += weights[size_t(tap + radius)] * (linear ? light_of(level) : level);
			}
			across[size_t(y) * size_t(input.width) + size_t(x)] = sum / total;
		}
	}
	double error = 0;
	std::vector<uint8_t> row(size_t(input.width) * 4 + 256);
	for (int y = 0; y < input.height; ++y) {
		blur.write_row(y, 0, input.width, row.data());
		for (int x = 0; x < input.width; ++x) {
			double sum = 0;
			for (int tap = -radius; tap <= radius; ++tap)
				sum += weights[size_t(tap + radius)] *
				       across[size_t(clamped(y + tap, input.height)) * size_t(input.width) + size_t(x)];
			const double expected = linear ? level_of(sum / total) : sum / total;
			error += std::pow(row[size_t(x) * 4 + 1] - expected, 2);
		}
	}
	return 10 * std::log10(255.0 * 255.0 / (error / (double(input.width) * input.height)));
}

TEST_F(Background, BlurIsAGaussian)
{
	// Blocks of 24 pixels of random colors: edges everywhere.
	Picture input(333, 217);
	fill(input, 0, 333, {0, 0, 0, 255});
	const Picture noise = noise_picture(333, 217, 4);
	for (int y = 0; y < 217; ++y) {
		for (int x = 0; x < 333; ++x)
			std::copy_n(noise.pixel(x / 24, y / 24), 3, input.pixel(x, y));
	}
	EXPECT_GT(blur_psnr(input, 32), 40);
	EXPECT_GT(blur_psnr(input, 20), 40);
	EXPECT_GT(blur_psnr(input, 8), 40);
	EXPECT_GT(blur_psnr(input, 4), 35);
	EXPECT_GT(blur_psnr(input, 32, BlurOf::Light), 40);
	// The cells are encoded before the pixels between them are interpolated: some levels at edges as hard as these.
	EXPECT_GT(blur_psnr(input, 20, BlurOf::Light), 39);
	EXPECT_GT(blur_psnr(input, 8, BlurOf::Light), 37);
	EXPECT_GT(blur_psnr(input, 4, BlurOf::Light), 35);
}

TEST_F(Background, LinearBlurLetsNoLightOfThePersonOut)
{
	// Somebody bright on the right, before a dark room.
	Picture input(640, 360);
	fill(input, 0, 320, {20, 30, 40, 255});
	fill(input, 320, 640, {255, 255, 255, 255});
	const float person[] = {0, 0, 1, 1};
	BackgroundBlur blur;
	Pool pool(1);
	const Frame frame = {input.bytes.data(), nullptr, input.width, input.height, input.stride};
	blur.build_linear(frame, {person, 4, 1}, 10, pool);
	std::vector<uint8_t> row(size_t(input.width) * 4 + 256);
	blur.write_row(180, 0, input.width, row.data());
	// The matte goes from the middle of its second cell to that of its third.
	for (size_t x = 0; x < 240; ++x) {
		EXPECT_NEAR(row[x * 4], 20, 1) << x;
		EXPECT_NEAR(row[x * 4 + 2], 40, 1) << x;
	}
	// Where there is no background within reach, the blur is of what is there, and not black.
	EXPECT_EQ(row[size_t(620) * 4], 255);
}

// Two pictures that look alike: what is of this low alpha in them is of two greens, both of which a green key takes
// away.
std::array<Picture, 2> alike_but_for_hidden_colors(Pixel seen, uint8_t alpha)
{
	std::array<Picture, 2> pictures = {Picture(256, 144), Picture(256, 144)};
	for (size_t which = 0; which < 2; ++which) {
		const uint8_t level = which == 0 ? 0 : 120;
		fill(pictures[which], 0, 256, seen);
		fill(pictures[which], 96, 160, {level, 255, level, alpha});
	}
	return pictures;
}

TEST_F(Background, HiddenColorsDoNotEnterTheBlurBehindAKey)
{
	key(0);
	kl_set_virtual_background_blur(engine.get(), 1);
	const auto inputs = alike_but_for_hidden_colors(green_screen, 1); // the key itself leaves 0 out
	const Picture first = processed(inputs[0]);
	const Picture second = processed(inputs[1]);
	for (int x = 0; x < 96; ++x) {
		for (int channel = 0; channel < 3; ++channel)
			EXPECT_NEAR(first.pixel(x, 70)[channel], second.pixel(x, 70)[channel], 2) << x;
	}
}

TEST_F(Background, HiddenColorsDoNotEnterTheLinearBlur)
{
	const auto inputs = alike_but_for_hidden_colors({60, 90, 120, 255}, 0);
	const float nobody = 0;
	Pool pool(1);
	for (const Picture &input : inputs) {
		BackgroundBlur blur;
		const Frame frame = {input.bytes.data(), nullptr, input.width, input.height, input.stride};
		blur.build_linear(frame, {&nobody, 1, 1}, 10, pool);
		std::vector<uint8_t> row(size_t(input.width) * 4 + 256);
		blur.write_row(70, 0, input.width, row.data());
		for (size_t x = 0; x < 96; ++x) {
			EXPECT_NEAR(row[x * 4], 60, 1) << x;
			EXPECT_NEAR(row[x * 4 + 1], 90, 1) << x;
			EXPECT_NEAR(row[x * 4 + 2], 120, 1) << x;
		}
	}
}

} // namespace
} // namespace kalvio::engine::testing
