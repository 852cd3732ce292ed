// SPDX-License-Identifier: GPL-2.0-or-later
#include "user_events.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>

// The step from a key to shortcuts, which Qt takes before a widget gets the key; its own test library uses it too.
Q_GUI_EXPORT bool qt_sendShortcutOverrideEvent(QObject *object, ulong timestamp, int key,
					       Qt::KeyboardModifiers modifiers, const QString &text = QString(),
					       bool is_repeated = false, ushort count = 1);

// The class that Qt lets mark an event as one of the window system; by default every event is the program's own.
class QSpontaneKeyEvent {
public:
	static void mark(QEvent &event) { event.setSpontaneous(); }
};

namespace kalvio::test {
namespace {

Qt::MouseButtons pressed_buttons;

// Only what comes from the window system goes on to the parents of a widget.
void send(QWidget *widget, QEvent &event)
{
	QSpontaneKeyEvent::mark(event);
	qApp->notify(widget, &event);
}

void send_mouse(QWidget *widget, QEvent::Type type, Qt::MouseButton button, QPoint place)
{
	QMouseEvent event(type, place, widget->mapToGlobal(QPointF(place)), button, pressed_buttons, Qt::NoModifier);
	send(widget, event);
}

// What the key types: the keys of Latin-1 are numbered by their characters.
QString text_of(Qt::Key key)
{
	return key < 0x100 ? QString(QChar(key)).toLower() : QString();
}

} // namespace

void click_key(QWidget *widget, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
	QKeyEvent press(QEvent::KeyPress, key, modifiers, text_of(key));
	if (!qt_sendShortcutOverrideEvent(widget, 0, key, modifiers, text_of(key)))
		send(widget, press);
	QKeyEvent release(QEvent::KeyRelease, key, modifiers, text_of(key));
	send(widget, release);
}

void press_mouse(QWidget *widget, Qt::MouseButton button, QPoint place)
{
	pressed_buttons |= button;
	send_mouse(widget, QEvent::MouseButtonPress, button, place);
}

void move_mouse(QWidget *widget, QPoint place)
{
	send_mouse(widget, QEvent::MouseMove, Qt::NoButton, place);
}

void release_mouse(QWidget *widget, Qt::MouseButton button, QPoint place)
{
	pressed_buttons &= ~Qt::MouseButtons(button);
	send_mouse(widget, QEvent::MouseButtonRelease, button, place);
}

void click_mouse(QWidget *widget, Qt::MouseButton button)
{
	press_mouse(widget, button, widget->rect().center());
	release_mouse(widget, button, widget->rect().center());
}

void double_click_mouse(QWidget *widget, QPoint place, Qt::MouseButton button)
{
	press_mouse(widget, button, place);
	release_mouse(widget, button, place);
	pressed_buttons |= button;
	send_mouse(widget, QEvent::MouseButtonDblClick, button, place);
	release_mouse(widget, button, place);
}

void turn_wheel(QWidget *widget, int angle)
{
	const QPointF place = widget->rect().center();
	QWheelEvent event(place, widget->mapToGlobal(place), QPoint(), QPoint(0, angle), Qt::NoButton, Qt::NoModifier,
			  Qt::NoScrollPhase, false);
	send(widget, event);
}

} // namespace kalvio::test
