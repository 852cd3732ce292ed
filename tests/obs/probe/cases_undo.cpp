// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "frame_gap.h"
#include "panel_driver.h"
#include "probe_case.h"
#include "report.h"
#include "user_events.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QSlider>
#include <QTimer>
#include <algorithm>
#include <csignal>
#include <obs-frontend-api.h>
#include <random>
#include <util/platform.h>
#include <vector>

// The user's changes in the panel: undone by OBS, saved by OBS, kept when a collection is duplicated.
namespace kalvio::probe {

namespace {

constexpr int polls_ms = 700; // a few of the panel's polls
constexpr double slider_value = 0.63;

void wait(int milliseconds)
{
	wait_until([] { return false; }, milliseconds);
}

void drag(QSlider &slider, int to_x, int steps = 5)
{
	const QPointF start = handle_of(slider);
	send_mouse(slider, QEvent::MouseButtonPress, start);
	if (!slider.isSliderDown())
		check(false, "the press takes the slider's handle", slider.accessibleName());
	for (int step = 1; step <= steps; ++step)
		send_mouse(slider, QEvent::MouseMove,
			   QPointF(start.x() + (to_x - start.x()) * step / steps, start.y()));
	send_mouse(slider, QEvent::MouseButtonRelease, QPointF(to_x, start.y()));
}

void press_key(QWidget &focus, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
	activate_window(focus);
	focus.setFocus();
	send_key(focus, key, modifiers);
}

void press_undo(QWidget &focus)
{
	press_key(focus, Qt::Key_Z, Qt::ControlModifier);
}

void press_redo(QWidget &focus)
{
	press_key(focus, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
}

QAction *undo_action()
{
	return main_window()->findChild<QAction *>("actionMainUndo");
}

QAction *redo_action()
{
	return main_window()->findChild<QAction *>("actionMainRedo");
}

QByteArray settings_of(obs_source_t *filter)
{
	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	return obs_data_get_json(settings);
}

std::vector<QByteArray> settings_of(const std::vector<OBSSourceAutoRelease> &filters)
{
	std::vector<QByteArray> all;
	for (obs_source_t *filter : filters)
		all.push_back(settings_of(filter));
	return all;
}

// The run's own filter first, then `count` - 1 small sources with one each.
std::vector<OBSSourceAutoRelease> make_filters(int count)
{
	std::vector<OBSSourceAutoRelease> filters;
	const OBSSourceAutoRelease picture = scene_source();
	filters.push_back(kalvio_filter_of(picture));
	const OBSSceneAutoRelease scene = current_scene();
	for (int i = 1; i < count; ++i) {
		const OBSDataAutoRelease settings = obs_data_create();
		obs_data_set_int(settings, "width", 64);
		obs_data_set_int(settings, "height", 36);
		const OBSSourceAutoRelease source =
			obs_source_create("color_source", ("Color " + std::to_string(i)).c_str(), settings, nullptr);
		obs_scene_add(scene, source);
		filters.push_back(add_filter(source, "Filter"));
	}
	wait(polls_ms);
	return filters;
}

bool panel_is_shown()
{
	wait(polls_ms);
	return check(panel_dock() && panel_dock()->isVisible() && smoothing_slider(), "the panel is shown");
}

// Undo

void one_drag_is_undone_by_key(obs_source_t *filter, QWidget &focus, const QString &where)
{
	QSlider *const slider = smoothing_slider();
	const QByteArray start = settings_of(filter);
	const int value = slider->value();
	drag(*slider, value > 50 ? 5 : slider->width() - 5);
	const QByteArray end = settings_of(filter);
	check(end != start, "a drag changes the filter: " + where);
	check(undo_action()->text().contains("Kalvio: Smooth"), "the Edit menu names it: " + where,
	      undo_action()->text());
	press_undo(focus);
	check(settings_of(filter) == start, "Ctrl+Z undoes it: " + where);
	check(slider->value() == value, "the slider follows at once: " + where, QString::number(slider->value()));
	press_redo(focus);
	check(settings_of(filter) == end, "Ctrl+Shift+Z redoes it: " + where);
	press_undo(focus);
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease still_there = kalvio_filter_of(source);
	check(still_there, "the filter itself is still there: " + where);
}

void panel_changes_are_undone()
{
	if (!panel_is_shown())
		return;
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	panel_dock()->setFloating(false);
	one_drag_is_undone_by_key(filter, *main_window()->centralWidget(), "in the main window");
	one_drag_is_undone_by_key(filter, *smoothing_slider(), "while the dock has the focus");
	panel_dock()->setFloating(true);
	wait(polls_ms);
	one_drag_is_undone_by_key(filter, *smoothing_slider(), "while the dock floats");
	panel_dock()->setFloating(false);
	check(!undo_action()->isEnabled(), "nothing is left to undo", undo_action()->text());
}

// OBS removes the filter and brings it back by its own functions for its history.
void undo_finds_a_filter_that_came_back()
{
	if (!panel_is_shown())
		return;
	const OBSSourceAutoRelease source = scene_source();
	OBSSourceAutoRelease filter = kalvio_filter_of(source);
	const QByteArray start = settings_of(filter);
	drag(*smoothing_slider(), 5);
	const OBSDataArrayAutoRelease saved = obs_source_backup_filters(source);
	obs_source_filter_remove(source, filter);
	filter = nullptr;
	wait(polls_ms);
	obs_source_restore_filters(source, saved);
	wait(polls_ms);
	const OBSSourceAutoRelease back = kalvio_filter_of(source);
	check(back && settings_of(back) != start, "the filter is back with the value of the drag");
	press_undo(*main_window()->centralWidget());
	check(back && settings_of(back) == start, "the entry of before its removal is undone on it",
	      back ? QString(settings_of(back)) : QString());
}

template <class Widget>
Widget *any_of(const QList<Widget *> &widgets, std::mt19937 &random)
{
	return widgets.isEmpty() ? nullptr : widgets.at(int(random() % unsigned(widgets.size())));
}

template <class Widget>
QList<Widget *> usable(const char *without = "")
{
	QList<Widget *> found;
	for (auto *widget : panel_dock()->widget()->findChildren<Widget *>())
		if (widget->isVisible() && widget->isEnabled() && !widget->inherits("QScrollBar") &&
		    widget->accessibleName() != without)
			found.push_back(widget);
	return found;
}

// What a user may click: options, tiles, tabs, resets, the settings page. No links, no dialogs.
QAbstractButton *any_button(std::mt19937 &random)
{
	QList<QAbstractButton *> buttons = usable<QAbstractButton>();
	buttons.removeIf([](const QAbstractButton *button) {
		return button->objectName() == "link" || button->text() == "Choose image" ||
		       button->objectName().startsWith("qt_dockwidget");
	});
	return any_of(buttons, random);
}

void act_at_random(std::mt19937 &random)
{
	const auto kind = random() % 10;
	QSlider *const slider = any_of(usable<QSlider>(), random);
	auto *const selector = panel_dock()->findChild<QComboBox *>();
	if (kind < 3 && slider) {
		drag(*slider, int(random() % unsigned(std::max(slider->width(), 1))));
	} else if (kind < 5 && slider) {
		for (auto presses = random() % 4 + 1; presses > 0; --presses)
			press_key(*slider, random() % 2 ? Qt::Key_Right : Qt::Key_PageUp, Qt::NoModifier);
	} else if (kind < 6) {
		selector->setCurrentIndex(int(random() % unsigned(selector->count())));
	} else if (kind < 7) {
		const auto tab = random() % 7;
		press_key(*panel_dock()->widget(), static_cast<Qt::Key>(Qt::Key_1 + int(tab)), Qt::ControlModifier);
	} else if (QAbstractButton *button = any_button(random)) {
		click(*button);
	}
	if (random() % 5 == 0)
		wait(250);
}

void many_actions_are_undone_to_the_start()
{
	if (!panel_is_shown())
		return;
	const std::vector<OBSSourceAutoRelease> filters = make_filters(5);
	// Texts that grow later change their place in OBS's list of settings; a key of somebody else stays.
	const OBSDataAutoRelease texts = obs_data_create_from_json(
		R"({"sticker_id": "", "filter_id": "", "bg_preset": "", "of_another": {"list": [{"a": 1}]}})");
	for (obs_source_t *filter : filters)
		obs_source_update(filter, texts);
	wait(polls_ms);
	const std::vector<QByteArray> start = settings_of(filters);
	const unsigned seed = 29;
	std::mt19937 random(seed);
	press_key(*panel_dock()->widget(), Qt::Key_4, Qt::ControlModifier);
	for (QAbstractButton *tile : usable<QAbstractButton>())
		if (!tile->property("fid").toString().isEmpty())
			click(*tile);
	check(settings_of(filters.front()).contains("\"filter_id\":\"") &&
		      !settings_of(filters.front()).contains("\"filter_id\":\"\""),
	      "a color filter is chosen");
	for (int action = 0; action < 200; ++action)
		act_at_random(random);
	wait(polls_ms);
	const std::vector<QByteArray> end = settings_of(filters);
	check(end != start, "200 actions change the filters");
	int undone = 0;
	for (; undo_action()->isEnabled() && undone < 1000; ++undone)
		press_undo(*main_window()->centralWidget());
	check(undone > 50 && undone < 1000, "they are many entries", QString::number(undone));
	const std::vector<QByteArray> back = settings_of(filters);
	for (size_t i = 0; i < filters.size(); ++i)
		check(back[i] == start[i], QString("filter %1 is byte for byte as at the start").arg(i),
		      back[i] == start[i] ? QString() : QString(start[i] + " / " + back[i]));
	int redone = 0;
	for (; redo_action()->isEnabled() && redone < 1000; ++redone)
		press_redo(*main_window()->centralWidget());
	check(redone == undone, "each is redone", QString::number(redone));
	check(settings_of(filters) == end, "and every filter is as at the end");
}

// Saving

QString collection_file()
{
	char *const folder = os_get_config_path_ptr("obs-studio/basic/scenes");
	char *const name = obs_frontend_get_current_scene_collection();
	const QString path = QString::fromUtf8(folder) + "/" + QString::fromUtf8(name) + ".json";
	bfree(folder);
	bfree(name);
	return path;
}

// The value of the run's filter in the file on disk; -1 without one.
double saved_smoothing()
{
	const OBSDataAutoRelease file = obs_data_create_from_json_file(collection_file().toUtf8().constData());
	const OBSDataArrayAutoRelease sources = file ? obs_data_get_array(file, "sources") : nullptr;
	for (size_t i = 0; i < obs_data_array_count(sources); ++i) {
		const OBSDataAutoRelease source = obs_data_array_item(sources, i);
		if (obs_data_get_string(source, "name") != setting("KALVIO_PROBE_SOURCE").toStdString())
			continue;
		const OBSDataArrayAutoRelease filters = obs_data_get_array(source, "filters");
		const OBSDataAutoRelease filter = filters ? obs_data_array_item(filters, 0) : nullptr;
		const OBSDataAutoRelease settings = filter ? obs_data_get_obj(filter, "settings") : nullptr;
		return settings ? obs_data_get_double(settings, "smoothing") : -1.0;
	}
	return -1.0;
}

bool is_near(double value, double wanted)
{
	return value > wanted - 0.001 && value < wanted + 0.001;
}

bool slider_is_saved()
{
	if (!panel_is_shown())
		return false;
	wait(4000); // what OBS saves after its start
	check(is_near(saved_smoothing(), 0.8), "the file has the value of the start",
	      QString::number(saved_smoothing()));
	smoothing_slider()->setValue(int(slider_value * 100));
	QElapsedTimer clock;
	clock.start();
	const bool came = wait_until([] { return is_near(saved_smoothing(), slider_value); }, 5000);
	const qint64 took = clock.elapsed();
	check(took > 1000, "it is not saved at each step", QString("%1 ms").arg(took));
	return check(came, "the value is in the file shortly after", QString("%1 ms").arg(took));
}

void moved_slider_is_saved()
{
	slider_is_saved();
	constexpr double another = 0.21;
	smoothing_slider()->setValue(int(another * 100));
	panel_dock()->hide();
	const bool came = wait_until([] { return is_near(saved_smoothing(), another); }, 900);
	check(came, "a dock that is hidden is saved at once");
}

void moved_slider_is_saved_and_obs_is_killed()
{
	if (!slider_is_saved())
		return;
	report({{"finished", setting("KALVIO_PROBE_CASE")}, {"failed", failed_checks()}});
	std::raise(SIGKILL);
}

void value_is_there_after_the_kill()
{
	wait(polls_ms);
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	const OBSDataAutoRelease settings = filter ? obs_source_get_settings(filter) : nullptr;
	const double value = settings ? obs_data_get_double(settings, "smoothing") : -1.0;
	check(is_near(value, slider_value), "the filter has the value", QString::number(value));
}

// Duplicating

void duplicate_collection(const QString &name)
{
	auto *const action = main_window()->findChild<QAction *>("actionDupSceneCollection");
	if (!check(action, "OBS can duplicate a collection"))
		return;
	QTimer typist;
	QObject::connect(&typist, &QTimer::timeout, &typist, [&name, &typist] {
		auto *const dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
		auto *const text = dialog ? dialog->findChild<QLineEdit *>() : nullptr;
		if (!text)
			return;
		typist.stop();
		text->setText(name);
		dialog->accept();
	});
	typist.start(20);
	action->trigger();
	char *const current = obs_frontend_get_current_scene_collection();
	check(current == name, "the copy is the current collection", current);
	bfree(current);
}

void duplicated_collection_keeps_its_values()
{
	wait(polls_ms);
	if (!check(panel_dock(), "OBS has the panel's dock"))
		return;
	std::vector<OBSSourceAutoRelease> filters = make_filters(3);
	for (size_t i = 0; i < filters.size(); ++i)
		set_setting(filters[i], "smoothing", 0.25 * double(i + 1));
	filters.clear();
	wait(polls_ms);
	panel_dock()->hide();
	for (const char *name : {"Copy", "Copy of the copy"}) {
		duplicate_collection(name);
		wait(polls_ms);
		const auto check_value = [](obs_source_t *source, double wanted) {
			const OBSSourceAutoRelease filter = kalvio_filter_of(source);
			const OBSDataAutoRelease settings = filter ? obs_source_get_settings(filter) : nullptr;
			const double value = settings ? obs_data_get_double(settings, "smoothing") : -1.0;
			check(is_near(value, wanted), "a filter of the copy has its value", QString::number(value));
		};
		const OBSSourceAutoRelease picture = scene_source();
		check_value(picture, 0.25);
		const OBSSourceAutoRelease second = obs_get_source_by_name("Color 1");
		check_value(second, 0.5);
		const OBSSourceAutoRelease third = obs_get_source_by_name("Color 2");
		check_value(third, 0.75);
		check(!panel_dock()->isVisible(), "a hidden dock stays hidden");
	}
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = add_filter(source, "One more");
	check(wait_until([] { return panel_dock()->isVisible(); }, 3000), "a filter that is added shows the dock");
}

// Figures: what one step of a drag, one entry and one save cost with forty filters that are all driven. Not in the list
// of tests.

double milliseconds(const QElapsedTimer &clock)
{
	return double(clock.nsecsElapsed()) / 1e6;
}

void forty_filters_are_measured()
{
	if (!panel_is_shown())
		return;
	const std::vector<OBSSourceAutoRelease> filters = make_filters(40);
	QSlider *const slider = smoothing_slider();
	wait(3000);
	const QPointF start = handle_of(*slider);
	send_mouse(*slider, QEvent::MouseButtonPress, start);
	check(slider->isSliderDown(), "the slider is held", QString::number(slider->value()));
	int moves = 0;
	QObject::connect(slider, &QSlider::valueChanged, slider, [&moves] { ++moves; });
	std::vector<double> steps;
	for (int step = 1; step <= 60; ++step) {
		QElapsedTimer clock;
		clock.start();
		send_mouse(*slider, QEvent::MouseMove, QPointF(start.x() + (step % 2 ? -20 - step : 0), start.y()));
		steps.push_back(milliseconds(clock));
		wait(20);
	}
	check(moves == int(steps.size()), "each step moves it", QString::number(moves));
	QElapsedTimer clock;
	clock.start();
	send_mouse(*slider, QEvent::MouseButtonRelease, QPointF(10, start.y()));
	const double released = milliseconds(clock);
	clock.restart();
	slider->setFocus();
	press_key(*slider, Qt::Key_Right, Qt::NoModifier);
	const double key = milliseconds(clock);
	clock.restart();
	press_undo(*slider);
	const double undone = milliseconds(clock);
	check(true, "the first step of a drag", QString("%1 ms").arg(steps.front(), 0, 'f', 2));
	std::sort(steps.begin() + 1, steps.end());
	check(true, "the median of the other steps", QString("%1 ms").arg(steps[steps.size() / 2], 0, 'f', 2));
	check(true, "letting go, with the entry", QString("%1 ms").arg(released, 0, 'f', 2));
	check(true, "a key step, with its entry", QString("%1 ms").arg(key, 0, 'f', 2));
	check(true, "an undo", QString("%1 ms").arg(undone, 0, 'f', 2));

	const FrameGaps gaps;
	wait(3000);
	const double largest_still = gaps.take_largest_ms();
	std::vector<double> saves;
	for (int i = 0; i < 10; ++i) {
		obs_frontend_save();
		clock.restart();
		QMetaObject::invokeMethod(main_window(), "SaveProjectDeferred", Qt::DirectConnection);
		saves.push_back(milliseconds(clock));
		wait(300);
	}
	const double largest_saving = gaps.take_largest_ms();
	std::sort(saves.begin(), saves.end());
	check(true, "a save", QString("median %1 ms, at most %2 ms").arg(saves[5], 0, 'f', 2).arg(saves[9], 0, 'f', 2));
	check(true, "the largest gap between two frames",
	      QString("%1 ms without saves, %2 ms with ten")
		      .arg(largest_still, 0, 'f', 1)
		      .arg(largest_saving, 0, 'f', 1));
}

constexpr ProbeCase cases[] = {
	{"PanelChangesAreUndone", panel_changes_are_undone},
	{"UndoFindsAFilterThatCameBack", undo_finds_a_filter_that_came_back},
	{"ManyActionsAreUndoneToTheStart", many_actions_are_undone_to_the_start},
	{"MovedSliderIsSaved", moved_slider_is_saved},
	{"MovedSliderIsSavedAndObsIsKilled", moved_slider_is_saved_and_obs_is_killed},
	{"ValueIsThereAfterTheKill", value_is_there_after_the_kill},
	{"DuplicatedCollectionKeepsItsValues", duplicated_collection_keeps_its_values},
	{"FortyFiltersAreMeasured", forty_filters_are_measured},
};

} // namespace

std::span<const ProbeCase> undo_cases()
{
	return cases;
}

} // namespace kalvio::probe
