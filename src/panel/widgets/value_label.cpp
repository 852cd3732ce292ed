// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/value_label.h"

#include <QMouseEvent>

namespace kalvio {

ValueLabel::ValueLabel(const QString &text, QWidget *parent) : QLabel(text, parent)
{
	setCursor(Qt::IBeamCursor);
}

ValueLabel::~ValueLabel() = default;

void ValueLabel::mousePressEvent(QMouseEvent *event)
{
	event->setAccepted(event->button() == Qt::LeftButton);
}

void ValueLabel::mouseReleaseEvent(QMouseEvent *event)
{
	event->setAccepted(event->button() == Qt::LeftButton);
	if (event->isAccepted() && rect().contains(event->position().toPoint()))
		emit clicked();
}

} // namespace kalvio
