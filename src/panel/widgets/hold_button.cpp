// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/hold_button.h"

#include "panel/widgets/palette.h"

#include <QEvent>
#include <QMouseEvent>

namespace kalvio {
namespace {

// 8.3 : 1
constexpr QColor held_fill = palette::held;
constexpr QColor held_text = palette::alert_fill;

} // namespace

HoldButton::HoldButton(QWidget *parent) : SmoothButton(parent)
{
	connect(this, &QPushButton::pressed, this, [this] { show_held(true); });
	connect(this, &QPushButton::released, this, [this] { show_held(false); });
}

HoldButton::~HoldButton() = default;

void HoldButton::let_go()
{
	if (!isDown())
		return;
	setDown(false);
	emit released();
}

void HoldButton::hideEvent(QHideEvent *event)
{
	let_go();
	SmoothButton::hideEvent(event);
}

bool HoldButton::event(QEvent *event)
{
	if (event->type() == QEvent::WindowDeactivate)
		let_go();
	return SmoothButton::event(event);
}

// A press that was ended does not begin anew when the pointer, still pressed, comes back.
void HoldButton::mouseMoveEvent(QMouseEvent *event)
{
	if (isDown() && !hitButton(event->position().toPoint()))
		let_go();
}

void HoldButton::show_held(bool is_held)
{
	const SmoothButton usual;
	bg_normal = is_held ? held_fill : usual.bg_normal;
	bg_hover = is_held ? held_fill : usual.bg_hover;
	text_normal = is_held ? held_text : usual.text_normal;
	text_hover = is_held ? held_text : usual.text_hover;
	update();
}

} // namespace kalvio
