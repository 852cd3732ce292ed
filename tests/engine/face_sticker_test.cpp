// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "engine_fixture.h"
#include "faces/face_regions.h"
#include "made_face.h"
#include "stages/face_sticker.h"

#include <algorithm>
#include <cmath>

// Stickers on faces: where they lie by the points of an average head in a known pose, and on made faces with the nets.
namespace kalvio::engine::testing {
namespace {

std::string shipped(const std::string &name)
{
	return std::string(KALVIO_DATA_DIR) + "/stickers/" + name + ".kld";
}

Sprite square_sprite()
{
	Image image;
	image.resize(64, 64);
	std::fill(image.pixels.begin(), image.pixels.end(), uint8_t{255});
	return Sprite(std::move(image));
}

constexpr int width = 1280;
constexpr int height = 720;
constexpr float scale = 24; // pixels per centimetre

class FaceStickerTest : public NetEngineTest {
protected:
	// The average head in the middle of the frame, rolled (its crown to the picture's left) and turned (to the
	// picture's right), in radians.
	TrackedFace face(float roll = 0, float yaw = 0) const
	{
		TrackedFace face;
		face.number = 1;
		face.presence = 1;
		face.confidence.fill(1);
		face.pose.scale = scale;
		const float cr = std::cos(roll), sr = std::sin(roll), cy = std::cos(yaw), sy = std::sin(yaw);
		face.pose.rotation = {{{cr * cy, -sr, cr * sy}, {sr * cy, cr, sr * sy}, {-sy, 0, cy}}};
		face.pose.translation = {width / 2.0F, -height / 2.0F, 0};
		const auto &vertices = engine->nets->head.vertices;
		for (size_t point = 0; point < face.points.size(); ++point) {
			const auto &vertex = vertices[std::min(point, vertices.size() - 1)];
			face.points[point] = in_frame(face.pose, {vertex.x, vertex.y, vertex.z});
		}
		face.size = 6.3F * scale;
		return face;
	}
	static Point3 in_frame(const HeadPose &pose, const Point3 &place)
	{
		const auto row = [&](size_t axis) {
			return pose.scale * (pose.rotation[axis][0] * place.x + pose.rotation[axis][1] * place.y +
					     pose.rotation[axis][2] * place.z);
		};
		return {pose.translation.x + row(0), -(pose.translation.y + row(1)), -(pose.translation.z + row(2))};
	}

	static Sticker item_sticker(StickerAnchor anchor, float size = 1, Point offset = {})
	{
		Sticker sticker;
		sticker.sprites.push_back(square_sprite());
		sticker.items.push_back({0, anchor, size, {offset.x, offset.y}, 0});
		return sticker;
	}
	PlacedSprite only(const Sticker &sticker, const TrackedFace &on)
	{
		const auto placed = stickers.place(&sticker, nullptr, {&on, 1}, engine->nets->head, width, height);
		return placed.size() == 1 ? placed.front() : PlacedSprite{};
	}

	// What the glasses change of each half of a gray frame, left and right of the bridge of the nose.
	struct Halves {
		int left = 0;
		int right = 0;
	};
	Halves drawn(std::span<const PlacedSprite> sprites, float middle)
	{
		Halves halves;
		std::vector<uint8_t> row(size_t(width) * 4);
		for (int y = 0; y < height; ++y) {
			std::fill(row.begin(), row.end(), uint8_t{128});
			draw_sprites(sprites.data(), static_cast<int>(sprites.size()), y, 0, width, row.data());
			for (int x = 0; x < width; ++x) {
				if (row[size_t(x) * 4] != 128)
					++(static_cast<float>(x) < middle ? halves.left : halves.right);
			}
		}
		return halves;
	}

	Picture painted(float roll_degrees = 0)
	{
		FaceRecipe recipe = make_recipe(FaceCondition::Base, 3);
		recipe.width = 960;
		recipe.height = 540;
		recipe.center = {480, 260};
		recipe.eye_distance = 90;
		recipe.yaw = recipe.pitch = 0;
		recipe.roll = roll_degrees;
		FacePainter painter(engine->nets->head);
		Image image;
		painter.paint(recipe, 1, image);
		Picture picture(image.width, image.height);
		std::copy(image.pixels.begin(), image.pixels.end(), picture.bytes.begin());
		return picture;
	}
	Picture after_a_second(const Picture &input, int frames_per_second = 30)
	{
		Picture output = processed(input);
		for (int frame = 1; frame <= frames_per_second; ++frame) {
			pass(1'000'000LL * frame / frames_per_second - 1'000'000LL * (frame - 1) / frames_per_second);
			output = processed(input);
		}
		return output;
	}

	FaceStickers stickers;
};

// --- Items

TEST_F(FaceStickerTest, AnItemLiesAtItsAnchor_AsWideAsItSays)
{
	const TrackedFace on = face();
	const PlacedSprite placed = only(item_sticker(StickerAnchor::Nose, 0.8F), on);
	EXPECT_NEAR(placed.center_x, on.points[regions::nose_tip].x, 0.01F);
	EXPECT_NEAR(placed.center_y, on.points[regions::nose_tip].y, 0.01F);
	const float wide = 0.8F * on.size;
	EXPECT_NEAR(static_cast<float>(placed.right - placed.left), wide, 2.5F);
	EXPECT_EQ(placed.opacity, 256);
}

TEST_F(FaceStickerTest, LeftAndRightAreThePictures)
{
	const TrackedFace on = face();
	const float middle = on.points[regions::nose_tip].x;
	EXPECT_LT(only(item_sticker(StickerAnchor::CheekLeft), on).center_x, middle - 40);
	EXPECT_GT(only(item_sticker(StickerAnchor::CheekRight), on).center_x, middle + 40);
	EXPECT_LT(only(item_sticker(StickerAnchor::TempleLeft), on).center_x, middle - 100);
	EXPECT_GT(only(item_sticker(StickerAnchor::TempleRight), on).center_x, middle + 100);
}

TEST_F(FaceStickerTest, AnOffsetLeadsAlongTheHead)
{
	const Sticker sticker = item_sticker(StickerAnchor::Nose, 1, {0, -1}); // a distance between the eyes upwards
	const PlacedSprite level = only(sticker, face());
	EXPECT_NEAR(level.center_y, face().points[regions::nose_tip].y - face().size, 0.5F);
	// A quarter of a turn to the picture's left: up is left now.
	const TrackedFace lying = face(1.5707963F);
	const PlacedSprite rolled = only(sticker, lying);
	EXPECT_NEAR(rolled.center_x, lying.points[regions::nose_tip].x - lying.size, 0.5F);
	EXPECT_NEAR(rolled.center_y, lying.points[regions::nose_tip].y, 0.5F);
}

TEST_F(FaceStickerTest, AnItemTurnsWithTheHead_AndGetsNarrower)
{
	const Sticker sticker = item_sticker(StickerAnchor::Eyes, 2);
	const PlacedSprite ahead = only(sticker, face());
	const PlacedSprite turned = only(sticker, face(0, 0.6F));
	EXPECT_NEAR(static_cast<float>(turned.right - turned.left),
		    static_cast<float>(ahead.right - ahead.left) * std::cos(0.6F), 3);
	EXPECT_NEAR(turned.bottom - turned.top, ahead.bottom - ahead.top, 2);
}

TEST_F(FaceStickerTest, AnItemFadesWithItsPartOfTheFace)
{
	TrackedFace on = face();
	on.confidence[size_t(FaceGroup::Lips)] = 0.25F;
	EXPECT_EQ(only(item_sticker(StickerAnchor::UpperLip), on).opacity, 64);
	EXPECT_EQ(only(item_sticker(StickerAnchor::Nose), on).opacity, 256);
	EXPECT_EQ(only(item_sticker(StickerAnchor::Nose), face(0, 1.5F)).opacity, 0);
}

TEST_F(FaceStickerTest, WhatSitsOnTheHeadStaysWhenAPartOfTheFaceIsCovered)
{
	TrackedFace on = face();
	on.confidence.fill(0);
	Sticker3d glasses;
	ASSERT_TRUE(load_3d_sticker(shipped("3d/red_glasses").c_str(), glasses));
	const auto glasses_opacity = [&] {
		return stickers.place(nullptr, &glasses, {&on, 1}, engine->nets->head, width, height)[0].opacity;
	};
	EXPECT_EQ(glasses_opacity(), 256);
	for (const StickerAnchor anchor : {StickerAnchor::Forehead, StickerAnchor::CheekLeft, StickerAnchor::CheekRight,
					   StickerAnchor::TempleLeft, StickerAnchor::TempleRight})
		EXPECT_EQ(only(item_sticker(anchor), on).opacity, 256);
	on.presence = 0.5F;
	EXPECT_EQ(glasses_opacity(), 128);
	EXPECT_EQ(only(item_sticker(StickerAnchor::Forehead), on).opacity, 128);
}

TEST_F(FaceStickerTest, EveryFaceHasItsOwn)
{
	std::array<TrackedFace, max_tracked_faces> faces;
	faces.fill(face());
	Sticker sticker;
	sticker.sprites.push_back(square_sprite());
	sticker.items.assign(size_t(max_items), {0, StickerAnchor::Nose, 0.1F, {0, 0}, 0});
	Sticker3d sticker_3d;
	sticker_3d.sprites.push_back(square_sprite());
	sticker_3d.quads.assign(size_t(max_quads), {0, {{0, 0, 0}, {9, 0, 0}, {9, -9, 0}, {0, -9, 0}}});
	EXPECT_EQ(stickers.place(&sticker, &sticker_3d, faces, engine->nets->head, width, height).size(),
		  size_t(max_face_sprites));
}

// --- Glasses

TEST_F(FaceStickerTest, GlassesStandOnTheNose)
{
	Sticker3d glasses;
	ASSERT_TRUE(load_3d_sticker(shipped("3d/red_glasses").c_str(), glasses));
	const TrackedFace on = face();
	const auto placed = stickers.place(nullptr, &glasses, {&on, 1}, engine->nets->head, width, height);
	ASSERT_EQ(placed.size(), 3u);
	EXPECT_NEAR(placed[0].center_x, on.points[168].x, 1);
	EXPECT_NEAR(placed[0].center_y, on.points[168].y + 0.4F * scale, 1); // 4 mm below the bridge
	EXPECT_NEAR(placed[0].right - placed[0].left, 14 * scale, 3);
	const Halves halves = drawn(placed, on.points[168].x);
	EXPECT_NEAR(halves.left, halves.right, 0.05 * halves.left);
}

TEST_F(FaceStickerTest, TheHeadHidesTheFarTemple)
{
	Sticker3d glasses;
	ASSERT_TRUE(load_3d_sticker(shipped("3d/red_glasses").c_str(), glasses));
	const TrackedFace on = face(0, 0.6F); // to the picture's right: the far side is there
	const auto placed = stickers.place(nullptr, &glasses, {&on, 1}, engine->nets->head, width, height);
	ASSERT_EQ(placed.size(), 3u);
	const auto drawn_of = [&](PlacedSprite sprite, bool is_hidden) {
		sprite.head = is_hidden ? sprite.head : nullptr;
		return drawn({&sprite, 1}, width).left;
	};
	EXPECT_GT(drawn_of(placed[1], true), 0.9 * drawn_of(placed[1], false)); // the near one
	EXPECT_LT(drawn_of(placed[2], true), 0.5 * drawn_of(placed[2], false)); // what is beside the head is seen
	EXPECT_GT(drawn_of(placed[2], false), 1000);
	EXPECT_GT(drawn_of(placed[0], true), 0.9 * drawn_of(placed[0], false)); // the front
}

TEST(HeadDepthTest, IsThatOfTheNearestTriangle)
{
	FacePoints points{};
	points[0] = {0, 0, -1};
	points[1] = {8, 0, -1};
	points[2] = {0, 8, -9};
	points[3] = {0, 0, -5};
	points[4] = {4, 0, -5};
	points[5] = {0, 4, -5};
	const std::array<std::array<uint16_t, 3>, 3> triangles = {{{0, 1, 2}, {3, 5, 4}, {0, 1, 60000}}};
	HeadDepth depth;
	depth.draw(points, triangles, {0, 0, 8, 8});
	EXPECT_FLOAT_EQ(depth.at(0, 0), 5);
	EXPECT_FLOAT_EQ(depth.at(6, 0), 1.5F);
	EXPECT_FLOAT_EQ(depth.at(0, 6), 7.5F);
	EXPECT_EQ(depth.at(7, 7), HeadDepth::nothing);
	EXPECT_EQ(depth.at(-1, 0), HeadDepth::nothing);
	EXPECT_EQ(depth.at(0, 8), HeadDepth::nothing);
}

// --- Sprites

TEST(SpriteTest, HasHalvesDownToAFewPixels)
{
	Image image;
	image.resize(100, 37);
	for (size_t index = 0; index < image.pixels.size(); ++index)
		image.pixels[index] = index % 4 == 3 ? 255 : (index / 4) % 2 ? 0 : 200;
	const Sprite sprite(std::move(image));
	EXPECT_EQ(sprite.level(3).width, 100);
	EXPECT_EQ(sprite.level(0.8F).width, 100);
	EXPECT_EQ(sprite.level(0.6F).width, 50);
	EXPECT_EQ(sprite.level(0.5F).height, 18);
	EXPECT_EQ(sprite.level(0.5F).pixel(10, 10)[0], 100);
	EXPECT_EQ(sprite.level(0.5F).pixel(10, 10)[3], 255);
	EXPECT_LE(sprite.level(0).height, 2);
}

TEST(SpriteTest, IsPremultiplied)
{
	Image image;
	image.resize(1, 1);
	image.pixels = {200, 100, 0, 128};
	EXPECT_EQ(Sprite(std::move(image)).level(1).pixels, (std::vector<uint8_t>{100, 50, 0, 128}));
}

TEST(PlaceSpriteTest, WhatIsSeenFromItsEdgeIsNotDrawn)
{
	const Sprite sprite = square_sprite();
	const PlacedSprite placed = place_sprite(sprite, {{50, 50}, {1, 0}, {1, 0}}, 100, 100);
	EXPECT_EQ(placed.left, placed.right);
	const PlacedSprite outside = place_sprite(sprite, {{-900, 50}, {1, 0}, {0, 1}}, 100, 100);
	EXPECT_LE(outside.right, outside.left);
}

// --- In the engine

TEST_F(FaceStickerTest, EachChangesTheFace_AndNothingFarFromIt)
{
	const Picture input = painted();
	for (const char *name : {"face/black_glass", "face/fox", "face/kiss2", "face/mustache", "face/fan_club",
				 "3d/oculos", "3d/red_glasses"}) {
		const bool is_3d = std::string(name).starts_with("3d/");
		kl_clear_sticker(engine.get());
		kl_clear_3d_sticker(engine.get());
		const std::string path = shipped(name);
		ASSERT_EQ(is_3d ? kl_set_3d_sticker(engine.get(), path.c_str())
				: kl_set_sticker(engine.get(), path.c_str()),
			  KL_OK);
		const Picture output = after_a_second(input);
		int changed = 0;
		int changed_far_away = 0;
		for (int y = 0; y < input.height; ++y) {
			for (int x = 0; x < input.width; ++x) {
				if (std::equal(input.pixel(x, y), input.pixel(x, y) + 4, output.pixel(x, y)))
					continue;
				++changed;
				changed_far_away += std::hypot(x - 480, y - 260) > 3.5 * 90;
			}
		}
		EXPECT_GT(changed, 90 * 90 / 20) << name;
		EXPECT_EQ(changed_far_away, 0) << name;
	}
}

TEST_F(FaceStickerTest, WhatFallsWithAFaceIsSeenOnlyThere_AndAtAnyFrameRate)
{
	ASSERT_EQ(kl_set_sticker(engine.get(), shipped("face/falling_pigs").c_str()), KL_OK);
	const Picture nobody = noise_picture(960, 540, 4);
	EXPECT_EQ(after_a_second(nobody).bytes, nobody.bytes);

	const Picture input = painted();
	ASSERT_EQ(kl_set_sticker(engine.get(), shipped("face/falling_pigs").c_str()), KL_OK);
	const Picture at_30 = after_a_second(input, 30);
	engine = create();
	ASSERT_EQ(kl_set_sticker(engine.get(), shipped("face/falling_pigs").c_str()), KL_OK);
	const Picture at_60 = after_a_second(input, 60);
	int above_the_head_30 = 0;
	int differing = 0;
	for (int y = 0; y < 40; ++y) {
		for (int x = 0; x < 960; ++x) {
			above_the_head_30 += input.pixel(x, y)[0] != at_30.pixel(x, y)[0];
			differing += at_30.pixel(x, y)[0] != at_60.pixel(x, y)[0];
		}
	}
	EXPECT_GT(above_the_head_30, 100);
	EXPECT_LT(differing, above_the_head_30 / 10);
}

TEST_F(FaceStickerTest, StickersRollWithTheHead)
{
	ASSERT_EQ(kl_set_sticker(engine.get(), shipped("face/mustache").c_str()), KL_OK);
	const auto slope = [this](float roll_degrees) {
		const Picture input = painted(roll_degrees);
		engine = create();
		kl_set_sticker(engine.get(), shipped("face/mustache").c_str());
		const Picture output = after_a_second(input);
		double n = 0, sx = 0, sy = 0, sxx = 0, sxy = 0;
		for (int y = 0; y < input.height; ++y) {
			for (int x = 0; x < input.width; ++x) {
				if (input.pixel(x, y)[0] - output.pixel(x, y)[0] < 30)
					continue;
				n += 1, sx += x, sy += y, sxx += double(x) * x, sxy += double(x) * y;
			}
		}
		return (n * sxy - sx * sy) / (n * sxx - sx * sx);
	};
	EXPECT_NEAR(slope(0), 0, 0.05);
	EXPECT_NEAR(std::abs(slope(17)), std::tan(17 * 3.14159 / 180), 0.07);
}

TEST_F(FaceStickerTest, AFrameThatFadesOutStillHasTheFacesSticker)
{
	ASSERT_EQ(kl_set_sticker(engine.get(), shipped("face/black_glass").c_str()), KL_OK);
	const Picture input = painted();
	after_a_second(input);
	const Picture nobody = noise_picture(960, 540, 4);
	EXPECT_EQ(after_a_second(nobody).bytes, nobody.bytes); // at last nothing is left
}

} // namespace
} // namespace kalvio::engine::testing
