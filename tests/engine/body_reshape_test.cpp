// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "made_figure.h"
#include "painted_face_fixture.h"

#include <hwy/targets.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>

// Reshaped frames of made people from head to feet, with the nets of the resource bundle.
namespace kalvio::engine::testing {
namespace {

constexpr int64_t frame_us = 33'333;
constexpr int frames_to_find_a_small_face = 45;

class BodyReshape : public PaintedFaceTest {
protected:
	static FigureRecipe whole_figure()
	{
		FigureRecipe recipe;
		recipe.eye_distance = 22;
		return recipe;
	}
	// Cut off below the chest.
	static FigureRecipe half_figure()
	{
		FigureRecipe recipe;
		recipe.eyes = {640, 240};
		recipe.eye_distance = 60;
		return recipe;
	}
	static Picture as_picture(const Image &image)
	{
		Picture picture(image.width, image.height);
		std::copy_n(image.pixels.begin(), picture.bytes.size(), picture.bytes.begin());
		return picture;
	}
	Picture painted(const FigureRecipe &recipe)
	{
		Image image;
		paint_figure(*painter, recipe, image);
		return as_picture(image);
	}

	void set_body(int key, float amount) { ASSERT_EQ(kl_set_body_reshape(engine.get(), key, amount), KL_OK); }
	void set_all(float amount)
	{
		for (int key = 0; key < KL_BODY_RESHAPE_COUNT; ++key)
			set_body(key, amount);
	}
	Picture after_frames(const Picture &input, int frames)
	{
		Picture output(input.width, input.height);
		for (int frame = 0; frame < frames; ++frame) {
			pass(frame_us);
			output = processed(input);
		}
		return output;
	}
	// With the face already followed, so that a few frames are enough afterwards.
	void find_face(const Picture &input)
	{
		set_body(KL_BODY_RESHAPE_BODY_SLIM, 0.001F);
		after_frames(input, frames_to_find_a_small_face);
		ASSERT_FALSE(engine->faces->faces().empty());
		set_body(KL_BODY_RESHAPE_BODY_SLIM, 0);
	}
	Picture with(const Picture &input, int key, float amount)
	{
		set_body(key, amount);
		Picture output = after_frames(input, 2);
		set_body(key, 0);
		return output;
	}

	// The largest displacement, in pixels, of the last frame.
	float largest_push() const
	{
		float push = 0;
		for (const ReshapeField::Region &region : engine->memory.reshape.regions()) {
			for (const kernels::WarpNode &node : region.nodes)
				push = std::max({push, std::abs(float(node.x)), std::abs(float(node.y))});
		}
		return push / 65536;
	}
};

bool same_pixel(const Picture &a, const Picture &b, int x, int y)
{
	return std::equal(a.pixel(x, y), a.pixel(x, y) + 4, b.pixel(x, y));
}

using IsPart = std::function<bool(const uint8_t *)>;

bool is_body(const uint8_t *pixel)
{
	return pixel[0] + pixel[1] + pixel[2] < 3 * 140;
}

bool is_shirt(const uint8_t *pixel)
{
	return pixel[1] > pixel[2] + 15 && pixel[1] > pixel[0] + 15;
}

bool is_knee(const uint8_t *pixel)
{
	return pixel[0] > pixel[1] + 45 && pixel[0] > pixel[2] + 45 && pixel[1] < 90;
}

bool is_spot(const uint8_t *pixel)
{
	return pixel[0] > 140 && pixel[1] > 140 && pixel[2] < 110;
}

bool is_pole(const uint8_t *pixel)
{
	return pixel[2] > pixel[0] + 60;
}

// From the leftmost body pixel of a row to the rightmost.
float body_width(const Picture &picture, float y)
{
	int first = -1;
	int last = -2;
	for (int x = 0; x < picture.width; ++x) {
		if (!is_body(picture.pixel(x, int(y))))
			continue;
		first = first < 0 ? x : first;
		last = x;
	}
	return float(last - first + 1);
}

// The run of body pixels round a place.
float run_width(const Picture &picture, int x, float y)
{
	int left = x;
	int right = x;
	while (left > 0 && is_body(picture.pixel(left - 1, int(y))))
		--left;
	while (right + 1 < picture.width && is_body(picture.pixel(right + 1, int(y))))
		++right;
	return float(right - left + 1);
}

// The lowest row with a part's pixel.
float lowest(const Picture &picture, const IsPart &is_part)
{
	for (int y = picture.height - 1; y > 0; --y) {
		for (int x = 0; x < picture.width; ++x) {
			if (is_part(picture.pixel(x, y)))
				return float(y);
		}
	}
	return 0;
}

// Within some columns.
struct Measured {
	int count = 0;
	double mean_y = 0;
};
Measured measure(const Picture &picture, const IsPart &is_part)
{
	Measured measured;
	for (int y = 0; y < picture.height; ++y) {
		for (int x = 0; x < picture.width; ++x) {
			if (!is_part(picture.pixel(x, y)))
				continue;
			++measured.count;
			measured.mean_y += y;
		}
	}
	measured.mean_y /= std::max(measured.count, 1);
	return measured;
}

// Where the shirt ends in the middle of the figure.
float belt(const Picture &picture, int x)
{
	int y = 0;
	for (int row = 0; row < picture.height; ++row) {
		if (is_shirt(picture.pixel(x, row)))
			y = row;
	}
	return float(y);
}

bool is_of_legs(int key)
{
	return key == KL_BODY_RESHAPE_LEG_SLIM || key == KL_BODY_RESHAPE_LEG_LONG || key == KL_BODY_RESHAPE_LEG_STRETCH;
}

// In percent of the width before.
struct WidthChange {
	int key;
	float cm_below_eyes;
	float least;
	float most;
};

TEST_F(BodyReshape, RowsBecomeNarrowerByWhatTheSettingSays)
{
	const FigureRecipe recipe = whole_figure();
	const Picture picture = painted(recipe);
	find_face(picture);
	constexpr WidthChange changes[] = {
		{KL_BODY_RESHAPE_BODY_SLIM, 37, 6, 9},     {KL_BODY_RESHAPE_BODY_SLIM, 55, 6, 9},
		{KL_BODY_RESHAPE_BODY_SLIM, 100, 6, 9},    {KL_BODY_RESHAPE_SHOULDER_SLIM, 25, 4.5F, 8},
		{KL_BODY_RESHAPE_SHOULDER_SLIM, 60, 0, 0}, {KL_BODY_RESHAPE_WAIST_SLIM, 54, 6, 9},
		{KL_BODY_RESHAPE_WAIST_SLIM, 25, 0, 0},    {KL_BODY_RESHAPE_ARM_SLIM, 50, 3.5F, 6.5F},
		{KL_BODY_RESHAPE_ARM_SLIM, 110, 0, 0},     {KL_BODY_RESHAPE_LEG_SLIM, 100, 4.5F, 8},
		{KL_BODY_RESHAPE_LEG_SLIM, 140, 4.5F, 8},  {KL_BODY_RESHAPE_LEG_SLIM, 55, 0, 0},
	};
	for (const WidthChange &change : changes) {
		const Picture output = with(picture, change.key, 1);
		const float y = recipe.y_at(change.cm_below_eyes);
		const float before = body_width(picture, y);
		const float narrower = 100 * (before - body_width(output, y)) / before;
		RecordProperty("key_" + std::to_string(change.key) + "_at_" + std::to_string(int(change.cm_below_eyes)),
			       std::to_string(narrower));
		EXPECT_GE(narrower, change.least) << change.key << " at " << change.cm_below_eyes;
		EXPECT_LE(narrower, change.most) << change.key << " at " << change.cm_below_eyes;
	}
}

TEST_F(BodyReshape, SlimmerArmsLeaveTheTorso)
{
	const FigureRecipe recipe = whole_figure();
	const Picture picture = painted(recipe);
	find_face(picture);
	const Picture output = with(picture, KL_BODY_RESHAPE_ARM_SLIM, 1);
	const float y = recipe.y_at(60);
	const float torso = run_width(picture, 640, y);
	ASSERT_LT(torso, body_width(picture, y) - 20); // the arms hang beside it
	EXPECT_NEAR(run_width(output, 640, y), torso, 0.025F * torso);
}

TEST_F(BodyReshape, TheChestGrows)
{
	const Picture picture = painted(whole_figure());
	find_face(picture);
	const Picture output = with(picture, KL_BODY_RESHAPE_BUST_ENHANCE, 1);
	const double growth = double(measure(output, is_spot).count) / measure(picture, is_spot).count - 1;
	RecordProperty("growth", std::to_string(growth));
	EXPECT_GE(growth, 0.1);
	EXPECT_LE(growth, 0.3);
	const Picture half = painted(half_figure());
	engine->faces = nullptr;
	find_face(half);
	const double closer = double(measure(with(half, KL_BODY_RESHAPE_BUST_ENHANCE, 1), is_spot).count) /
				      measure(half, is_spot).count -
			      1;
	EXPECT_GE(closer, 0.1);
	EXPECT_LE(closer, 0.3);
}

// Of the usual adult's measures, in centimeters.
TEST_F(BodyReshape, TorsoAndLegsBecomeLonger)
{
	const FigureRecipe recipe = whole_figure();
	const Picture picture = painted(recipe);
	find_face(picture);
	const float scale = recipe.pixels_per_cm();
	struct Lengths {
		float belt_down;
		float knees_down;
		float feet_down;
	};
	const auto lengths_with = [&](int key) {
		const Picture output = with(picture, key, 1);
		return Lengths{(belt(output, 640) - belt(picture, 640)) / scale,
			       float(measure(output, is_knee).mean_y - measure(picture, is_knee).mean_y) / scale,
			       (lowest(output, is_body) - lowest(picture, is_body)) / scale};
	};
	const Lengths torso = lengths_with(KL_BODY_RESHAPE_TORSO_LONG);
	EXPECT_GE(torso.belt_down, 1.8F);
	EXPECT_LE(torso.belt_down, 4);
	EXPECT_NEAR(torso.feet_down, 0, 0.6F);
	const Lengths legs = lengths_with(KL_BODY_RESHAPE_LEG_LONG);
	EXPECT_LE(legs.belt_down, -1.8F);
	EXPECT_GE(legs.belt_down, -5);
	EXPECT_GE(legs.feet_down, 1.5F);
	EXPECT_LE(legs.feet_down, 4);
	const Lengths lower = lengths_with(KL_BODY_RESHAPE_LEG_STRETCH);
	EXPECT_NEAR(lower.belt_down, 0, 0.6F);
	EXPECT_LE(lower.knees_down, -1);
	EXPECT_GE(lower.knees_down, -3);
	EXPECT_GE(lower.feet_down, 1);
	EXPECT_LE(lower.feet_down, 3);
}

TEST_F(BodyReshape, WithoutFeetInTheFrameTheLegSettingsChangeNoByte)
{
	FigureRecipe without_feet = whole_figure();
	without_feet.eye_distance = 25.5F;
	for (const FigureRecipe &recipe : {half_figure(), without_feet}) {
		ASSERT_GT(recipe.y_at(figure_cm::feet), float(recipe.height));
		const Picture picture = painted(recipe);
		engine->faces = nullptr;
		find_face(picture);
		for (int key = 0; key < KL_BODY_RESHAPE_COUNT; ++key) {
			const Picture output = with(picture, key, 1);
			if (is_of_legs(key))
				EXPECT_EQ(output.bytes, picture.bytes) << key;
			else
				EXPECT_NE(output.bytes, picture.bytes) << key;
		}
	}
}

// The band is 1.2 times the distance between the eyes.
TEST_F(BodyReshape, AStraightPoleBesideTheBodyIsStraight)
{
	FigureRecipe recipe = whole_figure();
	const float silhouette = 27 * recipe.pixels_per_cm();
	const float band = 1.2F * recipe.eye_distance;
	for (const bool is_beyond : {true, false}) {
		recipe.pole = recipe.eyes.x + silhouette + (is_beyond ? 1.15F : 0.4F) * band + 8;
		const Picture picture = painted(recipe);
		engine->faces = nullptr;
		set_all(0);
		find_face(picture);
		set_all(1);
		const Picture output = after_frames(picture, 2);
		ASSERT_NE(output.bytes, picture.bytes);
		float last = *recipe.pole;
		for (int y = 0; y < picture.height; ++y) {
			float sum = 0;
			int count = 0;
			for (int x = int(*recipe.pole) - 40; x < int(*recipe.pole) + 40; ++x) {
				if (!is_pole(output.pixel(x, y)))
					continue;
				sum += float(x) + 0.5F;
				++count;
			}
			ASSERT_GT(count, 0) << y;
			const float middle = sum / float(count);
			if (is_beyond) {
				ASSERT_NEAR(middle, *recipe.pole, 0.5F) << y;
			} else {
				// Within the band it bends, slowly.
				ASSERT_NEAR(middle, *recipe.pole, 0.4F * recipe.eye_distance) << y;
				ASSERT_NEAR(middle, last, 1) << y;
			}
			last = middle;
		}
	}
}

// Nothing folds, whatever is done to the face at the same time.
TEST_F(BodyReshape, NothingFoldsWithAnySettings)
{
	std::minstd_rand random(5);
	for (const FigureRecipe &recipe : {half_figure(), whole_figure()}) {
		const Picture picture = painted(recipe);
		engine->faces = nullptr;
		set_all(0);
		find_face(picture);
		const std::vector<TrackedFace> faces(engine->faces->faces().begin(), engine->faces->faces().end());
		set_all(1);
		after_frames(picture, 1);
		const std::vector<BodyFigure> figures(engine->memory.bodies.figures().begin(),
						      engine->memory.bodies.figures().end());
		ASSERT_EQ(figures.size(), 1U);
		double least = 1;
		for (int trial = 0; trial < 100; ++trial) {
			std::array<float, KL_RESHAPE_COUNT> face_amounts;
			BodyRequest bodies = {.figures = figures};
			for (float &amount : face_amounts)
				amount = random() % 2 != 0 ? 1.0F : -1.0F;
			for (float &amount : bodies.amounts)
				amount = trial % 2 == 0 ? 1 : float(random() % 2);
			if (trial % 4 == 0)
				face_amounts = {};
			ReshapeField &field = engine->memory.reshape;
			field.build(picture.width, picture.height, face_amounts, faces, *engine->pool, bodies);
			for (const ReshapeField::Region &region : field.regions()) {
				const double unit = 65536.0 * region.grid.cell();
				for (int row = 0; row + 1 < region.grid.rows; ++row) {
					for (int column = 0; column + 1 < region.grid.columns; ++column) {
						const kernels::WarpNode *above = region.node_row(row) + column;
						const kernels::WarpNode *below = region.node_row(row + 1) + column;
						const auto area = [&](int x, int y) {
							const kernels::WarpNode *line = y == 0 ? above : below;
							const double xx = 1 + (line[1].x - line[0].x) / unit;
							const double yx = (line[1].y - line[0].y) / unit;
							const double xy = (below[x].x - above[x].x) / unit;
							const double yy = 1 + (below[x].y - above[x].y) / unit;
							return xx * yy - yx * xy;
						};
						for (const int corner : {0, 1, 2, 3})
							least = std::min(least, area(corner % 2, corner / 2));
					}
				}
			}
			ASSERT_GT(least, 0.3) << trial;
		}
		EXPECT_LT(least, 0.9);
	}
}

TEST_F(BodyReshape, NeutralSettingsLookForNobody)
{
	const Picture picture = painted(half_figure());
	set_all(1);
	set_all(0);
	EXPECT_EQ(after_frames(picture, 2).bytes, picture.bytes);
	EXPECT_EQ(engine->faces, nullptr);
	EXPECT_EQ(engine->person, nullptr);
	// The face's shape alone needs no matte either.
	kl_set_reshape(engine.get(), KL_RESHAPE_FACE_THIN, 1);
	after_frames(picture, 2);
	EXPECT_EQ(engine->person, nullptr);
}

TEST_F(BodyReshape, SomebodyWithoutAFaceIsLeftAlone)
{
	FigureRecipe behind = whole_figure();
	behind.has_face = false;
	Picture picture = painted(behind);
	set_all(1);
	EXPECT_EQ(after_frames(picture, frames_to_find_a_small_face).bytes, picture.bytes);
	EXPECT_EQ(engine->person, nullptr);

	FigureRecipe left = whole_figure();
	left.eyes.x = 400;
	behind.eyes.x = 850;
	Image image;
	paint_figure(*painter, left, image);
	add_figure(*painter, behind, image);
	picture = as_picture(image);
	const Picture output = after_frames(picture, frames_to_find_a_small_face);
	int changed = 0;
	for (int y = 0; y < picture.height; ++y) {
		for (int x = 0; x < picture.width; ++x) {
			const bool same = same_pixel(picture, output, x, y);
			ASSERT_TRUE(same || x < 640) << x << " " << y;
			changed += same ? 0 : 1;
		}
	}
	EXPECT_GT(changed, 5000);
}

TEST_F(BodyReshape, TwoPeopleWithFacesAreBothReshaped)
{
	FigureRecipe left = whole_figure();
	left.eyes.x = 430;
	FigureRecipe right = whole_figure();
	right.eyes.x = 850;
	right.seed = 5;
	Image image;
	paint_figure(*painter, left, image);
	add_figure(*painter, right, image);
	const Picture picture = as_picture(image);
	set_body(KL_BODY_RESHAPE_BODY_SLIM, 1);
	const Picture output = after_frames(picture, 2 * frames_to_find_a_small_face);
	ASSERT_EQ(engine->faces->faces().size(), 2U);
	for (const FigureRecipe &recipe : {left, right}) {
		const auto y = recipe.y_at(62);
		const float before = run_width(picture, int(recipe.eyes.x), y);
		EXPECT_NEAR(run_width(output, int(recipe.eyes.x), y), before / 1.08F, 0.03F * before) << recipe.eyes.x;
	}
}

// A figure that walks in, stands and is gone at once. The displacement never changes by more than a fifth of its most.
TEST_F(BodyReshape, AFigureThatEntersAndLeavesDoesNotJump)
{
	set_body(KL_BODY_RESHAPE_BODY_SLIM, 1);
	set_body(KL_BODY_RESHAPE_LEG_LONG, 1);
	FigureRecipe recipe = whole_figure();
	recipe.width = 960;
	recipe.height = 540;
	recipe.eyes = {0, 60};
	recipe.eye_distance = 17;
	Image image;
	FigureRecipe nobody = recipe;
	nobody.eyes.x = -2000;
	nobody.has_face = false;
	const Picture empty = painted(nobody);
	float last = 0;
	float most = 0;
	float largest_change = 0;
	Picture standing = painted(recipe);
	for (int frame = 0; frame < 130; ++frame) {
		if (frame < 60) {
			recipe.eyes.x = -60 + 9 * float(frame);
			standing = painted(recipe);
		}
		pass(frame_us);
		processed(frame < 100 ? standing : empty);
		const float push = largest_push();
		most = std::max(most, push);
		largest_change = std::max(largest_change, std::abs(push - last));
		last = push;
	}
	RecordProperty("most", std::to_string(most));
	RecordProperty("largest_change", std::to_string(largest_change));
	EXPECT_GT(most, 2);
	EXPECT_EQ(last, 0);
	EXPECT_LE(largest_change, 0.2F * most);
}

TEST_F(BodyReshape, TheReplacedBackgroundStaysBehindTheBody)
{
	kl_set_virtual_background_blur(engine.get(), 1);
	const Picture picture = painted(half_figure());
	const Picture plain = after_frames(picture, 6);
	set_body(KL_BODY_RESHAPE_BODY_SLIM, 1);
	const Picture output = after_frames(picture, 6);
	int changed = 0;
	for (int y = 0; y < picture.height; ++y) {
		for (int x = 0; x < picture.width; ++x) {
			if (same_pixel(plain, output, x, y))
				continue;
			++changed;
			// At more than 40 pixels beside the silhouette the blurred wall is what it was.
			const bool beside = std::abs(float(x) - 640) > 27 * half_figure().pixels_per_cm() + 40;
			ASSERT_FALSE(beside) << x << " " << y;
		}
	}
	EXPECT_GT(changed, 5000);
}

TEST_F(BodyReshape, TheSameBytesOnEveryInstructionSetAndWithAnyNumberOfThreads)
{
	const Picture picture = painted(half_figure());
	const auto result = [&](int threads, int64_t targets) {
		use_targets(0); // an engine is made where there is at least SSE4
		engine = create();
		engine->pool = std::make_shared<Pool>(threads);
		set_all(0.8F);
		kl_set_reshape(engine.get(), KL_RESHAPE_FACE_THIN, 0.5F);
		kl_set_smoothing(engine.get(), 0.5F);
		use_targets(targets);
		return after_frames(picture, 3).bytes;
	};
	const std::vector<uint8_t> expected = result(1, 0);
	EXPECT_NE(expected, picture.bytes);
	EXPECT_EQ(result(2, 0), expected);
	const int64_t supported = hwy::SupportedTargets();
	for (int64_t target = 1; target <= HWY_SSE4; target <<= 1) {
		if ((supported & target) == 0)
			continue;
		EXPECT_EQ(result(1, target), expected) << hwy::TargetName(target);
	}
}

TEST_F(BodyReshape, EverySizeWorks)
{
	set_all(1);
	for (const auto &[width, height] :
	     {std::array{1, 1}, std::array{3, 2}, std::array{64, 36}, std::array{333, 217}}) {
		const Picture input = noise_picture(width, height, 3, 12);
		Picture output(width, height, 12);
		EXPECT_EQ(process(input, output), KL_OK);
		EXPECT_EQ(output.bytes, input.bytes);
	}
	for (const Point eyes : {Point{60, 240}, Point{1230, 240}, Point{640, 620}, Point{640, 60}}) {
		engine->faces = nullptr;
		FigureRecipe recipe = half_figure();
		recipe.eyes = eyes;
		const Picture picture = painted(recipe);
		const Picture output = after_frames(picture, 12);
		EXPECT_EQ(output.pixel(0, 0)[3], 255);
	}
}

} // namespace
} // namespace kalvio::engine::testing
