// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "engine_fixture.h"
#include "image_writer.h"

#include <hwy/targets.h>

#include <array>
#include <ostream>

namespace kalvio::engine::testing {
namespace {

// The same frame and settings give the same bytes, whatever the instruction set and the number of threads: one effect
// alone, and all together.
struct Effect {
	const char *name;
	void (*set)(kl_engine *engine, const std::string &background);
};

// NOLINTNEXTLINE(readability-identifier-naming): the name that GoogleTest looks for
void PrintTo(const Effect &effect, std::ostream *stream)
{
	*stream << effect.name;
}

void set_key(kl_engine *engine)
{
	kl_set_chroma_key(engine, 0);
	kl_set_chroma_key_similarity(engine, 0.4F);
	kl_set_chroma_key_smoothness(engine, 0.5F);
	kl_set_chroma_key_desaturation(engine, 0.7F);
}

template <int Style>
void smooth(kl_engine *engine, const std::string &)
{
	kl_set_smoothing(engine, 0.8F);
	kl_set_smoothing_style(engine, Style);
}

template <int Percent>
void blur(kl_engine *engine, const std::string &)
{
	set_key(engine);
	kl_set_virtual_background_blur(engine, Percent / 100.0F);
}

constexpr Effect effects[] = {
	{"SmoothingNatural", smooth<0>},
	{"SmoothingTexture", smooth<1>},
	{"SmoothingSmooth", smooth<2>},
	{"Whitening",
	 [](kl_engine *engine, const std::string &) {
		 kl_set_whitening(engine, 0.6F);
	 }},
	{"Rosiness",
	 [](kl_engine *engine, const std::string &) {
		 kl_set_rosiness(engine, 0.6F);
	 }},
	{"Sharpening",
	 [](kl_engine *engine, const std::string &) {
		 kl_set_sharpening(engine, 1);
	 }},
	{"SkinOnly",
	 [](kl_engine *engine, const std::string &) {
		 kl_set_beauty_skin_only(engine, true);
		 kl_set_smoothing(engine, 0.7F);
		 kl_set_whitening(engine, 0.5F);
		 kl_set_sharpening(engine, 0.7F);
	 }},
	{"Filter",
	 [](kl_engine *engine, const std::string &) {
		 kl_set_filter(engine, KALVIO_DATA_DIR "/filters/vivid/vivid.kld");
		 kl_set_filter_intensity(engine, 0.7F);
	 }},
	{"Key",
	 [](kl_engine *engine, const std::string &) {
		 set_key(engine);
	 }},
	{"BlurOfNextToNothing", blur<5>},
	{"BlurWeak", blur<25>},
	{"BlurStrongest", blur<100>},
	{"Picture",
	 [](kl_engine *engine, const std::string &background) {
		 set_key(engine);
		 kl_set_virtual_background(engine, background.c_str());
	 }},
	{"Sticker",
	 [](kl_engine *engine, const std::string &) {
		 kl_set_sticker(engine, KALVIO_DATA_DIR "/stickers/screen/petals.kld");
	 }},
	{"Everything",
	 [](kl_engine *engine, const std::string &) {
		 kl_set_beauty_skin_only(engine, true);
		 smooth<0>(engine, "");
		 kl_set_whitening(engine, 0.6F);
		 kl_set_rosiness(engine, 0.4F);
		 kl_set_sharpening(engine, 0.5F);
		 kl_set_filter(engine, KALVIO_DATA_DIR "/filters/vivid/vivid.kld");
		 blur<70>(engine, "");
		 kl_set_sticker(engine, KALVIO_DATA_DIR "/stickers/screen/butterfly.kld");
	 }},
};

// Blocks of random colors, half of which the key takes for its screen, under noise in all four channels.
Picture blocks(int width, int height)
{
	constexpr int side = 12;
	Picture picture = noise_picture(width, height, 3);
	const Picture colors = noise_picture(width / side + 1, height / side + 1, 8);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			const uint8_t *color = colors.pixel(x / side, y / side);
			const bool screen = color[3] < 128;
			uint8_t *pixel = picture.pixel(x, y);
			for (int channel = 0; channel < 3; ++channel) {
				const int base = screen ? (channel == 1 ? 180 : 50) : 96 + color[channel] / 3;
				pixel[channel] = static_cast<uint8_t>(base + pixel[channel] % 24);
			}
		}
	}
	return picture;
}

class SameBytes : public EngineTest, public ::testing::WithParamInterface<std::tuple<Effect, std::array<int, 2>>> {
protected:
	SameBytes()
	{
		Image image;
		image.width = 40;
		image.height = 30;
		image.pixels = noise_picture(image.width, image.height, 9).bytes;
		background = scratch.path("background.png");
		write_image(scratch.place("background.png"), image, 100);
	}

	Picture input() const
	{
		const auto &size = std::get<1>(GetParam());
		return blocks(size[0], size[1]);
	}

	// The second frame of a new engine: stickers have moved by then, and memory has been used.
	Picture result(int threads, int64_t targets = 0)
	{
		use_targets(0); // an engine is made where there is at least SSE4
		engine = create();
		engine->pool = std::make_shared<Pool>(threads);
		std::get<0>(GetParam()).set(engine.get(), background);
		use_targets(targets);
		processed(input());
		pass(frame_us);
		return processed(input());
	}

	static constexpr int64_t frame_us = 16'667;

	std::string background;
};

TEST_P(SameBytes, OnEveryInstructionSet)
{
	const Picture expected = result(1);
	const int64_t supported = hwy::SupportedTargets();
	int tried = 0;
	for (int64_t target = 1; target <= HWY_SSE4; target <<= 1) {
		if ((supported & target) == 0)
			continue;
		EXPECT_EQ(result(1, target).bytes, expected.bytes) << hwy::TargetName(target);
		++tried;
	}
	EXPECT_GE(tried, 1);
}

TEST_P(SameBytes, WithAnyNumberOfThreads)
{
	const Picture expected = result(1);
	for (const int threads : {2, 3, 5})
		EXPECT_EQ(result(threads).bytes, expected.bytes) << threads;
}

TEST_P(SameBytes, AfterAFrameOfAnotherSize)
{
	const Picture expected = result(1);
	processed(noise_picture(64, 64, 1));
	EXPECT_EQ(processed(input()).bytes, expected.bytes);
}

// Sides that are no multiple of anything, rows of whole vectors, a frame smaller than one, and one so high that effects
// reach further.
INSTANTIATE_TEST_SUITE_P(Effects, SameBytes,
			 ::testing::Combine(::testing::ValuesIn(effects),
					    ::testing::Values(std::array{333, 217}, std::array{320, 96},
							      std::array{13, 9}, std::array{70, 1090})),
			 [](const auto &parameters) {
				 const auto &size = std::get<1>(parameters.param);
				 return std::get<0>(parameters.param).name + std::to_string(size[0]) + "x" +
					std::to_string(size[1]);
			 });

} // namespace
} // namespace kalvio::engine::testing
