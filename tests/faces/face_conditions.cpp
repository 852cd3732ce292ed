// SPDX-License-Identifier: GPL-2.0-or-later
#include "made_face.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kalvio::engine::testing {

namespace {

// Linear reflectances from light to dark.
constexpr std::array<Color, 6> skins = {{{0.72F, 0.50F, 0.40F},
					 {0.60F, 0.39F, 0.29F},
					 {0.50F, 0.30F, 0.20F},
					 {0.36F, 0.20F, 0.13F},
					 {0.22F, 0.115F, 0.07F},
					 {0.13F, 0.065F, 0.042F}}};
constexpr std::array<Color, 5> hairs = {{{0.35F, 0.23F, 0.10F},
					 {0.16F, 0.08F, 0.04F},
					 {0.07F, 0.045F, 0.03F},
					 {0.025F, 0.02F, 0.02F},
					 {0.45F, 0.43F, 0.41F}}};
constexpr std::array<Color, 4> irises = {
	{{0.07F, 0.035F, 0.015F}, {0.14F, 0.08F, 0.03F}, {0.12F, 0.20F, 0.26F}, {0.11F, 0.16F, 0.09F}}};

FaceRecipe any_face(uint32_t seed)
{
	Random random(seed * 977 + 11);
	FaceRecipe recipe;
	recipe.seed = seed;
	recipe.eye_distance = random.uniform(30, 60);
	const float margin = recipe.eye_distance * 2;
	recipe.center = {random.uniform(margin, 480 - margin), random.uniform(110, 140)};
	recipe.yaw = random.uniform(-10, 10);
	recipe.pitch = random.uniform(-8, 8);
	recipe.roll = random.uniform(-10, 10);
	recipe.face_width = random.uniform(0.93F, 1.08F);
	recipe.jaw_width = random.uniform(0.9F, 1.12F);
	recipe.chin_length = random.uniform(-0.6F, 0.8F);
	recipe.nose_width = random.uniform(0.85F, 1.25F);
	recipe.nose_length = random.uniform(0.9F, 1.12F);
	recipe.eye_opening = random.uniform(0.8F, 1.3F);
	recipe.eye_spacing = random.uniform(-0.25F, 0.3F);
	recipe.lip_fullness = random.uniform(0.75F, 1.3F);
	recipe.mouth_width = random.uniform(0.9F, 1.12F);
	recipe.smile = random.chance(0.5F) ? random.uniform(0.2F, 1) : 0;
	recipe.mouth_open = random.chance(0.3F) ? random.uniform(0.3F, 1.6F) : 0;
	recipe.gaze = {random.uniform(-0.25F, 0.25F), random.uniform(-0.08F, 0.08F)};
	recipe.skin = skins[size_t(random.below(int(skins.size())))] * random.uniform(0.9F, 1.1F);
	const float lip = random.uniform(0.45F, 0.75F);
	recipe.lips = recipe.skin * Color{lip + 0.2F, lip - 0.1F, lip};
	recipe.hair = hairs[size_t(random.below(int(hairs.size())))];
	recipe.iris = irises[size_t(random.below(int(irises.size())))];
	recipe.cloth = {random.uniform(0.02F, 0.6F), random.uniform(0.02F, 0.6F), random.uniform(0.02F, 0.6F)};
	recipe.redness = random.uniform(0, 1);
	recipe.brow_strength = random.uniform(0.45F, 0.95F);
	recipe.beard = random.chance(0.2F) ? random.uniform(0.3F, 0.9F) : 0;
	recipe.long_hair = recipe.beard <= 0 && random.chance(0.5F);
	recipe.light = {random.uniform(-0.7F, 0.7F), random.uniform(0.1F, 0.8F), random.uniform(0.5F, 1)};
	recipe.light_color = {random.uniform(0.95F, 1.1F), 1, random.uniform(0.85F, 1.05F)};
	recipe.ambient = random.uniform(0.25F, 0.5F);
	recipe.camera.exposure = random.uniform(0.8F, 1.3F);
	recipe.camera.white = {random.uniform(0.92F, 1.1F), 1, random.uniform(0.88F, 1.08F)};
	recipe.camera.noise_levels = random.uniform(0.5F, 4);
	recipe.camera.blur_pixels = random.uniform(0, 0.8F);
	return recipe;
}

} // namespace

const char *name_of(FaceCondition condition)
{
	constexpr const char *names[face_condition_count] = {"base",      "dark and dim", "side light", "roll to 30",
							     "yaw to 45", "pitch to 25",  "glasses",    "covered",
							     "small",     "large",        "blurred"};
	return names[size_t(condition)];
}

FaceRecipe make_recipe(FaceCondition condition, uint32_t seed)
{
	// Every condition has people of its own.
	FaceRecipe recipe = any_face(seed * face_condition_count + uint32_t(condition));
	Random random(recipe.seed * 31 + 7);
	switch (condition) {
	case FaceCondition::Base:
		break;
	case FaceCondition::DarkDim:
		recipe.skin = skins[4 + size_t(random.below(2))] * random.uniform(0.8F, 1.1F);
		recipe.camera.exposure = random.uniform(0.25F, 0.45F);
		recipe.camera.noise_levels = random.uniform(5, 9);
		break;
	case FaceCondition::SideLight:
		recipe.light = {random.sign(), 0.1F, 0.15F};
		recipe.ambient = 0.14F;
		recipe.camera.exposure = 1.3F;
		break;
	case FaceCondition::Roll:
		recipe.roll = random.sign() * random.uniform(10, 30);
		break;
	case FaceCondition::Yaw:
		recipe.yaw = random.sign() * random.uniform(15, 45);
		break;
	case FaceCondition::Pitch:
		recipe.pitch = random.sign() * random.uniform(12, 25);
		break;
	case FaceCondition::Glasses:
		recipe.glasses = true;
		recipe.sunglasses_tint = random.chance(0.25F);
		break;
	case FaceCondition::Covered:
		recipe.covered = true;
		recipe.cover_place = {random.uniform(-0.8F, 0.8F), random.uniform(-0.6F, 1.1F)};
		recipe.cover_radius = {random.uniform(0.3F, 0.6F), random.uniform(0.35F, 0.7F)};
		break;
	case FaceCondition::Small:
		recipe.eye_distance = random.uniform(12, 16.8F);
		recipe.center = {random.uniform(60, 420), random.uniform(60, 190)};
		break;
	case FaceCondition::Large:
		recipe.eye_distance = random.uniform(72, 90);
		recipe.center = {random.uniform(190, 290), random.uniform(120, 140)};
		break;
	case FaceCondition::Blurred:
		recipe.camera.blur_pixels = random.uniform(2, 3);
		break;
	}
	return recipe;
}

FaceRecipe moving_head(int tone, float turn, int width, int height)
{
	struct Person {
		uint32_t seed;
		size_t skin;
		size_t hair;
		size_t iris;
		bool long_hair;
	};
	constexpr Person people[head_tone_count] = {
		{21, 0, 0, 2, true}, {22, 2, 2, 1, true}, {23, 4, 3, 0, false}, {24, 5, 3, 0, true}};
	const Person &person = people[size_t(tone)];
	FaceRecipe recipe;
	recipe.seed = person.seed;
	recipe.width = width;
	recipe.height = height;
	const auto wave = [turn](int times) {
		return std::sin(2 * std::numbers::pi_v<float> * turn * static_cast<float>(times));
	};
	const float tall = static_cast<float>(height);
	recipe.eye_distance = 0.15F * tall;
	recipe.center = {static_cast<float>(width) / 2 + 0.04F * tall * wave(1), 0.44F * tall};
	recipe.yaw = 30 * wave(1);
	recipe.pitch = 9 * wave(2);
	recipe.roll = 6 * wave(3);
	const float syllable = wave(6);
	recipe.mouth_open = 0.9F * syllable * syllable;
	recipe.gaze = {-0.15F * wave(1), 0};
	recipe.skin = skins[person.skin];
	recipe.lips = recipe.skin * Color{0.8F, 0.5F, 0.6F};
	recipe.hair = hairs[person.hair];
	recipe.iris = irises[person.iris];
	recipe.long_hair = person.long_hair;
	recipe.portrait = true;
	recipe.strands = 60;
	recipe.camera.noise_levels = 1.5F;
	return recipe;
}

} // namespace kalvio::engine::testing
