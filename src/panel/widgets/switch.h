// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QWidget>
#include <functional>

namespace kalvio {

// A sliding switch; its knob jumps. Change `checked` through show_checked (toggle.h).
class Switch : public QWidget {
	Q_OBJECT

public:
	explicit Switch(QWidget *parent = nullptr);
	~Switch() override;

	QSize sizeHint() const override; // 33 x 18

	bool checked = false;
	std::function<void(bool)> on_toggled; // the user's changes only; takes the new state

protected:
	void mouseReleaseEvent(QMouseEvent *event) override;
	void paintEvent(QPaintEvent *event) override;
};

} // namespace kalvio
