// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QLabel>

namespace kalvio {

// The number beside a slider. A click on it asks for a field to type another one into.
class ValueLabel : public QLabel {
	Q_OBJECT

public:
	explicit ValueLabel(const QString &text, QWidget *parent = nullptr);
	~ValueLabel() override;

signals:
	void clicked(); // pressed and let go inside, with the left button

protected:
	void mousePressEvent(QMouseEvent *event) override;
	void mouseReleaseEvent(QMouseEvent *event) override;
};

} // namespace kalvio
