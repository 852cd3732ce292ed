// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock/dock_geometry.h"

#include "panel/model/ui_file.h"

#include <QDockWidget>
#include <QMainWindow>
#include <algorithm>

namespace kalvio {

namespace {

// A docked size that small is a dock that somebody closed by dragging; it is not restored.
constexpr int smallest_docked_size = 80;

// Beyond any desktop, and small enough to calculate with: what a broken file may hold.
constexpr int largest_coordinate = 1 << 20;
constexpr int largest_size = 1 << 14;

int read_int(obs_data_t *file, const char *key, int limit)
{
	return static_cast<int>(std::clamp<long long>(obs_data_get_int(file, key), -limit, limit));
}

Qt::DockWidgetArea area_from(long long value)
{
	switch (value) {
	case Qt::LeftDockWidgetArea:
	case Qt::TopDockWidgetArea:
	case Qt::BottomDockWidgetArea:
		return static_cast<Qt::DockWidgetArea>(value);
	default:
		return Qt::RightDockWidgetArea;
	}
}

void place_docked(QMainWindow &window, QDockWidget &dock, const DockGeometry &geometry)
{
	dock.setFloating(false);
	window.addDockWidget(geometry.area, &dock);
	if (geometry.width <= smallest_docked_size || geometry.height <= smallest_docked_size)
		return;
	if (geometry.area == Qt::LeftDockWidgetArea || geometry.area == Qt::RightDockWidgetArea)
		window.resizeDocks({&dock}, {geometry.width}, Qt::Horizontal);
	else
		window.resizeDocks({&dock}, {geometry.height}, Qt::Vertical);
}

void place_floating(QDockWidget &dock, const DockGeometry &geometry)
{
	dock.setFloating(true);
	if (geometry.width > 0 && geometry.height > 0)
		dock.setGeometry(geometry.x, geometry.y, geometry.width, geometry.height);
}

} // namespace

void load_dock_geometry(DockGeometry &geometry)
{
	const OBSDataAutoRelease file = read_ui_file();
	if (!file || !obs_data_has_user_value(file, "dock_floating"))
		return;
	obs_data_set_default_int(file, "dock_area", Qt::RightDockWidgetArea);
	geometry.is_known = true;
	geometry.is_floating = obs_data_get_bool(file, "dock_floating");
	geometry.area = area_from(obs_data_get_int(file, "dock_area"));
	geometry.x = read_int(file, "dock_x", largest_coordinate);
	geometry.y = read_int(file, "dock_y", largest_coordinate);
	geometry.width = read_int(file, "dock_w", largest_size);
	geometry.height = read_int(file, "dock_h", largest_size);
}

void save_dock_geometry(const DockGeometry &geometry)
{
	rewrite_ui_file([&geometry](obs_data_t *file) {
		obs_data_set_bool(file, "dock_floating", geometry.is_floating);
		obs_data_set_int(file, "dock_area", geometry.area);
		obs_data_set_int(file, "dock_x", geometry.x);
		obs_data_set_int(file, "dock_y", geometry.y);
		obs_data_set_int(file, "dock_w", geometry.width);
		obs_data_set_int(file, "dock_h", geometry.height);
	});
}

void place_dock(QMainWindow &window, QDockWidget &dock, const DockGeometry &geometry)
{
	if (geometry.is_known && geometry.is_floating)
		place_floating(dock, geometry);
	else
		place_docked(window, dock, geometry);
}

void read_dock(const QMainWindow &window, const QDockWidget &dock, DockGeometry &geometry)
{
	geometry.is_known = true;
	geometry.is_floating = dock.isFloating();
	const Qt::DockWidgetArea area = window.dockWidgetArea(const_cast<QDockWidget *>(&dock));
	if (area != Qt::NoDockWidgetArea)
		geometry.area = area;
	geometry.width = dock.width();
	geometry.height = dock.height();
	if (geometry.is_floating)
		read_floating_position(dock, geometry);
}

void read_floating_position(const QDockWidget &dock, DockGeometry &geometry)
{
	// Without the window's frame, as setGeometry takes it: else the dock would creep from start to start.
	geometry.x = dock.geometry().x();
	geometry.y = dock.geometry().y();
}

} // namespace kalvio
