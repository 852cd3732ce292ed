// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock/dock_front.h"

#include <QApplication>
#include <QDockWidget>
#include <QScreen>
#include <algorithm>

namespace kalvio {
namespace {

constexpr const char *filters_window = "OBSBasicFilters";

// Left of the dock, or right of it where there is no room, or as far to the left as the screen goes.
int left_edge_beside(const QRect &dock, int width, const QRect &screen)
{
	if (dock.left() - width >= screen.left())
		return dock.left() - width;
	const bool fits_right = dock.right() + 1 + width <= screen.right() + 1;
	return fits_right ? dock.right() + 1 : screen.left();
}

void uncover(const QWidget &dock)
{
	const QRect place(dock.mapToGlobal(QPoint(0, 0)), dock.size());
	for (QWidget *window : QApplication::topLevelWidgets()) {
		if (window->objectName() != QLatin1String(filters_window) || !window->isVisible())
			continue;
		const QRect frame = window->frameGeometry();
		if (frame.intersects(place))
			window->move(left_edge_beside(place, frame.width(), dock.screen()->availableGeometry()),
				     frame.top());
	}
}

} // namespace

void bring_to_front(QDockWidget &dock)
{
	dock.show();
	dock.raise();
	if (dock.isFloating())
		dock.activateWindow();
	else
		uncover(dock);
}

} // namespace kalvio
