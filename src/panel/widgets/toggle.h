// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QMouseEvent>
#include <QWidget>
#include <QtGlobal>

// What Switch and CheckBox have in common. Both hold `checked` and `on_toggled` as plain fields.
namespace kalvio {

inline constexpr qreal disabled_toggle_opacity = 0.38;

// Tells assistive tools that the checked state of `toggle` is another one now.
void announce_checked_change(QWidget &toggle);

// Shows `checked` without telling on_toggled: what a refresh does.
template <class Toggle>
void show_checked(Toggle &toggle, bool checked)
{
	if (toggle.checked == checked)
		return;
	toggle.checked = checked;
	toggle.update();
	announce_checked_change(toggle);
}

// Changes to the other state by the user's hand.
template <class Toggle>
void toggle_by_user(Toggle &toggle)
{
	show_checked(toggle, !toggle.checked);
	if (toggle.on_toggled)
		toggle.on_toggled(toggle.checked);
}

// The left button was let go: where it went down, and where it is now, does not matter.
template <class Toggle>
void release_over_toggle(Toggle &toggle, const QMouseEvent &event)
{
	if (toggle.isEnabled() && event.button() == Qt::LeftButton)
		toggle_by_user(toggle);
}

} // namespace kalvio
