// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "panel_driver.h"
#include "probe_case.h"
#include "report.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDockWidget>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QScrollArea>
#include <algorithm>
#include <cstdlib>
#include <obs-frontend-api.h>
#include <obs-module.h>
#include <string>
#include <vector>

namespace kalvio::probe {

namespace {

constexpr QRect floating_place(200, 120, 420, 640);
constexpr int docked_width = 460;
constexpr const char *docked_again_file = "docked_again.txt"; // from one start to the next
constexpr int polls_ms = 700;                                 // a few of the panel's polls

void let_polls_pass()
{
	wait_until([] { return false; }, polls_ms);
}

// The dock in its place, which it takes just after OBS has finished loading; null, and a failed check, without one.
QDockWidget *placed_dock()
{
	let_polls_pass();
	QDockWidget *const found = panel_dock();
	check(found, "OBS has the panel's dock");
	return found;
}

QString area_name(const QDockWidget &widget)
{
	if (widget.isFloating())
		return "floating";
	switch (main_window()->dockWidgetArea(const_cast<QDockWidget *>(&widget))) {
	case Qt::LeftDockWidgetArea:
		return "left";
	case Qt::RightDockWidgetArea:
		return "right";
	case Qt::TopDockWidgetArea:
		return "top";
	case Qt::BottomDockWidgetArea:
		return "bottom";
	default:
		return "nowhere";
	}
}

void check_stands(const QDockWidget &widget, const QString &where)
{
	check(area_name(widget) == where, "the dock stands at: " + where, area_name(widget));
}

void check_cannot_be_closed(const QDockWidget &widget, const QString &when)
{
	check(!widget.features().testFlag(QDockWidget::DockWidgetClosable), "the dock cannot be closed " + when);
	for (const QAbstractButton *button : widget.findChildren<QAbstractButton *>("qt_dockwidget_closebutton"))
		check(!button->isVisible(), "no close button is shown " + when);
}

void dock_is_there_at_first_start()
{
	QDockWidget *const widget = placed_dock();
	if (!widget)
		return;
	check_stands(*widget, "right");
	check(widget->isVisible(), "the dock is shown");
	check_cannot_be_closed(*widget, "at the start");
	check(widget->windowTitle() == "Kalvio", "its title is Kalvio", widget->windowTitle());
	const auto *const selector = widget->findChild<QComboBox *>();
	check(selector && selector->count() == 2 && selector->itemText(1) == setting("KALVIO_PROBE_SOURCE"),
	      "the selector lists the source", selector ? selector->itemText(1) : QString());
	check(widget->grab().save(output_file("dock.png")), "a picture of the dock is kept");
}

void added_filter_shows_it(QDockWidget &widget)
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = add_filter(source, "One more");
	check(wait_until([&] { return widget.isVisible(); }, 3000), "a filter that is added shows the dock");
}

// With another dock in the same place, whose tab is on top.
void behind_another_dock_it_is_raised(QDockWidget &widget)
{
	auto *const other = main_window()->findChild<QDockWidget *>("controlsDock");
	if (!check(other, "OBS has the dock of its controls"))
		return;
	widget.setFloating(false);
	main_window()->tabifyDockWidget(&widget, other);
	other->raise();
	check(wait_until([&] { return widget.visibleRegion().isEmpty(); }, 3000), "another dock covers the panel");
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = add_filter(source, "And one more");
	check(wait_until([&] { return !widget.visibleRegion().isEmpty(); }, 3000), "a filter that is added raises it");
}

void other_collections_leave_it_hidden(QDockWidget &widget)
{
	char *const name = obs_frontend_get_current_scene_collection();
	const QByteArray first = name;
	bfree(name);
	check(obs_frontend_add_scene_collection("Empty"), "a second collection is made");
	widget.hide();
	obs_frontend_set_current_scene_collection(first.constData());
	let_polls_pass();
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	check(filter, "the first collection is back with its filter");
	check(!widget.isVisible(), "a collection that is loaded leaves the dock hidden");
}

void dock_stays_hidden_when_unwanted()
{
	QDockWidget *const widget = placed_dock();
	if (!widget)
		return;
	check(!widget->isVisible(), "the dock is hidden, although the collection brought a filter");
	widget->show();
	widget->hide();
	const auto *const tools = main_window()->findChild<QMenu *>("menuTools");
	const QList<QAction *> entries = tools ? tools->actions() : QList<QAction *>();
	const auto entry = std::find_if(entries.begin(), entries.end(),
					[](const QAction *action) { return action->text() == "Kalvio"; });
	if (!check(entry != entries.end(), "the Tools menu has the entry"))
		return;
	(*entry)->trigger();
	check(widget->isVisible(), "the entry shows the dock");
	widget->hide();
	added_filter_shows_it(*widget);
	behind_another_dock_it_is_raised(*widget);
	other_collections_leave_it_hidden(*widget);
}

void locked_docks_stay_locked()
{
	QDockWidget *const widget = placed_dock();
	auto *const lock = main_window()->findChild<QAction *>("lockDocks");
	if (!widget || !check(lock, "OBS can lock its docks"))
		return;
	lock->trigger();
	if (widget->features() != QDockWidget::NoDockWidgetFeatures)
		lock->trigger();
	check(widget->features() == QDockWidget::NoDockWidgetFeatures, "a locked dock has no features");
	lock->trigger();
	check(widget->features().testFlag(QDockWidget::DockWidgetMovable), "an unlocked dock can be moved");
	check_cannot_be_closed(*widget, "after unlocking");
	widget->setFloating(true);
	check_cannot_be_closed(*widget, "while it floats");
	widget->setFloating(false);
	check_cannot_be_closed(*widget, "after docking");
}

void dock_goes_left()
{
	QDockWidget *const widget = placed_dock();
	if (!widget)
		return;
	main_window()->addDockWidget(Qt::LeftDockWidgetArea, widget);
	main_window()->resizeDocks({widget}, {docked_width}, Qt::Horizontal);
	let_polls_pass();
	check_stands(*widget, "left");
	check(widget->width() == docked_width, "the dock is as wide as it was made", QString::number(widget->width()));
}

void dock_is_left_and_floats()
{
	QDockWidget *const widget = placed_dock();
	if (!widget)
		return;
	check_stands(*widget, "left");
	check(std::abs(widget->width() - docked_width) <= 2, "it is as wide as before",
	      QString::number(widget->width()));
	widget->setFloating(true);
	widget->setGeometry(floating_place);
	let_polls_pass();
	check_stands(*widget, "floating");
}

void dock_floats_and_goes_below()
{
	QDockWidget *const widget = placed_dock();
	if (!widget)
		return;
	check_stands(*widget, "floating");
	const QRect place = widget->geometry();
	check(place == floating_place, "it floats where it did",
	      QString("%1,%2 %3x%4").arg(place.x()).arg(place.y()).arg(place.width()).arg(place.height()));
	widget->setFloating(false);
	main_window()->addDockWidget(Qt::BottomDockWidgetArea, widget);
	let_polls_pass();
	check_stands(*widget, "bottom");
}

void dock_is_below_and_goes_up()
{
	QDockWidget *const widget = placed_dock();
	if (!widget)
		return;
	check_stands(*widget, "bottom");
	main_window()->addDockWidget(Qt::TopDockWidgetArea, widget);
	let_polls_pass();
}

void dock_is_at_the_top_floats_and_docks()
{
	QDockWidget *const widget = placed_dock();
	if (!widget)
		return;
	check_stands(*widget, "top");
	widget->setFloating(true);
	widget->setGeometry(floating_place);
	let_polls_pass();
	widget->setFloating(false);
	main_window()->addDockWidget(Qt::RightDockWidgetArea, widget);
	let_polls_pass();
	main_window()->resizeDocks({widget}, {docked_width}, Qt::Horizontal);
	let_polls_pass();
	check_stands(*widget, "right");
	// OBS's own docks leave it what they do not need.
	QFile note(output_file(docked_again_file));
	check(note.open(QIODevice::WriteOnly) && note.write(QByteArray::number(widget->width())) > 0,
	      "its width is noted", QString::number(widget->width()));
}

// Where it floated last is kept for the next time.
void dock_is_right_after_floating()
{
	QDockWidget *const widget = placed_dock();
	if (!widget)
		return;
	check_stands(*widget, "right");
	QFile note(output_file(docked_again_file));
	const int width = note.open(QIODevice::ReadOnly) ? note.readAll().toInt() : 0;
	check(std::abs(widget->width() - width) <= 2, "it is as wide as before", QString::number(widget->width()));
	char *const path = obs_module_get_config_path(obs_get_module("obs-kalvio"), "ui.json");
	const OBSDataAutoRelease saved = obs_data_create_from_json_file(path);
	bfree(path);
	const QPoint place(int(obs_data_get_int(saved, "dock_x")), int(obs_data_get_int(saved, "dock_y")));
	check(place == floating_place.topLeft(), "where it floated is still known",
	      QString("%1,%2").arg(place.x()).arg(place.y()));
}

// Properties

QWidget *filter_dialog()
{
	for (QWidget *const window : QApplication::topLevelWidgets())
		if (window->objectName() == "OBSBasicFilters" && window->isVisible())
			return window;
	return nullptr;
}

QWidget *centered_form()
{
	QWidget *const dialog = filter_dialog();
	QObject *const center = dialog ? dialog->findChild<QObject *>("kl_prop_center") : nullptr;
	return center ? qobject_cast<QWidget *>(center->parent()) : nullptr;
}

// How far the middle of hint and button lies from the middle of the view.
QPoint distance_from_middle(const QWidget &form)
{
	const auto *const hint = form.findChild<QLabel *>({}, Qt::FindDirectChildrenOnly);
	const auto *const button = form.findChild<QAbstractButton *>({}, Qt::FindDirectChildrenOnly);
	const QWidget *const viewport = form.parentWidget();
	if (!hint || !button || !viewport)
		return {-10000, -10000};
	const int top = hint->mapTo(viewport, QPoint(0, 0)).y();
	const int bottom = button->mapTo(viewport, QPoint(0, button->height())).y();
	const int middle = button->mapTo(viewport, QPoint(button->width() / 2, 0)).x();
	return {middle - viewport->width() / 2, (top + bottom) / 2 - viewport->height() / 2};
}

void check_centered(const QString &when)
{
	const QWidget *const form = centered_form();
	if (!check(form, "the view is centered by the module " + when))
		return;
	const QPoint distance = distance_from_middle(*form);
	const QString seen = QString("%1,%2").arg(distance.x()).arg(distance.y());
	check(std::abs(distance.x()) <= 8, "hint and button stand in the middle across " + when, seen);
	check(std::abs(distance.y()) <= 16, "hint and button stand in the middle up and down " + when, seen);
}

// In the language that OBS was started in.
void properties_are_centered()
{
	check(QByteArray(obs_get_locale()) == setting("KALVIO_PROBE_LANGUAGE").toUtf8(), "OBS speaks this language",
	      obs_get_locale());
	const OBSSourceAutoRelease source = scene_source();
	obs_frontend_open_source_filters(source);
	wait_until([] { return centered_form() != nullptr; }, 5000);
	let_polls_pass();
	check_centered("at once");
	QWidget *const dialog = filter_dialog();
	if (!dialog)
		return;
	for (const QSize size : {QSize(1200, 900), QSize(820, 620)}) {
		dialog->resize(size);
		wait_until([] { return false; }, 200);
		check_centered(QString("at a width of %1").arg(size.width()));
	}
	check(dialog->findChildren<QObject *>("kl_prop_center").size() == 1, "one object does it");
	check(dialog->grab().save(output_file("properties.png")), "a picture of the dialog is kept");
	dialog->close();
}

// Scene collections

double smoothing_of(const char *source_name, const QString &filter_name)
{
	const OBSSourceAutoRelease source = obs_get_source_by_name(source_name);
	const OBSSourceAutoRelease filter =
		source ? obs_source_get_filter_by_name(source, filter_name.toUtf8().constData()) : nullptr;
	const OBSDataAutoRelease settings = filter ? obs_source_get_settings(filter) : nullptr;
	return settings ? obs_data_get_double(settings, "smoothing") : -1.0;
}

void check_smoothing(const char *source_name, const QString &filter_name, double wanted, const QString &when)
{
	const double seen = smoothing_of(source_name, filter_name);
	check(seen == wanted, QString("%1 on %2 has its saved value %3").arg(filter_name, source_name, when),
	      QString::number(seen));
}

// A source of its own with one filter for each value, in the scene that is shown. With all sources chosen a filter that
// is added takes the panel's values, so each gets its own afterwards, as from the host's undo or from a script.
void add_source_with_filters(const char *name, std::initializer_list<double> smoothings)
{
	const OBSSceneAutoRelease scene = current_scene();
	const OBSSourceAutoRelease source = obs_source_create("image_source", name, nullptr, nullptr);
	obs_scene_add(scene, source);
	std::vector<OBSSourceAutoRelease> filters;
	for (size_t number = 1; number <= smoothings.size(); ++number)
		filters.push_back(add_filter(source, ("Filter " + std::to_string(number)).c_str()));
	let_polls_pass();
	for (size_t index = 0; index < filters.size(); ++index)
		set_setting(filters[index], "smoothing", smoothings.begin()[index]);
	let_polls_pass();
}

void switched_collections_keep_their_values()
{
	if (!placed_dock())
		return;
	const QByteArray first_source = setting("KALVIO_PROBE_SOURCE").toUtf8();
	char *const name = obs_frontend_get_current_scene_collection();
	const QByteArray first = name;
	bfree(name);
	const double saved = smoothing_of(first_source.constData(), "Kalvio");
	check(saved == 0.8, "the first collection has its value", QString::number(saved));

	check(obs_frontend_add_scene_collection("Second"), "a second collection is made");
	add_source_with_filters("Two", {0.25, 0.5, 0.75});
	check(obs_frontend_add_scene_collection("Third"), "a third collection is made");
	add_source_with_filters("Three", {0.125});

	for (int round = 0; round < 3; ++round) {
		obs_frontend_set_current_scene_collection(first.constData());
		let_polls_pass();
		check_smoothing(first_source.constData(), "Kalvio", 0.8, "in the first collection");
		obs_frontend_set_current_scene_collection("Third");
		let_polls_pass();
		check_smoothing("Three", "Filter 1", 0.125, "in the third collection");
		obs_frontend_set_current_scene_collection("Second");
		let_polls_pass();
		check_smoothing("Two", "Filter 1", 0.25, "in the second collection");
		check_smoothing("Two", "Filter 2", 0.5, "in the second collection");
		check_smoothing("Two", "Filter 3", 0.75, "in the second collection");
	}
	const auto *const selector = panel_dock()->findChild<QComboBox *>();
	check(selector && selector->currentIndex() == 0, "all sources are still chosen");
}

// The Sources dock

// Selects this source alone in the scene, as a click in the dock does.
void select_source(const char *name)
{
	const OBSSceneAutoRelease scene = current_scene();
	obs_scene_enum_items(
		scene,
		[](obs_scene_t *, obs_sceneitem_t *item, void *wanted) {
			const char *const of_item = obs_source_get_name(obs_sceneitem_get_source(item));
			obs_sceneitem_select(item, QByteArray(of_item) == static_cast<const char *>(wanted));
			return true;
		},
		const_cast<char *>(name));
	let_polls_pass();
}

void panel_follows_the_sources_dock()
{
	if (!placed_dock())
		return;
	add_source_with_filters("Two", {0.25});
	add_source_with_filters("Three", {0.5});
	const auto *const selector = panel_dock()->findChild<QComboBox *>();
	select_source("Three");
	check(selector->currentText() == "Three", "the panel drives the selected source", selector->currentText());
	select_source("Two");
	check(selector->currentText() == "Two", "and the one that is selected next", selector->currentText());
	check_smoothing("Two", "Filter 1", 0.25, "after it was selected");
	check_smoothing("Three", "Filter 1", 0.5, "after it was selected");
}

constexpr ProbeCase cases[] = {
	{"DockIsThereAtFirstStart", dock_is_there_at_first_start},
	{"DockStaysHiddenWhenUnwanted", dock_stays_hidden_when_unwanted},
	{"LockedDocksStayLocked", locked_docks_stay_locked},
	{"DockGoesLeft", dock_goes_left},
	{"DockIsLeftAndFloats", dock_is_left_and_floats},
	{"DockFloatsAndGoesBelow", dock_floats_and_goes_below},
	{"DockIsBelowAndGoesUp", dock_is_below_and_goes_up},
	{"DockIsAtTheTopFloatsAndDocks", dock_is_at_the_top_floats_and_docks},
	{"DockIsRightAfterFloating", dock_is_right_after_floating},
	{"PropertiesAreCentered", properties_are_centered},
	{"PanelFollowsTheSourcesDock", panel_follows_the_sources_dock},
	{"SwitchedCollectionsKeepTheirValues", switched_collections_keep_their_values},
};

} // namespace

std::span<const ProbeCase> dock_cases()
{
	return cases;
}

} // namespace kalvio::probe
