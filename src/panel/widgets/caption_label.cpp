// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/caption_label.h"

#include "panel/widgets/palette.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <utility>

namespace kalvio {
namespace {

constexpr QColor changed_color = palette::white;

} // namespace

CaptionLabel::CaptionLabel(std::shared_ptr<CaptionColumn> column, QWidget *parent)
	: QLabel(parent), column_(std::move(column))
{
	column_->labels.push_back(this);
}

CaptionLabel::~CaptionLabel()
{
	std::erase(column_->labels, this);
}

QSize CaptionLabel::sizeHint() const
{
	QSize hint = QLabel::sizeHint();
	for (const CaptionLabel *label : column_->labels)
		hint.setWidth(std::max(hint.width(), label->QLabel::sizeHint().width()));
	return hint;
}

void CaptionLabel::mark_changed(bool is_changed)
{
	if (std::exchange(is_changed_, is_changed) != is_changed)
		update();
}

// Painted here and not by another rule of the style sheet: each change of a rule costs a new look-up of all sheets, and
// a choice of another source changes many captions at once.
void CaptionLabel::paintEvent(QPaintEvent *event)
{
	if (!is_changed_) {
		QLabel::paintEvent(event);
		return;
	}
	QPainter painter(this);
	painter.setPen(changed_color);
	painter.drawText(contentsRect(), static_cast<int>(alignment()), text());
}

void CaptionLabel::mouseDoubleClickEvent(QMouseEvent *event)
{
	if (event->button() == Qt::LeftButton)
		emit double_clicked();
	else
		event->ignore();
}

} // namespace kalvio
