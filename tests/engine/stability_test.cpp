// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "skin_chart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

// What an eye sees in a moving picture and a test of one frame does not: flicker, bands, seams.
namespace kalvio::engine::testing {
namespace {

// Effects whose result depends on more than a pixel's own color.
void set_look(kl_engine *engine)
{
	kl_set_beauty_skin_only(engine, true);
	kl_set_smoothing(engine, 0.8F);
	kl_set_smoothing_style(engine, 0);
	kl_set_whitening(engine, 0.7F);
	kl_set_rosiness(engine, 0.4F);
}

// The still with the noise of another moment, at most `amplitude` levels.
Picture noisy(const Picture &still, uint32_t seed, int amplitude)
{
	Picture picture = still;
	const Picture noise = noise_picture(still.width, still.height, seed);
	for (size_t index = 0; index < still.bytes.size(); ++index) {
		if (index % 4 != 3)
			picture.bytes[index] = static_cast<uint8_t>(std::clamp(
				still.bytes[index] + noise.bytes[index] % (2 * amplitude + 1) - amplitude, 0, 255));
	}
	return picture;
}

class Stability : public EngineTest {
protected:
	// How much pixels change between two frames, on skin and elsewhere.
	struct Flicker {
		double skin = 0;
		double other = 0;
	};
	static Flicker flicker(const SkinScene &scene, const Picture &left, const Picture &right)
	{
		double sums[2] = {0, 0};
		int counts[2] = {0, 0};
		for (size_t index = 0; index < left.bytes.size(); ++index) {
			const Region region = scene.regions[index / 4];
			if (index % 4 == 3 || region == Region::Unclear)
				continue;
			sums[region == Region::Skin] += std::abs(left.bytes[index] - right.bytes[index]);
			++counts[region == Region::Skin];
		}
		return {sums[1] / counts[1], sums[0] / counts[0]};
	}

	static double mean_of_skin(const SkinScene &scene, const Picture &picture, size_t channel)
	{
		double sum = 0;
		int count = 0;
		for (size_t index = 0; index < scene.regions.size(); ++index) {
			if (scene.regions[index] == Region::Skin) {
				sum += picture.bytes[index * 4 + channel];
				++count;
			}
		}
		return sum / count;
	}
};

TEST_F(Stability, ANoisyStillDoesNotFlickerMoreThanItsNoise)
{
	const SkinScene scene = make_skin_scene(3, 1, 0);
	set_look(engine.get());
	Picture before_in = noisy(scene.picture, 1, 6);
	Picture before_out = processed(before_in);
	for (uint32_t frame = 2; frame <= 30; ++frame) {
		const Picture input = noisy(scene.picture, frame, 6);
		const Picture output = processed(input);
		const Flicker noise = flicker(scene, input, before_in);
		const Flicker seen = flicker(scene, output, before_out);
		EXPECT_LT(seen.skin, 0.7 * noise.skin) << frame; // smoothing takes some of it away
		EXPECT_LT(seen.other, 1.02 * noise.other) << frame;
		before_in = input;
		before_out = output;
	}
}

TEST_F(Stability, TheColorOfSkinDoesNotPump)
{
	for (const int background : {0, 1, 5}) { // the walls that are most and least like skin
		const SkinScene scene = make_skin_scene(2, 0, background);
		set_look(engine.get());
		std::array<double, 3> low = {255, 255, 255};
		std::array<double, 3> high = {0, 0, 0};
		for (uint32_t frame = 1; frame <= 30; ++frame) {
			const Picture output = processed(noisy(scene.picture, frame, 6));
			for (size_t channel = 0; channel < 3; ++channel) {
				const double mean = mean_of_skin(scene, output, channel);
				low[channel] = std::min(low[channel], mean);
				high[channel] = std::max(high[channel], mean);
			}
		}
		for (size_t channel = 0; channel < 3; ++channel)
			EXPECT_LT(high[channel] - low[channel], 0.5) << background << ", " << channel;
	}
}

struct ColumnEffect {
	const char *name;
	void (*set)(kl_engine *);
};

const ColumnEffect column_effects[] = {
	{"smoothing",
	 [](kl_engine *engine) {
		 kl_set_smoothing(engine, 1);
	 }},
	{"whitening",
	 [](kl_engine *engine) {
		 kl_set_whitening(engine, 1);
	 }},
	{"rosiness",
	 [](kl_engine *engine) {
		 kl_set_rosiness(engine, 1);
	 }},
	{"sharpening",
	 [](kl_engine *engine) {
		 kl_set_sharpening(engine, 1);
	 }},
	{"filter",
	 [](kl_engine *engine) {
		 kl_set_filter(engine, KALVIO_DATA_DIR "/filters/dawn/dawn.kld");
	 }},
	{"the look on skin", set_look},
};

// The skin's color, brightening from left to right by a level every eight pixels.
Picture skin_gradient(int width, int height)
{
	Picture picture(width, height);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			const int level = 60 + x / 8;
			const uint8_t pixel[4] = {uint8_t(level * 115 / 100), uint8_t(level * 86 / 100),
						  uint8_t(level * 74 / 100), 255};
			std::copy_n(pixel, 4, picture.pixel(x, y));
		}
	}
	return picture;
}

TEST_F(Stability, NoEffectMakesBandsOfAGradient)
{
	const Picture input = skin_gradient(1024, 96);
	for (const ColumnEffect &effect : column_effects) {
		engine = create();
		effect.set(engine.get());
		const Picture output = processed(input);
		// Columns, each averaged over the dither's height; the input's largest step is 2.
		const auto column = [&](int x, int channel) {
			double sum = 0;
			for (int y = 32; y < 64; ++y)
				sum += output.pixel(x, y)[channel];
			return sum / 32;
		};
		for (int channel = 0; channel < 3; ++channel) {
			for (int x = 33; x < 992; ++x)
				EXPECT_LE(std::abs(column(x, channel) - column(x - 1, channel)), 3.5)
					<< effect.name << ", column " << x << ", channel " << channel;
		}
	}
}

TEST_F(Stability, BandsOfRowsLeaveNoSeams)
{
	// Rows that do not differ must not differ afterwards, but for the dither, wherever a band of work ends.
	const Picture input = skin_gradient(512, 200);
	for (const ColumnEffect &effect : column_effects) {
		engine = create();
		engine->pool = std::make_shared<Pool>(4);
		effect.set(engine.get());
		const Picture output = processed(input);
		for (int y = 24; y < 180; ++y) {
			double step = 0;
			for (int x = 0; x < 512; ++x)
				step += output.pixel(x, y)[1] - output.pixel(x, y - 4)[1];
			EXPECT_LT(std::abs(step / 512), 0.05) << effect.name << ", row " << y;
		}
	}
}

} // namespace
} // namespace kalvio::engine::testing
