// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/save_request.h"

#include "kit/history_double.h"
#include "panel_model_fixture.h"

// When the host is asked to save. Time is the number of polls.
namespace kalvio::test {
namespace {

constexpr ChangeLabel smooth{.caption_key = "skin.smoothing"};

class SavingTest : public PanelModelTest {
protected:
	SavingTest() : filter(add_filter("Camera", 0.25)) { poll_targets(); }

	static void poll(int times)
	{
		for (int i = 0; i < times; ++i)
			poll_targets();
	}

	static void change(float smoothing)
	{
		panel_model().parameters.skin.smoothing = smoothing;
		pushParameters(smooth);
	}

	static int saves() { return history_double().saves; }

	FakeSource &filter;
};

} // namespace

TEST_F(SavingTest, NothingIsSavedWhenNothingChanged)
{
	poll(100);
	save_changes_now();
	EXPECT_EQ(saves(), 0);
}

TEST_F(SavingTest, ChangeIsSavedOnceTwoSecondsLater)
{
	change(0.5f);
	poll(9);
	EXPECT_EQ(saves(), 0);
	poll(1);
	EXPECT_EQ(saves(), 1);
	poll(100);
	EXPECT_EQ(saves(), 1);
}

TEST_F(SavingTest, EachChangeBeginsTheWaitAnew)
{
	for (int i = 1; i <= 20; ++i) {
		change(0.25f + 0.01f * static_cast<float>(i));
		poll(9);
	}
	EXPECT_EQ(saves(), 0);
	poll(1);
	EXPECT_EQ(saves(), 1);
}

TEST_F(SavingTest, ChoiceThatIsInForceAlreadyIsNotSavedAgain)
{
	change(0.5f);
	poll(20);
	change(0.5f);
	poll(20);
	EXPECT_EQ(saves(), 1);
}

TEST_F(SavingTest, NothingIsSavedWhileASliderIsHeld)
{
	change(0.3f);
	hold_control(smooth);
	change(0.5f);
	poll(100);
	save_changes_now();
	EXPECT_EQ(saves(), 0);
	release_control();
	poll(9);
	EXPECT_EQ(saves(), 0);
	poll(1);
	EXPECT_EQ(saves(), 1);
}

TEST_F(SavingTest, SliderThatWasHeldAndNotMovedIsNotSaved)
{
	hold_control(smooth);
	release_control();
	poll(20);
	EXPECT_EQ(saves(), 0);
}

TEST_F(SavingTest, NothingIsSavedWhileTheHostLoads)
{
	change(0.5f);
	begin_loading_filters();
	poll(100);
	save_changes_now();
	EXPECT_EQ(saves(), 0);
	end_loading_filters();
	poll(100);
	EXPECT_EQ(saves(), 0); // the host has saved the old collection before it loaded the other
}

TEST_F(SavingTest, WhatWaitsIsSavedAtOnceOnDemand)
{
	change(0.5f);
	save_changes_now();
	EXPECT_EQ(saves(), 1);
	poll(20);
	save_changes_now();
	EXPECT_EQ(saves(), 1);
}

TEST_F(SavingTest, UndoAndRedoAreSaved)
{
	change(0.5f);
	poll(20);
	history_double().undo();
	poll(10);
	EXPECT_EQ(saves(), 2);
	history_double().redo();
	poll(10);
	EXPECT_EQ(saves(), 3);
}

TEST_F(SavingTest, ValuesThatANewFilterGetsAreSaved)
{
	drive_all(true);
	poll(20);
	const int before = saves();
	FakeSource &second = add_filter("Screen", 0.75);
	poll(1);
	EXPECT_DOUBLE_EQ(smoothing_of(second), 0.25);
	poll(10);
	EXPECT_EQ(saves(), before + 1);
}

} // namespace kalvio::test
