// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/tool_tips.h"

#include "panel/widgets/elided_label.h"
#include "panel/widgets/smooth_button.h"

#include <QComboBox>
#include <QHelpEvent>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QToolTip>

namespace kalvio {
namespace {

constexpr qsizetype longest_tip = 300;

bool is_cut(const QComboBox &selector)
{
	QStyleOptionComboBox option;
	option.initFrom(&selector);
	const QRect field =
		selector.style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &selector);
	return selector.fontMetrics().horizontalAdvance(selector.currentText()) > field.width();
}

bool is_cut(const QLabel &label)
{
	return label.textFormat() != Qt::RichText && !label.wordWrap() && label.sizeHint().width() > label.width();
}

// The whole text of a control that shows only a part of it, or shows it faintly; else empty.
QString cut_text(const QWidget &widget)
{
	if (const auto *label = qobject_cast<const ElidedLabel *>(&widget))
		return label->text() != label->full_text() ? label->full_text() : QString();
	if (const auto *label = qobject_cast<const QLabel *>(&widget))
		return is_cut(*label) ? label->text() : QString();
	if (const auto *selector = qobject_cast<const QComboBox *>(&widget))
		return is_cut(*selector) ? selector->currentText() : QString();
	if (const auto *button = qobject_cast<const SmoothButton *>(&widget)) {
		// On some colors of a swatch its name is hard to read.
		if (button->gradient_fill)
			return button->text();
		if (button->draw_text)
			return button->painted_text() != button->text() ? button->text() : QString();
		for (const auto *label : button->findChildren<QLabel *>()) {
			if (is_cut(*label))
				return label->text();
		}
	}
	return {};
}

class ToolTips : public QObject {
public:
	explicit ToolTips(QWidget &root) : QObject(&root)
	{
		for (auto *widget : root.findChildren<QWidget *>())
			widget->installEventFilter(this);
	}

	bool eventFilter(QObject *watched, QEvent *event) override
	{
		if (event->type() != QEvent::ToolTip)
			return false;
		const auto *widget = static_cast<QWidget *>(watched);
		QStringList lines{cut_text(*widget), widget->toolTip()};
		lines.removeAll(QString());
		lines.removeDuplicates();
		if (lines.isEmpty())
			return false; // what is around it may have one
		show(static_cast<QHelpEvent *>(event)->globalPos(), lines.join(u'\n'));
		return true;
	}

private:
	// Without the widget: it would hand its style sheet on, whose light text the host's tool tips are not made for.
	static void show(const QPoint &position, QString text)
	{
		if (text.size() > longest_tip)
			text = text.left(longest_tip) + u'\u2026';
		QToolTip::showText(position, Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal));
	}
};

} // namespace

void show_tool_tips(QWidget &root)
{
	new ToolTips(root);
}

} // namespace kalvio
