// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QWidget;

// The front end's docks. They came with version 30 of the host; an older one lacks the functions and has to load the
// module all the same. User-interface thread.
namespace kalvio {

// Puts `widget` into a new dock of the main window and gives it away. False, and the widget is still the caller's, when
// the host refuses or cannot.
bool add_frontend_dock(const char *id, const char *title, QWidget *widget);

// Deletes the dock with its widget.
void remove_frontend_dock(const char *id);

} // namespace kalvio
