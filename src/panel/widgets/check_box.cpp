// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/check_box.h"

#include "panel/widgets/toggle.h"

#include <QPainter>
#include <QPainterPath>

namespace kalvio {
namespace {

constexpr QColor frame_color(107, 114, 128);
constexpr QColor empty_fill(32, 35, 43);
constexpr QColor checked_fill(243, 244, 246);
constexpr QColor tick_color(11, 12, 16);
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

CheckBox::CheckBox(QWidget *parent) : QWidget(parent) {}

CheckBox::~CheckBox() = default;

QSize CheckBox::sizeHint() const
{
	return {18, 18};
}

void CheckBox::mouseReleaseEvent(QMouseEvent *event)
{
	release_over_toggle(*this, *event);
}

void CheckBox::paintEvent(QPaintEvent * /*event*/)
{
	QPainter painter(this);
	painter.setRenderHint(QPainter::Antialiasing);
	if (!isEnabled())
		painter.setOpacity(disabled_toggle_opacity);

	const QRectF box = QRectF(rect()).adjusted(1.5, 1.5, -1.5, -1.5);
	painter.setPen(checked ? QPen(Qt::NoPen) : QPen(frame_color, frame_width));
	painter.setBrush(checked ? checked_fill : empty_fill);
	painter.drawRoundedRect(box, corner_radius, corner_radius);
	if (!checked)
		return;
	painter.setBrush(Qt::NoBrush);
	painter.setPen(QPen(tick_color, tick_width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
	painter.drawPath(tick(box));
}

} // namespace kalvio
