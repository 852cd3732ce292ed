// SPDX-License-Identifier: GPL-2.0-or-later
#include "dock_fixture.h"

#include "filter/filter_registry.h"
#include "panel/model/panel_model.h"
#include "panel/model/ui_preferences.h"

#include <QComboBox>

namespace kalvio::test {
namespace {

// Two sources with a filter each and one without, in the scene on air.
class SourcesDockTest : public DockTest {
protected:
	SourcesDockTest()
	{
		first_filter.put_on(first);
		second_filter.put_on(second);
		register_filter(first_filter.handle());
		register_filter(second_filter.handle());
		frontend->program_items = {{first.handle()}, {plain.handle()}, {second.handle()}};
		write_preferences(R"({"follow_sources": true})");
	}
	~SourcesDockTest() override
	{
		unregister_filter(first_filter.handle());
		unregister_filter(second_filter.handle());
		first_filter.remove_from_source();
		second_filter.remove_from_source();
	}

	void select(size_t chosen)
	{
		for (size_t i = 0; i < frontend->program_items.size(); ++i)
			frontend->program_items[i].is_selected = i == chosen;
		fire(*poll_timer());
	}
	std::string shown() { return panel()->findChild<QComboBox *>()->currentText().toStdString(); }

	FakeSource first{"First"};
	FakeSource second{"Second"};
	FakeSource plain{"Plain"};
	FakeSource first_filter{"Filter 1"};
	FakeSource second_filter{"Filter 2"};
};

TEST_F(SourcesDockTest, ThePanelDrivesTheFilterOfTheSelectedSource)
{
	start();
	select(2);
	EXPECT_EQ(shown(), "Second");
	EXPECT_EQ(panel_model().selected_index, 1);
	select(0);
	EXPECT_EQ(shown(), "First");
}

TEST_F(SourcesDockTest, ASelectionEndsAllSources)
{
	write_preferences(R"({"follow_sources": true, "apply_global": true})");
	start();
	EXPECT_EQ(shown(), "All sources");
	select(2);
	EXPECT_EQ(shown(), "Second");
	EXPECT_FALSE(ui_preferences().apply_global);
}

TEST_F(SourcesDockTest, ASourceWithoutAFilterChangesNothing)
{
	start();
	select(2);
	select(1);
	EXPECT_EQ(shown(), "Second");
	select(99);
	EXPECT_EQ(shown(), "Second");
}

TEST_F(SourcesDockTest, AChoiceInThePanelStaysUntilTheNextSelection)
{
	start();
	select(2);
	panel()->findChild<QComboBox *>()->setCurrentIndex(1);
	fire(*poll_timer());
	EXPECT_EQ(shown(), "First");
	select(0);
	select(2);
	EXPECT_EQ(shown(), "Second");
}

TEST_F(SourcesDockTest, NothingIsFollowed_UnlessTheUserWantsIt)
{
	write_preferences("{}");
	start();
	frontend->on_call = [](const std::string &function) {
		EXPECT_EQ(function.find("obs_frontend_get_current"), std::string::npos) << function;
	};
	const std::string before = shown();
	select(2);
	select(0);
	EXPECT_EQ(shown(), before);
}

TEST_F(SourcesDockTest, InStudioModeThePreviewCounts)
{
	start();
	select(0);
	frontend->is_studio_mode = true;
	frontend->preview_items = {{second.handle(), true}};
	fire(*poll_timer());
	EXPECT_EQ(shown(), "Second");
}

TEST_F(SourcesDockTest, AnItemOfAGroupIsFound)
{
	start();
	select(0);
	frontend->program_items = {{plain.handle(), false, {{second.handle(), true}}}};
	fire(*poll_timer());
	EXPECT_EQ(shown(), "Second");
}

TEST_F(SourcesDockTest, WhatWaitsToBeWrittenGoesToTheFilterThatWasShown)
{
	start();
	select(0);
	panel_model().parameters.skin.smoothing = 0.625F;
	push_later({});
	frontend->program_items[0].is_selected = false;
	frontend->program_items[2].is_selected = true;
	fire(*poll_timer());
	first_filter.tick();
	EXPECT_EQ(obs_data_get_double(first_filter.settings, "smoothing"), 0.625);
	EXPECT_NE(obs_data_get_double(second_filter.settings, "smoothing"), 0.625);
}

} // namespace
} // namespace kalvio::test
