// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtGlobal>
#include <qnamespace.h>

class QDockWidget;
class QMainWindow;

// Where the panel's dock stands, kept in "ui.json" from one run of the host to the next. The host remembers docks too,
// but not of one that was added while it was starting. User-interface thread.
namespace kalvio {

struct DockGeometry {
	bool is_known = false; // a place was saved before; else the dock goes to the right, in the host's own size
	bool is_floating = false;
	Qt::DockWidgetArea area = Qt::RightDockWidgetArea;
	int x = 0; // of the floating dock, screen pixels; kept while it is docked
	int y = 0;
	int width = 0; // pixels
	int height = 0;
};

// Leaves `geometry` alone when the file holds none.
void load_dock_geometry(DockGeometry &geometry);

// Keeps the file's other keys.
void save_dock_geometry(const DockGeometry &geometry);

// Puts the dock where `geometry` says.
void place_dock(QMainWindow &window, QDockWidget &dock, const DockGeometry &geometry);

// Brings `geometry` up to date with the dock.
void read_dock(const QMainWindow &window, const QDockWidget &dock, DockGeometry &geometry);

// The position alone, of a dock that floats.
void read_floating_position(const QDockWidget &dock, DockGeometry &geometry);

} // namespace kalvio
