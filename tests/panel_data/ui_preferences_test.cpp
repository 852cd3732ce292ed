// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/ui_preferences.h"

#include "panel/model/ui_file.h"
#include "panel/text/translations.h"
#include "ui_preferences_fixture.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <obs.hpp>

using namespace kalvio;
using test::UiPreferencesTest;

namespace {

struct LoadCase {
	const char *content;
	bool open_on_startup;
	bool apply_global;
};

class UiPreferencesLoadTest : public UiPreferencesTest, public testing::WithParamInterface<LoadCase> {};

} // namespace

TEST_P(UiPreferencesLoadTest, FileDecides)
{
	write(GetParam().content);
	EXPECT_EQ(load_ui_prefs(LanguageEnglish), GetParam().open_on_startup);
	EXPECT_EQ(ui_preferences().open_on_startup, GetParam().open_on_startup);
	EXPECT_EQ(ui_preferences().apply_global, GetParam().apply_global);
}

constexpr LoadCase load_cases[] = {
	{R"({})", true, false},
	{R"({"open_on_startup": false, "apply_global": true})", false, true},
	{R"({"open_on_startup": true, "panel_visible": false})", true, false},
	{R"({"open_on_startup": false, "panel_visible": true})", false, false},
	{R"({"panel_visible": false})", false, false},
	// What is no boolean is read as the host reads it.
	{R"({"open_on_startup": "yes", "apply_global": 1})", false, false},
	{R"({"open_on_startup": null})", true, false},
	{R"({"open_on_startup": {"a": []}})", false, false},
	// What is no object says nothing.
	{"", true, false},
	{"{", true, false},
	{R"({"open_on_startup": false)", true, false},
	{"[false]", true, false},
	{"null", true, false},
	{"\xff\xfe\x00", true, false},
};

INSTANTIATE_TEST_SUITE_P(Files, UiPreferencesLoadTest, testing::ValuesIn(load_cases));

TEST_F(UiPreferencesTest, FollowingTheSourcesIsKept)
{
	load_ui_prefs(LanguageEnglish);
	EXPECT_FALSE(ui_preferences().follow_sources);
	ui_preferences().follow_sources = true;
	save_ui_prefs();
	ui_preferences() = {};
	load_ui_prefs(LanguageEnglish);
	EXPECT_TRUE(ui_preferences().follow_sources);
}

TEST_F(UiPreferencesTest, MissingFileLeavesTheDefaults)
{
	EXPECT_TRUE(load_ui_prefs(LanguageEnglish));
	EXPECT_FALSE(ui_preferences().apply_global);
	EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(UiPreferencesTest, AbsentApplyGlobalKeepsItsValue)
{
	write(R"({"open_on_startup": false})");
	ui_preferences().apply_global = true;
	load_ui_prefs(LanguageEnglish);
	EXPECT_TRUE(ui_preferences().apply_global);
}

TEST_F(UiPreferencesTest, AbsentOpenOnStartupGoesBackToItsDefault)
{
	write(R"({"apply_global": true})");
	ui_preferences().open_on_startup = false;
	EXPECT_TRUE(load_ui_prefs(LanguageEnglish));
	EXPECT_TRUE(ui_preferences().open_on_startup);
}

TEST_F(UiPreferencesTest, LoadMakesTheLanguageCurrent_WhateverTheFileSays)
{
	write(R"({"lang": "de"})");
	load_ui_prefs(LanguageJapanese);
	EXPECT_STREQ(translate("tab.skin"), "美肌");
}

TEST_F(UiPreferencesTest, FolderInPlaceOfTheFileIsNoFile)
{
	std::filesystem::create_directories(path());
	EXPECT_TRUE(load_ui_prefs(LanguageEnglish));
	save_ui_prefs();
	EXPECT_TRUE(std::filesystem::is_directory(path()));
}

TEST_F(UiPreferencesTest, HugeFileIsNotRead)
{
	write(R"({"open_on_startup": false, "padding": ")" + std::string(2 * 1024 * 1024, 'x') + R"("})");
	EXPECT_TRUE(load_ui_prefs(LanguageEnglish));
}

TEST_F(UiPreferencesTest, NoConfigurationFolderLeavesTheDefaults)
{
	test::set_config_folder("");
	EXPECT_TRUE(load_ui_prefs(LanguageEnglish));
	save_ui_prefs();
	EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(UiPreferencesTest, FirstSaveMakesFolderAndFile)
{
	ui_preferences().apply_global = true;
	save_ui_prefs();
	const OBSDataAutoRelease file = read();
	ASSERT_TRUE(file);
	EXPECT_TRUE(obs_data_has_user_value(file, "open_on_startup"));
	EXPECT_TRUE(obs_data_get_bool(file, "open_on_startup"));
	EXPECT_TRUE(obs_data_get_bool(file, "apply_global"));
	EXPECT_FALSE(obs_data_has_user_value(file, "dock_floating"));
}

TEST_F(UiPreferencesTest, SaveKeepsEveryKeyOfOthers)
{
	write(R"({"dock_floating": true, "dock_x": -7, "panel_visible": false, "later": {"a": [1, "b"]}})");
	load_ui_prefs(LanguageEnglish);
	save_ui_prefs();
	const OBSDataAutoRelease file = read();
	EXPECT_TRUE(obs_data_get_bool(file, "dock_floating"));
	EXPECT_EQ(obs_data_get_int(file, "dock_x"), -7);
	EXPECT_TRUE(obs_data_has_user_value(file, "panel_visible"));
	EXPECT_FALSE(obs_data_get_bool(file, "panel_visible"));
	EXPECT_FALSE(obs_data_get_bool(file, "open_on_startup"));
	const OBSDataAutoRelease later = obs_data_get_obj(file, "later");
	const OBSDataArrayAutoRelease array = obs_data_get_array(later, "a");
	EXPECT_TRUE(later && array);
}

TEST_F(UiPreferencesTest, SaveRemovesTheOldLanguageChoice)
{
	write(R"({"lang": "de"})");
	save_ui_prefs();
	const OBSDataAutoRelease file = read();
	EXPECT_FALSE(obs_data_has_user_value(file, "lang"));
}

TEST_F(UiPreferencesTest, SaveReplacesABrokenFile)
{
	write(R"({"dock_floating": true)");
	save_ui_prefs();
	const OBSDataAutoRelease file = read();
	ASSERT_TRUE(file);
	EXPECT_TRUE(obs_data_get_bool(file, "open_on_startup"));
	EXPECT_FALSE(obs_data_has_user_value(file, "dock_floating"));
}

TEST_F(UiPreferencesTest, SaveWithoutAPlaceForTheFolderIsSilent)
{
	folder_.write("plugin_config", "a file where the folder should be");
	log_.clear();
	save_ui_prefs();
	EXPECT_TRUE(log_.product_lines().empty());
	EXPECT_TRUE(std::filesystem::is_regular_file(folder_.file("plugin_config")));
}
