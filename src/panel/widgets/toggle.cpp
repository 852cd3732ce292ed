// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/toggle.h"

#include <QAccessible>
#include <QMouseEvent>

namespace kalvio {
namespace {

// Tells assistive tools that the state is another one now.
void announce_checked_change(Toggle &toggle)
{
	if (!QAccessible::isActive())
		return;
	QAccessible::State changed;
	changed.checked = true;
	QAccessibleStateChangeEvent event(&toggle, changed);
	QAccessible::updateAccessibility(&event);
}

} // namespace

Toggle::Toggle(QWidget *parent) : QWidget(parent) {}

Toggle::~Toggle() = default;

void Toggle::show_checked(bool state)
{
	if (checked == state)
		return;
	checked = state;
	update();
	announce_checked_change(*this);
}

void Toggle::toggle_by_user()
{
	show_checked(!checked);
	if (on_toggled)
		on_toggled(checked);
}

void Toggle::mouseReleaseEvent(QMouseEvent *event)
{
	if (isEnabled() && event->button() == Qt::LeftButton)
		toggle_by_user();
}

} // namespace kalvio
