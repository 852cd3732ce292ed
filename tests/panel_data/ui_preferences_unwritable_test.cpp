// SPDX-License-Identifier: GPL-2.0-or-later
#include "ui_preferences_fixture.h"

#include <filesystem>

// Files that cannot be written, not even by the superuser: those that Unix has for it.
namespace kalvio::test {

TEST_F(UiPreferencesTest, SaveToAReadOnlyFileIsSilentAndKeepsTheChoices)
{
	std::filesystem::create_directories(folder_.file("plugin_config"));
	std::filesystem::create_symlink("/proc/version", path()); // which not even root may write
	EXPECT_TRUE(load_ui_prefs(LanguageEnglish));
	ui_preferences().apply_global = true;
	log_.clear();
	save_ui_prefs();
	EXPECT_TRUE(ui_preferences().apply_global);
	EXPECT_TRUE(log_.product_lines().empty());
}

TEST_F(UiPreferencesTest, SaveOnAFullDiskIsSilentAndKeepsTheChoices)
{
	std::filesystem::create_directories(folder_.file("plugin_config"));
	std::filesystem::create_symlink("/dev/full", path());
	ui_preferences().open_on_startup = false;
	save_ui_prefs();
	EXPECT_FALSE(ui_preferences().open_on_startup);
	EXPECT_TRUE(log_.product_lines().empty());
}

} // namespace kalvio::test
