// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/switch.h"

#include "panel/widgets/palette.h"

#include <QPainter>

namespace kalvio {
namespace {

constexpr qreal knob_gap = 2; // between knob and track

} // namespace

QSize Switch::sizeHint() const
{
	return {33, 18};
}

void Switch::paintEvent(QPaintEvent * /*event*/)
{
	QPainter painter(this);
	painter.setRenderHint(QPainter::Antialiasing);
	if (!isEnabled())
		painter.setOpacity(disabled_toggle_opacity);

	const QRectF track = QRectF(rect().adjusted(0, 0, -1, -1));
	painter.setPen(Qt::NoPen);
	painter.setBrush(checked ? palette::switch_on : palette::switch_off);
	painter.drawRoundedRect(track, track.height() / 2, track.height() / 2);

	const qreal knob_radius = (track.height() - 2 * knob_gap) / 2;
	const qreal knob_x = checked ? track.right() - knob_gap - knob_radius : track.left() + knob_gap + knob_radius;
	painter.setBrush(palette::white);
	painter.drawEllipse(QPointF(knob_x, track.center().y()), knob_radius, knob_radius);
}

} // namespace kalvio
