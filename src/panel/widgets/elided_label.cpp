// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/elided_label.h"

#include <QEvent>

namespace kalvio {

QString single_line(QString text)
{
	for (QChar &character : text) {
		const QChar::Category category = character.category();
		if (category == QChar::Other_Control || category == QChar::Separator_Line ||
		    category == QChar::Separator_Paragraph)
			character = u' ';
	}
	return text;
}

ElidedLabel::ElidedLabel(QWidget *parent) : QLabel(parent)
{
	setTextFormat(Qt::PlainText);
}

void ElidedLabel::set_full_text(const QString &text)
{
	QString line = single_line(text);
	if (line == full_text_)
		return;
	full_text_ = std::move(line);
	setAccessibleName(full_text_);
	elide();
	updateGeometry();
}

QSize ElidedLabel::sizeHint() const
{
	const QMargins margins = contentsMargins();
	return {fontMetrics().horizontalAdvance(full_text_) + margins.left() + margins.right(),
		fontMetrics().height() + margins.top() + margins.bottom()};
}

QSize ElidedLabel::minimumSizeHint() const
{
	return {0, sizeHint().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent *event)
{
	QLabel::resizeEvent(event);
	elide();
}

void ElidedLabel::changeEvent(QEvent *event)
{
	QLabel::changeEvent(event);
	if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
		elide();
}

void ElidedLabel::elide()
{
	const QFontMetrics metrics = fontMetrics();
	const int room = contentsRect().width();
	// Measured in whole pixels first: the ellipsis comes by fractions of one.
	setText(metrics.horizontalAdvance(full_text_) <= room ? full_text_
							      : metrics.elidedText(full_text_, Qt::ElideRight, room));
}

} // namespace kalvio
