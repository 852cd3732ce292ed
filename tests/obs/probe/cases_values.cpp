// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "panel_driver.h"
#include "probe_case.h"
#include "report.h"
#include "user_events.h"

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QSlider>

// Values that are typed and that go back to their defaults, with OBS's own shortcuts and its undo history around them.
namespace kalvio::probe {

namespace {

QAction &undo_action()
{
	return *main_window()->findChild<QAction *>("actionMainUndo");
}

double stored()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	return obs_data_get_double(settings, "smoothing");
}

bool is_stored(double value)
{
	return qRound(stored() * 100) == qRound(value * 100);
}

void type_into_number(const QString &digits)
{
	QWidget *number = nullptr;
	for (auto *label : smoothing_slider()->parentWidget()->findChildren<QWidget *>())
		if (label->inherits("kalvio::ValueLabel"))
			number = label;
	if (!check(number, "the slider has a number"))
		return;
	activate_window(*panel());
	click(*number);
	auto *field = panel()->findChild<QLineEdit *>("valueEdit");
	if (!check(field && field->hasFocus() && field->geometry() == number->geometry(),
		   "a click on it opens a field in its place"))
		return;
	for (const QChar digit : digits)
		send_key(*panel(), static_cast<Qt::Key>(digit.unicode()), Qt::NoModifier, digit);
	let_layouts_settle();
	check(panel()->grab().save(output_file("typing.png")), "a picture of it is kept");
}

void typed_value_and_default_are_undone()
{
	resize_panel({340, 640});
	show_page(0);
	QSlider &slider = *smoothing_slider();
	check(is_stored(0.8), "the filter starts with its own value");
	const QString idle = undo_action().text();

	type_into_number("37");
	send_key(*panel(), Qt::Key_Escape);
	let_layouts_settle();
	check(panel()->isVisible() && is_stored(0.8), "Escape leaves the value, and the dock");

	type_into_number("37");
	send_key(*panel(), Qt::Key_Return);
	check(is_stored(0.37) && slider.value() == 37, "Enter takes it");
	check(undo_action().text().contains("Smooth"), "it is an entry of OBS's history", undo_action().text());
	undo_action().trigger();
	check(is_stored(0.8), "which is undone at once");
	check(undo_action().text() == idle, "and was one entry", undo_action().text());

	const QPointF beside(slider.width() - 3, slider.height() / 2.0);
	for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
					QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease})
		send_mouse(slider, type, beside);
	check(is_stored(0), "a double-click restores the default");
	undo_action().trigger();
	check(is_stored(0.8), "its undo takes its first click back too", QString::number(stored()));
	check(undo_action().text() == idle, "and it was one entry", undo_action().text());
}

void original_is_on_air_while_held()
{
	resize_panel({340, 640});
	show_page(0);
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	const QByteArray before = obs_data_get_json(settings);
	const QList<QWidget *> buttons = visible_of_class("kalvio::HoldButton");
	if (!check(buttons.size() == 1, "there is a button to hold"))
		return;
	QWidget &button = *buttons.front();
	activate_window(*panel());
	check_filtered(source, "before");
	send_mouse(button, QEvent::MouseButtonPress, button.rect().center());
	check_no_frames_are_processed();
	check_unfiltered(source, "while the button is held");
	check(panel()->grab().save(output_file("held.png")), "a picture of it is kept");
	send_mouse(button, QEvent::MouseButtonRelease, button.rect().center());
	check_frames_are_processed();
	check_filtered(source, "after it");

	send_mouse(button, QEvent::MouseButtonPress, button.rect().center());
	panel_dock()->hide();
	check_frames_are_processed();
	panel_dock()->show();
	check(before == obs_data_get_json(settings), "no setting knows of it");
}

// In the main window, whose own Ctrl+F fits the selected source to the screen.
void search_jumps_to_a_setting()
{
	panel_dock()->setFloating(false);
	panel_dock()->show();
	panel_dock()->raise();
	let_layouts_settle();
	activate_window(*main_window());
	smoothing_slider()->setFocus();
	send_key(*panel(), Qt::Key_F, Qt::ControlModifier);
	let_layouts_settle();
	auto *field = panel()->findChild<QLineEdit *>("searchField");
	if (!check(field && field->isVisible() && field->hasFocus(), "Ctrl+F opens the search"))
		return;
	for (const QChar letter : QString("LIPSTICK"))
		send_key(*panel(), static_cast<Qt::Key>(letter.unicode()), Qt::NoModifier, letter.toLower());
	let_layouts_settle();
	check(panel()->grab().save(output_file("search.png")), "a picture of the search is kept");
	send_key(*panel(), Qt::Key_Return);
	let_layouts_settle();
	const QWidget *const focus = QApplication::focusWidget();
	check(focus && focus->accessibleName().startsWith("Lipstick"), "Enter goes to the first setting that is found",
	      focus ? focus->accessibleName() : QString());
	check(!field->isVisible(), "the search is closed");
}

constexpr ProbeCase cases[] = {
	{"OriginalIsOnAirWhileHeld", original_is_on_air_while_held},
	{"TypedValueAndDefaultAreUndone", typed_value_and_default_are_undone},
	{"SearchJumpsToASetting", search_jumps_to_a_setting},
};

} // namespace

std::span<const ProbeCase> value_cases()
{
	return cases;
}

} // namespace kalvio::probe
