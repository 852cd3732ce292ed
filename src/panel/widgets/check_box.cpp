// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/check_box.h"

#include "panel/widgets/palette.h"

#include <QPainter>
#include <QPainterPath>

namespace kalvio {
namespace {

constexpr qreal frame_width = 1.5;
constexpr qreal tick_width = 2.0;
constexpr qreal corner_radius = 3;

QPainterPath tick(const QRectF &box)
{
	QPainterPath path;
	path.moveTo(box.left() + 0.22 * box.width(), box.top() + 0.52 * box.height());
	path.lineTo(box.left() + 0.42 * box.width(), box.top() + 0.72 * box.height());
	path.lineTo(box.left() + 0.78 * box.width(), box.top() + 0.30 * box.height());
	return path;
}

} // namespace

QSize CheckBox::sizeHint() const
{
	return {18, 18};
}

void CheckBox::paintEvent(QPaintEvent * /*event*/)
{
	QPainter painter(this);
	painter.setRenderHint(QPainter::Antialiasing);
	if (!isEnabled())
		painter.setOpacity(disabled_toggle_opacity);

	const QRectF box = QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5);
	painter.setPen(checked ? QPen(Qt::NoPen) : QPen(palette::outline, frame_width));
	painter.setBrush(checked ? palette::text : palette::surface);
	painter.drawRoundedRect(box, corner_radius, corner_radius);
	if (!checked)
		return;
	painter.setBrush(Qt::NoBrush);
	painter.setPen(QPen(palette::background, tick_width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
	painter.drawPath(tick(box));
}

} // namespace kalvio
