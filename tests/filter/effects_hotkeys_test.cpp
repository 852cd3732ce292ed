// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/effects_hotkeys.h"

#include "filter/filter_fixture.h"
#include "filter/panel_hooks.h"
#include "kit/host_hotkeys.h"

namespace {

using namespace kalvio;
using namespace kalvio::test;

constexpr const char *on = "Kalvio.EffectsOn.0a-1";
constexpr const char *off = "Kalvio.EffectsOff.0a-1";

int switched_calls = 0;

class EffectsHotkeys : public FilterFixture {
protected:
	EffectsHotkeys()
	{
		switched_calls = 0;
		panel_hooks.effects_switched = [] {
			++switched_calls;
		};
	}
	~EffectsHotkeys() override
	{
		obs_hotkey_pair_unregister(pair_);
		panel_hooks.effects_switched = ignore_call;
	}

	void create_with_hotkeys()
	{
		filter_.uuid = "0a-1";
		create();
		pair_ = register_effects_hotkeys(instance().id);
	}

	obs_hotkey_pair_id pair_ = OBS_INVALID_HOTKEY_PAIR_ID;

	bool is_enabled() { return obs_data_get_bool(filter_.settings, "enabled"); }
};

TEST_F(EffectsHotkeys, SwitchTheirFilterAndTellThePanel)
{
	create_with_hotkeys();
	EXPECT_TRUE(press_hotkey(off, true, camera_.name));
	EXPECT_FALSE(is_enabled());
	EXPECT_EQ(switched_calls, 1);
	filter_.tick();
	EXPECT_FALSE(instance().enabled);
	EXPECT_TRUE(press_hotkey(on, true, camera_.name));
	EXPECT_TRUE(is_enabled());
}

// By what they return the host lets two functions on one key take turns.
TEST_F(EffectsHotkeys, SayWhenThereIsNothingToSwitch)
{
	create_with_hotkeys();
	EXPECT_FALSE(press_hotkey(on, true, camera_.name));
	EXPECT_FALSE(press_hotkey(off, false, camera_.name));
	EXPECT_TRUE(is_enabled());
	EXPECT_EQ(switched_calls, 0);
}

TEST_F(EffectsHotkeys, ChangeNothingElse)
{
	create_with_hotkeys();
	update_double("smoothing", 0.7);
	press_hotkey(off, true, camera_.name);
	EXPECT_EQ(obs_data_get_double(filter_.settings, "smoothing"), 0.7);
}

TEST_F(EffectsHotkeys, AreKeysOfTheSourceUntilTheyAreUnregistered)
{
	create_with_hotkeys();
	EXPECT_TRUE(has_hotkey(on, camera_.name));
	EXPECT_TRUE(has_hotkey(off, camera_.name));
	obs_hotkey_pair_unregister(pair_);
	EXPECT_FALSE(has_hotkey(on, camera_.name));
	EXPECT_FALSE(has_hotkey(off, camera_.name));
}

TEST_F(EffectsHotkeys, OfAFilterThatIsGoneDoNothing)
{
	create_with_hotkeys();
	filter_.destroy_filter();
	EXPECT_FALSE(press_hotkey(off, true, camera_.name));
	EXPECT_TRUE(is_enabled());
}

TEST_F(EffectsHotkeys, AFilterWithoutASourceHasNone)
{
	create();
	filter_.remove_from_source();
	EXPECT_EQ(register_effects_hotkeys(instance().id), OBS_INVALID_HOTKEY_PAIR_ID);
	EXPECT_EQ(register_effects_hotkeys(0), OBS_INVALID_HOTKEY_PAIR_ID);
}

TEST_F(EffectsHotkeys, AllFiltersAreSwitchedWhereOneIsDifferent)
{
	create_with_hotkeys();
	FakeSource second("Second filter");
	second.put_on(camera_);
	second.create_filter(info_);
	EXPECT_TRUE(switch_effects(static_cast<FilterInstance *>(second.data)->id, false));
	EXPECT_TRUE(is_enabled());
	EXPECT_TRUE(switch_effects(0, false));
	EXPECT_FALSE(is_enabled());
	EXPECT_FALSE(obs_data_get_bool(second.settings, "enabled"));
	EXPECT_FALSE(switch_effects(0, false));
	EXPECT_TRUE(switch_effects(0, true));
	EXPECT_TRUE(obs_data_get_bool(second.settings, "enabled"));
	second.destroy_filter();
}

TEST_F(EffectsHotkeys, OfAFilterWithoutANameAreInTheListAllTheSame)
{
	host_double().fail("obs_source_get_name");
	create_with_hotkeys();
	EXPECT_TRUE(press_hotkey(off, true, camera_.name));
	EXPECT_FALSE(is_enabled());
}

TEST_F(EffectsHotkeys, ThatTheHostDoesNotGiveAreNoObstacle)
{
	refuse_hotkeys(true);
	create_with_hotkeys();
	refuse_hotkeys(false);
	EXPECT_EQ(pair_, OBS_INVALID_HOTKEY_PAIR_ID);
	EXPECT_TRUE(switch_effects(0, false));
	EXPECT_FALSE(is_enabled());
}

} // namespace
