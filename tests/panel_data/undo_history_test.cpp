// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/undo_history.h"

#include "kit/history_double.h"
#include "panel/text/translations.h"
#include "panel_model_fixture.h"

#include <random>

// The user's changes as entries of the host's undo history.
namespace kalvio::test {
namespace {

constexpr ChangeLabel smooth{.caption_key = "skin.smoothing"};
constexpr ChangeLabel smooth_step{.caption_key = "skin.smoothing", .is_step = true};
constexpr ChangeLabel whiten_step{.caption_key = "skin.whitening", .is_step = true};

std::string json_of(const FakeSource &filter)
{
	return obs_data_get_json(filter.settings);
}

void push_smoothing(float value, const ChangeLabel &label)
{
	panel_model().parameters.skin.smoothing = value;
	pushParameters(label);
}

size_t undo_count()
{
	return history_double().undo_entries().size();
}

class UndoTest : public PanelModelTest {
protected:
	~UndoTest() override { set_language(LanguageEnglish); }

	FakeSource &add_named_filter(const std::string &source, double smoothing, const std::string &uuid)
	{
		FakeSource &filter = add_filter(source, smoothing);
		filter.uuid = uuid;
		return filter;
	}

	static void undo_everything()
	{
		while (!history_double().undo_entries().empty())
			history_double().undo();
	}

	static void redo_everything()
	{
		while (!history_double().redo_entries().empty())
			history_double().redo();
	}
};

} // namespace

// Entries

TEST_F(UndoTest, ChangeIsOneEntryWithItsName)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	push_smoothing(0.5f, smooth);
	EXPECT_EQ(undo_count(), 1u);
	EXPECT_EQ(history_double().newest(), "Kalvio: Smooth");
	history_double().undo();
	EXPECT_DOUBLE_EQ(smoothing_of(filter), 0.25);
	history_double().redo();
	EXPECT_DOUBLE_EQ(smoothing_of(filter), 0.5);
}

TEST_F(UndoTest, NameIsInTheUsersLanguageWithItsSection)
{
	set_language(LanguageGerman);
	EXPECT_EQ(change_name({.caption_key = "reshape.eyePosition", .section_key = "reshape.eye"}),
		  "Kalvio: Augen: Höhe");
	EXPECT_EQ(change_name({.caption_key = "obs.allSources"}), "Kalvio: Alle Quellen");
}

TEST_F(UndoTest, ChangeThatMakesNoDifferenceIsNoEntry)
{
	add_filter("Camera", 0.25);
	poll_targets();
	push_smoothing(0.5f, smooth);
	push_smoothing(0.5f, smooth);
	EXPECT_EQ(undo_count(), 1u);
}

TEST_F(UndoTest, PushThatNobodyMadeByHandIsNoEntry)
{
	add_filter("Camera", 0.25);
	poll_targets();
	drive_all(true);
	const size_t before = undo_count();
	FakeSource &second = add_filter("Screen", 0.75);
	poll_targets();
	EXPECT_DOUBLE_EQ(smoothing_of(second), 0.25);
	EXPECT_EQ(undo_count(), before);
}

TEST_F(UndoTest, ReadingValuesIsNoEntry)
{
	add_filter("Camera", 0.25);
	add_filter("Screen", 0.75);
	poll_targets();
	choose(1);
	choose(0);
	EXPECT_EQ(undo_count(), 0u);
}

TEST_F(UndoTest, NothingIsAddedWhileTheHostLoads)
{
	add_filter("Camera", 0.25);
	poll_targets();
	push_later({.caption_key = "console.live"});
	begin_loading_filters();
	push_smoothing(0.5f, smooth);
	poll_targets();
	end_loading_filters();
	EXPECT_EQ(undo_count(), 0u);
}

TEST_F(UndoTest, DisabledHistoryTakesNothing)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	history_double().disable();
	push_smoothing(0.5f, smooth);
	history_double().enable();
	history_double().undo();
	EXPECT_DOUBLE_EQ(smoothing_of(filter), 0.5);
}

TEST_F(UndoTest, LiveToggleIsAnEntryWithTheNextPoll)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	const std::string start = json_of(filter);
	panel_model().parameters.enabled = false;
	push_later({.caption_key = "console.live"});
	EXPECT_EQ(undo_count(), 0u);
	poll_targets();
	EXPECT_EQ(history_double().newest(), "Kalvio: Live");
	history_double().undo();
	EXPECT_EQ(json_of(filter), start);
	EXPECT_TRUE(panel_model().parameters.enabled);
}

TEST_F(UndoTest, FullResetIsOneEntry)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	const std::string start = json_of(filter);
	reset_all_parameters();
	EXPECT_EQ(history_double().newest(), "Kalvio: Reset");
	EXPECT_DOUBLE_EQ(smoothing_of(filter), 0.0);
	history_double().undo();
	EXPECT_EQ(json_of(filter), start);
}

// A control that is held, and runs of steps

TEST_F(UndoTest, DragIsOneEntryHoweverLongItTakes)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	hold_control(smooth);
	for (int i = 30; i <= 60; ++i) {
		push_smoothing(static_cast<float>(i) / 100.0f, smooth_step);
		history_double().pass_time(4000);
		poll_targets();
	}
	EXPECT_EQ(undo_count(), 0u);
	release_control();
	EXPECT_EQ(undo_count(), 1u);
	history_double().undo();
	EXPECT_DOUBLE_EQ(smoothing_of(filter), 0.25);
	history_double().redo();
	EXPECT_FLOAT_EQ(static_cast<float>(smoothing_of(filter)), 0.6f);
}

TEST_F(UndoTest, TwoDragsOfOneSliderAreTwoEntries)
{
	add_filter("Camera", 0.25);
	poll_targets();
	for (const float value : {0.5f, 0.75f}) {
		hold_control(smooth);
		push_smoothing(value, smooth_step);
		release_control();
	}
	EXPECT_EQ(undo_count(), 2u);
}

TEST_F(UndoTest, DragThatEndsWhereItBeganIsNoEntry)
{
	add_filter("Camera", 0.25);
	poll_targets();
	push_smoothing(0.5f, smooth); // the whole set is stored from here on
	hold_control(smooth);
	push_smoothing(0.9f, smooth_step);
	push_smoothing(0.5f, smooth_step);
	release_control();
	EXPECT_EQ(undo_count(), 1u);
}

TEST_F(UndoTest, StepsOfOneRunAreOneEntry)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	for (int i = 1; i <= 10; ++i) {
		push_smoothing(0.25f + 0.01f * static_cast<float>(i), smooth_step);
		history_double().pass_time(1000);
	}
	EXPECT_EQ(undo_count(), 1u);
	history_double().undo();
	EXPECT_DOUBLE_EQ(smoothing_of(filter), 0.25);
}

TEST_F(UndoTest, PauseAndOtherControlsEndARun)
{
	add_filter("Camera", 0.25);
	poll_targets();
	push_smoothing(0.5f, smooth_step);
	history_double().pass_time(3000);
	push_smoothing(0.6f, smooth_step);
	EXPECT_EQ(undo_count(), 2u);
	panel_model().parameters.skin.whitening = 0.5f;
	pushParameters(whiten_step);
	push_smoothing(0.7f, smooth_step);
	EXPECT_EQ(undo_count(), 4u);
}

TEST_F(UndoTest, StepsOnTwoFiltersAreNeverOneEntry)
{
	FakeSource &first = add_filter("Camera", 0.25);
	FakeSource &second = add_filter("Screen", 0.75);
	poll_targets();
	const std::string first_start = json_of(first);
	const std::string second_start = json_of(second);
	push_smoothing(0.5f, smooth_step);
	choose(1);
	push_smoothing(0.6f, smooth_step);
	push_smoothing(0.7f, smooth_step);
	undo_everything();
	EXPECT_EQ(json_of(first), first_start);
	EXPECT_EQ(json_of(second), second_start);
}

TEST_F(UndoTest, StepAfterAStrangersChangeIsNotJoined)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	push_smoothing(0.5f, smooth_step);
	obs_data_set_bool(filter.settings, "of_another", true);
	push_smoothing(0.6f, smooth_step);
	history_double().undo();
	EXPECT_TRUE(obs_data_get_bool(filter.settings, "of_another"));
	EXPECT_FLOAT_EQ(static_cast<float>(smoothing_of(filter)), 0.5f);
}

// The selection

TEST_F(UndoTest, AllSourcesIsOneEntryThatReturnsToTheSelection)
{
	FakeSource &first = add_filter("Camera", 0.25);
	FakeSource &second = add_filter("Screen", 0.75);
	poll_targets();
	choose(1);
	const std::string first_start = json_of(first);
	const std::string second_start = json_of(second);
	drive_all(true);
	EXPECT_DOUBLE_EQ(smoothing_of(first), 0.75);
	ASSERT_EQ(undo_count(), 1u);
	EXPECT_EQ(history_double().newest(), "Kalvio: All sources");
	history_double().undo();
	EXPECT_EQ(json_of(first), first_start);
	EXPECT_EQ(json_of(second), second_start);
	EXPECT_FALSE(ui_preferences().apply_global);
	EXPECT_EQ(panel_model().selected_index, 1);
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.75f);
	poll_targets();
	EXPECT_FALSE(saved_apply_global());
	history_double().redo();
	EXPECT_TRUE(ui_preferences().apply_global);
	EXPECT_DOUBLE_EQ(smoothing_of(first), 0.75);
	poll_targets();
	EXPECT_TRUE(saved_apply_global());
}

TEST_F(UndoTest, OtherEntriesLeaveTheSelectionAlone)
{
	add_filter("Camera", 0.25);
	add_filter("Screen", 0.75);
	poll_targets();
	push_smoothing(0.5f, smooth);
	choose(1);
	history_double().undo();
	EXPECT_EQ(panel_model().selected_index, 1);
	EXPECT_FLOAT_EQ(panel_model().parameters.skin.smoothing, 0.75f);
}

// Which filters

TEST_F(UndoTest, FilterThatTheHostBroughtBackIsFoundByItsUuid)
{
	FakeSource &old = add_named_filter("Camera", 0.25, "a1-b2");
	poll_targets();
	push_smoothing(0.5f, smooth);
	remove_filter(old);
	FakeSource &back = add_named_filter("Camera", 0.5, "a1-b2");
	history_double().undo();
	EXPECT_DOUBLE_EQ(smoothing_of(back), 0.25);
}

TEST_F(UndoTest, FilterThatIsStillListedIsNotTakenForItsSuccessor)
{
	FakeSource &old = add_named_filter("Camera", 0.25, "a1-b2");
	poll_targets();
	push_smoothing(0.5f, smooth);
	FakeSource &back = add_named_filter("Camera", 0.5, "a1-b2"); // the old one is late in going
	history_double().undo();
	EXPECT_DOUBLE_EQ(smoothing_of(back), 0.25);
	EXPECT_DOUBLE_EQ(smoothing_of(old), 0.5);
}

TEST_F(UndoTest, FilterIsFoundByItsId_WhenTheHostGaveItAnotherUuid)
{
	FakeSource &filter = add_named_filter("Camera", 0.25, "a1-b2");
	poll_targets();
	push_smoothing(0.5f, smooth);
	filter.uuid = "c3-d4"; // as after a collection was duplicated
	history_double().undo();
	EXPECT_DOUBLE_EQ(smoothing_of(filter), 0.25);
}

TEST_F(UndoTest, FiltersThatAreGoneAreIgnored)
{
	FakeSource &first = add_named_filter("Camera", 0.25, "a1");
	FakeSource &second = add_named_filter("Screen", 0.75, "a2");
	poll_targets();
	drive_all(true);
	remove_filter(first);
	history_double().undo();
	EXPECT_DOUBLE_EQ(smoothing_of(second), 0.75);
	remove_filter(second);
	history_double().redo();
	EXPECT_EQ(log.count({LOG_ERROR, "[Kalvio] unexpected error"}), 0u);
}

TEST_F(UndoTest, FilterThatGoesDuringADragIsLeftOutOfTheEntry)
{
	FakeSource &first = add_named_filter("Camera", 0.25, "a1");
	FakeSource &second = add_named_filter("Screen", 0.25, "a2");
	poll_targets();
	drive_all(true);
	const std::string start = json_of(second);
	hold_control(smooth);
	push_smoothing(0.5f, smooth_step);
	remove_filter(first);
	release_control();
	EXPECT_EQ(history_double().newest(), "Kalvio: Smooth");
	EXPECT_EQ(history_double().undo_entries().front().undo_data.find("a1"), std::string::npos);
	history_double().undo();
	EXPECT_EQ(json_of(second), start);
}

// What undo and redo leave

TEST_F(UndoTest, KeysThatWereNotThereAreGoneAgain)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	obs_data_set_string(filter.settings, "of_another", "kept \"as\" it is");
	poll_targets();
	const std::string start = json_of(filter);
	push_smoothing(0.5f, smooth);
	EXPECT_TRUE(obs_data_has_user_value(filter.settings, "whitening"));
	history_double().undo();
	EXPECT_EQ(json_of(filter), start);
	EXPECT_TRUE(obs_data_has_default_value(filter.settings, "whitening"));
}

// A text that grows moves to the end of the host's list of settings.
TEST_F(UndoTest, KeysComeBackInTheirOrder)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	push_smoothing(0.5f, smooth);
	const std::string start = json_of(filter);
	panel_model().parameters.background.image = std::string(500, 'x');
	pushParameters({.caption_key = "bg.customImage"});
	history_double().undo();
	EXPECT_EQ(json_of(filter), start);
}

TEST_F(UndoTest, PendingPushIsDropped)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	const std::string start = json_of(filter);
	push_smoothing(0.5f, smooth);
	panel_model().parameters.enabled = false;
	push_later({.caption_key = "console.live"});
	history_double().undo();
	poll_targets();
	EXPECT_EQ(json_of(filter), start);
	EXPECT_TRUE(panel_model().parameters.enabled);
}

TEST_F(UndoTest, ControlsFollowAtOnce)
{
	add_filter("Camera", 0.25);
	poll_targets();
	push_smoothing(0.5f, smooth);
	take_changed();
	float shown = 0.0f;
	panel_model().refresh = [&shown] {
		if (take_changed())
			shown = panel_model().parameters.skin.smoothing;
	};
	history_double().undo();
	EXPECT_FLOAT_EQ(shown, 0.25f);
}

TEST_F(UndoTest, UndoDuringADragMakesItsStateTheDragsBeginning)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	const std::string start = json_of(filter);
	push_smoothing(0.5f, smooth);
	hold_control(smooth);
	push_smoothing(0.6f, smooth_step);
	history_double().undo();
	EXPECT_EQ(json_of(filter), start);
	push_smoothing(0.7f, smooth_step);
	release_control();
	ASSERT_EQ(undo_count(), 1u);
	history_double().undo();
	EXPECT_EQ(json_of(filter), start);
}

TEST_F(UndoTest, EntryOfManyEqualFiltersHoldsTheirSettingsOnce)
{
	for (int i = 0; i < 40; ++i)
		add_filter("Camera", 0.25);
	poll_targets();
	drive_all(true);
	push_smoothing(0.5f, smooth);
	EXPECT_LT(history_double().undo_entries().front().redo_data.size(), 8000u);
}

// Data that is damaged or of somebody else

TEST_F(UndoTest, UselessDataChangesNothing)
{
	FakeSource &filter = add_filter("Camera", 0.25);
	poll_targets();
	push_smoothing(0.5f, smooth);
	const HistoryDouble::Entry entry = history_double().undo_entries().front();
	const std::string before = json_of(filter);
	const std::string filter_reference = R"([{"id":)" + std::to_string(panel_model().filters.front().id);
	const auto change = [&filter_reference](const std::string &index) {
		return R"({"kalvio_change":1,"filters":)" + filter_reference + index + R"(}],"settings":[{}]})";
	};
	const auto replaced = [&entry](std::string_view part, std::string_view by) {
		std::string data = entry.undo_data;
		return data.replace(data.find(part), part.size(), by);
	};
	for (const std::string &data :
	     {std::string(), std::string("{"), std::string("[]"), std::string("null"), std::string("{}"),
	      std::string("\xff\xfe"), std::string(R"({"kalvio_change":1})"),
	      std::string(R"({"kalvio_change":1,"filters":{},"settings":7})"), change(""), change(R"(,"settings":1)"),
	      change(R"(,"settings":-1)"), change(R"(,"settings":"x")"), replaced("kalvio_change", "other_change"),
	      replaced(R"("kalvio_change":1)", R"("kalvio_change":2)")}) {
		entry.undo(data.c_str());
		EXPECT_EQ(json_of(filter), before) << data;
	}
	entry.undo(nullptr);
	for (size_t length = 0; length < entry.undo_data.size(); length += 7)
		entry.undo(entry.undo_data.substr(0, length).c_str());
	EXPECT_EQ(json_of(filter), before);
	entry.undo(entry.undo_data.c_str());
	EXPECT_NE(json_of(filter), before);
}

TEST_F(UndoTest, UndoThatFindsNoMemoryIsReported)
{
	add_filter("Camera", 0.25);
	poll_targets();
	push_smoothing(0.5f, smooth);
	host_double().throw_in("obs_source_reset_settings");
	EXPECT_NO_THROW(history_double().undo());
	EXPECT_EQ(log.count({LOG_ERROR, "[Kalvio] unexpected error: std::bad_alloc"}), 1u);
}

// Many of everything

TEST_F(UndoTest, ManyChangesAreUndoneToTheStartAndRedoneToTheEnd)
{
	std::mt19937 random(20);
	std::vector<FakeSource *> filters;
	std::vector<std::string> start;
	for (int i = 0; i < 5; ++i)
		filters.push_back(&add_named_filter("Camera", 0.1 * i, "a" + std::to_string(i)));
	poll_targets();
	for (const FakeSource *filter : filters)
		start.push_back(json_of(*filter));
	const auto any = [&random](int count) {
		return static_cast<int>(random() % static_cast<unsigned>(count));
	};
	for (int step = 0; step < 300; ++step) {
		ParameterSet &set = panel_model().parameters;
		switch (any(8)) {
		case 0:
			choose(any(5));
			break;
		case 1:
			drive_all(true);
			break;
		case 2:
			hold_control(smooth);
			for (int move = any(4); move >= 0; --move)
				push_smoothing(static_cast<float>(any(101)) / 100.0f, smooth_step);
			release_control();
			break;
		case 3:
			set.enabled = !set.enabled;
			push_later({.caption_key = "console.live"});
			poll_targets();
			break;
		case 4:
			reset_all_parameters();
			break;
		case 5:
			set.background.image = std::string(static_cast<size_t>(any(80)), 'x');
			pushParameters({.caption_key = "bg.customImage"});
			break;
		default:
			push_smoothing(static_cast<float>(any(101)) / 100.0f, smooth_step);
			break;
		}
		history_double().pass_time(any(4000));
	}
	std::vector<std::string> end;
	for (const FakeSource *filter : filters)
		end.push_back(json_of(*filter));
	for (int round = 0; round < 2; ++round) {
		undo_everything();
		for (size_t i = 0; i < filters.size(); ++i)
			EXPECT_EQ(json_of(*filters[i]), start[i]);
		redo_everything();
		for (size_t i = 0; i < filters.size(); ++i)
			EXPECT_EQ(json_of(*filters[i]), end[i]);
	}
}

} // namespace kalvio::test
