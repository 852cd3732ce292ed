// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "panel/text/translations.h"
#include "panel/widgets/check_box.h"
#include "panel/widgets/switch.h"

#include <QAccessible>
#include <QApplication>
#include <QButtonGroup>
#include <QComboBox>
#include <QHelpEvent>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSet>
#include <QToolTip>

// The panel without a mouse, without a screen, and with a wheel.
namespace kalvio::test {
namespace {

class AccessTest : public PanelTest {
protected:
	AccessTest()
	{
		filter = &world.add_filter("Camera");
		world.open_panel();
		world.panel().activateWindow();
		settle();
	}

	// The widgets that Tab visits, from the first control of the header on.
	QList<QWidget *> tab_stops()
	{
		QList<QWidget *> stops;
		world.panel().findChild<CheckBox *>()->setFocus(Qt::TabFocusReason);
		for (int i = 0; i < 200; ++i) {
			QWidget *focused = QApplication::focusWidget();
			if (!focused || stops.contains(focused))
				break;
			stops.append(focused);
			click_key(focused, Qt::Key_Tab);
		}
		return stops;
	}

	// At a point in the panel's own measure, whatever the scale.
	static QColor color_at(const QImage &picture, const QPoint &point)
	{
		return picture.pixelColor((QPointF(point) * picture.devicePixelRatio()).toPoint());
	}

	FakeSource *filter;
};

TEST_F(AccessTest, AControlIsNamedAfterItsHeading)
{
	EXPECT_NE(find_named<QSlider>(world.page(MakeupPage), QStringLiteral("Lipstick, Strength")), nullptr);
	EXPECT_NE(find_named<QSlider>(world.page(MakeupPage), QStringLiteral("Blush, Strength")), nullptr);
	EXPECT_NE(find_named<SmoothButton>(world.page(MakeupPage), QStringLiteral("Blush, Style: Soft")), nullptr);
	EXPECT_NE(find_named<QSlider>(world.page(ReshapePage), QStringLiteral("Eyes, Height")), nullptr);
	EXPECT_NE(find_named<QSlider>(world.page(SkinPage), QStringLiteral("Smooth")), nullptr);
}

TEST_F(AccessTest, NoTwoControlsOfAPageShareANameInAnyLanguage)
{
	for (int language = 0; language < language_count; ++language) {
		set_language(language);
		world.panel().retranslate();
		for (int page = SkinPage; page <= BackgroundPage; ++page) {
			QSet<QString> names;
			for (auto *control : world.page(page).findChildren<QWidget *>()) {
				if (control->focusPolicy() == Qt::NoFocus && !qobject_cast<SmoothButton *>(control))
					continue;
				const auto *button = qobject_cast<QAbstractButton *>(control);
				const QString own = control->accessibleName();
				const QString name = own.isEmpty() && button ? button->text() : own;
				EXPECT_FALSE(name.isEmpty()) << control->metaObject()->className();
				EXPECT_FALSE(names.contains(name))
					<< language << " " << page << " " << name.toStdString();
				names.insert(name);
			}
		}
	}
	set_language(LanguageEnglish);
}

TEST_F(AccessTest, TabReachesEveryControlOfEveryPage)
{
	for (int page = SkinPage; page <= BackgroundPage; ++page) {
		SCOPED_TRACE(page);
		panel_model().parameters.background.fill = 1;
		panel_model().parameters.background.chroma = 1;
		world.panel().refreshControls();
		world.show_page(page);
		const QList<QWidget *> stops = tab_stops();
		for (auto *slider : world.page(page).findChildren<QSlider *>())
			EXPECT_TRUE(stops.contains(slider)) << slider->accessibleName().toStdString();
		for (auto *toggle : world.page(page).findChildren<Switch *>())
			EXPECT_TRUE(stops.contains(toggle));
		for (auto *button : world.page(page).findChildren<QPushButton *>()) {
			const bool is_in_group = button->group() != nullptr;
			if (is_in_group) {
				// One stop for the whole group, at what is chosen.
				EXPECT_EQ(stops.contains(button), button->isChecked());
			} else {
				EXPECT_TRUE(stops.contains(button)) << button->text().toStdString();
			}
		}
	}
}

TEST_F(AccessTest, TabGoesFromTopToBottom)
{
	for (int page = SkinPage; page <= BackgroundPage; ++page) {
		world.show_page(page);
		int last_y = -1;
		for (const QWidget *stop : tab_stops()) {
			if (!world.page(page).isAncestorOf(stop))
				continue;
			const int y = stop->mapTo(&world.page(page), QPoint(0, stop->height() / 2)).y();
			EXPECT_GE(y, last_y - 12) << page << " " << stop->accessibleName().toStdString();
			last_y = y;
		}
	}
}

TEST_F(AccessTest, SpaceAndEnterWorkSwitchesTogglesAndButtons)
{
	auto *toggle = find_named<Switch>(world.panel(), QStringLiteral("Skin only"));
	click_key(toggle, Qt::Key_Space);
	EXPECT_TRUE(setting_bool(*filter, "skin_only"));
	click_key(toggle, Qt::Key_Return);
	EXPECT_FALSE(setting_bool(*filter, "skin_only"));

	auto *live = world.panel().findChild<CheckBox *>();
	click_key(live, Qt::Key_Space);
	EXPECT_FALSE(panel_model().parameters.enabled);

	auto *settings = find_named<QPushButton>(world.panel(), QStringLiteral("Settings"));
	click_key(settings, Qt::Key_Enter);
	EXPECT_TRUE(settings->isChecked());
}

TEST_F(AccessTest, DisabledControlsIgnoreKeys)
{
	auto *toggle = find_named<Switch>(world.panel(), QStringLiteral("Skin only"));
	world.remove_all_filters();
	world.poll();
	click_key(toggle, Qt::Key_Space);
	EXPECT_FALSE(toggle->checked);
}

TEST_F(AccessTest, ArrowsChooseAmongOptions)
{
	QButtonGroup *group = world.page(SkinPage).findChildren<QButtonGroup *>().at(1);
	group->checkedButton()->setFocus(Qt::TabFocusReason);
	click_key(QApplication::focusWidget(), Qt::Key_Right);
	EXPECT_EQ(setting_int(*filter, "whitening_style"), 1);
	EXPECT_EQ(QApplication::focusWidget(), group->button(1));
	click_key(QApplication::focusWidget(), Qt::Key_Left);
	EXPECT_EQ(setting_int(*filter, "whitening_style"), 0);
}

TEST_F(AccessTest, ShortcutsChooseTabs)
{
	QWidget *focused = world.panel().findChild<CheckBox *>();
	focused->setFocus();
	click_key(focused, Qt::Key_3, Qt::ControlModifier);
	EXPECT_TRUE(world.page(MakeupPage).isVisible());
	click_key(focused, Qt::Key_PageDown, Qt::ControlModifier);
	EXPECT_TRUE(world.page(FilterPage).isVisible());
	click_key(focused, Qt::Key_PageUp, Qt::ControlModifier);
	EXPECT_TRUE(world.page(MakeupPage).isVisible());
	click_key(focused, Qt::Key_Tab, Qt::ControlModifier);
	EXPECT_TRUE(world.page(FilterPage).isVisible());
	click_key(focused, Qt::Key_7, Qt::ControlModifier);
	click_key(focused, Qt::Key_Tab, Qt::ControlModifier);
	EXPECT_TRUE(world.page(SkinPage).isVisible());
}

TEST_F(AccessTest, AClickTakesTheFocusFromNothing)
{
	auto *slider = find_named<QSlider>(world.panel(), QStringLiteral("Smooth"));
	slider->setFocus();
	click(*world.page(SkinPage).findChildren<SmoothButton *>().at(2));
	EXPECT_EQ(QApplication::focusWidget(), slider);
}

TEST_F(AccessTest, KeyboardFocusIsVisible)
{
	auto *toggle = find_named<Switch>(world.panel(), QStringLiteral("Skin only"));
	const QImage before = world.panel().grab().toImage();
	toggle->setFocus(Qt::TabFocusReason);
	settle();
	const QImage after = world.panel().grab().toImage();
	const QPoint above = toggle->mapTo(&world.panel(), QPoint(toggle->width() / 2, -2));
	EXPECT_NE(color_at(before, above), color_at(after, above));
	EXPECT_EQ(color_at(after, above), QColor(0x60, 0xa5, 0xfa));
	toggle->clearFocus();
	settle();
	EXPECT_EQ(world.panel().grab().toImage(), before);
}

// Header, notices, pages and settings: whatever Tab stops at is seen to have the focus.
TEST_F(AccessTest, EveryTabStopShowsTheRing)
{
	set_update_status({.soft = true, .latest = "1.0.13", .notes = "Softer skin"});
	world.poll();
	panel_model().parameters.background.fill = 1;
	panel_model().parameters.background.chroma = 1;
	const auto check_stops = [this](const QString &where) {
		int seen = 0;
		for (QWidget *stop : tab_stops()) {
			stop->setFocus(Qt::TabFocusReason);
			settle();
			const QImage picture = world.panel().grab().toImage();
			const QPoint left = stop->mapTo(&world.panel(), QPoint(-2, stop->height() / 2));
			EXPECT_EQ(color_at(picture, left), QColor(0x60, 0xa5, 0xfa))
				<< where.toStdString() << ": " << stop->metaObject()->className() << " "
				<< stop->accessibleName().toStdString();
			++seen;
		}
		return seen;
	};
	world.panel().refreshControls();
	for (int page = SkinPage; page <= BackgroundPage; ++page) {
		world.show_page(page);
		EXPECT_GT(check_stops(QString::number(page)), 8);
	}
	click(*find_named<QPushButton>(world.panel(), QStringLiteral("Settings")));
	settle();
	// Four of the header, two of the notice, and back, two switches, two links.
	EXPECT_EQ(check_stops(QStringLiteral("settings")), 11);
}

TEST_F(AccessTest, LinksOfTheHintAreReachedByKeys)
{
	world.remove_all_filters();
	world.poll();
	settle();
	auto *hint = world.panel().findChild<QWidget *>(QStringLiteral("banner"))->findChild<QLabel *>();
	ASSERT_TRUE(hint->isVisible());
	hint->setFocus(Qt::TabFocusReason);
	click_key(hint, Qt::Key_Tab);
	EXPECT_EQ(QApplication::focusWidget(), hint);
	click_key(hint, Qt::Key_Return);
	EXPECT_EQ(call_journal().count("open_url"), 1u);
}

TEST_F(AccessTest, FocusByMouseShowsNoRing)
{
	auto *slider = find_named<QSlider>(world.panel(), QStringLiteral("Smooth"));
	click(*slider);
	EXPECT_EQ(QApplication::focusWidget(), slider);
	const QImage picture = world.panel().grab().toImage();
	const QPoint above = slider->mapTo(&world.panel(), QPoint(slider->width() / 2, -2));
	EXPECT_NE(color_at(picture, above), QColor(0x60, 0xa5, 0xfa));
}

TEST_F(AccessTest, FocusedControlsAreScrolledIntoSight)
{
	world.show_page(MakeupPage);
	auto *last = world.page(MakeupPage).findChildren<QSlider *>().back();
	EXPECT_TRUE(last->visibleRegion().isEmpty());
	last->setFocus(Qt::TabFocusReason);
	settle();
	EXPECT_FALSE(last->visibleRegion().isEmpty());
}

TEST_F(AccessTest, TheWheelScrollsAndChangesNothing)
{
	world.show_page(ReshapePage);
	auto *slider = world.page(ReshapePage).findChildren<QSlider *>().at(2);
	auto *area = static_cast<QScrollArea *>(world.page(ReshapePage).parentWidget()->parentWidget());
	turn_wheel(slider, -120);
	EXPECT_EQ(slider->value(), 0);
	EXPECT_GT(area->verticalScrollBar()->value(), 0);
	slider->setFocus();
	turn_wheel(slider, -120);
	EXPECT_EQ(slider->value(), 0);
	auto *selector = world.panel().findChild<QComboBox *>();
	selector->setFocus();
	const int before = selector->currentIndex();
	turn_wheel(selector, 120);
	EXPECT_EQ(selector->currentIndex(), before);
}

TEST_F(AccessTest, TheWheelTurnsTheSliderThatWasJustPressedUntilThePointerLeaves)
{
	auto *slider = find_named<QSlider>(world.panel(), QStringLiteral("Smooth"));
	click(*slider);
	const int pressed = slider->value();
	turn_wheel(slider, 120);
	EXPECT_NE(slider->value(), pressed);
	const int turned = slider->value();
	QEvent leave(QEvent::Leave);
	QApplication::sendEvent(slider, &leave);
	turn_wheel(slider, 120);
	EXPECT_EQ(slider->value(), turned);
}

// Everything that a screen reader can stop at, and what it says there.
TEST_F(AccessTest, EveryControlHasANameAndARole)
{
	for (auto *widget : world.panel().findChildren<QWidget *>()) {
		const bool is_control = qobject_cast<QAbstractButton *>(widget) || qobject_cast<QSlider *>(widget) ||
					qobject_cast<Switch *>(widget) || qobject_cast<CheckBox *>(widget);
		if (!is_control)
			continue;
		QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(widget);
		ASSERT_NE(accessible, nullptr);
		const QString name = accessible->text(QAccessible::Name);
		EXPECT_FALSE(name.isEmpty())
			<< widget->metaObject()->className() << " " << widget->objectName().toStdString();
		EXPECT_FALSE(name.contains(u'.')) << name.toStdString(); // a key
		EXPECT_NE(accessible->role(), QAccessible::NoRole);
		EXPECT_NE(accessible->role(), QAccessible::Client);
	}
}

TEST_F(AccessTest, TogglesAreCheckBoxesWithAState)
{
	auto *toggle = find_named<Switch>(world.panel(), QStringLiteral("Skin only"));
	QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(toggle);
	EXPECT_EQ(accessible->role(), QAccessible::CheckBox);
	EXPECT_TRUE(accessible->state().checkable);
	EXPECT_FALSE(accessible->state().checked);
	ASSERT_NE(accessible->actionInterface(), nullptr);
	accessible->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
	EXPECT_TRUE(accessible->state().checked);
	EXPECT_TRUE(setting_bool(*filter, "skin_only"));
	QAccessibleInterface *live = QAccessible::queryAccessibleInterface(world.panel().findChild<CheckBox *>());
	EXPECT_EQ(live->role(), QAccessible::CheckBox);
	EXPECT_TRUE(live->state().checked);
}

TEST_F(AccessTest, TabsAreTabsAndOptionsAreRadioButtons)
{
	QAccessibleInterface *tab = QAccessible::queryAccessibleInterface(&world.tab(SkinPage));
	EXPECT_EQ(tab->role(), QAccessible::PageTab);
	EXPECT_TRUE(tab->state().selected);
	tab = QAccessible::queryAccessibleInterface(&world.tab(BodyPage));
	EXPECT_EQ(tab->text(QAccessible::Name), QStringLiteral("Body"));
	tab->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
	EXPECT_TRUE(world.page(BodyPage).isVisible());
	auto *option = find_named<SmoothButton>(world.panel(), QStringLiteral("Skin tone: Pink"));
	ASSERT_NE(option, nullptr);
	EXPECT_EQ(QAccessible::queryAccessibleInterface(option)->role(), QAccessible::RadioButton);
}

TEST_F(AccessTest, SlidersTellTheirValue)
{
	auto *slider = find_named<QSlider>(world.panel(), QStringLiteral("Smooth"));
	QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(slider);
	ASSERT_NE(accessible->valueInterface(), nullptr);
	slider->setValue(42);
	EXPECT_EQ(accessible->valueInterface()->currentValue().toInt(), 42);
}

TEST_F(AccessTest, ATextThatIsCutHasATip)
{
	auto *button = find_named<SmoothButton>(world.panel(), QStringLiteral("Skin tone: Pink"));
	const auto hover = [](QWidget &widget) {
		QToolTip::hideText();
		QHelpEvent event(QEvent::ToolTip, QPoint(3, 3), widget.mapToGlobal(QPoint(3, 3)));
		QApplication::sendEvent(&widget, &event);
		return QToolTip::text();
	};
	hover(*button);
	EXPECT_FALSE(hover(*button).contains(QStringLiteral("Pink")));
	button->setText(QStringLiteral("<i>A very long</i> name for a tone"));
	EXPECT_TRUE(hover(*button).contains(QStringLiteral("&lt;i&gt;A very long&lt;/i&gt; name")));
}

TEST_F(AccessTest, ASwatchTellsTheNameOfItsColor)
{
	world.show_page(MakeupPage);
	auto *swatch = find_named<SmoothButton>(world.panel(), QStringLiteral("Pupils, Pupil color: Glow"));
	QToolTip::hideText();
	QHelpEvent event(QEvent::ToolTip, QPoint(3, 3), swatch->mapToGlobal(QPoint(3, 3)));
	QApplication::sendEvent(swatch, &event);
	EXPECT_TRUE(QToolTip::text().contains(QStringLiteral("Glow")));
}

TEST_F(AccessTest, TipsAreInTheLookOfTheHost)
{
	auto *live = world.panel().findChild<CheckBox *>();
	QHelpEvent event(QEvent::ToolTip, QPoint(3, 3), live->mapToGlobal(QPoint(3, 3)));
	QApplication::sendEvent(live, &event);
	EXPECT_TRUE(QToolTip::text().contains(QStringLiteral("On/Off")));
	for (QWidget *window : QApplication::topLevelWidgets()) {
		if (!window->inherits("QTipLabel"))
			continue;
		window->ensurePolished();
		EXPECT_EQ(window->palette().color(QPalette::WindowText),
			  QToolTip::palette().color(QPalette::ToolTipText));
	}
}

} // namespace
} // namespace kalvio::test
