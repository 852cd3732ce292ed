// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QScrollArea;
class QVBoxLayout;
class QWidget;

namespace kalvio {

struct PageScroll {
	QScrollArea *area;   // takes the page's height, never its width: it scrolls upright only
	QWidget *content;    // disable this one, not the area, so that a page that cannot be used can still be read
	QVBoxLayout *layout; // of the content; the caller ends it with a stretch
};

PageScroll make_page_scroll(QWidget *parent);

} // namespace kalvio
