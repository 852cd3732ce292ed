// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QEvent>
#include <QPointF>
#include <QSlider>
#include <QString>
#include <QWidget>

// What the user does with mouse and keys, inside the real OBS.
namespace kalvio::probe {

// The left button at `position` of the widget: pressed, released, double-clicked, or moved while it is held.
void send_mouse(QWidget &widget, QEvent::Type type, const QPointF &position);

// In the middle of the widget.
void click(QWidget &widget);

// The middle of the slider's handle.
QPointF handle_of(const QSlider &slider);

// Makes the widget's window the active one and waits until it is: without a window manager nobody else does.
void activate_window(QWidget &widget);

// A key as the window system hands it to the widget's window, on the whole way to shortcuts and to what has the focus.
void send_key(QWidget &widget, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier, const QString &text = {});

} // namespace kalvio::probe
