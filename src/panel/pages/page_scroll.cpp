// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/pages/page_scroll.h"

#include <QScrollArea>
#include <QVBoxLayout>

namespace kalvio {

PageScroll make_page_scroll(QWidget *parent)
{
	auto *area = new QScrollArea(parent);
	auto *content = new QWidget(area->viewport());
	auto *layout = new QVBoxLayout(content);
	layout->setContentsMargins(0, 0, 0, 8);
	area->setWidgetResizable(true);
	area->setFrameShape(QFrame::NoFrame);
	area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
	area->setFocusPolicy(Qt::NoFocus);
	area->setWidget(content);
	// The area has it fill itself in the host's color, over the panel's.
	content->setAutoFillBackground(false);
	area->viewport()->setAutoFillBackground(false);
	return {area, content, layout};
}

} // namespace kalvio
