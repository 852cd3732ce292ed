// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "engine_fixture.h"
#include "image_writer.h"
#include "made_figure.h"
#include "makeup_regions.h"
#include "params/parameter_table.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <set>

// Every key of the settings' table, at its extreme, on a made person: what it is for changes by what a person sees,
// what it is not for stays as it is, and at 0 nothing changes at all. What exactly each does stands in the tests of its
// stage.
namespace kalvio::engine::testing {
namespace {

constexpr int64_t frame_us = 33'333;
constexpr double visible_share = 0.1; // of the pixels that a setting is for, by two CIE delta E (change_in)

// Which picture a setting is tried on.
enum class Scene {
	Portrait, // head and shoulders before a patterned wall
	Standing, // a whole figure before a plain wall
	Screen    // head and shoulders before a green screen
};

// What a setting is for.
enum class Region {
	Frame,     // all of it
	Face,      // the skin of the face
	FaceShape, // the face and a quarter of its size beside it
	Body,      // the figure below the chin and its band
	Wall,      // what is behind the person
	Shirt,
	Lips,
	Cheeks,
	Eyes,
	Nose,
	Lids,
	LidLine,
	Brows,
	Lashes,
	Irises
};

using Arrange = void (*)(kl_engine *);

struct Case {
	const char *key;
	Scene scene = Scene::Portrait;
	Region region = Region::Frame;
	double extreme = 1;         // a choice's number, or a strength
	double neutral = 0;         // what it is compared with
	Arrange arrange = nullptr;  // what must be on for it to show
	bool is_neutral_off = true; // at `neutral` without anything else the frame is the captured one, byte for byte
	float reach = 0;            // beyond the region, in face sizes: what lies farther away stays as it is
	const char *text = nullptr; // for a setting that is a text
	const char *neutral_text = "";
	double share = visible_share;
};

#define KALVIO_ARRANGE(...)                                                                                            \
	[](kl_engine *engine) {                                                                                        \
		__VA_ARGS__;                                                                                           \
	}

// In the order of the table. The settings of the shapes follow by themselves.
const Case cases[] = {
	{.key = "skin_only",
	 .region = Region::Wall,
	 .arrange = KALVIO_ARRANGE(kl_set_smoothing_style(engine, KL_SMOOTHING_STYLE_SMOOTH);
				   kl_set_smoothing(engine, 1); kl_set_whitening(engine, 1)),
	 .is_neutral_off = false},
	{.key = "smoothing",
	 .region = Region::Face,
	 .arrange = KALVIO_ARRANGE(kl_set_smoothing_style(engine, KL_SMOOTHING_STYLE_SMOOTH)),
	 .reach = -1},
	{.key = "smoothing_style",
	 .region = Region::Face,
	 .extreme = 2,
	 .neutral = 1,
	 .arrange = KALVIO_ARRANGE(kl_set_smoothing(engine, 1)),
	 .is_neutral_off = false,
	 .reach = -1,
	 .share = 0.05},
	{.key = "whitening", .region = Region::Face, .reach = -1},
	{.key = "whitening_style",
	 .region = Region::Face,
	 .extreme = 4,
	 .arrange = KALVIO_ARRANGE(kl_set_whitening(engine, 1)),
	 .is_neutral_off = false,
	 .reach = -1},
	{.key = "rosiness", .region = Region::Face, .reach = -1},
	{.key = "sharpening", .reach = -1, .share = 0.05}, // edges and lines alone
	{.key = "lipstick", .region = Region::Lips, .reach = 0.1F},
	{.key = "lipstick_color",
	 .region = Region::Lips,
	 .extreme = 4,
	 .arrange = KALVIO_ARRANGE(kl_set_lipstick(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 0.1F},
	{.key = "blush", .region = Region::Cheeks, .reach = 1.5F},
	{.key = "blush_style",
	 .region = Region::Cheeks,
	 .extreme = 6,
	 .arrange = KALVIO_ARRANGE(kl_set_blush(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 1.5F},
	{.key = "blush_color",
	 .region = Region::Cheeks,
	 .extreme = 3,
	 .arrange = KALVIO_ARRANGE(kl_set_blush(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 1.5F},
	{.key = "contour", .region = Region::Face, .reach = 0.25F},
	{.key = "contour_style",
	 .region = Region::Face,
	 .extreme = 4,
	 .arrange = KALVIO_ARRANGE(kl_set_contour(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 0.25F},
	{.key = "eyeshadow", .region = Region::Lids, .reach = 0.4F},
	{.key = "eyeshadow_style",
	 .region = Region::Lids,
	 .extreme = 4,
	 .arrange = KALVIO_ARRANGE(kl_set_eye_shadow(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 0.4F},
	{.key = "eyeshadow_color",
	 .region = Region::Lids,
	 .extreme = 2,
	 .arrange = KALVIO_ARRANGE(kl_set_eye_shadow(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 0.4F},
	{.key = "eyeliner", .region = Region::LidLine, .reach = 0.4F},
	{.key = "eyeliner_style",
	 .region = Region::LidLine,
	 .extreme = 4,
	 .arrange = KALVIO_ARRANGE(kl_set_eye_liner(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 0.4F},
	{.key = "eyeliner_color",
	 .region = Region::LidLine,
	 .extreme = 0,
	 .neutral = 3,
	 .arrange = KALVIO_ARRANGE(kl_set_eye_liner(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 0.4F},
	{.key = "eyebrow", .region = Region::Brows, .reach = 0.25F},
	{.key = "eyebrow_style",
	 .region = Region::Brows,
	 .extreme = 4,
	 .arrange = KALVIO_ARRANGE(kl_set_eyebrow(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 0.25F},
	{.key = "eyebrow_color",
	 .region = Region::Brows,
	 .extreme = 2,
	 .arrange = KALVIO_ARRANGE(kl_set_eyebrow(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 0.25F},
	{.key = "eyelash", .region = Region::Lashes, .reach = 0.4F},
	{.key = "eyelash_style",
	 .region = Region::Lashes,
	 .extreme = 4,
	 .arrange = KALVIO_ARRANGE(kl_set_eyelash(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 0.4F},
	{.key = "eyelash_color",
	 .region = Region::Lashes,
	 .extreme = 1,
	 .arrange = KALVIO_ARRANGE(kl_set_eyelash(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 0.4F,
	 .share = 0.05}, // they are all nearly black
	{.key = "pupil", .region = Region::Irises, .reach = 0.06F},
	{.key = "pupil_color",
	 .region = Region::Irises,
	 .extreme = 1,
	 .arrange = KALVIO_ARRANGE(kl_set_pupil(engine, 1)),
	 .is_neutral_off = false,
	 .reach = 0.06F},
	{.key = "bg_fill", .region = Region::Wall, .extreme = 1},
	{.key = "bg_blur", .region = Region::Wall},
	{.key = "bg_preset",
	 .region = Region::Wall,
	 .is_neutral_off = false,
	 .text = "studio",
	 .neutral_text = "office"},
	{.key = "bg_image", .region = Region::Wall, .is_neutral_off = false, .text = "own", .neutral_text = "office"},
	{.key = "chroma", .scene = Scene::Screen, .region = Region::Wall},
	{.key = "chroma_similarity",
	 .scene = Scene::Screen,
	 .region = Region::Shirt,
	 .arrange = KALVIO_ARRANGE(kl_set_chroma_key(engine, 0)),
	 .is_neutral_off = false,
	 .reach = -1},
	{.key = "chroma_smoothness",
	 .scene = Scene::Screen,
	 .region = Region::Shirt,
	 .arrange = KALVIO_ARRANGE(kl_set_chroma_key(engine, 0); kl_set_chroma_key_similarity(engine, 0.2F)),
	 .is_neutral_off = false,
	 .reach = -1},
	{.key = "chroma_desaturation",
	 .scene = Scene::Screen,
	 .region = Region::Shirt,
	 .arrange = KALVIO_ARRANGE(kl_set_chroma_key(engine, 0)),
	 .is_neutral_off = false,
	 .reach = -1},
	{.key = "filter_id", .reach = -1, .text = "vivid"},
	{.key = "filter_intensity",
	 .arrange = KALVIO_ARRANGE(kl_set_filter(engine, KALVIO_DATA_DIR "/filters/vivid/vivid.kld")),
	 .reach = -1},
	{.key = "sticker_id", .region = Region::Eyes, .reach = -1, .text = "red_glasses"},
};

// Settings whose change is a length: ReshapeFieldTest.EverySettingMovesItsFeatureByAHundredthOfTheSize measures those
// of the face, BodyReshape.RowsBecomeNarrowerByWhatTheSettingSays and those after it measure those of the body.
bool is_shape(const Parameter &parameter)
{
	return parameter.section == ParameterSection::FaceReshape || parameter.section == ParameterSection::BodyReshape;
}

// The face and what moves beside it.
constexpr float shape_reach = -2;

const Parameter *parameter_of(const std::string &key)
{
	const auto found =
		std::ranges::find_if(parameter_table(), [&](const Parameter &one) { return key == one.key; });
	return found == parameter_table().end() ? nullptr : &*found;
}

// What a setting of the face's shape is for, by the beginning of its key.
Region feature_of(const std::string &key)
{
	constexpr std::pair<const char *, Region> features[] = {
		{"eye_", Region::Eyes},  {"lower_eyelid", Region::Eyes}, {"brow_", Region::Brows},
		{"nose_", Region::Nose}, {"philtrum", Region::Lips},     {"mouth_", Region::Lips},
		{"lip_", Region::Lips},
	};
	for (const auto &[beginning, region] : features) {
		if (key.starts_with(beginning))
			return region;
	}
	return Region::FaceShape;
}

// The case of a setting of a shape. The skin around a moved feature looks like itself: few of its pixels change.
Case shape_case(const Parameter &parameter)
{
	const std::string key = parameter.key;
	if (parameter.section == ParameterSection::FaceReshape) {
		const Region region = feature_of(key);
		return {.key = parameter.key,
			.region = region,
			.reach = shape_reach,
			.share = region == Region::FaceShape ? 0.03
				 : region == Region::Nose    ? 0.05
							     : visible_share};
	}
	const bool needs_whole_figure = key.starts_with("leg_") || key == "waist_slim" || key == "torso_long";
	return {.key = parameter.key,
		.scene = needs_whole_figure ? Scene::Standing : Scene::Portrait,
		.region = Region::Body,
		.share = 0.02};
}

std::vector<Case> all_cases()
{
	std::vector<Case> all(std::begin(cases), std::end(cases));
	for (const Parameter &parameter : parameter_table()) {
		if (is_shape(parameter))
			all.push_back(shape_case(parameter));
	}
	return all;
}

FigureRecipe recipe_of(Scene scene)
{
	FigureRecipe recipe;
	recipe.width = scene == Scene::Standing ? 1280 : 640;
	recipe.height = scene == Scene::Standing ? 720 : 360;
	recipe.eyes = scene == Scene::Standing ? Point{640, 80} : Point{320, 120};
	recipe.eye_distance = scene == Scene::Standing ? 22 : 36;
	return recipe;
}

class EverySetting : public NetEngineTest, public ::testing::WithParamInterface<Case> {
protected:
	void SetUp() override
	{
		NetEngineTest::SetUp();
		Image own;
		own.resize(64, 36);
		for (size_t byte = 0; byte < own.pixel_bytes(); ++byte)
			own.pixels[byte] = byte % 4 == 0 || byte % 4 == 3 ? 255 : 20;
		write_image(scratch.place("own.png"), own, 100);
	}

	Picture scene_of(Scene scene)
	{
		FacePainter painter(engine->nets->head);
		const FigureRecipe recipe = recipe_of(scene);
		Image image;
		paint_figure(painter, recipe, image);
		Picture picture(image.width, image.height);
		std::copy_n(image.pixels.begin(), picture.bytes.size(), picture.bytes.begin());
		std::minstd_rand random(1);
		for (int y = 0; y < picture.height; ++y) {
			for (int x = 0; x < picture.width; ++x) {
				uint8_t *pixel = picture.pixel(x, y);
				// Pores and a camera's noise.
				const int grain = int(random() % 13) - 6;
				for (size_t channel = 0; channel < 3; ++channel)
					pixel[channel] = uint8_t(std::clamp(pixel[channel] + grain, 0, 255));
				if (scene == Scene::Standing || !is_far_from_the_figure(recipe, x))
					continue;
				const bool is_stripe = (x / 12 + y / 12) % 2 == 0;
				if (scene == Scene::Screen)
					std::copy_n(std::array<uint8_t, 3>{30, 200, 60}.data(), 3, pixel);
				else if (is_stripe)
					std::copy_n(std::array<uint8_t, 3>{150, 160, 190}.data(), 3, pixel);
			}
		}
		return picture;
	}
	static bool is_far_from_the_figure(const FigureRecipe &recipe, int x)
	{
		return std::abs(float(x) - recipe.eyes.x) > 32 * recipe.pixels_per_cm();
	}

	// Sets a key as the filter does; a text's file comes from the plug-in's data.
	void set(kl_engine *target, const Parameter &parameter, double value, const std::string &text)
	{
		const std::string key = parameter.key;
		const std::string data = KALVIO_DATA_DIR;
		int32_t status = KL_OK;
		if (const auto *set_switch = std::get_if<SwitchSetter>(&parameter.setter)) {
			status = (*set_switch)(target, value != 0);
		} else if (const auto *set_strength = std::get_if<StrengthSetter>(&parameter.setter)) {
			status = (*set_strength)(target, float(value));
		} else if (const auto *set_choice = std::get_if<ChoiceSetter>(&parameter.setter)) {
			status = (*set_choice)(target, int32_t(value));
		} else if (const auto *set_reshape = std::get_if<ReshapeSetter>(&parameter.setter)) {
			const size_t index = std::get<StrengthField>(parameter.field).index;
			status = (*set_reshape)(target, int32_t(index), float(value));
		} else if (key == "bg_fill") {
			status = value == 0 ? kl_clear_virtual_background(target)
					    : kl_set_virtual_background_blur(target, 1);
		} else if (key == "bg_blur") {
			status = kl_set_virtual_background_blur(target, float(value));
		} else if (key == "bg_preset" || key == "bg_image") {
			const std::string path =
				text == "own" ? scratch.path("own.png") : data + "/backgrounds/" + text + ".jpg";
			status = kl_set_virtual_background(target, path.c_str());
		} else if (key == "chroma") {
			status = value == 0 ? kl_clear_chroma_key(target) : kl_set_chroma_key(target, int(value) - 1);
			kl_set_chroma_key_similarity(target, 0.4F);
		} else if (key == "filter_id") {
			status = text.empty()
					 ? kl_clear_filter(target)
					 : kl_set_filter(target,
							 (data + "/filters/" + text + "/" + text + ".kld").c_str());
		} else if (key == "filter_intensity") {
			status = kl_set_filter_intensity(target, float(value));
		} else if (key == "sticker_id") {
			status = text.empty()
					 ? kl_clear_sticker(target)
					 : kl_set_3d_sticker(target, (data + "/stickers/3d/" + text + ".kld").c_str());
		} else {
			FAIL() << "no way to set " << key;
		}
		ASSERT_EQ(status, KL_OK) << key;
	}

	// A new engine's last frame of some.
	Picture shown(const Case &one, const Picture &input, double value, const std::string &text,
		      bool is_alone = false)
	{
		engine = create();
		if (one.arrange != nullptr && !is_alone)
			one.arrange(engine.get());
		set(engine.get(), *parameter_of(one.key), value, text);
		Picture output = input;
		const int frames = one.scene == Scene::Standing && !is_alone ? 45 : 6;
		for (int frame = 0; frame < frames; ++frame) {
			pass(frame_us);
			output = processed(input);
		}
		return output;
	}

	// A face as the engine sees it in the picture.
	MakeupFace face_of(const Picture &input)
	{
		engine = create();
		kl_set_lipstick(engine.get(), 0.001F);
		Picture output = input;
		const int frames = input.width > 640 ? 45 : 6;
		for (int frame = 0; frame < frames; ++frame) {
			pass(frame_us);
			output = processed(input);
		}
		const auto faces = engine->faces->faces();
		EXPECT_EQ(faces.size(), 1U);
		return {input, faces[0].points, faces[0].size};
	}

	// Painted and found once for all tests.
	const MakeupFace &face_in(Scene scene)
	{
		static std::map<Scene, MakeupFace> faces;
		if (!faces.contains(scene))
			faces.emplace(scene, face_of(scene_of(scene)));
		return faces.at(scene);
	}

	// What moves with a part, in face sizes.
	static float beyond(Region region)
	{
		if (region == Region::FaceShape)
			return 0.3F;
		return region == Region::Nose ? 0.15F : 0;
	}

	// The pixels of a region, or of what lies within `margin` face sizes of it.
	static std::vector<bool> pixels_of(const Case &one, const MakeupFace &face, float margin)
	{
		const std::map<Region, FacePart> parts = {
			{Region::Face, FacePart::Face},     {Region::FaceShape, FacePart::Face},
			{Region::Lips, FacePart::Lips},     {Region::Cheeks, FacePart::Cheeks},
			{Region::Lids, FacePart::Lids},     {Region::Eyes, FacePart::LidLine},
			{Region::Nose, FacePart::Nose},     {Region::LidLine, FacePart::LidLine},
			{Region::Brows, FacePart::Brows},   {Region::Lashes, FacePart::Lashes},
			{Region::Irises, FacePart::Irises},
		};
		if (const auto part = parts.find(one.region); part != parts.end())
			return part_pixels(face, part->second, margin + beyond(one.region));
		const FigureRecipe recipe = recipe_of(one.scene);
		const Picture &picture = face.picture;
		std::vector<bool> pixels(size_t(picture.width) * size_t(picture.height));
		const float band = 1.5F * recipe.eye_distance;
		for (int y = 0; y < picture.height; ++y) {
			for (int x = 0; x < picture.width; ++x) {
				const float beside = std::abs(float(x) - recipe.eyes.x);
				bool holds = false;
				switch (one.region) {
				case Region::Wall:
					holds = is_far_from_the_figure(recipe, x);
					break;
				case Region::Body:
					holds = beside<28 * recipe.pixels_per_cm() + band &&float(y)> recipe.eyes.y +
						1.8F * recipe.eye_distance;
					break;
				case Region::Shirt:
					holds = beside < 14 * recipe.pixels_per_cm() && float(y) > recipe.y_at(26) &&
						float(y) < recipe.y_at(70);
					break;
				default:
					holds = true;
				}
				pixels[size_t(y) * size_t(picture.width) + size_t(x)] = holds;
			}
		}
		return pixels;
	}
	// What a person sees of a picture with alpha: it lies over magenta.
	static Picture over_magenta(const Picture &picture)
	{
		Picture over = picture;
		for (size_t index = 0; index < over.bytes.size(); index += 4) {
			const int alpha = picture.bytes[index + 3];
			for (size_t channel = 0; channel < 3; ++channel) {
				const int behind = channel == 1 ? 0 : 255;
				over.bytes[index + channel] = static_cast<uint8_t>(
					(picture.bytes[index + channel] * alpha + behind * (255 - alpha) + 127) / 255);
			}
		}
		return over;
	}
};

TEST_P(EverySetting, ChangesWhatItIsForAndNothingElse)
{
	const Case &one = GetParam();
	ASSERT_NE(parameter_of(one.key), nullptr);
	const MakeupFace &face = face_in(one.scene);
	const Picture &input = face.picture;
	const std::vector<bool> region = pixels_of(one, face, 0);
	if (one.is_neutral_off) {
		EXPECT_EQ(shown(one, input, one.neutral, one.neutral_text, true).bytes, input.bytes);
	}
	const bool is_captured = one.is_neutral_off && one.arrange == nullptr;
	const Picture before = is_captured ? input : shown(one, input, one.neutral, one.neutral_text);
	const Picture after = shown(one, input, one.extreme, one.text == nullptr ? "" : one.text);
	const PartChange change = change_in(region, over_magenta(before), over_magenta(after));
	RecordProperty("share", std::to_string(change.share));
	EXPECT_GE(change.share, one.share);
	if (one.reach < 0 && one.reach != shape_reach)
		return; // it is for all of the frame, or fades out over it
	Case around = one;
	if (one.reach == shape_reach)
		around.region = Region::FaceShape;
	const std::vector<bool> reached = pixels_of(around, face, std::max(one.reach, 0.0F));
	int elsewhere = 0;
	for (size_t pixel = 0; pixel < reached.size(); ++pixel) {
		if (reached[pixel])
			continue;
		const auto from = static_cast<ptrdiff_t>(pixel * 4);
		const bool same = std::equal(before.bytes.begin() + from, before.bytes.begin() + from + 4,
					     after.bytes.begin() + from);
		elsewhere += same ? 0 : 1;
	}
	// The edge of a matte is not the silhouette that was drawn; within the person nothing changes.
	if (one.region == Region::Wall) {
		const FigureRecipe recipe = recipe_of(one.scene);
		elsewhere = 0;
		for (int y = int(recipe.y_at(30)); y < input.height; ++y) {
			for (int x = int(recipe.eyes.x) - 30; x < int(recipe.eyes.x) + 30; ++x) {
				if (one.scene != Scene::Screen && std::string(one.key) != "skin_only")
					elsewhere += std::equal(before.pixel(x, y), before.pixel(x, y) + 4,
								after.pixel(x, y))
							     ? 0
							     : 1;
			}
		}
	}
	EXPECT_EQ(elsewhere, 0);
}

std::string name_of_case(const ::testing::TestParamInfo<Case> &info)
{
	return info.param.key;
}

INSTANTIATE_TEST_SUITE_P(Key, EverySetting, ::testing::ValuesIn(all_cases()), name_of_case);

TEST(EverySettingTable, HasACaseForEachKey)
{
	// The switch of the filter itself never comes to the engine: FrameFailures.ADisabledFilter* hold what it does.
	std::set<std::string> keys = {"enabled"};
	for (const Case &one : all_cases())
		EXPECT_TRUE(keys.insert(one.key).second) << one.key;
	for (const Parameter &parameter : parameter_table())
		EXPECT_TRUE(keys.contains(parameter.key)) << parameter.key;
	EXPECT_EQ(keys.size(), parameter_table().size());
	EXPECT_EQ(keys.size(), 75U);
}

} // namespace
} // namespace kalvio::engine::testing
