// SPDX-License-Identifier: GPL-2.0-or-later
#include "dock_fixture.h"

#include "filter/filter_registry.h"
#include "filter/original_view.h"
#include "kit/host_hotkeys.h"
#include "panel/model/panel_model.h"

// The console's own hot keys, from the host's list to the filters, and their bindings from one start to the next.
namespace kalvio::test {
namespace {

constexpr const char *on = "Kalvio.AllEffectsOn";
constexpr const char *off = "Kalvio.AllEffectsOff";
constexpr const char *original = "Kalvio.ShowOriginal";

class HotkeysTest : public DockTest {
protected:
	OBSDataAutoRelease file() const
	{
		return obs_data_create_from_json_file(folder.file("config/hotkeys.json").c_str());
	}
};

TEST_F(HotkeysTest, AreInTheListFromTheStartToTheEnd)
{
	start();
	for (const char *name : {on, off, original, "Kalvio.NextLook", "Kalvio.PreviousLook"})
		EXPECT_TRUE(has_hotkey(name)) << name;
	quit();
	for (const char *name : {on, off, original, "Kalvio.NextLook", "Kalvio.PreviousLook"})
		EXPECT_FALSE(has_hotkey(name)) << name;
}

TEST_F(HotkeysTest, SwitchAllFiltersAndThePanelFollows)
{
	start();
	FakeSource first("Camera");
	FakeSource second("Screen");
	for (FakeSource *filter : {&first, &second}) {
		obs_data_set_bool(filter->settings, "enabled", true);
		register_filter(filter->handle());
	}
	fire(*poll_timer());
	EXPECT_TRUE(press_hotkey(off));
	EXPECT_FALSE(obs_data_get_bool(first.settings, "enabled"));
	EXPECT_FALSE(obs_data_get_bool(second.settings, "enabled"));
	show_switched_effects();
	EXPECT_FALSE(panel_model().parameters.enabled);

	// What the panel writes next leaves it so.
	panel_model().parameters.skin.smoothing = 0.5f;
	pushParameters();
	EXPECT_FALSE(obs_data_get_bool(first.settings, "enabled"));
	EXPECT_EQ(obs_data_get_double(first.settings, "smoothing"), 0.5);

	EXPECT_FALSE(press_hotkey(off));
	EXPECT_TRUE(press_hotkey(on));
	EXPECT_TRUE(obs_data_get_bool(second.settings, "enabled"));
	for (FakeSource *filter : {&first, &second})
		unregister_filter(filter->handle());
}

TEST_F(HotkeysTest, OriginalIsShownWhileTheKeyIsHeldAndNotAfterTheEnd)
{
	start();
	press_hotkey(original, true);
	EXPECT_TRUE(is_original_shown(1));
	press_hotkey(original, false);
	EXPECT_FALSE(is_original_shown(1));
	press_hotkey(original, true);
	quit();
	EXPECT_FALSE(is_original_shown(1));
}

TEST_F(HotkeysTest, NextLookIsAppliedToTheShownFilter)
{
	start();
	host_double().set_data_folder(KALVIO_TEST_DATA_SOURCE);
	FakeSource filter("Camera");
	register_filter(filter.handle());
	fire(*poll_timer());
	press_hotkey("Kalvio.NextLook");
	EXPECT_FLOAT_EQ(static_cast<float>(obs_data_get_double(filter.settings, "smoothing")), 0.35f);
	press_hotkey("Kalvio.NextLook", false);
	press_hotkey("Kalvio.PreviousLook");
	EXPECT_EQ(obs_data_get_string(filter.settings, "filter_id"), std::string("japanese"));
	unregister_filter(filter.handle());
}

TEST_F(HotkeysTest, BindingsAreThereAfterTheNextStart)
{
	start();
	EXPECT_FALSE(file());
	bind_hotkey(off, "OBS_KEY_F9");
	fire(*poll_timer());
	EXPECT_TRUE(file());
	bind_hotkey(original, "OBS_KEY_F10"); // kept by the end, without another poll
	restart();
	EXPECT_EQ(bound_key(off), "OBS_KEY_F9");
	EXPECT_EQ(bound_key(original), "OBS_KEY_F10");
	EXPECT_EQ(bound_key(on), "");
}

TEST_F(HotkeysTest, KeysOfOthersInTheFileAreKept)
{
	folder.write("config/hotkeys.json", R"({"Kalvio.Later": [{"key": "OBS_KEY_F1"}]})");
	start();
	bind_hotkey(off, "OBS_KEY_F9");
	fire(*poll_timer());
	const OBSDataAutoRelease kept = file();
	EXPECT_TRUE(obs_data_has_user_value(kept, "Kalvio.Later"));
	EXPECT_TRUE(obs_data_has_user_value(kept, off));
}

TEST_F(HotkeysTest, ADamagedFileIsNoBindings)
{
	for (const char *content :
	     {"", "{", "[1,2", R"({"Kalvio.AllEffectsOff": 5})", R"({"Kalvio.AllEffectsOff": {}})"}) {
		folder.write("config/hotkeys.json", content);
		start();
		EXPECT_EQ(bound_key(off), "");
		EXPECT_TRUE(has_hotkey(off));
		restart();
		quit();
		frontend = std::make_unique<FrontendDouble>();
	}
}

} // namespace
} // namespace kalvio::test
