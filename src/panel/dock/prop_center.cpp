// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock/prop_center.h"

#include <QApplication>
#include <QEvent>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <algorithm>
#include <obs-module.h>

namespace kalvio {

namespace {

constexpr QLatin1String center_name("kl_prop_center");
constexpr QLatin1String top_spacer_name("kl_prop_spacer_top");
constexpr QLatin1String bottom_spacer_name("kl_prop_spacer_bottom");
constexpr int default_spacing = 8;

QString module_text(const char *key)
{
	return QString::fromUtf8(obs_module_text(key));
}

template <class Widget, class Condition>
Widget *find_descendant(const QWidget &window, Condition condition)
{
	const QList<Widget *> widgets = window.findChildren<Widget *>();
	const auto found = std::ranges::find_if(widgets, condition);
	return found == widgets.end() ? nullptr : *found;
}

QScrollArea *scroll_area_above(const QWidget *widget)
{
	for (QWidget *parent = widget->parentWidget(); parent; parent = parent->parentWidget()) {
		if (auto *area = qobject_cast<QScrollArea *>(parent))
			return area;
	}
	return nullptr;
}

int vertical_spacing(const QFormLayout &layout)
{
	if (layout.verticalSpacing() >= 0)
		return layout.verticalSpacing();
	return layout.spacing() >= 0 ? layout.spacing() : default_spacing;
}

// True when `window` is the one.
bool install_in(const QWidget &window, const QString &hint_text, const QString &button_text)
{
	auto *hint = find_descendant<QLabel>(window, [&](QLabel *label) { return label->text().contains(hint_text); });
	auto *button =
		find_descendant<QPushButton>(window, [&](QPushButton *push) { return push->text() == button_text; });
	if (!hint || !button || hint->parentWidget() != button->parentWidget())
		return false;
	QWidget *form = hint->parentWidget();
	QScrollArea *scroll_area = form ? scroll_area_above(form) : nullptr;
	if (!scroll_area || !qobject_cast<QFormLayout *>(form->layout()))
		return false;

	auto *center = form->findChild<FilterPropCenter *>(center_name, Qt::FindDirectChildrenOnly);
	if (!center)
		center = new FilterPropCenter(form, scroll_area, hint, button);
	center->recenter();
	return true;
}

} // namespace

FilterPropCenter::FilterPropCenter(QWidget *form, QScrollArea *scroll_area, QLabel *hint, QPushButton *button)
	: QObject(form), form_(form), scroll_area_(scroll_area), hint_(hint), button_(button)
{
	setObjectName(center_name);
	scroll_area->viewport()->installEventFilter(this);
}

FilterPropCenter::~FilterPropCenter() = default;

bool FilterPropCenter::eventFilter(QObject *watched, QEvent *event)
{
	if (event->type() == QEvent::Resize && scroll_area_ && watched == scroll_area_->viewport())
		recenter();
	return false;
}

QWidget *FilterPropCenter::spacer(QFormLayout &form_layout, const QString &name, bool at_top)
{
	if (auto *existing = form_->findChild<QWidget *>(name, Qt::FindDirectChildrenOnly))
		return existing;
	auto *widget = new QWidget(form_);
	widget->setObjectName(name);
	form_layout.insertRow(at_top ? 0 : form_layout.rowCount(), widget);
	return widget;
}

void FilterPropCenter::recenter()
{
	auto *layout = qobject_cast<QFormLayout *>(form_->layout());
	if (!layout || !hint_ || !button_ || !scroll_area_)
		return;

	hint_->setWordWrap(false);
	hint_->setMinimumWidth(hint_->fontMetrics().horizontalAdvance(hint_->text()));
	hint_->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
	layout->setAlignment(hint_, Qt::AlignHCenter);

	button_->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
	button_->setCursor(Qt::PointingHandCursor);
	layout->setAlignment(button_, Qt::AlignHCenter);

	QWidget *top = spacer(*layout, top_spacer_name, true);
	QWidget *bottom = spacer(*layout, bottom_spacer_name, false);
	const QMargins margins = layout->contentsMargins();
	const int used = margins.top() + margins.bottom() + button_->sizeHint().height() + hint_->sizeHint().height() +
			 vertical_spacing(*layout);
	const int free = std::max(scroll_area_->viewport()->height() - used, 0);
	top->setFixedHeight(free / 2);
	bottom->setFixedHeight(free - free / 2);
}

void install_prop_center()
{
	const QString hint_text = module_text("Kalvio.PropertiesHint");
	const QString button_text = module_text("Kalvio.OpenPanel");
	if (hint_text.isEmpty() || button_text.isEmpty())
		return;
	for (const QWidget *window : QApplication::topLevelWidgets()) {
		if (install_in(*window, hint_text, button_text))
			return;
	}
}

} // namespace kalvio
