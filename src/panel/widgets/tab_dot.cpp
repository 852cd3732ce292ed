// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/tab_dot.h"

#include "panel/text/translations.h"
#include "panel/widgets/palette.h"

#include <QEvent>
#include <QPainter>

namespace kalvio {
namespace {

constexpr int diameter = 6;
constexpr int top_margin = 5;
// Beside the glyph: half of its width and a gap, from the tab's middle.
constexpr int from_middle = 11;

constexpr QColor color_on_bar = palette::accent;          // 7.2 : 1 on the bar
constexpr QColor color_on_current = palette::accent_dark; // 5.2 : 1 on the white of the current tab

} // namespace

TabDot::TabDot(QWidget *tab) : QWidget(tab)
{
	setAttribute(Qt::WA_TransparentForMouseEvents);
	setFocusPolicy(Qt::NoFocus);
	resize(diameter, diameter);
	tab->installEventFilter(this);
	place();
	hide();
}

TabDot::~TabDot() = default;

void TabDot::place()
{
	move(parentWidget()->width() / 2 + from_middle, top_margin);
}

bool TabDot::eventFilter(QObject * /*watched*/, QEvent *event)
{
	if (event->type() == QEvent::Resize)
		place();
	return false;
}

void TabDot::show_on_current(bool is_current)
{
	is_current_ = is_current;
	update();
}

void TabDot::describe()
{
	parentWidget()->setAccessibleDescription(isHidden() ? QString() : QString::fromUtf8(translate("note.changed")));
}

void TabDot::paintEvent(QPaintEvent * /*event*/)
{
	QPainter painter(this);
	painter.setRenderHint(QPainter::Antialiasing);
	painter.setPen(Qt::NoPen);
	painter.setBrush(is_current_ ? color_on_current : color_on_bar);
	painter.drawEllipse(QRectF(rect()));
}

} // namespace kalvio
