// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QDockWidget>
#include <QList>
#include <QSlider>
#include <QWidget>

// The panel inside the real OBS, found by the names and classes of its widgets.
namespace kalvio::probe {

// The panel's dock, and the panel in it; null when there is none.
QDockWidget *panel_dock();
QWidget *panel();

// Floats the dock, shows it, and gives the panel in it this size.
void resize_panel(const QSize &size);

inline constexpr int panel_pages = 7;

// Chooses one of the effect pages, or opens the settings page, and lays it out.
void show_page(int index);
void open_settings();
void close_settings();

// The content of the page that is shown, inside its scroll area.
QWidget *shown_page();

// The visible widgets below the panel of a class (with its namespace), or of an object name.
QList<QWidget *> visible_of_class(const char *class_name);
QList<QWidget *> visible_named(const char *object_name);

// The slider of the skin page whose English name is "Smooth"; null when there is none.
QSlider *smoothing_slider();

// Lets the widgets do what they have put off.
void let_layouts_settle();

} // namespace kalvio::probe
