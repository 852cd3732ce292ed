// SPDX-License-Identifier: GPL-2.0-or-later
#include "user_events.h"

#include "driver.h"
#include "report.h"

#include <QApplication>
#include <QMouseEvent>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QWindow>

// Qt's own test library uses it too.
Q_GUI_EXPORT void qt_handleKeyEvent(QWindow *window, QEvent::Type type, int key, Qt::KeyboardModifiers modifiers,
				    const QString &text = QString(), bool is_repeated = false, ushort count = 1);

namespace kalvio::probe {

void send_mouse(QWidget &widget, QEvent::Type type, const QPointF &position)
{
	const bool is_move = type == QEvent::MouseMove;
	QMouseEvent event(type, position, widget.mapToGlobal(position), is_move ? Qt::NoButton : Qt::LeftButton,
			  type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
	QApplication::sendEvent(&widget, &event);
}

void click(QWidget &widget)
{
	send_mouse(widget, QEvent::MouseButtonPress, widget.rect().center());
	send_mouse(widget, QEvent::MouseButtonRelease, widget.rect().center());
}

QPointF handle_of(const QSlider &slider)
{
	QStyleOptionSlider option;
	option.initFrom(&slider);
	option.state |= QStyle::State_Horizontal; // OBS's style sheet draws by it
	option.orientation = Qt::Horizontal;
	option.minimum = slider.minimum();
	option.maximum = slider.maximum();
	option.sliderPosition = option.sliderValue = slider.value();
	return slider.style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, &slider).center();
}

void activate_window(QWidget &widget)
{
	widget.window()->activateWindow();
	check(wait_until([&] { return widget.isActiveWindow(); }), "the window becomes the active one");
}

void send_key(QWidget &widget, Qt::Key key, Qt::KeyboardModifiers modifiers, const QString &text)
{
	QWindow *const window = widget.window()->windowHandle();
	qt_handleKeyEvent(window, QEvent::KeyPress, key, modifiers, text);
	qt_handleKeyEvent(window, QEvent::KeyRelease, key, modifiers, text);
}

} // namespace kalvio::probe
