// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "makeup_regions.h"
#include "painted_face_fixture.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>

// Makeup in a moving picture: it comes and goes softly, holds still on a still face, and follows one that turns and
// talks without a jump.
namespace kalvio::engine::testing {
namespace {

class MakeupStability : public PaintedFaceTest {
protected:
	void SetUp() override
	{
		PaintedFaceTest::SetUp();
		for (const auto set : {kl_set_lipstick, kl_set_blush, kl_set_contour, kl_set_eye_shadow,
				       kl_set_eye_liner, kl_set_eyebrow, kl_set_eyelash, kl_set_pupil})
			set(engine.get(), 1);
	}
	Picture step(const Picture &picture)
	{
		pass(33'333);
		return processed(picture);
	}
	// What makeup adds to a part of the face on average, in levels of each channel.
	static std::array<double, 3> added(const std::vector<bool> &part, const Picture &before, const Picture &after)
	{
		std::array<double, 3> sum = {0, 0, 0};
		double count = 0;
		for (size_t pixel = 0; pixel < part.size(); ++pixel) {
			if (!part[pixel])
				continue;
			count += 1;
			for (size_t channel = 0; channel < 3; ++channel)
				sum[channel] += after.bytes[pixel * 4 + channel] - before.bytes[pixel * 4 + channel];
		}
		for (double &value : sum)
			value /= std::max(count, 1.0);
		return sum;
	}
	static double largest_step(const std::array<double, 3> &from, const std::array<double, 3> &to)
	{
		double largest = 0;
		for (size_t channel = 0; channel < 3; ++channel)
			largest = std::max(largest, std::abs(to[channel] - from[channel]));
		return largest;
	}
};

constexpr FacePart watched[] = {FacePart::Lips, FacePart::Cheeks, FacePart::Lids, FacePart::Brows, FacePart::Irises};

TEST_F(MakeupStability, HoldsStillOnAStillFaceInNoise)
{
	FaceRecipe recipe = makeup_recipe(1);
	recipe.camera.noise_levels = 3;
	const MakeupFace first = paint_face(*painter, recipe, 1);
	std::array<std::vector<bool>, std::size(watched)> parts;
	for (size_t part = 0; part < std::size(watched); ++part)
		parts[part] = part_pixels(first, watched[part]);
	std::array<std::array<double, 3>, std::size(watched)> last{};
	double largest = 0;
	for (uint32_t frame = 0; frame < 40; ++frame) {
		Image image;
		painter->paint_again(recipe, frame + 2, image);
		Picture picture(image.width, image.height);
		std::copy_n(image.pixels.begin(), picture.bytes.size(), picture.bytes.begin());
		const Picture output = step(picture);
		for (size_t part = 0; part < std::size(watched); ++part) {
			const auto now = added(parts[part], picture, output);
			if (frame > 15)
				largest = std::max(largest, largest_step(last[part], now));
			last[part] = now;
		}
	}
	if (std::getenv("KALVIO_PRINT_MAKEUP") != nullptr)
		std::printf("still: %.2f levels\n", largest);
	EXPECT_LE(largest, 1);
}

TEST_F(MakeupStability, FollowsATurningTalkingHeadWithoutAJump)
{
	std::array<std::array<double, 3>, std::size(watched)> last{};
	double largest = 0;
	for (int frame = 0; frame < 50; ++frame) {
		const auto phase = static_cast<float>(frame) / 30 * 2 * std::numbers::pi_v<float>;
		FaceRecipe recipe = makeup_recipe(1);
		recipe.yaw = 25 * std::sin(0.4F * phase);
		recipe.pitch = 8 * std::sin(0.3F * phase);
		recipe.mouth_open = 0.5F + 0.5F * std::sin(1.5F * phase);
		recipe.camera.noise_levels = 2;
		const MakeupFace face = paint_face(*painter, recipe, uint32_t(frame));
		const Picture output = step(face.picture);
		for (size_t part = 0; part < std::size(watched); ++part) {
			const auto now = added(part_pixels(face, watched[part]), face.picture, output);
			if (frame > 12) {
				const double jump = largest_step(last[part], now);
				if (std::getenv("KALVIO_PRINT_MAKEUP") != nullptr && jump > 2)
					std::printf("frame %d part %zu: %.2f levels\n", frame, part, jump);
				largest = std::max(largest, jump);
			}
			last[part] = now;
		}
	}
	if (std::getenv("KALVIO_PRINT_MAKEUP") != nullptr)
		std::printf("turning: %.2f levels\n", largest);
	EXPECT_LE(largest, 6);
}

TEST_F(MakeupStability, ComesInSoftlyAndGoesWithItsFace)
{
	const MakeupFace face = paint_face(*painter, makeup_recipe(0));
	const std::vector<bool> lips = part_pixels(face, FacePart::Lips);
	Picture empty = face.picture;
	for (int y = 0; y < empty.height; ++y) {
		for (int x = 0; x < empty.width; ++x)
			std::fill_n(empty.pixel(x, y), 3, uint8_t(128));
	}
	// A face of the first frame is taken at once; one that comes later fades in.
	for (int frame = 0; frame < 5; ++frame)
		EXPECT_EQ(step(empty).bytes, empty.bytes);
	double last = 0;
	double largest = 0;
	double whole = 0;
	for (int frame = 0; frame < 30; ++frame) {
		const double now = change_in(lips, face.picture, step(face.picture)).mean;
		largest = std::max(largest, std::abs(now - last));
		last = whole = now;
	}
	EXPECT_GT(whole, 15);
	EXPECT_LT(largest, 0.5 * whole);
	Picture output = empty;
	for (int frame = 0; frame < 60; ++frame)
		output = step(empty);
	EXPECT_EQ(output.bytes, empty.bytes);
}

} // namespace
} // namespace kalvio::engine::testing
