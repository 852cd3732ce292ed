// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "engine_fixture.h"
#include "image_writer.h"
#include "stages/sticker_motion.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine::testing {
namespace {

std::string shipped(const std::string &name)
{
	return std::string(KALVIO_DATA_DIR) + "/stickers/" + name + ".kld";
}

int differing_pixels(const Picture &left, const Picture &right)
{
	int count = 0;
	for (size_t index = 0; index < left.bytes.size(); index += 4)
		count += !std::equal(&left.bytes[index], &left.bytes[index] + 4, &right.bytes[index]);
	return count;
}

class StickerTest : public EngineTest {
protected:
	std::string bundle(const std::string &manifest_end, const std::string &kind = "sticker",
			   std::vector<BundleFile> files = {})
	{
		Image sprite;
		sprite.width = 8;
		sprite.height = 8;
		sprite.pixels.assign(8 * 8 * 4, 255);
		const std::string manifest =
			R"({"kind":")" + kind + R"(","format_version":1,"name":"test",)" + manifest_end;
		files.push_back({"manifest.json", Bytes(manifest.begin(), manifest.end())});
		files.push_back({"a.png", encode_png(sprite)});
		write_bundle(scratch.place("a.kld"), std::move(files));
		return scratch.path("a.kld");
	}

	int32_t set(const std::string &path) { return kl_set_sticker(engine.get(), path.c_str()); }

	const Picture input = noise_picture(640, 360, 8);
};

TEST_F(StickerTest, AllElevenLoad)
{
	for (const char *name : {"face/black_glass", "face/fox", "face/kiss2", "face/mustache", "face/fan_club",
				 "face/falling_sakura", "face/falling_pigs", "screen/butterfly", "screen/petals"})
		EXPECT_EQ(set(shipped(name)), KL_OK) << name;
	for (const char *name : {"3d/oculos", "3d/red_glasses"})
		EXPECT_EQ(kl_set_3d_sticker(engine.get(), shipped(name).c_str()), KL_OK) << name;
}

// Each part is within its own limits, all of them together would cover a frame many times.
TEST_F(StickerTest, PartsThatCoverTooMuchAreRefused)
{
	const auto items = [](int count, int size) {
		std::string text = R"("placement":"face","items":[)";
		for (int index = 0; index < count; ++index)
			text += std::string(index > 0 ? "," : "") +
				R"({"sprite":"a.png","anchor":"nose","offset":[0,0],"size":)" + std::to_string(size) +
				"}";
		return text + "]}";
	};
	EXPECT_EQ(set(bundle(items(6, 2))), KL_OK);
	EXPECT_EQ(set(bundle(items(7, 2))), KL_ERROR_FORMAT);
	EXPECT_EQ(set(bundle(items(1, 5))), KL_ERROR_FORMAT);

	const auto quad = [](const char *corners) {
		return std::string(R"("quads":[{"sprite":"a.png","corners":)") + corners + "}]}";
	};
	const auto set_3d = [this](const std::string &path) {
		return kl_set_3d_sticker(engine.get(), path.c_str());
	};
	EXPECT_EQ(set_3d(bundle(quad("[[0,0,0],[300,0,0],[300,-300,0],[0,-300,0]]"), "sticker3d")), KL_OK);
	EXPECT_EQ(set_3d(bundle(quad("[[0,0,0],[400,0,0],[400,-400,0],[0,-400,0]]"), "sticker3d")), KL_ERROR_FORMAT);
	EXPECT_EQ(set_3d(bundle(quad("[[0,0,0],[30,0,0],[30,-30,9],[0,-30,0]]"), "sticker3d")), KL_ERROR_FORMAT);
}

TEST_F(StickerTest, ScreenStickersAreDrawnOverPartOfTheFrame)
{
	for (const char *name : {"screen/butterfly", "screen/petals"}) {
		ASSERT_EQ(set(shipped(name)), KL_OK);
		const int changed = differing_pixels(processed(input), input);
		EXPECT_GT(changed, 640 * 360 / 200) << name;
		EXPECT_LT(changed, 640 * 360 / 5) << name;
	}
}

constexpr int64_t second_us = 1'000'000;

TEST_F(StickerTest, ScreenStickersMoveWithTheTime_AndStartAnewWhenLoaded)
{
	ASSERT_EQ(set(shipped("screen/petals")), KL_OK);
	const Picture first = processed(input);
	pass(second_us / 60);
	EXPECT_GT(differing_pixels(processed(input), first), 0);
	ASSERT_EQ(set(shipped("screen/petals")), KL_OK);
	EXPECT_EQ(processed(input).bytes, first.bytes);
}

TEST_F(StickerTest, WithoutTimeBetweenThem_TwoFramesAreTheSame)
{
	ASSERT_EQ(set(shipped("screen/petals")), KL_OK);
	const Picture first = processed(input);
	EXPECT_EQ(processed(input).bytes, first.bytes);
}

TEST_F(StickerTest, TheSameTimeGivesTheSamePicture_AtAnyFrameRate)
{
	std::vector<Picture> after_two_seconds;
	for (const int frames_a_second : {1, 30, 50, 240}) {
		ASSERT_EQ(set(shipped("screen/petals")), KL_OK);
		processed(input);
		int64_t passed = 0;
		for (int frame = 1; frame <= 2 * frames_a_second; ++frame) {
			const int64_t time = frame * second_us / frames_a_second;
			pass(time - passed);
			passed = time;
			if (frame == 2 * frames_a_second)
				after_two_seconds.push_back(processed(input));
			else if (frame % 7 == 0) // not all, for the sake of time
				processed(input);
		}
	}
	for (const Picture &picture : after_two_seconds)
		EXPECT_EQ(picture.bytes, after_two_seconds.front().bytes);
}

TEST_F(StickerTest, A3dStickerDoesNotStartTheOtherAnew)
{
	ASSERT_EQ(set(shipped("screen/petals")), KL_OK);
	processed(input);
	pass(second_us);
	const Picture before = processed(input);
	ASSERT_EQ(kl_set_3d_sticker(engine.get(), shipped("3d/oculos").c_str()), KL_OK);
	EXPECT_EQ(processed(input).bytes, before.bytes);
}

// How far the sprites of a sticker move from one sixtieth of a second to the next, in pixels at 1080 lines.
struct Strides {
	double longest = 0;
	int standing = 0; // pairs of frames between which a sprite stands still
	int pairs = 0;
};

Strides strides_of(const Sticker &sticker, int64_t from_us)
{
	std::array<PlacedSprite, max_moving_sprites> before;
	std::array<PlacedSprite, max_moving_sprites> now;
	Strides strides;
	place_sprites(sticker, from_us, 1920, 1080, before.data());
	for (int frame = 1; frame <= 120; ++frame) {
		const int count = place_sprites(sticker, from_us + frame * second_us / 60, 1920, 1080, now.data());
		for (size_t index = 0; index < size_t(count); ++index) {
			const double x = now[index].center_x - before[index].center_x;
			const double y = now[index].center_y - before[index].center_y;
			const double stride = std::hypot(x, y);
			strides.standing += stride == 0;
			++strides.pairs;
			if (stride < 1000) // a petal that has fallen begins anew above
				strides.longest = std::max(strides.longest, stride);
		}
		before = now;
	}
	return strides;
}

TEST_F(StickerTest, MotionIsSmoothAtSixtyFramesASecond_AlsoAfterADay)
{
	for (const char *name : {"screen/petals", "screen/butterfly"}) {
		Sticker sticker;
		ASSERT_TRUE(load_sticker(shipped(name).c_str(), sticker));
		for (const int64_t from : {int64_t{0}, 24 * 3600 * second_us, 365 * 24 * 3600 * second_us}) {
			const Strides strides = strides_of(sticker, from);
			EXPECT_EQ(strides.standing, 0) << name << from;
			EXPECT_LT(strides.longest, 15) << name << from;
			EXPECT_GT(strides.pairs, 120) << name;
		}
	}
}

TEST_F(StickerTest, MotionIsSteadyAfterManyHours)
{
	Sticker sticker;
	ASSERT_TRUE(load_sticker(shipped("screen/butterfly").c_str(), sticker));
	std::array<PlacedSprite, max_moving_sprites> now;
	std::array<PlacedSprite, max_moving_sprites> next;
	for (const int64_t age : {int64_t{0}, 24 * 3600 * 30 * second_us, int64_t{1} << 55}) {
		const int count = place_sprites(sticker, age, 1920, 1080, now.data());
		place_sprites(sticker, age + second_us / 30, 1920, 1080, next.data());
		for (int index = 0; index < count; ++index) {
			EXPECT_NEAR(now[size_t(index)].center_x, next[size_t(index)].center_x, 25) << age;
			EXPECT_NE(now[size_t(index)].center_x, next[size_t(index)].center_x) << age;
		}
	}
}

TEST_F(StickerTest, WhatNeedsAFaceChangesNoPixel)
{
	ASSERT_EQ(set(shipped("face/falling_pigs")), KL_OK);
	ASSERT_EQ(kl_set_3d_sticker(engine.get(), shipped("3d/oculos").c_str()), KL_OK);
	EXPECT_EQ(processed(input).bytes, input.bytes);
}

TEST_F(StickerTest, ClearTakesItAway)
{
	set(shipped("screen/butterfly"));
	kl_clear_sticker(engine.get());
	EXPECT_EQ(processed(input).bytes, input.bytes);
}

TEST_F(StickerTest, TheTwoPlacesAreIndependent)
{
	set(shipped("screen/butterfly"));
	kl_clear_3d_sticker(engine.get());
	EXPECT_NE(processed(input).bytes, input.bytes);
}

TEST_F(StickerTest, AFailedLoadLeavesThePreviousOne)
{
	set(shipped("screen/butterfly"));
	EXPECT_EQ(set(scratch.path("absent.kld")), KL_ERROR_FILE);
	EXPECT_EQ(set(shipped("3d/oculos")), KL_ERROR_FORMAT);
	EXPECT_EQ(kl_set_3d_sticker(engine.get(), shipped("face/fox").c_str()), KL_ERROR_FORMAT);
	EXPECT_NE(processed(input).bytes, input.bytes);
}

TEST_F(StickerTest, DrawnOverNothingItBringsItsOwnAlpha)
{
	Picture empty(640, 360);
	std::fill(empty.bytes.begin(), empty.bytes.end(), uint8_t{0});
	set(shipped("screen/butterfly"));
	const Picture output = processed(empty);
	int opaque = 0;
	for (size_t index = 3; index < output.bytes.size(); index += 4)
		opaque += output.bytes[index] == 255;
	EXPECT_GT(opaque, 100);
}

TEST_F(StickerTest, ManifestsThatMakeNoSenseAreRefused)
{
	const std::string moving = R"("placement":"screen","motion":"fall","sprites":["a.png"],)";
	ASSERT_EQ(set(bundle(moving + R"("count":3,"size":[0.1,0.2]})")), KL_OK);
	for (const std::string &end :
	     {std::string(R"("placement":"sky"})"), std::string(R"("placement":"screen"})"),
	      moving + R"("count":0,"size":[0.1,0.2]})", moving + R"("count":65,"size":[0.1,0.2]})",
	      moving + R"("count":"3","size":[0.1,0.2]})", moving + R"("count":3,"size":[0.2,0.1]})",
	      moving + R"("count":3,"size":[-1,1e9]})", moving + R"("count":3,"size":0.1})",
	      std::string(R"("placement":"screen","motion":"jump","sprites":["a.png"],"count":3,"size":[0.1,0.2]})"),
	      std::string(R"("placement":"screen","motion":"fall","sprites":["b.png"],"count":3,"size":[0.1,0.2]})"),
	      std::string(R"("placement":"screen","motion":"fall","sprites":[7],"count":3,"size":[0.1,0.2]})"),
	      std::string(R"("placement":"face","items":[{"sprite":"a.png","anchor":"ear","size":1,"offset":[0,0]}]})"),
	      std::string(
		      R"("placement":"face","items":[{"sprite":"a.png","anchor":"eyes","size":-1,"offset":[0,0]}]})"),
	      std::string(R"("placement":"face","items":[{"sprite":"a.png","anchor":"eyes","size":1}]})"),
	      std::string(R"("placement":"face","items":[7]})"), std::string(R"("placement":"face","items":{}})")})
		EXPECT_EQ(set(bundle(end)), KL_ERROR_FORMAT) << end;
}

TEST_F(StickerTest, SpritesThatWouldCoverTheFrameManyTimesAreRefused)
{
	// The sprite is as wide as it is high: 0.25 squares are 25 sprites of a tenth of the frame's height.
	const std::string moving = R"("placement":"screen","motion":"fall","sprites":["a.png"],)";
	EXPECT_EQ(set(bundle(moving + R"("count":24,"size":[0.05,0.1]})")), KL_OK);
	EXPECT_EQ(set(bundle(moving + R"("count":26,"size":[0.05,0.1]})")), KL_ERROR_FORMAT);
	EXPECT_EQ(set(bundle(moving + R"("count":64,"size":[0.5,0.5]})")), KL_ERROR_FORMAT);
	EXPECT_TRUE(contains(log_text(), "its moving sprites cover more than a frame can bear"));
}

TEST_F(StickerTest, QuadsThatMakeNoSenseAreRefused)
{
	const auto set_3d = [&](const std::string &quads) {
		return kl_set_3d_sticker(engine.get(), bundle("\"quads\":" + quads + "}", "sticker3d").c_str());
	};
	ASSERT_EQ(set_3d(R"([{"sprite":"a.png","corners":[[0,0,0],[1,0,0],[1,1,0],[0,1,0]]}])"), KL_OK);
	for (const char *quads :
	     {"[]", "{}", "[1]", R"([{"corners":[]}])", R"([{"sprite":"a.png","corners":[[0,0,0],[1,0,0],[1,1,0]]}])",
	      R"([{"sprite":"a.png","corners":[[0,0,0],[1,0,0],[1,1,0],[0,1e9,0]]}])",
	      R"([{"sprite":"a.png","corners":[[0,0,0],[1,0,0],[1,1,0],["x",1,0]]}])"})
		EXPECT_EQ(set_3d(quads), KL_ERROR_FORMAT) << quads;
}

TEST_F(StickerTest, ASpriteThatIsNoPictureIsRefused)
{
	const std::string end =
		R"("placement":"screen","motion":"fall","sprites":["b.png"],"count":3,"size":[0.1,0.2]})";
	EXPECT_EQ(set(bundle(end, "sticker", {{"b.png", {1, 2, 3}}})), KL_ERROR_FORMAT);
}

} // namespace
} // namespace kalvio::engine::testing
