// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "skin_chart.h"

#include <algorithm>

// What an engine does with faces, with the nets of the resource bundle.
namespace kalvio::engine::testing {
namespace {

class FaceUse : public NetEngineTest {
protected:
	void whiten_skin()
	{
		kl_set_beauty_skin_only(engine.get(), true);
		kl_set_whitening(engine.get(), 1);
	}
};

int largest_change(const Picture &before, const Picture &after)
{
	int largest = 0;
	for (size_t index = 0; index < before.bytes.size(); ++index)
		largest = std::max(largest, std::abs(before.bytes[index] - after.bytes[index]));
	return largest;
}

TEST_F(FaceUse, FacesAreLookedForOnlyWhileASettingNeedsThem)
{
	const SkinScene scene = make_skin_scene(3, 1, 0);
	kl_set_smoothing(engine.get(), 1);
	kl_set_whitening(engine.get(), 1);
	processed(scene.picture);
	EXPECT_EQ(engine->faces, nullptr);
	kl_set_beauty_skin_only(engine.get(), true);
	processed(scene.picture);
	ASSERT_NE(engine->faces, nullptr);
	EXPECT_EQ(engine->faces->faces().size(), 1U);
	kl_set_whitening(engine.get(), 0);
	kl_set_smoothing(engine.get(), 0);
	const int64_t before_us = engine->faces_time_us;
	pass(100'000);
	processed(scene.picture);
	EXPECT_EQ(engine->faces_time_us, before_us);
}

TEST_F(FaceUse, WhereNobodyIsNothingIsSkin)
{
	// Walls of the colors of skin, with some noise.
	whiten_skin();
	for (const auto &[red, green, blue] :
	     {std::array{214, 170, 140}, std::array{150, 100, 75}, std::array{90, 60, 45}}) {
		Picture wall = noise_picture(384, 216, 5);
		for (int y = 0; y < wall.height; ++y) {
			for (int x = 0; x < wall.width; ++x) {
				uint8_t *pixel = wall.pixel(x, y);
				const int shift = pixel[0] % 9 - 4;
				pixel[0] = uint8_t(red + shift);
				pixel[1] = uint8_t(green + shift);
				pixel[2] = uint8_t(blue + shift);
			}
		}
		for (int frame = 0; frame < 10; ++frame) {
			pass(33'333);
			ASSERT_LE(largest_change(wall, processed(wall)), 1) << red << ", frame " << frame;
		}
	}
}

TEST_F(FaceUse, SkinFadesAwayAfterItsFaceHasGone)
{
	whiten_skin();
	const SkinScene scene = make_skin_scene(2, 1, 4);
	const int whole = largest_change(scene.picture, processed(scene.picture));
	ASSERT_GT(whole, 10);
	// The colors of the skin stay in the picture; the face that explains them does not.
	Picture without = scene.picture;
	for (int y = 0; y < 140; ++y) {
		for (int x = 0; x < without.width; ++x)
			std::fill_n(without.pixel(x, y), 3, uint8_t(128));
	}
	for (int y = 160; y < 200; ++y) {
		for (int x = 160; x < 220; ++x)
			std::copy_n(scene.picture.pixel(192, 100), 4, without.pixel(x, y));
	}
	int last = 255;
	for (int frame = 0; frame < 60; ++frame) {
		pass(33'333);
		last = largest_change(without, processed(without));
	}
	EXPECT_LE(last, 1);
}

TEST_F(FaceUse, TheNumberOfThreadsChangesNothing)
{
	const SkinScene scene = make_skin_scene(5, 0, 1);
	std::vector<uint8_t> reference;
	for (const int threads : {1, 2}) {
		engine = create();
		engine->pool = std::make_shared<Pool>(threads);
		whiten_skin();
		std::vector<uint8_t> seen;
		for (int frame = 0; frame < 6; ++frame) {
			pass(33'333);
			const Picture output = processed(scene.picture);
			seen.insert(seen.end(), output.bytes.begin(), output.bytes.end());
		}
		if (reference.empty())
			reference = seen;
		EXPECT_EQ(seen, reference) << threads;
	}
}

} // namespace
} // namespace kalvio::engine::testing
