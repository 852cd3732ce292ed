// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/value_edit.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QValidator>
#include <algorithm>
#include <utility>

namespace kalvio {
namespace {

constexpr int longest_number = 5; // characters

// Whole numbers. Input methods type the digits of their script: NFKC makes ASCII out of full-width ones.
class NumberValidator : public QValidator {
public:
	using QValidator::QValidator;

	State validate(QString &input, int & /*position*/) const override
	{
		input = input.normalized(QString::NormalizationForm_KC);
		const QString digits = input.startsWith(u'-') ? input.mid(1) : input;
		const bool is_number =
			std::ranges::all_of(digits, [](QChar letter) { return letter >= u'0' && letter <= u'9'; });
		if (!is_number)
			return Invalid;
		return digits.isEmpty() ? Intermediate : Acceptable;
	}
};

// Keys that the field itself takes, whatever shortcuts the host has on them; QLineEdit claims those that type.
bool is_for_the_field(const QKeyEvent &event)
{
	switch (event.key()) {
	case Qt::Key_Escape:
	case Qt::Key_Return:
	case Qt::Key_Enter:
		return true;
	default:
		return false;
	}
}

} // namespace

ValueEdit::ValueEdit(const QString &text, int minimum, int maximum, std::function<void(int)> taken, QWidget *origin,
		     QWidget *parent)
	: QLineEdit(text, parent), minimum_(minimum), maximum_(maximum), taken_(std::move(taken)), origin_(origin)
{
	setObjectName(QStringLiteral("valueEdit"));
	setAlignment(Qt::AlignRight | Qt::AlignVCenter);
	setMaxLength(longest_number);
	setValidator(new NumberValidator(this));
	setInputMethodHints(Qt::ImhFormattedNumbersOnly);
	setContextMenuPolicy(Qt::NoContextMenu); // its menu would take the focus, which ends the typing
	setAccessibleName(origin->accessibleName());
	selectAll();
}

ValueEdit::~ValueEdit() = default;

bool ValueEdit::event(QEvent *event)
{
	if (event->type() == QEvent::ShortcutOverride && is_for_the_field(*static_cast<QKeyEvent *>(event))) {
		event->accept();
		return true;
	}
	// Tab is taken before a widget gets it as a key.
	if (event->type() == QEvent::KeyPress) {
		const int key = static_cast<QKeyEvent *>(event)->key();
		if (key == Qt::Key_Tab || key == Qt::Key_Backtab)
			take();
	}
	return QLineEdit::event(event);
}

void ValueEdit::keyPressEvent(QKeyEvent *event)
{
	if (event->key() == Qt::Key_Escape)
		close_edit();
	else if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
		take();
	else
		QLineEdit::keyPressEvent(event);
}

void ValueEdit::focusOutEvent(QFocusEvent *event)
{
	QLineEdit::focusOutEvent(event);
	close_edit();
}

void ValueEdit::take()
{
	bool is_number = false;
	const int number = text().toInt(&is_number);
	const bool is_taken = is_number && !is_done_ && isEnabled();
	close_edit();
	if (is_taken)
		taken_(std::clamp(number, minimum_, maximum_));
}

void ValueEdit::close_edit()
{
	if (std::exchange(is_done_, true))
		return;
	if (hasFocus())
		origin_->setFocus(Qt::OtherFocusReason);
	hide();
	deleteLater();
}

} // namespace kalvio
