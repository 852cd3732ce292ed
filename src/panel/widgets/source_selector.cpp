// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/source_selector.h"

#include "panel/widgets/disabled_opacity.h"
#include "panel/widgets/palette.h"

#include <QPainter>

namespace kalvio {
namespace {

constexpr QColor arrow_color = palette::control_text;
constexpr qreal arrow_width = 8;
constexpr qreal arrow_height = 4;
constexpr qreal arrow_pen_width = 1.5;
constexpr qreal arrow_right = 8; // from its right edge to that of the box

} // namespace

SourceSelector::SourceSelector(QWidget *parent) : QComboBox(parent) {}

SourceSelector::~SourceSelector() = default;

void SourceSelector::paintEvent(QPaintEvent *event)
{
	QComboBox::paintEvent(event);
	QPainter painter(this);
	painter.setRenderHint(QPainter::Antialiasing);
	if (!isEnabled())
		painter.setOpacity(disabled_opacity);
	painter.setPen(QPen(arrow_color, arrow_pen_width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
	const qreal left = width() - arrow_right - arrow_width;
	const qreal top = (height() - arrow_height) / 2;
	const QPointF points[] = {{left, top}, {left + arrow_width / 2, top + arrow_height}, {left + arrow_width, top}};
	painter.drawPolyline(points, static_cast<int>(std::size(points)));
}

} // namespace kalvio
