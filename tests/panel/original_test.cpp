// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "filter/filter_instance.h"
#include "filter/original_view.h"
#include "kit/history_double.h"
#include "panel/text/translations.h"
#include "panel/widgets/hold_button.h"

#include <QApplication>
#include <QKeyEvent>

// The source as captured, for as long as a button is held.
namespace kalvio::test {
namespace {

class OriginalTest : public PanelTest {
protected:
	OriginalTest() : first(world.add_filter("First")), second(world.add_filter("Second"))
	{
		world.open_panel(340, 600);
		world.panel().activateWindow();
		settle();
	}

	HoldButton &button() { return *world.panel().findChild<HoldButton *>(); }
	QPoint middle() { return button().rect().center(); }
	void hold() { press_mouse(&button(), Qt::LeftButton, middle()); }
	void release() { release_mouse(&button(), Qt::LeftButton, middle()); }

	static bool is_shown(const FakeSource &filter)
	{
		return is_original_shown(static_cast<FilterInstance *>(filter.data)->id);
	}

	FakeSource &first;
	FakeSource &second;
};

TEST_F(OriginalTest, IsShownWhileTheMouseHoldsTheButton)
{
	const std::string before = obs_data_get_json(first.settings);
	hold();
	EXPECT_TRUE(is_shown(first));
	EXPECT_FALSE(is_shown(second));
	release();
	EXPECT_FALSE(is_shown(first));
	EXPECT_EQ(obs_data_get_json(first.settings), before);
	EXPECT_TRUE(history_double().undo_entries().empty());
}

TEST_F(OriginalTest, IsShownOfAllWithAllSources)
{
	ui_preferences().apply_global = true;
	world.panel().refreshControls();
	hold();
	EXPECT_TRUE(is_shown(first));
	EXPECT_TRUE(is_shown(second));
	EXPECT_TRUE(is_shown(world.add_filter("Third")));
	release();
	EXPECT_FALSE(is_shown(first));
}

TEST_F(OriginalTest, OtherButtonsHoldNothing)
{
	press_mouse(&button(), Qt::RightButton, middle());
	EXPECT_FALSE(is_shown(first));
	release_mouse(&button(), Qt::RightButton, middle());
}

TEST_F(OriginalTest, ThePointerThatLeavesTheButtonEndsIt)
{
	hold();
	move_mouse(&button(), QPoint(-20, -20));
	EXPECT_FALSE(is_shown(first));
	move_mouse(&button(), middle());
	EXPECT_FALSE(is_shown(first));
	release();
	EXPECT_FALSE(is_shown(first));
}

TEST_F(OriginalTest, SpaceHoldsItToo)
{
	button().setFocus(Qt::TabFocusReason);
	QKeyEvent press(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
	QApplication::sendEvent(&button(), &press);
	EXPECT_TRUE(is_shown(first));
	QKeyEvent repeated(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "), true);
	QApplication::sendEvent(&button(), &repeated);
	EXPECT_TRUE(is_shown(first));
	QKeyEvent let_go(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
	QApplication::sendEvent(&button(), &let_go);
	EXPECT_FALSE(is_shown(first));
}

TEST_F(OriginalTest, ALostFocusEndsIt)
{
	button().setFocus(Qt::TabFocusReason);
	hold();
	EXPECT_TRUE(is_shown(first));
	world.panel().findChild<QSlider *>()->setFocus();
	EXPECT_FALSE(is_shown(first));
	release();
}

TEST_F(OriginalTest, AnotherWindowThatBecomesActiveEndsIt)
{
	hold();
	QWidget other;
	other.show();
	other.activateWindow();
	settle();
	EXPECT_FALSE(button().isActiveWindow());
	EXPECT_FALSE(is_shown(first));
	release();
}

TEST_F(OriginalTest, AHiddenDockEndsIt)
{
	hold();
	world.panel().hide();
	EXPECT_FALSE(is_shown(first));
	release();
}

TEST_F(OriginalTest, TheEndOfThePanelEndsIt)
{
	hold();
	world.close_panel();
	EXPECT_FALSE(is_shown(first));
	press_mouse(&world.open_panel(), Qt::RightButton, QPoint(1, 1)); // the next test starts with no button held
	release_mouse(&world.panel(), Qt::LeftButton, QPoint(1, 1));
	release_mouse(&world.panel(), Qt::RightButton, QPoint(1, 1));
}

TEST_F(OriginalTest, TheRemovalOfTheFilterEndsIt)
{
	hold();
	world.remove_filter(first);
	world.poll();
	EXPECT_FALSE(button().isDown());
	EXPECT_FALSE(is_shown(second));
	release();
	world.remove_filter(second);
	world.poll();
	EXPECT_FALSE(button().isEnabled());
}

TEST_F(OriginalTest, AHeldButtonStandsOut)
{
	settle();
	const QImage before = button().grab().toImage();
	hold();
	settle();
	EXPECT_EQ(button().grab().toImage().pixelColor(12, 4), QColor(0xfb, 0xbf, 0x24));
	release();
	settle();
	EXPECT_EQ(button().grab().toImage(), before);
}

TEST_F(OriginalTest, TheButtonSaysThatItIsOnAirInEveryLanguageWithoutBeingCut)
{
	for (int language = 0; language < language_count; ++language) {
		set_language(language);
		world.panel().retranslate();
		settle();
		EXPECT_EQ(button().painted_text(), QString::fromUtf8(translate("original.hold"))) << language;
		EXPECT_EQ(button().toolTip(), QString::fromUtf8(translate("original.holdHint")));
		EXPECT_EQ(button().accessibleDescription(), button().toolTip());
	}
	set_language(LanguageEnglish);
}

} // namespace
} // namespace kalvio::test
