// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "engine_fixture.h"

#include <cmath>
#include <limits>

namespace kalvio::engine::testing {
namespace {

using StrengthSetter = int32_t (*)(kl_engine *, float);
using ChoiceSetter = int32_t (*)(kl_engine *, int32_t);

struct Strength {
	const char *name;
	StrengthSetter set;
	float Settings::*member;
};

struct MakeupItem {
	const char *name;
	StrengthSetter set_strength;
	ChoiceSetter set_style;
	ChoiceSetter set_color;
	Makeup Settings::*member;
	int styles;
	int colors;
};

constexpr Strength strengths[] = {
	{"smoothing", kl_set_smoothing, &Settings::smoothing},
	{"whitening", kl_set_whitening, &Settings::whitening},
	{"rosiness", kl_set_rosiness, &Settings::rosiness},
	{"sharpening", kl_set_sharpening, &Settings::sharpening},
	{"filter intensity", kl_set_filter_intensity, &Settings::filter_intensity},
	{"background blur", kl_set_virtual_background_blur, &Settings::background_blur},
};

constexpr MakeupItem makeup_items[] = {
	{"lipstick", kl_set_lipstick, nullptr, kl_set_lipstick_color, &Settings::lipstick, 0, 6},
	{"blush", kl_set_blush, kl_set_blush_style, kl_set_blush_color, &Settings::blush, 7, 5},
	{"contour", kl_set_contour, kl_set_contour_style, nullptr, &Settings::contour, 6, 0},
	{"eye shadow", kl_set_eye_shadow, kl_set_eye_shadow_style, kl_set_eye_shadow_color, &Settings::eye_shadow, 7,
	 4},
	{"eye liner", kl_set_eye_liner, kl_set_eye_liner_style, kl_set_eye_liner_color, &Settings::eye_liner, 6, 5},
	{"eyebrow", kl_set_eyebrow, kl_set_eyebrow_style, kl_set_eyebrow_color, &Settings::eyebrow, 9, 3},
	{"eyelash", kl_set_eyelash, kl_set_eyelash_style, kl_set_eyelash_color, &Settings::eyelash, 6, 3},
	{"pupil", kl_set_pupil, nullptr, kl_set_pupil_color, &Settings::pupil, 0, 9},
};

constexpr float not_numbers[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
				 -std::numeric_limits<float>::infinity()};

class SettingsTest : public EngineTest {
protected:
	void expect_choices(const char *name, ChoiceSetter set, int count)
	{
		if (set == nullptr)
			return;
		EXPECT_EQ(set(engine.get(), 0), KL_OK) << name;
		EXPECT_EQ(set(engine.get(), count - 1), KL_OK) << name;
		EXPECT_EQ(set(engine.get(), count), KL_ERROR_INVALID_ARGUMENT) << name;
		EXPECT_EQ(set(engine.get(), -1), KL_ERROR_INVALID_ARGUMENT) << name;
		EXPECT_EQ(set(nullptr, 0), KL_ERROR_INVALID_ARGUMENT) << name;
	}

	const Settings &settings() { return engine->settings; }
};

TEST_F(SettingsTest, StrengthsAreStored)
{
	for (const Strength &item : strengths) {
		EXPECT_EQ(item.set(engine.get(), 0.25F), KL_OK) << item.name;
		EXPECT_EQ(settings().*item.member, 0.25F) << item.name;
	}
}

TEST_F(SettingsTest, StrengthsOutsideTheRangeAreClamped)
{
	for (const Strength &item : strengths) {
		EXPECT_EQ(item.set(engine.get(), 1e30F), KL_OK) << item.name;
		EXPECT_EQ(settings().*item.member, 1.0F) << item.name;
		EXPECT_EQ(item.set(engine.get(), -0.2F), KL_OK) << item.name;
		EXPECT_EQ(settings().*item.member, 0.0F) << item.name;
	}
}

TEST_F(SettingsTest, WhatIsNoNumberIsRefused_AndChangesNothing)
{
	for (const Strength &item : strengths) {
		item.set(engine.get(), 0.5F);
		for (const float value : not_numbers)
			EXPECT_EQ(item.set(engine.get(), value), KL_ERROR_INVALID_ARGUMENT) << item.name;
		EXPECT_EQ(settings().*item.member, 0.5F) << item.name;
	}
}

TEST_F(SettingsTest, NullHandlesAreRefused)
{
	for (const Strength &item : strengths)
		EXPECT_EQ(item.set(nullptr, 0.5F), KL_ERROR_INVALID_ARGUMENT) << item.name;
	EXPECT_EQ(kl_set_beauty_skin_only(nullptr, true), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_set_reshape(nullptr, 0, 0), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_set_body_reshape(nullptr, 0, 0), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_clear_chroma_key(nullptr), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_clear_filter(nullptr), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_clear_sticker(nullptr), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_clear_3d_sticker(nullptr), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_get_capabilities(nullptr), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_clear_virtual_background(nullptr), KL_ERROR_INVALID_ARGUMENT);
}

TEST_F(SettingsTest, MakeupIsStored_ItemByItem)
{
	for (const MakeupItem &item : makeup_items) {
		EXPECT_EQ(item.set_strength(engine.get(), 0.75F), KL_OK) << item.name;
		EXPECT_EQ((settings().*item.member).strength, 0.75F) << item.name;
		if (item.set_style != nullptr) {
			item.set_style(engine.get(), 1);
			EXPECT_EQ((settings().*item.member).style, 1) << item.name;
		}
		if (item.set_color != nullptr) {
			item.set_color(engine.get(), 2);
			EXPECT_EQ((settings().*item.member).color, 2) << item.name;
		}
	}
}

TEST_F(SettingsTest, UnknownStylesAndColorsAreRefused)
{
	expect_choices("smoothing", kl_set_smoothing_style, 3);
	expect_choices("whitening", kl_set_whitening_style, 5);
	expect_choices("chroma key", kl_set_chroma_key, 3);
	for (const MakeupItem &item : makeup_items) {
		expect_choices(item.name, item.set_style, item.styles);
		expect_choices(item.name, item.set_color, item.colors);
	}
}

TEST_F(SettingsTest, FaceReshapeTakesBothSigns)
{
	EXPECT_EQ(kl_set_reshape(engine.get(), 25, -0.37F), KL_OK);
	EXPECT_EQ(settings().face_reshape[25], -0.37F);
	EXPECT_EQ(kl_set_reshape(engine.get(), 25, -3), KL_OK);
	EXPECT_EQ(settings().face_reshape[25], -1.0F);
}

TEST_F(SettingsTest, BodyReshapeIsOneSided)
{
	EXPECT_EQ(kl_set_body_reshape(engine.get(), 8, -0.2F), KL_OK);
	EXPECT_EQ(settings().body_reshape[8], 0.0F);
}

TEST_F(SettingsTest, UnknownReshapeIdsAreRefused)
{
	EXPECT_EQ(kl_set_reshape(engine.get(), 26, 0), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_set_reshape(engine.get(), -1, 0), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_set_body_reshape(engine.get(), 9, 0), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_set_body_reshape(engine.get(), -1, 0), KL_ERROR_INVALID_ARGUMENT);
}

TEST_F(SettingsTest, ClearingTheKeyKeepsItsValues)
{
	kl_set_chroma_key(engine.get(), 1);
	kl_set_chroma_key_similarity(engine.get(), 0.5F);
	kl_clear_chroma_key(engine.get());
	EXPECT_FALSE(settings().chroma_key.enabled);
	EXPECT_EQ(settings().chroma_key.similarity, 0.5F);
}

// What has no effect yet must not pretend to have one.
TEST_F(SettingsTest, BodyReshapeChangesNoPixel)
{
	const Picture input = noise_picture(64, 48, 3);
	for (int id = 0; id < 9; ++id)
		kl_set_body_reshape(engine.get(), id, 1);
	EXPECT_EQ(processed(input).bytes, input.bytes);
}

TEST_F(SettingsTest, BlurAndPictureTakeEachOthersPlace)
{
	kl_set_virtual_background_blur(engine.get(), 0.5F);
	EXPECT_EQ(settings().background, BackgroundMode::Blur);
	kl_clear_virtual_background(engine.get());
	EXPECT_EQ(settings().background, BackgroundMode::Captured);
}

} // namespace
} // namespace kalvio::engine::testing
