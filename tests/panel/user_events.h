// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QPoint>
#include <Qt>

class QWidget;

// What the window system sends a widget when the user presses keys and buttons, without the delays of a hand. Places
// are in the widget's own coordinates; it need not lie on a screen.
namespace kalvio::test {

// Where a shortcut takes the key, the widget does not see it.
void click_key(QWidget *widget, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

void press_mouse(QWidget *widget, Qt::MouseButton button, QPoint place);
void move_mouse(QWidget *widget, QPoint place); // with the buttons as the last press and release left them
void release_mouse(QWidget *widget, Qt::MouseButton button, QPoint place);

// Pressed and released in the widget's middle.
void click_mouse(QWidget *widget, Qt::MouseButton button = Qt::LeftButton);

// The four events of a double-click.
void double_click_mouse(QWidget *widget, QPoint place, Qt::MouseButton button = Qt::LeftButton);

// Over the widget's middle, by eighths of a degree; 120 is a notch away from the user.
void turn_wheel(QWidget *widget, int angle);

} // namespace kalvio::test
