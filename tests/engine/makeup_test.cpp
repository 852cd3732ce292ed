// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "makeup_regions.h"
#include "painted_face_fixture.h"

#include <hwy/targets.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>

// Makeup on made faces: each item where it belongs, each style and color its own, and clean what is no skin.
namespace kalvio::engine::testing {
namespace {

using Choose = int32_t (*)(kl_engine *, int32_t);

// What an item is expected to do to its part of the face.
enum class Direction { TowardsColor, Darker, Any };

struct Item {
	const char *name;
	int32_t (*set)(kl_engine *, float);
	Choose set_style; // null: none
	int styles;
	Choose set_color; // null: none
	int colors;
	FacePart part;
	float reach; // beyond the part, of the face's size: nothing further away changes
	Direction direction;
	std::array<unsigned, 9> pigments;
};

constexpr Item items[] = {
	{"lipstick",
	 kl_set_lipstick,
	 nullptr,
	 1,
	 kl_set_lipstick_color,
	 6,
	 FacePart::Lips,
	 0.10F,
	 Direction::TowardsColor,
	 {0xbe185d, 0xc2183b, 0xfb7185, 0xd65129, 0xf9a8d4, 0xfb923c}},
	{"blush",
	 kl_set_blush,
	 kl_set_blush_style,
	 7,
	 kl_set_blush_color,
	 5,
	 FacePart::Cheeks,
	 1.5F,
	 Direction::TowardsColor,
	 {0xb45309, 0x9f1239, 0xbe123c, 0x831843, 0xc2410c}},
	{"contour", kl_set_contour, kl_set_contour_style, 6, nullptr, 1, FacePart::Face, 0.25F, Direction::Any, {}},
	{"eye shadow",
	 kl_set_eye_shadow,
	 kl_set_eye_shadow_style,
	 7,
	 kl_set_eye_shadow_color,
	 4,
	 FacePart::Lids,
	 0.40F,
	 Direction::TowardsColor,
	 {0x6b21a8, 0x78350f, 0xa16207, 0x9d174d}},
	{"eye liner",
	 kl_set_eye_liner,
	 kl_set_eye_liner_style,
	 6,
	 kl_set_eye_liner_color,
	 5,
	 FacePart::LidLine,
	 0.40F,
	 Direction::Darker,
	 {0x7f1d1d, 0x581c87, 0x431407, 0x1c1917, 0x3f3f46}},
	{"eyebrow",
	 kl_set_eyebrow,
	 kl_set_eyebrow_style,
	 9,
	 kl_set_eyebrow_color,
	 3,
	 FacePart::Brows,
	 0.25F,
	 Direction::Any,
	 {0x44403c, 0x18181b, 0x78716c}},
	{"eyelash",
	 kl_set_eyelash,
	 kl_set_eyelash_style,
	 6,
	 kl_set_eyelash_color,
	 3,
	 FacePart::Lashes,
	 0.40F,
	 Direction::Darker,
	 {0x09090b, 0x44403c, 0x27272a}},
	{"pupil",
	 kl_set_pupil,
	 nullptr,
	 1,
	 kl_set_pupil_color,
	 9,
	 FacePart::Irises,
	 0.06F,
	 Direction::TowardsColor,
	 {0x92400e, 0x38bdf8, 0x78350f, 0x4d7c0f, 0xa8a29e, 0x3f6212, 0xd4a017, 0xfacc15, 0x64748b}},
};

struct Look {
	int style;
	int color;
};

// Every style in one color and every color in one style, the most covering one.
std::vector<Look> looks_of(const Item &item)
{
	constexpr int covering_style = 4;
	std::vector<Look> looks;
	for (int style = 0; style < item.styles; ++style)
		looks.push_back({style, item.colors > 3 ? 3 : 0});
	for (int color = 0; color < item.colors; ++color)
		looks.push_back({std::min(covering_style, item.styles - 1), color});
	return looks;
}

double hue_distance(const Lab &left, const Lab &right)
{
	// Of the directions in which the colors lie: pigments are seen in less and more light than the panel shows.
	return std::abs(
		std::remainder(std::atan2(left[2], left[1]) - std::atan2(right[2], right[1]), 2 * std::numbers::pi));
}

class Makeup : public PaintedFaceTest {
protected:
	MakeupFace face_of(int tone) { return paint_face(*painter, makeup_recipe(tone)); }
	// Until the face has come in whole: lips on alone, so that it is followed.
	void follow(const Picture &picture, int frames = 20)
	{
		kl_set_lipstick(engine.get(), 1);
		for (int frame = 0; frame < frames; ++frame)
			step(picture);
		kl_set_lipstick(engine.get(), 0);
	}
	Picture step(const Picture &picture)
	{
		pass(33'333);
		return processed(picture);
	}
	// Faces are followed by any item: one frame with this one alone.
	Picture with(const Item &item, const Look &look, const Picture &picture, float strength = 1)
	{
		if (item.set_style != nullptr)
			item.set_style(engine.get(), look.style);
		if (item.set_color != nullptr)
			item.set_color(engine.get(), look.color);
		item.set(engine.get(), strength);
		Picture output = step(picture);
		item.set(engine.get(), 0);
		return output;
	}
	void wear_all(float strength = 1)
	{
		for (const Item &item : items)
			item.set(engine.get(), strength);
	}
};

int changed_outside(const std::vector<bool> &part, const Picture &before, const Picture &after)
{
	int changed = 0;
	for (size_t pixel = 0; pixel < part.size(); ++pixel) {
		if (!part[pixel])
			changed += !std::equal(before.bytes.begin() + ptrdiff_t(pixel * 4),
					       before.bytes.begin() + ptrdiff_t(pixel * 4 + 4),
					       after.bytes.begin() + ptrdiff_t(pixel * 4));
	}
	return changed;
}

std::string label(const Item &item, const Look &look)
{
	return std::string(item.name) + ", style " + std::to_string(look.style) + ", color " +
	       std::to_string(look.color);
}

TEST_F(Makeup, EveryStyleAndColorShowsInItsPlaceAndNowhereElse)
{
	const MakeupFace face = face_of(1);
	follow(face.picture);
	const std::vector<bool> nose = part_pixels(face, FacePart::Nose);
	for (const Item &item : items) {
		const std::vector<bool> part = part_pixels(face, item.part);
		const std::vector<bool> around = part_pixels(face, item.part, item.reach);
		for (const Look &look : looks_of(item)) {
			const Picture output = with(item, look, face.picture);
			const bool on_nose = item.part == FacePart::Face && look.style == KL_CONTOUR_STYLE_NOSE;
			const PartChange change = change_in(on_nose ? nose : part, face.picture, output);
			if (std::getenv("KALVIO_PRINT_MAKEUP") != nullptr)
				std::printf("%-34s share %.2f mean %5.2f\n", label(item, look).c_str(), change.share,
					    change.mean);
			EXPECT_GE(change.share, 0.1) << label(item, look);
			EXPECT_EQ(changed_outside(around, face.picture, output), 0) << label(item, look);
			const Lab pigment = lab_of(item.pigments[size_t(look.color)]);
			if (item.direction == Direction::TowardsColor && std::hypot(pigment[1], pigment[2]) > 15) {
				EXPECT_LT(hue_distance(change.after, pigment),
					  std::max(hue_distance(change.before, pigment), 0.1))
					<< label(item, look);
			}
			if (item.direction == Direction::Darker) {
				EXPECT_LT(change.after[0], change.before[0] - 2) << label(item, look);
			}
		}
	}
}

TEST_F(Makeup, EachStyleAndEachColorDiffersFromItsSiblings)
{
	const MakeupFace face = face_of(0);
	follow(face.picture);
	for (const Item &item : items) {
		const std::vector<bool> around = part_pixels(face, item.part, 0.15F);
		std::vector<Picture> outputs;
		const std::vector<Look> looks = looks_of(item);
		for (const Look &look : looks)
			outputs.push_back(with(item, look, face.picture));
		for (size_t left = 0; left < looks.size(); ++left) {
			for (size_t right = left + 1; right < looks.size(); ++right) {
				const bool same_style = looks[left].style == looks[right].style;
				const bool same_color = looks[left].color == looks[right].color;
				if (same_style == same_color)
					continue;
				const double worn = std::max(change_in(around, face.picture, outputs[left]).share,
							     change_in(around, face.picture, outputs[right]).share);
				const double differs = change_in(around, outputs[left], outputs[right]).share;
				if (std::getenv("KALVIO_PRINT_MAKEUP") != nullptr)
					std::printf("%s %d/%d against %d/%d: %.3f of %.3f\n", item.name,
						    looks[left].style, looks[left].color, looks[right].style,
						    looks[right].color, differs, worn);
				// Of the pixels that wear it.
				EXPECT_GE(differs, 0.1 * worn)
					<< label(item, looks[left]) << " beside " << label(item, looks[right]);
			}
		}
	}
}

TEST_F(Makeup, ShowsOnDarkSkinAsOnLightSkin)
{
	std::array<std::array<double, std::size(items)>, makeup_tone_count> seen{};
	for (int tone = 0; tone < makeup_tone_count; ++tone) {
		engine = create();
		const MakeupFace face = face_of(tone);
		follow(face.picture);
		for (size_t index = 0; index < std::size(items); ++index) {
			const Item &item = items[index];
			const std::vector<Look> looks = looks_of(item);
			const std::vector<bool> part = part_pixels(face, item.part);
			for (const Look &look : looks)
				seen[size_t(tone)][index] +=
					change_in(part, face.picture, with(item, look, face.picture)).mean /
					static_cast<double>(looks.size());
		}
	}
	for (size_t index = 0; index < std::size(items); ++index) {
		for (int tone = 1; tone < makeup_tone_count; ++tone) {
			const double ratio = seen[size_t(tone)][index] / seen[0][index];
			if (std::getenv("KALVIO_PRINT_MAKEUP") != nullptr)
				std::printf("%-12s tone %d: %.2f of %.2f\n", items[index].name, tone, ratio,
					    seen[0][index]);
			// Black on dark hairs and dark skin cannot differ as much from it as from light skin.
			const bool dark_pigment =
				items[index].direction == Direction::Darker || items[index].part == FacePart::Brows;
			EXPECT_GE(ratio, dark_pigment ? 0.35 : 0.6) << items[index].name << ", tone " << tone;
		}
	}
}

TEST_F(Makeup, WithoutStrengthItChangesNothingAndLooksForNoFace)
{
	const MakeupFace face = face_of(0);
	for (const Item &item : items) {
		if (item.set_style != nullptr)
			item.set_style(engine.get(), item.styles - 1);
		if (item.set_color != nullptr)
			item.set_color(engine.get(), item.colors - 1);
		item.set(engine.get(), 0);
	}
	EXPECT_EQ(processed(face.picture).bytes, face.picture.bytes);
	EXPECT_EQ(engine->faces, nullptr);
}

TEST_F(Makeup, WhereNobodyIsNothingChanges)
{
	wear_all();
	for (const auto &[width, height] : {std::array{320, 180}, std::array{1, 1}, std::array{13, 9}}) {
		const Picture input = noise_picture(width, height, 4);
		for (int frame = 0; frame < 5; ++frame)
			EXPECT_EQ(step(input).bytes, input.bytes) << width << " x " << height;
	}
}

TEST_F(Makeup, ItShowsBesideTheOtherEffects)
{
	const MakeupFace face = face_of(0);
	for (const bool skin_only : {false, true}) {
		kl_set_beauty_skin_only(engine.get(), skin_only);
		kl_set_whitening(engine.get(), 0.5F);
		kl_set_sharpening(engine.get(), 0.5F);
		follow(face.picture);
		const Picture plain = step(face.picture);
		kl_set_lipstick(engine.get(), 1);
		const Picture made_up = step(face.picture);
		kl_set_lipstick(engine.get(), 0);
		EXPECT_GT(change_in(part_pixels(face, FacePart::Lips), plain, made_up).mean, 10) << skin_only;
		for (size_t index = 3; index < made_up.bytes.size(); index += 4)
			ASSERT_EQ(made_up.bytes[index], face.picture.bytes[index]);
	}
}

TEST_F(Makeup, TeethAndTheWhiteOfTheEyesStayClean)
{
	for (const float opening : {0.9F, 1.6F}) {
		FaceRecipe recipe = makeup_recipe(0);
		recipe.mouth_open = opening;
		recipe.eye_opening = 1.4F;
		recipe.seed += uint32_t(10 * opening);
		const MakeupFace face = paint_face(*painter, recipe);
		engine = create();
		follow(face.picture);
		const std::vector<bool> teeth = part_pixels(face, FacePart::Teeth);
		ASSERT_GT(std::count(teeth.begin(), teeth.end(), true), 60);
		const std::vector<bool> whites = part_pixels(face, FacePart::EyeWhites);
		ASSERT_GT(std::count(whites.begin(), whites.end(), true), 20);
		wear_all();
		const Picture output = step(face.picture);
		EXPECT_GT(change_in(part_pixels(face, FacePart::Lips), face.picture, output).mean, 8);
		EXPECT_LT(change_in(teeth, face.picture, output).mean, 1) << opening;
		EXPECT_LT(change_in(whites, face.picture, output).mean, 2) << opening;
		wear_all(0);
	}
}

TEST_F(Makeup, ALensLeavesThePupilDark)
{
	const MakeupFace face = face_of(1);
	follow(face.picture);
	const Picture output = with(items[7], {0, 7}, face.picture);
	for (const size_t iris : {size_t{468}, size_t{473}}) {
		const Point center = face.points[iris].flat();
		const auto x = static_cast<int>(center.x);
		const auto y = static_cast<int>(center.y);
		EXPECT_LT(delta_e(lab_of(face.picture.pixel(x, y)), lab_of(output.pixel(x, y))), 6);
	}
}

TEST_F(Makeup, ClosedEyesShowNoLens)
{
	FaceRecipe recipe = makeup_recipe(0);
	const MakeupFace open = paint_face(*painter, recipe);
	follow(open.picture);
	const double worn =
		change_in(part_pixels(open, FacePart::Irises), open.picture, with(items[7], {0, 1}, open.picture)).mean;
	recipe.eye_opening = -0.4F; // the lids meet
	const MakeupFace closed = paint_face(*painter, recipe);
	follow(closed.picture);
	const Picture output = with(items[7], {0, 1}, closed.picture);
	EXPECT_GT(worn, 5);
	// Where the lids lie over the iris now, nothing shows.
	std::vector<bool> covered = part_pixels(open, FacePart::Irises);
	const std::vector<bool> slit = part_pixels(closed, FacePart::Irises, 0.02F);
	for (size_t pixel = 0; pixel < covered.size(); ++pixel)
		covered[pixel] = covered[pixel] && !slit[pixel];
	ASSERT_GT(std::count(covered.begin(), covered.end(), true), 50);
	EXPECT_LT(change_in(covered, closed.picture, output).mean, 0.1 * worn);
	// A liner stays on the lid.
	const Picture lined = with(items[4], {4, 3}, closed.picture);
	EXPECT_GT(change_in(part_pixels(closed, FacePart::LidLine), closed.picture, lined).mean, 2);
}

TEST_F(Makeup, WhatComesBeforeTheMouthStaysClean)
{
	for (const uint32_t seed : {6U, 7U, 9U, 12U}) {
		FaceRecipe recipe = makeup_recipe(0);
		recipe.seed = seed;
		engine = create();
		const MakeupFace face = paint_face(*painter, recipe);
		follow(face.picture, 30);
		kl_set_lipstick(engine.get(), 1);
		const double bare = change_in(part_pixels(face, FacePart::Lips), face.picture, step(face.picture)).mean;
		recipe.covered = true;
		recipe.cover_place = {0, 0.98F};
		recipe.cover_radius = {0.62F, 0.5F};
		const MakeupFace covered = paint_face(*painter, recipe);
		Picture output = step(covered.picture);
		for (int frame = 0; frame < 12; ++frame)
			output = step(covered.picture);
		const double left = change_in(part_pixels(covered, FacePart::Lips), covered.picture, output).mean;
		if (std::getenv("KALVIO_PRINT_MAKEUP") != nullptr)
			std::printf("cover %u: %.2f of %.2f\n", seed, left, bare);
		EXPECT_LT(left, 0.2 * bare) << "seed " << seed;
	}
}

// Four small faces in one frame, one of them cut by its border.
Picture four_faces(FacePainter &painter)
{
	Picture all(960, 540);
	for (int index = 0; index < 4; ++index) {
		FaceRecipe recipe = makeup_recipe(index);
		recipe.width = 480;
		recipe.height = 270;
		recipe.eye_distance = 44;
		recipe.center = {index == 3 ? 445.0F : 240.0F, 140};
		const MakeupFace face = paint_face(painter, recipe);
		for (int y = 0; y < 270; ++y)
			std::copy_n(face.picture.pixel(0, y), 480 * 4, all.pixel(index % 2 * 480, index / 2 * 270 + y));
	}
	return all;
}

TEST_F(Makeup, FourFacesWearItAndThreadsAndProcessorsChangeNoByte)
{
	const Picture frame = four_faces(*painter);
	std::vector<uint8_t> reference;
	// 0: all that the machine has, of which the best is used.
	const auto use_targets = [](int64_t targets) {
		hwy::SetSupportedTargetsForTest(targets);
		hwy::GetChosenTarget().DeInit();
	};
	const auto run = [&](int threads, int64_t targets = 0) {
		engine = create(); // where there is at least SSE4
		engine->pool = std::make_shared<Pool>(threads);
		wear_all();
		use_targets(targets);
		std::vector<uint8_t> bytes;
		for (int number = 0; number < 27; ++number) {
			const Picture output = step(frame);
			if (number % 13 == 0)
				bytes.insert(bytes.end(), output.bytes.begin(), output.bytes.end());
		}
		use_targets(0);
		return bytes;
	};
	reference = run(1);
	EXPECT_GE(engine->faces->faces().size(), 3U);
	EXPECT_EQ(run(2), reference);
	const int64_t supported = hwy::SupportedTargets();
	for (int64_t target = 1; target <= HWY_SSE4; target <<= 1) {
		if ((supported & target) == 0)
			continue;
		const bool same = run(1, target) == reference;
		EXPECT_TRUE(same) << hwy::TargetName(target);
	}
}

} // namespace
} // namespace kalvio::engine::testing
