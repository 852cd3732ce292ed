// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/controls/caption_label.h"

#include <algorithm>

namespace kalvio {

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

} // namespace kalvio
