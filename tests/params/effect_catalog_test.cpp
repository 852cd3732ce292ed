// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/effect_catalog.h"

#include "kit/double_fixture.h"
#include "kit/scratch.h"

#include <cstring>
#include <tuple>

namespace {

using namespace kalvio;
using namespace kalvio::test;

class EffectCatalog : public DoubleFixture {
protected:
	EffectCatalog() { host_double().set_data_folder(data_.path().generic_string()); }

	ScratchFolder data_;
};

// --- The lists

TEST_F(EffectCatalog, ListsTheColorFiltersInPanelOrder)
{
	const std::vector<std::string> expected = {
		"initial_heart", "first_love", "vivid",  "confession", "milk_tea",      "mousse", "japanese",
		"dawn",          "cookie",     "lively", "pure",       "fair",          "snow",   "plain",
		"natural",       "rose",       "tender", "tender_2",   "extraordinary",
	};
	EXPECT_EQ(std::vector<std::string>(filter_catalog.begin(), filter_catalog.end()), expected);
}

TEST_F(EffectCatalog, ListsTheStickersWithKindAndAnimation)
{
	using Row = std::tuple<std::string, int, int>;
	const std::vector<Row> expected = {
		{"black_glass", 0, 0},  {"fox", 0, 0},         {"kiss2", 0, 0},
		{"mustache", 0, 0},     {"fan_club", 0, 0},    {"falling_sakura", 0, 1},
		{"falling_pigs", 0, 1}, {"butterfly", 1, 1},   {"petals", 1, 1},
		{"oculos", 2, 0},       {"red_glasses", 2, 0},
	};
	std::vector<Row> rows;
	for (const StickerEntry &entry : sticker_catalog)
		rows.emplace_back(entry.id, static_cast<int>(entry.kind), entry.animated);
	EXPECT_EQ(rows, expected);
}

TEST_F(EffectCatalog, ListsTheBackgroundPresetsInPanelOrder)
{
	using Row = std::pair<std::string, std::string>;
	const std::vector<Row> expected = {
		{"office", "bg.preset.office"},       {"living", "bg.preset.living"},
		{"bookshelf", "bg.preset.bookshelf"}, {"cafe", "bg.preset.cafe"},
		{"outdoor", "bg.preset.outdoor"},     {"city", "bg.preset.city"},
		{"studio", "bg.preset.studio"},       {"abstract", "bg.preset.abstract"},
	};
	std::vector<Row> rows;
	for (const BackgroundPreset &preset : background_presets)
		rows.emplace_back(preset.id, preset.label_key);
	EXPECT_EQ(rows, expected);
}

TEST_F(EffectCatalog, FindsAStickerByItsExactIdOnly)
{
	ASSERT_NE(find_sticker("fox"), nullptr);
	EXPECT_STREQ(find_sticker("fox")->id, "fox");
	for (const char *id : {"", "FOX", "fo", "foxx", "fox ", "vivid"})
		EXPECT_EQ(find_sticker(id), nullptr) << id;
	EXPECT_EQ(find_sticker(nullptr), nullptr);
}

// --- Color filters

TEST_F(EffectCatalog, AFilterLiesInAFolderOfItsOwnName)
{
	const std::string path = data_.write("filters/tender_2/tender_2.kld");
	EXPECT_EQ(filter_resource_path("tender_2"), path);
}

TEST_F(EffectCatalog, AFilterElsewhereIsNotFound)
{
	data_.write("filters/tender_2.kld");
	data_.write("filters/tender/tender_2.kld");
	EXPECT_EQ(filter_resource_path("tender_2"), "");
}

TEST_F(EffectCatalog, NoFilterIdResolvesToNothingWithoutALook)
{
	EXPECT_EQ(filter_resource_path(nullptr), "");
	EXPECT_EQ(filter_resource_path(""), "");
	EXPECT_EQ(call_journal().calls(), std::vector<Call>());
}

// --- Stickers

TEST_F(EffectCatalog, EachKindOfStickerHasItsFolder)
{
	const std::string face = data_.write("stickers/face/a.kld");
	const std::string screen = data_.write("stickers/screen/a.kld");
	const std::string three_d = data_.write("stickers/3d/a.kld");
	EXPECT_EQ(sticker_resource_path({"a", StickerKind::Face, 0}), face);
	EXPECT_EQ(sticker_resource_path({"a", StickerKind::Screen, 0}), screen);
	EXPECT_EQ(sticker_resource_path({"a", StickerKind::ThreeD, 0}), three_d);
	EXPECT_EQ(sticker_resource_path({"a", static_cast<StickerKind>(7), 0}), face);
	EXPECT_EQ(sticker_resource_path({"a", static_cast<StickerKind>(-1), 0}), face);
}

TEST_F(EffectCatalog, AScreenStickerInTheFaceFolderIsNotFound)
{
	data_.write("stickers/face/butterfly.kld");
	EXPECT_EQ(sticker_resource_path(*find_sticker("butterfly")), "");
}

// --- Backgrounds

TEST_F(EffectCatalog, APresetIsAJpgBeforeItIsAPng)
{
	const std::string png = data_.write("backgrounds/studio.png");
	EXPECT_EQ(background_preset_path("studio"), png);
	const std::string jpg = data_.write("backgrounds/studio.jpg");
	EXPECT_EQ(background_preset_path("studio"), jpg);
}

TEST_F(EffectCatalog, APresetWithoutAPictureIsTheDefaultPicture)
{
	EXPECT_EQ(background_preset_path("studio"), "");
	const std::string standard = data_.write("background.jpg");
	EXPECT_EQ(background_preset_path("studio"), standard);
	EXPECT_EQ(default_background_path(), standard);
}

TEST_F(EffectCatalog, NoPresetIdResolvesToNothingEvenWithADefaultPicture)
{
	data_.write("background.jpg");
	EXPECT_EQ(background_preset_path(nullptr), "");
	EXPECT_EQ(background_preset_path(""), "");
}

// --- Ids that nobody means well with

TEST_F(EffectCatalog, AnIdLeadsNowhereButIntoTheDataFolder)
{
	data_.write("outside.kld/outside.kld.kld");
	data_.write("secret.jpg");
	const std::string standard = data_.write("background.jpg");
	data_.write("filters/..hidden/..hidden.kld");
	for (const char *id : {"../outside.kld", "..", ".", "/etc/passwd", "a/b", "a\\b", "C:a", "..hidden", "a\nb"}) {
		EXPECT_EQ(filter_resource_path(id), "") << id;
		EXPECT_EQ(background_preset_path(id), standard) << id;
	}
	EXPECT_EQ(background_preset_path("../secret"), standard);
	for (const Call &call : call_journal().calls(CallOrigin::Host))
		EXPECT_EQ(call.arguments.back(), Argument("background.jpg"));
}

TEST_F(EffectCatalog, ThePicturesAreLookedForInTheirOrder)
{
	background_preset_path("cafe");
	const Argument module = Argument::address(module_double_handle());
	EXPECT_EQ(call_journal().calls(CallOrigin::Host),
		  (std::vector<Call>{{"obs_find_module_file", {module, "backgrounds/cafe.jpg"}},
				     {"obs_find_module_file", {module, "backgrounds/cafe.png"}},
				     {"obs_find_module_file", {module, "background.jpg"}}}));
}

} // namespace
