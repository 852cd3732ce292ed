// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/person_matte.h"

#include "engine.h"
#include "engine_fixture.h"
#include "image_reader.h"
#include "image_writer.h"

#include <hwy/targets.h>

#include <algorithm>
#include <array>

// People before another background or a blurred one, without a key, with the nets of the resource bundle.
namespace kalvio::engine::testing {
namespace {

constexpr std::array<uint8_t, 4> blue = {20, 40, 220, 255};
constexpr int64_t frame_us = 33'333;

class PersonMatteTest : public NetEngineTest {
protected:
	void show_blue_picture()
	{
		Image image;
		image.resize(64, 36);
		for (int y = 0; y < 36; ++y) {
			for (int x = 0; x < 64; ++x)
				std::copy(blue.begin(), blue.end(), image.pixel(x, y));
		}
		write_image(scratch.place("blue.png"), image, 100);
		ASSERT_EQ(kl_set_virtual_background(engine.get(), scratch.path("blue.png").c_str()), KL_OK);
	}

	static Picture portrait()
	{
		Image image;
		EXPECT_TRUE(load_image(KALVIO_PORTRAIT, image));
		Picture picture(image.width, image.height);
		std::copy(image.pixels.begin(), image.pixels.end(), picture.bytes.begin());
		return picture;
	}

	// A room without anybody, with a camera's noise.
	static Picture empty_room(int width = 1280, int height = 720)
	{
		Picture picture = noise_picture(width, height, 11);
		for (int y = 0; y < height; ++y) {
			for (int x = 0; x < width; ++x) {
				uint8_t *pixel = picture.pixel(x, y);
				for (int channel = 0; channel < 3; ++channel)
					pixel[channel] = static_cast<uint8_t>(110 + 20 * channel + y * 40 / height +
									      pixel[channel] % 5);
				pixel[3] = 255;
			}
		}
		return picture;
	}
};

bool is_blue(const Picture &picture, int x, int y)
{
	return std::equal(blue.begin(), blue.end(), picture.pixel(x, y));
}

TEST_F(PersonMatteTest, PeopleAreLookedForOnlyWhileABackgroundNeedsThem)
{
	const Picture picture = portrait();
	kl_set_smoothing(engine.get(), 1);
	processed(picture);
	kl_set_virtual_background_blur(engine.get(), 0);
	processed(picture);
	kl_set_virtual_background_blur(engine.get(), 1);
	kl_set_chroma_key(engine.get(), 0);
	processed(picture);
	EXPECT_EQ(engine->person, nullptr);
	kl_clear_chroma_key(engine.get());
	processed(picture);
	EXPECT_NE(engine->person, nullptr);
}

TEST_F(PersonMatteTest, APictureComesBehindThePerson)
{
	show_blue_picture();
	const Picture picture = portrait();
	const Picture output = processed(picture);
	for (const int x : {5, 200, 1000, 1275}) {
		for (const int y : {5, 300, 500})
			EXPECT_TRUE(is_blue(output, x, y)) << x << " " << y;
	}
	for (const auto &[x, y] : {std::array{640, 350}, std::array{560, 320}, std::array{640, 600},
				   std::array{520, 300}, std::array{640, 700}, std::array{420, 715}})
		EXPECT_TRUE(std::equal(picture.pixel(x, y), picture.pixel(x, y) + 4, output.pixel(x, y)))
			<< x << " " << y;
}

TEST_F(PersonMatteTest, TheBackgroundIsBlurredAndThePersonIsNot)
{
	kl_set_virtual_background_blur(engine.get(), 1);
	const Picture picture = portrait();
	const Picture output = processed(picture);
	// The lamp on the right is a soft spot of a lesser contrast.
	const auto contrast = [](const Picture &seen) {
		int low = 255;
		int high = 0;
		for (int x = 900; x < 1200; ++x) {
			low = std::min<int>(low, seen.pixel(x, 450)[0]);
			high = std::max<int>(high, seen.pixel(x, 450)[0]);
		}
		return high - low;
	};
	EXPECT_LT(contrast(output), contrast(picture) * 9 / 10);
	for (int y = 250; y < 500; y += 10) {
		for (int x = 560; x < 720; x += 10)
			ASSERT_TRUE(std::equal(picture.pixel(x, y), picture.pixel(x, y) + 4, output.pixel(x, y)));
	}
}

TEST_F(PersonMatteTest, WhileNobodyIsThereAllIsBackground)
{
	show_blue_picture();
	const Picture room = empty_room();
	for (int frame = 0; frame < 5; ++frame) {
		pass(frame_us);
		const Picture output = processed(room);
		for (int y = 0; y < room.height; y += 7) {
			for (int x = 0; x < room.width; x += 7)
				ASSERT_TRUE(is_blue(output, x, y)) << x << " " << y;
		}
	}
}

TEST_F(PersonMatteTest, SomebodyWhoLeavesTheChairDoesNotShowTheRoom)
{
	show_blue_picture();
	const Picture room = empty_room();
	processed(portrait());
	for (int frame = 0; frame < 40; ++frame) {
		pass(frame_us);
		const Picture output = processed(room);
		EXPECT_TRUE(is_blue(output, 100, 100)) << frame;
		if (frame >= 30) {
			EXPECT_TRUE(is_blue(output, 640, 350)) << frame;
		}
	}
}

TEST_F(PersonMatteTest, TwoPeopleAreBothKept)
{
	show_blue_picture();
	// Two of the middle of the portrait side by side.
	const Picture one = portrait();
	Picture two(1280, 720);
	for (int y = 0; y < 720; ++y) {
		std::copy_n(one.pixel(320, y), 640 * 4, two.pixel(0, y));
		std::copy_n(one.pixel(320, y), 640 * 4, two.pixel(640, y));
	}
	const Picture output = processed(two);
	for (const int x : {320, 960})
		EXPECT_TRUE(std::equal(two.pixel(x, 350), two.pixel(x, 350) + 4, output.pixel(x, 350))) << x;
	EXPECT_TRUE(is_blue(output, 640, 100));
}

TEST_F(PersonMatteTest, TheSameBytesOnEveryInstructionSetAndWithAnyNumberOfThreads)
{
	const Picture picture = portrait();
	const auto result = [&](int threads, int64_t targets, bool blurred) {
		use_targets(0); // an engine is made where there is at least SSE4
		engine = create();
		engine->pool = std::make_shared<Pool>(threads);
		if (blurred)
			kl_set_virtual_background_blur(engine.get(), 0.6F);
		else
			show_blue_picture();
		use_targets(targets);
		processed(picture);
		pass(frame_us);
		return processed(picture).bytes;
	};
	for (const bool blurred : {false, true}) {
		const std::vector<uint8_t> expected = result(1, 0, blurred);
		EXPECT_EQ(result(2, 0, blurred), expected);
		EXPECT_EQ(result(3, 0, blurred), expected);
		const int64_t supported = hwy::SupportedTargets();
		for (int64_t target = 1; target <= HWY_SSE4; target <<= 1) {
			if ((supported & target) == 0)
				continue;
			EXPECT_EQ(result(1, target, blurred), expected) << hwy::TargetName(target);
		}
	}
}

TEST_F(PersonMatteTest, AfterAFrameOfAnotherSizeItStartsAnew)
{
	show_blue_picture();
	const Picture picture = portrait();
	const Picture expected = processed(picture);
	processed(empty_room(64, 64));
	EXPECT_EQ(processed(picture).bytes, expected.bytes);
}

TEST_F(PersonMatteTest, EverySizeWorks)
{
	for (const bool blurred : {false, true}) {
		if (blurred)
			kl_set_virtual_background_blur(engine.get(), 1);
		else
			show_blue_picture();
		for (const auto &[width, height] :
		     {std::array{1, 1}, std::array{3, 2}, std::array{16384, 2}, std::array{2, 16384},
		      std::array{333, 217}, std::array{1080, 1920}}) {
			const Picture input = noise_picture(width, height, 3, 12);
			Picture output(width, height, 12);
			EXPECT_EQ(process(input, output), KL_OK) << width << " x " << height;
			EXPECT_EQ(output.pixel(width - 1, height - 1)[3], input.pixel(width - 1, height - 1)[3]);
		}
	}
}

} // namespace
} // namespace kalvio::engine::testing
