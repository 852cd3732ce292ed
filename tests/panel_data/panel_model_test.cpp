// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/panel_model.h"

#include "kit/call_journal.h"
#include "panel_model_fixture.h"
#include "params/parameter_table.h"

#include <filesystem>
#include <obs.hpp>

using namespace kalvio;
using kalvio::test::FakeSource;
using kalvio::test::PanelModelTest;

using Names = std::vector<std::string>;

// The list of names

TEST_F(PanelModelTest, TwoFiltersOfOneNameAreNumbered)
{
	add_filter("Camera");
	add_filter("Camera");
	add_filter("Screen");
	add_filter("Camera");
	poll_targets();
	EXPECT_EQ(panel_model().names, (Names{"Camera", "Camera (2)", "Screen", "Camera (3)"}));
}

TEST_F(PanelModelTest, NumberThatIsTakenIsSkipped)
{
	add_filter("Camera (2)");
	add_filter("Camera");
	add_filter("Camera");
	add_filter("Camera (2)");
	poll_targets();
	EXPECT_EQ(panel_model().names, (Names{"Camera (2)", "Camera", "Camera (3)", "Camera (2) (2)"}));
}

TEST_F(PanelModelTest, NamelessFiltersKeepAnEmptyName)
{
	FakeSource &first = add_filter("");
	first.nameless = true;
	FakeSource &second = add_filter("");
	second.name = "";
	poll_targets();
	EXPECT_EQ(panel_model().names, (Names{"", " (2)"}));
}

TEST_F(PanelModelTest, FilterOfANamelessSourceShowsItsOwnName)
{
	add_filter("").name = "Beauty of my own";
	poll_targets();
	EXPECT_EQ(panel_model().names, (Names{"Beauty of my own"}));
}

TEST_F(PanelModelTest, NamesAreTakenAsTheyAre)
{
	const Names odd = {"<b>Camera</b>", "two\nlines", "\u202Eright to left", "مرحبا", std::string(10'000, 'x')};
	for (const std::string &name : odd)
		add_filter(name);
	poll_targets();
	EXPECT_EQ(panel_model().names, odd);
}

TEST_F(PanelModelTest, NamesThatOnlyALineBreakSetsApartAreToldApart)
{
	FakeSource &first = add_filter("a\nb");
	FakeSource &second = add_filter("c");
	poll_targets();
	take_changed();
	first.parent.load()->name = "a";
	second.parent.load()->name = "b\nc";
	poll_targets();
	EXPECT_TRUE(take_changed());
}

TEST_F(PanelModelTest, RenamedSourceShowsItsNewNameAndKeepsTheValues)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	take_changed();
	filter.parent.load()->name = "Webcam";
	poll_targets();
	EXPECT_EQ(panel_model().names, Names{"Webcam"});
	EXPECT_TRUE(take_changed());
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.25f);
}

// Refreshing

TEST_F(PanelModelTest, FirstPollAsksForARefresh)
{
	poll_targets();
	EXPECT_TRUE(take_changed());
}

TEST_F(PanelModelTest, PollThatFindsNothingNewAsksForNoRefresh)
{
	add_filter("Camera");
	poll_targets();
	take_changed();
	poll_targets();
	EXPECT_FALSE(take_changed());
}

TEST_F(PanelModelTest, TakeChangedClearsTheFlag)
{
	panel_model().changed = true;
	EXPECT_TRUE(take_changed());
	EXPECT_FALSE(take_changed());
}

TEST_F(PanelModelTest, EachPartOfTheUpdateStatusAsksForARefresh)
{
	const UpdateStatus statuses[] = {
		{false, true, "", ""},
		{true, false, "", ""},
		{true, false, "2.0.0", ""},
		{true, false, "2.0.0", "New"},
	};
	poll_targets();
	for (const UpdateStatus &status : statuses) {
		take_changed();
		test::set_update_status(status);
		poll_targets();
		EXPECT_TRUE(take_changed());
	}
	EXPECT_EQ(panel_model().update.notes, "New");
}

TEST_F(PanelModelTest, EachPollAsksTheUpdateServiceOnce)
{
	poll_targets();
	poll_targets();
	EXPECT_EQ(test::update_check_polls(), 2);
}

TEST_F(PanelModelTest, StatusTextTellsWhetherThereIsAFilter)
{
	poll_targets();
	EXPECT_EQ(panel_model().status_text, "Add Kalvio Beauty filter first");
	add_filter("Camera");
	poll_targets();
	EXPECT_EQ(panel_model().status_text, "Live");
}

TEST_F(PanelModelTest, ControlsAreEnabledWithAFilterThatIsNotPaused)
{
	poll_targets();
	EXPECT_FALSE(controls_enabled());
	add_filter("Camera");
	poll_targets();
	EXPECT_TRUE(controls_enabled());
	test::set_update_status({true, false, "", ""});
	poll_targets();
	EXPECT_FALSE(controls_enabled());
}

// Loading values

TEST_F(PanelModelTest, FirstFilterIsReadAndNotWritten)
{
	poll_targets();
	FakeSource &filter = add_filter("Camera", 0.5);
	poll_targets();
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.5f);
	EXPECT_EQ(take_updates(filter), 0);
}

TEST_F(PanelModelTest, AbsentSettingsShowTheirDefaults)
{
	add_filter("Camera");
	panel_model().parameters.filter.id = "rose";
	panel_model().parameters.filter.intensity = 0.1f;
	poll_targets();
	EXPECT_EQ(panel_model().parameters, ParameterSet());
}

TEST_F(PanelModelTest, HostStartWithAllSourcesKeepsEverySavedValue)
{
	ui_preferences().apply_global = true;
	poll_targets(); // before the host has loaded anything
	FakeSource &first = add_filter("Camera", 0.25);
	FakeSource &second = add_filter("Screen", 0.75);
	poll_targets();
	poll_targets();
	EXPECT_DOUBLE_EQ(smoothing_of(first), 0.25);
	EXPECT_DOUBLE_EQ(smoothing_of(second), 0.75);
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.25f);
	EXPECT_EQ(take_updates(first) + take_updates(second), 0);
}

TEST_F(PanelModelTest, HostStartThatIsPolledHalfWayKeepsEverySavedValue)
{
	ui_preferences().apply_global = true;
	begin_loading_filters();
	FakeSource &first = add_filter("Camera", 0.25);
	poll_targets();
	FakeSource &second = add_filter("Screen", 0.75);
	poll_targets();
	end_loading_filters();
	poll_targets();
	EXPECT_DOUBLE_EQ(smoothing_of(first), 0.25);
	EXPECT_DOUBLE_EQ(smoothing_of(second), 0.75);
}

TEST_F(PanelModelTest, EmptiedAndRefilledListIsReadAgain)
{
	ui_preferences().apply_global = true;
	add_filter("Camera", 0.25);
	poll_targets();
	remove_all_filters();
	poll_targets();
	FakeSource &next = add_filter("Camera", 0.75);
	poll_targets();
	EXPECT_DOUBLE_EQ(smoothing_of(next), 0.75);
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.75f);
}

// Between two polls the host puts other filters in the place of the old ones: fewer, as many, more.
TEST_F(PanelModelTest, OtherCollectionWithAllSourcesKeepsEverySavedValue)
{
	ui_preferences().apply_global = true;
	for (const int count : {3, 1, 1, 4, 4, 2}) {
		remove_all_filters();
		std::vector<FakeSource *> filters;
		for (int i = 0; i < count; ++i)
			filters.push_back(&add_filter("Camera", 0.125 * (i + 1)));
		poll_targets();
		poll_targets();
		for (int i = 0; i < count; ++i)
			EXPECT_DOUBLE_EQ(smoothing_of(*filters[static_cast<size_t>(i)]), 0.125 * (i + 1));
		EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.125f);
	}
}

TEST_F(PanelModelTest, OtherCollectionKeepsItsValues_WhenAChangeWasWaiting)
{
	for (const bool all : {false, true}) {
		remove_all_filters();
		poll_targets();
		ui_preferences().apply_global = all;
		add_filter("Camera", 0.25);
		poll_targets();
		panel_model().parameters.enabled = false;
		panel_model().pending_push = true; // as the live toggle leaves it
		remove_all_filters();
		FakeSource &next = add_filter("Camera", 0.75);
		poll_targets();
		EXPECT_DOUBLE_EQ(smoothing_of(next), 0.75);
		EXPECT_EQ(take_updates(next), 0);
		EXPECT_TRUE(panel_model().parameters.enabled);
	}
}

TEST_F(PanelModelTest, OtherCollectionKeepsItsValues_WhenASliderMovesBeforeThePoll)
{
	for (const bool all : {false, true}) {
		remove_all_filters();
		poll_targets();
		ui_preferences().apply_global = all;
		add_filter("Camera", 0.25);
		poll_targets();
		remove_all_filters();
		FakeSource &next = add_filter("Camera", 0.75);
		panel_model().parameters.skin.smoothing = 0.1f;
		pushParameters();
		EXPECT_DOUBLE_EQ(smoothing_of(next), 0.75);
		poll_targets();
		EXPECT_DOUBLE_EQ(smoothing_of(next), 0.75);
		EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.75f);
	}
}

TEST_F(PanelModelTest, ChangeThatWaitsIsWrittenBeforeTheHostLoadsOtherFilters)
{
	for (const bool all : {false, true}) {
		ui_preferences().apply_global = all;
		FakeSource &filter = add_filter("Camera", 0.25);
		poll_targets();
		panel_model().parameters.enabled = false;
		panel_model().pending_push = true;
		begin_loading_filters();
		EXPECT_FALSE(obs_data_get_bool(filter.settings, "enabled"));
		remove_all_filters();
		end_loading_filters();
	}
}

TEST_F(PanelModelTest, NothingIsWrittenWhileTheHostLoads)
{
	ui_preferences().apply_global = true;
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	begin_loading_filters();
	for (int i = 0; i < 2; ++i) {
		panel_model().parameters.skin.smoothing = 0.9f;
		pushParameters();
		poll_targets();
		EXPECT_DOUBLE_EQ(smoothing_of(filter), 0.25);
	}
	panel_model().parameters.skin.smoothing = 0.9f;
	pushParameters();
	end_loading_filters();
	poll_targets();
	EXPECT_DOUBLE_EQ(smoothing_of(filter), 0.25);
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.25f);
}

TEST_F(PanelModelTest, LoadingThatChangedNothingLeavesThePanelUsable)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	begin_loading_filters();
	end_loading_filters();
	panel_model().parameters.skin.smoothing = 0.5f;
	pushParameters();
	EXPECT_DOUBLE_EQ(smoothing_of(filter), 0.5);
}

TEST_F(PanelModelTest, ReplacedFilterOfTheSameNameIsReadAgain)
{
	add_filter("Screen", 0.5);
	FakeSource &old = add_filter("Camera", 0.25);
	poll_targets();
	choose(1);
	remove_filter(old);
	add_filter("Camera", 0.75);
	poll_targets();
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.75f);
}

TEST_F(PanelModelTest, ValuesChangedElsewhereAreNotReadWhileTheListStays)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	obs_data_set_double(filter.settings, "smoothing", 0.75);
	poll_targets();
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.25f);
}

TEST_F(PanelModelTest, FilterThatCannotBeReadIsTriedAgainAndNotWritten)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	filter.refuses_references = true;
	poll_targets();
	filter.refuses_references = false;
	panel_model().parameters.skin.smoothing = 0.9f;
	pushParameters();
	EXPECT_DOUBLE_EQ(smoothing_of(filter), 0.25);
	poll_targets();
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.25f);
}

// One source

TEST_F(PanelModelTest, ChangeGoesToTheChosenFilterOnly)
{
	FakeSource &first = add_filter("Camera", 0.25);
	FakeSource &second = add_filter("Screen", 0.75);
	poll_targets();
	choose(1);
	panel_model().parameters.skin.smoothing = 0.5f;
	pushParameters();
	EXPECT_DOUBLE_EQ(smoothing_of(first), 0.25);
	EXPECT_DOUBLE_EQ(smoothing_of(second), 0.5);
}

TEST_F(PanelModelTest, ChangeWritesTheWholeSet)
{
	FakeSource &filter = add_filter("Camera");
	poll_targets();
	panel_model().parameters.sticker_id = "fox";
	panel_model().parameters.reshape[10] = -0.5f;
	pushParameters();
	ParameterSet written;
	read_parameters(filter.settings, written);
	EXPECT_EQ(written, panel_model().parameters);
	size_t keys = 0;
	for (const Parameter &parameter : parameter_table())
		keys += obs_data_has_user_value(filter.settings, parameter.key);
	EXPECT_EQ(keys, 75u);
}

TEST_F(PanelModelTest, ChoosingAnotherSourceReadsItAndWritesNothing)
{
	FakeSource &first = add_filter("Camera", 0.25);
	FakeSource &second = add_filter("Screen", 0.75);
	poll_targets();
	take_changed();
	choose(1);
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.75f);
	EXPECT_TRUE(take_changed());
	EXPECT_EQ(take_updates(first) + take_updates(second), 0);
}

TEST_F(PanelModelTest, ChoosingTheSameSourceAgainDoesNothing)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	take_changed();
	obs_data_set_double(filter.settings, "smoothing", 0.75);
	choose(0);
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.25f);
	EXPECT_FALSE(take_changed());
	EXPECT_EQ(take_updates(filter), 0);
	EXPECT_FALSE(std::filesystem::exists(folder.file("config/ui.json")));
}

TEST_F(PanelModelTest, ChoosingAFilterThatIsGoneWritesToNobody)
{
	FakeSource &first = add_filter("Camera", 0.25);
	FakeSource &second = add_filter("Screen", 0.75);
	poll_targets();
	second.refuses_references = true;
	choose(1);
	second.refuses_references = false;
	pushParameters();
	EXPECT_DOUBLE_EQ(smoothing_of(first), 0.25);
	EXPECT_DOUBLE_EQ(smoothing_of(second), 0.75);
	poll_targets();
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.75f);
}

TEST_F(PanelModelTest, AddedFilterReloadsThePanelFromTheChosenOne)
{
	FakeSource &chosen = add_filter("Camera", 0.25);
	poll_targets();
	obs_data_set_double(chosen.settings, "smoothing", 0.5);
	FakeSource &added = add_filter("Screen", 0.75);
	poll_targets();
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.5f);
	EXPECT_EQ(take_updates(chosen) + take_updates(added), 0);
}

TEST_F(PanelModelTest, RemovingTheLastAndChosenFilterMovesToTheLastThatRemains)
{
	add_filter("Camera", 0.25);
	add_filter("Screen", 0.5);
	FakeSource &third = add_filter("Game", 0.75);
	poll_targets();
	choose(2);
	remove_filter(third);
	poll_targets();
	EXPECT_EQ(panel_model().selected_index, 1);
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.5f);
}

TEST_F(PanelModelTest, RemovingAnEarlierFilterLoadsWhatMovedIntoTheChosenPlace)
{
	FakeSource &first = add_filter("Camera", 0.25);
	add_filter("Screen", 0.5);
	FakeSource &third = add_filter("Game", 0.75);
	poll_targets();
	choose(1);
	remove_filter(first);
	poll_targets();
	EXPECT_EQ(panel_model().selected_index, 1);
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.75f);
	EXPECT_EQ(take_updates(third), 0);
}

// The filter before the chosen one goes while a change waits, or while a slider moves: another filter stands in the
// chosen place now.
TEST_F(PanelModelTest, ChangeReachesTheFilterItWasMadeFor_WhenPlacesShift)
{
	for (const bool waits : {true, false}) {
		remove_all_filters();
		FakeSource &first = add_filter("Camera", 0.25);
		FakeSource &chosen = add_filter("Screen", 0.5);
		FakeSource &third = add_filter("Game", 0.75);
		poll_targets();
		choose(1);
		panel_model().parameters.skin.smoothing = 0.6f;
		panel_model().pending_push = waits;
		remove_filter(first);
		if (!waits)
			pushParameters();
		poll_targets();
		EXPECT_FLOAT_EQ(static_cast<float>(smoothing_of(chosen)), 0.6f);
		EXPECT_DOUBLE_EQ(smoothing_of(third), 0.75);
		choose(0);
	}
}

TEST_F(PanelModelTest, ChangeForAFilterThatIsGoneIsDropped)
{
	FakeSource &first = add_filter("Camera", 0.25);
	FakeSource &second = add_filter("Screen", 0.75);
	poll_targets();
	panel_model().pending_push = true;
	remove_filter(first);
	poll_targets();
	EXPECT_DOUBLE_EQ(smoothing_of(second), 0.75);
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.75f);
	EXPECT_FALSE(panel_model().pending_push);
}

// All sources

TEST_F(PanelModelTest, ChangeGoesToEveryFilterInOrder)
{
	FakeSource &first = add_filter("Camera", 0.25);
	FakeSource &second = add_filter("Screen", 0.75);
	poll_targets();
	drive_all(true);
	test::call_journal().reset();
	panel_model().parameters.skin.smoothing = 0.5f;
	pushParameters();
	EXPECT_DOUBLE_EQ(smoothing_of(first), 0.5);
	EXPECT_DOUBLE_EQ(smoothing_of(second), 0.5);
	EXPECT_EQ(test::call_journal().count("obs_source_update"), 2u);
}

TEST_F(PanelModelTest, ChoosingAllWritesThePanelsValuesToEveryFilterAtOnce)
{
	FakeSource &first = add_filter("Camera", 0.25);
	FakeSource &second = add_filter("Screen", 0.75);
	poll_targets();
	drive_all(true);
	EXPECT_EQ(take_updates(first), 1);
	EXPECT_DOUBLE_EQ(smoothing_of(second), 0.25);
	EXPECT_TRUE(saved_apply_global());
	EXPECT_FALSE(ui_preferences().dirty);
}

TEST_F(PanelModelTest, ChoosingOneAfterAllReadsItAndWritesNothing)
{
	FakeSource &first = add_filter("Camera", 0.25);
	FakeSource &second = add_filter("Screen", 0.75);
	ui_preferences().apply_global = true;
	poll_targets();
	panel_model().pending_push = true;
	choose(1);
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.75f);
	EXPECT_EQ(take_updates(first) + take_updates(second), 0);
	EXPECT_FALSE(panel_model().pending_push);
	EXPECT_TRUE(std::filesystem::exists(folder.file("config/ui.json")));
	EXPECT_FALSE(saved_apply_global());
}

TEST_F(PanelModelTest, ChoosingOneWithoutAnyFilterOnlySavesTheChoice)
{
	ui_preferences().apply_global = true;
	poll_targets();
	panel_model().pending_push = true;
	drive_all(false);
	EXPECT_FALSE(panel_model().pending_push);
	EXPECT_FALSE(ui_preferences().dirty);
	EXPECT_TRUE(std::filesystem::exists(folder.file("config/ui.json")));
}

TEST_F(PanelModelTest, ThirdSourceTakesThePanelsValuesAtTheNextPoll)
{
	add_filter("Camera", 0.25);
	add_filter("Screen", 0.25);
	poll_targets();
	drive_all(true);
	panel_model().parameters.skin.whitening = 0.5f;
	pushParameters();
	take_changed();
	const ParameterSet before = panel_model().parameters;
	FakeSource &third = add_filter("Game", 0.75);
	poll_targets();
	EXPECT_DOUBLE_EQ(smoothing_of(third), 0.25);
	EXPECT_DOUBLE_EQ(obs_data_get_double(third.settings, "whitening"), 0.5);
	EXPECT_EQ(panel_model().parameters, before);
}

TEST_F(PanelModelTest, RemovedFilterReloadsThePanelFromTheFirst)
{
	FakeSource &first = add_filter("Camera", 0.25);
	add_filter("Screen", 0.5);
	ui_preferences().apply_global = true;
	poll_targets();
	remove_filter(first);
	poll_targets();
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.5f);
}

TEST_F(PanelModelTest, FilterThatIsGoingAwayIsSkipped)
{
	FakeSource &first = add_filter("Camera", 0.25);
	FakeSource &second = add_filter("Screen", 0.25);
	poll_targets();
	drive_all(true);
	first.refuses_references = true;
	panel_model().parameters.skin.smoothing = 0.5f;
	pushParameters();
	EXPECT_DOUBLE_EQ(smoothing_of(first), 0.25);
	EXPECT_DOUBLE_EQ(smoothing_of(second), 0.5);
}

// What waits for the poll

TEST_F(PanelModelTest, PollWritesAWaitingChangeOnce)
{
	FakeSource &filter = add_filter("Camera");
	poll_targets();
	panel_model().parameters.enabled = false;
	panel_model().pending_push = true;
	poll_targets();
	EXPECT_FALSE(obs_data_get_bool(filter.settings, "enabled"));
	EXPECT_EQ(take_updates(filter), 1);
	poll_targets();
	EXPECT_EQ(take_updates(filter), 0);
}

TEST_F(PanelModelTest, WaitingChangeWithoutAnyFilterIsDropped)
{
	poll_targets();
	panel_model().pending_push = true;
	push_pending();
	EXPECT_FALSE(panel_model().pending_push);
}

TEST_F(PanelModelTest, PollSavesPreferencesThatChangedAndOnlyThen)
{
	poll_targets();
	EXPECT_FALSE(std::filesystem::exists(folder.file("config/ui.json")));
	ui_preferences().open_on_startup = false;
	ui_preferences().dirty = true;
	poll_targets();
	EXPECT_FALSE(ui_preferences().dirty);
	EXPECT_TRUE(std::filesystem::exists(folder.file("config/ui.json")));
}

TEST_F(PanelModelTest, ResetRestoresEveryDefaultButTheSwitch)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	panel_model().parameters.enabled = false;
	panel_model().parameters.filter.intensity = 0.0f;
	panel_model().parameters.sticker_id = "fox";
	reset_all_parameters();
	ParameterSet expected;
	expected.enabled = false;
	ParameterSet written;
	read_parameters(filter.settings, written);
	EXPECT_EQ(panel_model().parameters, expected);
	EXPECT_EQ(written, expected);
}

TEST_F(PanelModelTest, SelectedIndexIsKeptInsideTheList)
{
	add_filter("Camera");
	for (const int index : {-5, 1, 1'000'000}) {
		panel_model().selected_index = index;
		poll_targets();
		EXPECT_EQ(panel_model().selected_index, 0);
	}
}

TEST_F(PanelModelTest, PushWithAnIndexOutsideTheListWritesNothing)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	panel_model().selected_index = 7;
	pushParameters();
	panel_model().selected_index = -1;
	pushParameters();
	EXPECT_EQ(take_updates(filter), 0);
}

TEST_F(PanelModelTest, SyncOutsideTheListFails)
{
	add_filter("Camera");
	poll_targets();
	EXPECT_FALSE(sync_from_filter(1));
	EXPECT_FALSE(sync_from_filter(-1));
	EXPECT_TRUE(sync_from_filter(0));
}

TEST_F(PanelModelTest, ThousandSourcesOfOneNameAreNumbered)
{
	for (int i = 0; i < 1000; ++i)
		add_filter("Camera");
	poll_targets();
	EXPECT_EQ(panel_model().names.back(), "Camera (1000)");
}
