// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock/prop_center.h"

#include "kit/module_double.h"
#include "panel/dock/dock_host.h"

#include <QApplication>
#include <QDialog>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

using namespace kalvio;
using namespace kalvio::test;

namespace {

constexpr const char *hint_text = "All effects are set elsewhere.";
constexpr const char *button_text = "Open it";

// A properties dialog of the host with a filter that has a hint and a button.
struct PropertiesWindow {
	QDialog dialog;
	QScrollArea *scroll_area = new QScrollArea;
	QWidget *form = new QWidget;
	QFormLayout *layout = new QFormLayout(form);
	QLabel *hint = new QLabel(hint_text);
	QPushButton *button = new QPushButton(button_text);

	PropertiesWindow()
	{
		auto *dialog_layout = new QVBoxLayout(&dialog);
		dialog_layout->addWidget(scroll_area);
		scroll_area->setWidgetResizable(true);
		layout->addRow(hint);
		layout->addRow(button);
		scroll_area->setWidget(form);
		dialog.resize(600, 400);
		dialog.show();
	}

	int centers() const { return static_cast<int>(form->findChildren<FilterPropCenter *>().size()); }

	// How far the middle of hint and button lies from the middle of the view, in pixels.
	int distance_from_middle() const
	{
		const int top = hint->mapTo(scroll_area->viewport(), QPoint(0, 0)).y();
		const int bottom = button->mapTo(scroll_area->viewport(), QPoint(0, button->height())).y();
		return std::abs((top + bottom) - scroll_area->viewport()->height()) / 2;
	}

	int distance_from_column() const
	{
		const QWidget *viewport = scroll_area->viewport();
		const int button_middle = button->mapTo(viewport, QPoint(button->width() / 2, 0)).x();
		return std::abs(button_middle - viewport->width() / 2);
	}
};

void process_events()
{
	for (int turn = 0; turn < 4; ++turn)
		QCoreApplication::processEvents();
}

class PropCenterTest : public testing::Test {
protected:
	PropCenterTest()
	{
		set_module_text("Kalvio.PropertiesHint", hint_text);
		set_module_text("Kalvio.OpenPanel", button_text);
	}
	~PropCenterTest() override { reset_module_double(); }
};

// The rows' own spacing is not counted twice, so the middle may be off by as much as that.
constexpr int tolerance = 16;

} // namespace

TEST_F(PropCenterTest, HintAndButtonStandInTheMiddle)
{
	const PropertiesWindow window;
	install_prop_center();
	process_events();
	EXPECT_LE(window.distance_from_middle(), tolerance);
	EXPECT_LE(window.distance_from_column(), 1);
	EXPECT_EQ(window.button->cursor().shape(), Qt::PointingHandCursor);
	EXPECT_EQ(window.hint->alignment(), Qt::AlignHCenter | Qt::AlignVCenter);
}

TEST_F(PropCenterTest, SpacersShareTheFreeHeightByTheStatedRule)
{
	const PropertiesWindow window;
	install_prop_center();
	process_events();
	const auto *top = window.form->findChild<QWidget *>("kl_prop_spacer_top");
	const auto *bottom = window.form->findChild<QWidget *>("kl_prop_spacer_bottom");
	ASSERT_TRUE(top && bottom);
	const QMargins margins = window.layout->contentsMargins();
	const int used = margins.top() + margins.bottom() + window.button->sizeHint().height() +
			 window.hint->sizeHint().height() + window.layout->verticalSpacing();
	const int free = window.scroll_area->viewport()->height() - used;
	EXPECT_EQ(top->height(), free / 2);
	EXPECT_EQ(bottom->height(), free - free / 2);
}

TEST_F(PropCenterTest, TheyStayInTheMiddle_WhenTheWindowIsResized)
{
	PropertiesWindow window;
	install_prop_center();
	for (const QSize size : {QSize(900, 700), QSize(400, 250), QSize(600, 1000)}) {
		window.dialog.resize(size);
		process_events();
		EXPECT_LE(window.distance_from_middle(), tolerance);
		EXPECT_LE(window.distance_from_column(), 1);
	}
}

TEST_F(PropCenterTest, ViewThatIsTooSmallGetsNoNegativeSpacer)
{
	PropertiesWindow window;
	window.scroll_area->setFixedHeight(20);
	install_prop_center();
	process_events();
	EXPECT_EQ(window.form->findChild<QWidget *>("kl_prop_spacer_top")->height(), 0);
}

TEST_F(PropCenterTest, HintIsNeverCut)
{
	const PropertiesWindow window;
	window.hint->setWordWrap(true);
	install_prop_center();
	EXPECT_FALSE(window.hint->wordWrap());
	EXPECT_EQ(window.hint->minimumWidth(), window.hint->fontMetrics().horizontalAdvance(hint_text));
}

TEST_F(PropCenterTest, SecondCallInstallsNothingMore)
{
	const PropertiesWindow window;
	install_prop_center();
	install_prop_center();
	EXPECT_EQ(window.centers(), 1);
	EXPECT_EQ(window.layout->rowCount(), 4);
}

TEST_F(PropCenterTest, OnlyTheFirstWindowIsTaken)
{
	const PropertiesWindow first;
	const PropertiesWindow second;
	install_prop_center();
	EXPECT_EQ(first.centers() + second.centers(), 1);
}

TEST_F(PropCenterTest, CenterGoesWithTheView)
{
	PropertiesWindow window;
	install_prop_center();
	delete window.scroll_area->takeWidget();
	window.dialog.resize(500, 500);
	process_events();
	EXPECT_TRUE(window.dialog.findChildren<FilterPropCenter *>().isEmpty());
}

TEST_F(PropCenterTest, HintThatIsGoneIsLeftAlone)
{
	PropertiesWindow window;
	install_prop_center();
	delete window.hint;
	window.dialog.resize(500, 500);
	process_events();
	EXPECT_EQ(window.centers(), 1);
	window.hint = nullptr;
}

TEST_F(PropCenterTest, HintMayBePartOfALongerText)
{
	const PropertiesWindow window;
	window.hint->setText(QStringLiteral("<b>") + hint_text + QStringLiteral("</b>"));
	install_prop_center();
	EXPECT_EQ(window.centers(), 1);
}

TEST_F(PropCenterTest, ButtonOfAnotherTextIsNotOurs)
{
	const PropertiesWindow window;
	window.button->setText(QString(button_text) + " now");
	install_prop_center();
	EXPECT_EQ(window.centers(), 0);
}

TEST_F(PropCenterTest, HintOfAnotherTextIsNotOurs)
{
	const PropertiesWindow window;
	window.hint->setText("Something else");
	install_prop_center();
	EXPECT_EQ(window.centers(), 0);
}

TEST_F(PropCenterTest, WidgetsOfDifferentParentsAreNotOurs)
{
	const PropertiesWindow window;
	window.button->setParent(window.scroll_area);
	install_prop_center();
	EXPECT_EQ(window.centers(), 0);
}

TEST_F(PropCenterTest, ViewWithAnotherLayoutIsLeftAlone)
{
	QScrollArea area;
	auto *form = new QWidget;
	auto *layout = new QVBoxLayout(form);
	layout->addWidget(new QLabel(hint_text));
	layout->addWidget(new QPushButton(button_text));
	area.setWidget(form);
	install_prop_center();
	EXPECT_TRUE(form->findChildren<FilterPropCenter *>().isEmpty());
}

TEST_F(PropCenterTest, ViewThatDoesNotScrollIsLeftAlone)
{
	QWidget form;
	auto *layout = new QFormLayout(&form);
	layout->addRow(new QLabel(hint_text));
	layout->addRow(new QPushButton(button_text));
	install_prop_center();
	EXPECT_TRUE(form.findChildren<FilterPropCenter *>().isEmpty());
}

TEST_F(PropCenterTest, WidgetsWithoutAWindowOfTheirOwnAreLeftAlone)
{
	const QLabel hint(hint_text);
	const QPushButton button(button_text);
	install_prop_center();
	EXPECT_TRUE(hint.children().isEmpty() && button.children().isEmpty());
}

TEST_F(PropCenterTest, EmptyTextFindsNothing)
{
	const PropertiesWindow window;
	for (const char *key : {"Kalvio.PropertiesHint", "Kalvio.OpenPanel"}) {
		set_module_text(key, "");
		install_prop_center();
		EXPECT_EQ(window.centers(), 0);
		set_module_text("Kalvio.PropertiesHint", hint_text);
	}
}

TEST_F(PropCenterTest, LocaleStringsOfAnyFormAreFoundAsTheyAre)
{
	for (const char *text : {"%1 & \"quoted\" <b>", "設定はレタッチコンソールで。", "שלום\u202Eabc", "\\n tab\t"}) {
		set_module_text("Kalvio.PropertiesHint", text);
		const PropertiesWindow window;
		window.hint->setText(text);
		install_prop_center();
		EXPECT_EQ(window.centers(), 1) << text;
	}
}

TEST_F(PropCenterTest, ScheduledCentringWaitsForTheEventLoop)
{
	const PropertiesWindow window;
	schedule_prop_center();
	EXPECT_EQ(window.centers(), 0);
	process_events();
	EXPECT_EQ(window.centers(), 1);
}

TEST_F(PropCenterTest, CentringMayBeScheduledOnAnyThread)
{
	const PropertiesWindow window;
	std::thread(schedule_prop_center).join();
	process_events();
	EXPECT_EQ(window.centers(), 1);
}
