// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace kalvio::engine::testing {
namespace {

using Pixel = std::array<uint8_t, 4>;
using Light = std::array<double, 3>;

constexpr Pixel green_screen = {48, 172, 66, 255};
constexpr Pixel shirt = {200, 198, 202, 255};
constexpr int width = 256;
constexpr int height = 144;
constexpr int64_t frame_us = 33'333;

double light_of(double level)
{
	const double value = level / 255;
	return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

uint8_t level_of(double light)
{
	const double level = light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
	return static_cast<uint8_t>(std::lround(255 * std::clamp(level, 0.0, 1.0)));
}

// `part` of one color before another one, as a lens sees it.
Pixel mixed(Pixel front, Pixel behind, double part, double light = 1)
{
	Pixel pixel = {0, 0, 0, 255};
	for (size_t channel = 0; channel < 3; ++channel) {
		pixel[channel] =
			level_of(part * light_of(front[channel]) + (1 - part) * light * light_of(behind[channel]));
	}
	return pixel;
}

template <typename PixelAt>
Picture make(const PixelAt &pixel_at)
{
	Picture picture(width, height);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			const Pixel pixel = pixel_at(x, y);
			std::copy_n(pixel.data(), 4, picture.pixel(x, y));
		}
	}
	return picture;
}

// The screen on the left, a shirt on the right, and between them a strip that shows a part of the shirt.
Picture strip_before_screen(double part, Pixel screen = green_screen)
{
	return make([&](int x, int /*y*/) { return mixed(shirt, screen, x < 112 ? 0 : (x < 144 ? part : 1)); });
}

void add_noise(Picture &picture, uint32_t seed, double deviation)
{
	std::minstd_rand random(seed);
	for (size_t byte = 0; byte < picture.bytes.size(); ++byte) {
		if (byte % 4 == 3)
			continue;
		double sum = -6; // twelve uniform numbers are as good as a bell
		for (int part = 0; part < 12; ++part)
			sum += static_cast<double>(random()) / std::minstd_rand::max();
		picture.bytes[byte] = static_cast<uint8_t>(
			std::lround(std::clamp(picture.bytes[byte] + sum * deviation, 0.0, 255.0)));
	}
}

class ColorKeyTest : public EngineTest {
protected:
	void key(float similarity, float smoothness, float despill, int color = 0)
	{
		kl_set_chroma_key(engine.get(), color);
		kl_set_chroma_key_similarity(engine.get(), similarity);
		kl_set_chroma_key_smoothness(engine.get(), smoothness);
		kl_set_chroma_key_desaturation(engine.get(), despill);
	}

	Pixel result_at(const Picture &input, int x, int y = 70)
	{
		const Picture output = processed(input);
		Pixel pixel;
		std::copy_n(output.pixel(x, y), 4, pixel.begin());
		return pixel;
	}
};

TEST_F(ColorKeyTest, AtZeroClearsAnEvenlyLitScreenAndKeepsThePerson)
{
	for (const Pixel screen : {green_screen, Pixel{95, 165, 100, 255}, Pixel{20, 95, 45, 255}}) {
		engine = create();
		key(0, 0, 0);
		Picture input = strip_before_screen(1, screen);
		add_noise(input, 3, 1.5);
		const Picture output = processed(input);
		double screen_alpha = 0;
		int least = 255;
		for (int y = 0; y < height; ++y) {
			for (int x = 0; x < width; ++x) {
				if (x < 108)
					screen_alpha += output.pixel(x, y)[3] / (108.0 * height);
				else if (x >= 116)
					least = std::min<int>(least, output.pixel(x, y)[3]);
			}
		}
		EXPECT_LT(screen_alpha, 0.5) << int{screen[1]};
		EXPECT_EQ(least, 255) << int{screen[1]};
	}
}

TEST_F(ColorKeyTest, MixturesGetTheirAlphaAndTheForegroundsColor)
{
	key(0, 1, 0);
	for (const double part : {0.35, 0.5, 0.75}) {
		const Pixel pixel = result_at(strip_before_screen(part), 128);
		EXPECT_NEAR(pixel[3], 255 * part, 16) << part;
		for (size_t channel = 0; channel < 3; ++channel)
			EXPECT_NEAR(pixel[channel], shirt[channel], 10) << part << ' ' << channel;
	}
}

TEST_F(ColorKeyTest, AScreenThatIsDarkerToOneSideIsClearedAll)
{
	key(0, 0, 0);
	const auto screen_at = [](int x) {
		return mixed(shirt, green_screen, 0, 1.1 - 0.5 * x / width);
	};
	const Picture output =
		processed(make([&](int x, int y) { return y > 100 && x > 100 && x < 150 ? shirt : screen_at(x); }));
	for (int x = 0; x < width; ++x)
		EXPECT_LE(output.pixel(x, 40)[3], 2) << x;
	EXPECT_EQ(output.pixel(125, 120)[3], 255);
}

TEST_F(ColorKeyTest, EachSliderIsOfUseFromEndToEnd)
{
	// Alpha of a mixture, from neutral to screen, and the light that spill leaves.
	const auto alpha_at = [&](float similarity, float smoothness, double part) {
		key(similarity, smoothness, 0);
		return static_cast<int>(result_at(strip_before_screen(part), 128)[3]);
	};
	for (const double step : {0.0, 0.25, 0.5, 0.75}) {
		const auto from = static_cast<float>(step);
		const auto to = static_cast<float>(step + 0.25);
		EXPECT_GT(alpha_at(from, 0, 0.3 + 0.6 * step), alpha_at(to, 0, 0.3 + 0.6 * step) + 20) << step;
		EXPECT_GT(alpha_at(0, from, 0.7), alpha_at(0, to, 0.7) + 5) << step;
		const Pixel spilled = {150, 162, 120, 255};
		const Picture input = make([&](int x, int /*y*/) { return x < 128 ? green_screen : spilled; });
		key(0, 0, from);
		const int before = result_at(input, 240)[1];
		key(0, 0, to);
		EXPECT_GT(before, result_at(input, 240)[1] + 1) << step;
	}
}

TEST_F(ColorKeyTest, SpillIsTakenOffThePersonAlone)
{
	const Picture input = make([](int x, int /*y*/) {
		constexpr Pixel skin = {226, 178, 152, 255};
		return x < 100 ? green_screen : x < 180 ? Pixel{150, 160, 148, 255} : skin;
	});
	key(0, 0, 1);
	const Pixel spilled = result_at(input, 140);
	EXPECT_LE(spilled[1], 150);
	EXPECT_EQ(spilled[3], 255);
	EXPECT_EQ(result_at(input, 220), (Pixel{226, 178, 152, 255}));
}

TEST_F(ColorKeyTest, WithoutAScreenAllIsKept)
{
	key(1, 1, 0);
	const Picture input = make([](int x, int y) {
		return Pixel{static_cast<uint8_t>(x), static_cast<uint8_t>((x + y) / 4), static_cast<uint8_t>(y), 255};
	});
	EXPECT_EQ(processed(input).bytes, input.bytes);
}

// What is scaled with straight alpha shows the color of its transparent neighbors.
TEST_F(ColorKeyTest, ClearedPixelsHaveTheForegroundsColor)
{
	key(0, 0, 0);
	const Picture output = processed(strip_before_screen(1));
	for (int x = 100; x < 112; ++x) {
		EXPECT_EQ(output.pixel(x, 70)[3], 0) << x;
		for (int channel = 0; channel < 3; ++channel)
			EXPECT_NEAR(output.pixel(x, 70)[channel], shirt[size_t(channel)], 3) << x;
	}
}

TEST_F(ColorKeyTest, HiddenColorsChangeNothing)
{
	key(0, 0.5F, 0.5F);
	const auto with_hidden = [](Pixel hidden) {
		hidden[3] = 0;
		return make([&](int x, int y) {
			return y > 60 && y < 90 && x > 90 && x < 140 ? hidden
								     : mixed(shirt, green_screen, x < 112 ? 0 : 1);
		});
	};
	const Picture first = processed(with_hidden({0, 255, 0, 0}));
	engine = create();
	key(0, 0.5F, 0.5F);
	const Picture second = processed(with_hidden({255, 0, 255, 0}));
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			if (y > 60 && y < 90 && x > 90 && x < 140)
				EXPECT_EQ(first.pixel(x, y)[3], 0);
			else
				ASSERT_TRUE(std::equal(first.pixel(x, y), first.pixel(x, y) + 4, second.pixel(x, y)))
					<< x << ' ' << y;
		}
	}
}

// Of the alpha in the strip, over frames with new noise.
double flicker(const std::vector<Picture> &frames)
{
	double sum = 0;
	int count = 0;
	for (int y = 4; y < height - 4; ++y) {
		for (int x = 116; x < 140; ++x, ++count) {
			double mean = 0;
			double squares = 0;
			for (const Picture &frame : frames) {
				const double alpha = frame.pixel(x, y)[3];
				mean += alpha / static_cast<double>(frames.size());
				squares += alpha * alpha / static_cast<double>(frames.size());
			}
			sum += squares - mean * mean;
		}
	}
	return std::sqrt(sum / count);
}

TEST_F(ColorKeyTest, TheMatteIsSteadierThanASingleFrames)
{
	std::vector<Picture> in_a_row;
	std::vector<Picture> alone;
	for (uint32_t frame = 0; frame < 16; ++frame) {
		Picture input = strip_before_screen(0.5);
		add_noise(input, frame + 1, 6);
		key(0, 0, 0);
		pass(frame_us);
		if (frame >= 6)
			in_a_row.push_back(processed(input));
		else
			processed(input);
	}
	for (uint32_t frame = 6; frame < 16; ++frame) {
		Picture input = strip_before_screen(0.5);
		add_noise(input, frame + 1, 6);
		engine = create();
		key(0, 0, 0);
		alone.push_back(processed(input));
	}
	const double steady = flicker(in_a_row);
	const double single = flicker(alone);
	RecordProperty("steady", std::to_string(steady));
	RecordProperty("single", std::to_string(single));
	EXPECT_LT(steady, 0.6 * single) << single;
}

TEST_F(ColorKeyTest, WhatMovesLeavesNoTrail)
{
	key(0, 0, 0);
	const auto bar_at = [](int place) {
		Picture input = make([&](int x, int y) {
			const bool is_bar = x >= place && x < place + 24 && y > 30;
			return mixed(shirt, green_screen, is_bar ? 0.6 : 0);
		});
		add_noise(input, static_cast<uint32_t>(place), 4);
		return input;
	};
	for (int frame = 0; frame < 8; ++frame) {
		pass(frame_us);
		processed(bar_at(40 + frame * 12));
	}
	pass(frame_us);
	const Picture last = processed(bar_at(136));
	engine = create();
	key(0, 0, 0);
	const Picture alone = processed(bar_at(136));
	double difference = 0;
	for (int y = 40; y < height; ++y) {
		for (int x = 40; x < 132; ++x)
			difference += std::abs(last.pixel(x, y)[3] - alone.pixel(x, y)[3]) / (92.0 * (height - 40));
	}
	EXPECT_LT(difference, 0.5);
}

TEST_F(ColorKeyTest, ACutAndAPauseBeginAnew)
{
	Picture first = strip_before_screen(0.45);
	Picture second = strip_before_screen(0.5);
	add_noise(first, 1, 6);
	add_noise(second, 2, 6);
	key(0, 0, 0);
	const Picture alone = processed(second);
	for (const bool is_pause : {true, false}) {
		engine = create();
		key(0, 0, 0);
		processed(first);
		pass(frame_us);
		if (is_pause)
			pass(2'000'000);
		else
			processed(make([](int /*x*/, int /*y*/) { return Pixel{10, 10, 10, 255}; }));
		pass(frame_us);
		EXPECT_EQ(processed(second).bytes, alone.bytes) << is_pause;
	}
}

} // namespace
} // namespace kalvio::engine::testing
