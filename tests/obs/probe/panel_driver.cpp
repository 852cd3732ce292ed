// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_driver.h"

#include "driver.h"

#include <QAbstractButton>
#include <QScrollArea>

namespace kalvio::probe {

namespace {

constexpr int layouts_ms = 120;

QAbstractButton *settings_button()
{
	for (auto *button : panel()->findChildren<QAbstractButton *>("headIcon"))
		if (button->isCheckable())
			return button;
	return nullptr;
}

} // namespace

void let_layouts_settle()
{
	wait_until([] { return false; }, layouts_ms);
}

QDockWidget *panel_dock()
{
	return main_window()->findChild<QDockWidget *>("kalvio");
}

QWidget *panel()
{
	QDockWidget *const dock = panel_dock();
	return dock ? dock->widget() : nullptr;
}

void resize_panel(const QSize &size)
{
	QDockWidget *const dock = panel_dock();
	dock->setFloating(true);
	dock->show();
	let_layouts_settle();
	dock->resize(dock->size() + size - panel()->size());
	let_layouts_settle();
}

void show_page(int index)
{
	close_settings();
	const auto tabs = panel()->findChild<QWidget *>("tabBar")->findChildren<QAbstractButton *>();
	tabs.at(index)->click();
	let_layouts_settle();
}

void open_settings()
{
	if (!settings_button()->isChecked())
		settings_button()->click();
	let_layouts_settle();
}

void close_settings()
{
	if (settings_button()->isChecked())
		settings_button()->click();
}

QWidget *shown_page()
{
	for (auto *area : panel()->findChildren<QScrollArea *>())
		if (area->isVisible())
			return area->widget();
	return nullptr;
}

QList<QWidget *> visible_of_class(const char *class_name)
{
	QList<QWidget *> found;
	for (auto *widget : panel()->findChildren<QWidget *>())
		if (widget->isVisible() && widget->inherits(class_name))
			found.append(widget);
	return found;
}

QList<QWidget *> visible_named(const char *object_name)
{
	QList<QWidget *> found;
	for (auto *widget : panel()->findChildren<QWidget *>(QLatin1String(object_name)))
		if (widget->isVisible())
			found.append(widget);
	return found;
}

QSlider *smoothing_slider()
{
	for (auto *slider : panel_dock()->findChildren<QSlider *>())
		if (slider->accessibleName() == "Smooth")
			return slider;
	return nullptr;
}

} // namespace kalvio::probe
