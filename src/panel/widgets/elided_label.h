// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QLabel>

namespace kalvio {

// One line of plain text that gives way: where it is too long it ends in an ellipsis, and it asks for no more width
// than its minimum.
class ElidedLabel : public QLabel {
	Q_OBJECT

public:
	explicit ElidedLabel(QWidget *parent = nullptr);

	// Line breaks and other control characters become spaces. Screen readers get the whole text.
	void set_full_text(const QString &text);
	const QString &full_text() const { return full_text_; }

	QSize sizeHint() const override;
	QSize minimumSizeHint() const override;

protected:
	void resizeEvent(QResizeEvent *event) override;
	void changeEvent(QEvent *event) override;

private:
	void elide();

	QString full_text_;
};

// `text` as one line: control characters, line and paragraph separators are spaces.
QString single_line(QString text);

} // namespace kalvio
