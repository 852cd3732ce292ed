// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/background_picture.h"

#include "engine_fixture.h"
#include "image_reader.h"
#include "jpeg_files.h"
#include "pool.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine::testing {
namespace {

Image noise_image(int width, int height, bool opaque = true)
{
	Image image;
	image.resize(width, height);
	const Picture noise = noise_picture(width, height, 7);
	std::copy(noise.bytes.begin(), noise.bytes.end(), image.pixels.begin());
	for (size_t index = 3; opaque && index < image.pixels.size(); index += 4)
		image.pixels[index] = 255;
	return image;
}

// What the scaled picture has to be, in double precision and without a thought of speed.
double reference(const Image &image, int width, int height, int x, int y, int channel)
{
	const double scale =
		std::min(static_cast<double>(image.width) / width, static_cast<double>(image.height) / height);
	const double radius = std::max(scale, 1.0);
	const double center_x = (image.width - width * scale) / 2 + (x + 0.5) * scale - 0.5;
	const double center_y = (image.height - height * scale) / 2 + (y + 0.5) * scale - 0.5;
	const auto weight = [radius](int place, double center) {
		return std::max(1 - std::abs(place - center) / radius, 0.0);
	};
	double sum = 0;
	double total = 0;
	for (int source_y = 0; source_y < image.height; ++source_y) {
		const double row = weight(source_y, center_y);
		for (int source_x = 0; row > 0 && source_x < image.width; ++source_x) {
			sum += row * weight(source_x, center_x) * image.pixel(source_x, source_y)[channel];
			total += row * weight(source_x, center_x);
		}
	}
	return sum / total;
}

TEST(BackgroundScaling, EveryPixelIsTheTentOverTheArea)
{
	const Image image = noise_image(90, 61);
	for (const auto &[width, height] : {std::pair(45, 30), std::pair(60, 40), std::pair(31, 50), std::pair(90, 20),
					    std::pair(200, 150), std::pair(7, 3), std::pair(6, 4)}) {
		Image result;
		scale_to_cover(image, width, height, nullptr, nullptr, result);
		ASSERT_EQ(result.width, width);
		for (int y = 0; y < height; ++y) {
			for (int x = 0; x < width; ++x) {
				for (int channel = 0; channel < 3; ++channel)
					ASSERT_NEAR(result.pixel(x, y)[channel],
						    reference(image, width, height, x, y, channel), 0.8)
						<< width << " x " << height << " at " << x << ", " << y;
				ASSERT_EQ(result.pixel(x, y)[3], 255);
			}
		}
	}
}

TEST(BackgroundScaling, AFrameOfAFewPixelsShowsTheMean)
{
	Image image = noise_image(1600, 900);
	double mean = 0;
	for (size_t index = 1; index < image.pixels.size(); index += 4)
		mean += image.pixels[index];
	mean /= 1600 * 900;
	Image result;
	scale_to_cover(image, 16, 9, nullptr, nullptr, result);
	for (int y = 0; y < 9; ++y) {
		for (int x = 0; x < 16; ++x)
			EXPECT_NEAR(result.pixel(x, y)[1], mean, 5) << x << ", " << y;
	}
	scale_to_cover(image, 1, 1, nullptr, nullptr, result);
	EXPECT_NEAR(result.pixel(0, 0)[1], mean, 2);
	std::fill(image.pixels.begin(), image.pixels.end(), uint8_t{255});
	scale_to_cover(image, 120, 80, nullptr, nullptr, result);
	EXPECT_EQ(*std::min_element(result.pixels.begin(), result.pixels.begin() + 120 * 80 * 4), 255);
}

TEST(BackgroundScaling, AnyNumberOfThreadsGivesTheSameBytes)
{
	const Image image = noise_image(640, 333);
	Image expected;
	scale_to_cover(image, 411, 237, nullptr, nullptr, expected);
	for (const int threads : {1, 4}) {
		Pool pool(threads);
		Image result;
		scale_to_cover(image, 411, 237, &pool, nullptr, result);
		EXPECT_EQ(result.pixels, expected.pixels) << threads;
	}
}

TEST(BackgroundScaling, APictureOfTheFramesSizeIsLeftAsItIs)
{
	const Image image = noise_image(320, 180);
	BackgroundPicture picture(image);
	picture.fit(320, 180, nullptr);
	for (int y = 0; y < 180; ++y)
		ASSERT_TRUE(std::equal(image.pixel(0, y), image.pixel(0, y) + 320 * 4, picture.row(y))) << y;
	picture.fit(160, 90, nullptr);
	EXPECT_NE(picture.row(1), nullptr);
	picture.fit(320, 180, nullptr);
	EXPECT_TRUE(std::equal(image.pixel(0, 0), image.pixel(0, 0) + 320 * 4, picture.row(0)));
}

TEST(BackgroundScaling, AlphaIsLaidOverBlack)
{
	const Image image = noise_image(64, 40, false);
	BackgroundPicture picture(image);
	picture.fit(64, 40, nullptr);
	for (int x = 0; x < 64; ++x) {
		const uint8_t *source = image.pixel(x, 20);
		for (int channel = 0; channel < 3; ++channel)
			EXPECT_EQ(picture.row(20)[x * 4 + channel], std::lrint(source[channel] * source[3] / 255.0));
		EXPECT_EQ(picture.row(20)[x * 4 + 3], 255);
	}
}

TEST(BackgroundScaling, APictureIsKeptNoLargerThanTheLargestFrame)
{
	BackgroundPicture picture(noise_image(4000, 3000));
	EXPECT_EQ(picture.width(), 2880);
	EXPECT_EQ(picture.height(), 2160);
}

TEST(JpegScaling, NoMoreIsDecodedThanCoversTheFrame)
{
	const Bytes jpeg = jpeg_of(noise_image(640, 480));
	struct Case {
		int cover_width;
		int cover_height;
		int width;
	};
	for (const Case &item :
	     {Case{0, 0, 640}, Case{640, 480, 640}, Case{641, 1, 640}, Case{1, 1, 80}, Case{80, 60, 80},
	      Case{81, 60, 160}, Case{80, 61, 160}, Case{320, 180, 320}, Case{400, 200, 400}, Case{561, 300, 640}}) {
		DecodeControl control;
		control.cover_width = item.cover_width;
		control.cover_height = item.cover_height;
		Image image;
		ASSERT_TRUE(decode_image(jpeg, image, control));
		EXPECT_EQ(image.width, item.width) << item.cover_width << " x " << item.cover_height;
		EXPECT_EQ(image.pixels.size(), size_t(image.width) * size_t(image.height) * 4);
	}
}

TEST(JpegScaling, APictureThatIsNotScaledHasTheSameBytes)
{
	const Bytes jpeg = jpeg_of(noise_image(64, 48));
	Image whole;
	ASSERT_TRUE(decode_image(jpeg, whole));
	DecodeControl control;
	control.cover_width = 60;
	control.cover_height = 48;
	Image covering;
	ASSERT_TRUE(decode_image(jpeg, covering, control));
	EXPECT_EQ(covering.pixels, whole.pixels);
}

} // namespace
} // namespace kalvio::engine::testing
