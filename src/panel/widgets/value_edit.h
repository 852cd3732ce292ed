// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QLineEdit>
#include <functional>

namespace kalvio {

// A field over the number of a slider, into which another number is typed. Enter and Tab take what was typed, Escape
// and whatever else ends the typing leave the value as it was. It takes the focus at once, and deletes itself when it
// is done; the focus then goes back to `origin`.
class ValueEdit : public QLineEdit {
	Q_OBJECT

public:
	// `text` is selected. `taken` gets the typed whole number within `minimum`..`maximum`.
	ValueEdit(const QString &text, int minimum, int maximum, std::function<void(int)> taken, QWidget *origin,
		  QWidget *parent);
	~ValueEdit() override;

protected:
	bool event(QEvent *event) override;
	void keyPressEvent(QKeyEvent *event) override;
	void focusOutEvent(QFocusEvent *event) override;

private:
	void take();
	void close_edit();

	int minimum_;
	int maximum_;
	std::function<void(int)> taken_;
	QWidget *origin_;
	bool is_done_ = false;
};

} // namespace kalvio
