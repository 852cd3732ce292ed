// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QBasicTimer>
#include <QSlider>

namespace kalvio {

// A horizontal slider that paints itself and tells by itself what is under the pointer, so that no style and no style
// sheet of the host changes it: inside a host with an application style sheet every style object that a widget can be
// given is wrapped into one that applies that sheet. From the left end to the value the groove is filled; with a
// range on both sides of 0, from 0 to the value. Sizes are in device-independent pixels.
//
// A double-click, Delete and Backspace ask for the default; Enter, a digit and the minus sign begin to type a number.
class StrengthSlider : public QSlider {
	Q_OBJECT

public:
	explicit StrengthSlider(QWidget *parent = nullptr);
	~StrengthSlider() override;

	QSize sizeHint() const override;        // 84 x 22
	QSize minimumSizeHint() const override; // 28 x 22

	// What is filled: from 0, or from the left end of a range without 0 inside, to the value. Empty at 0.
	QRectF fill_rect() const;
	QRectF groove_rect() const;
	QRectF handle_rect() const;

signals:
	// `after_step`: the first press of the double-click was a step, which the default belongs to.
	void default_requested(bool after_step);
	// `text` is what the key typed; empty when the number is to be altered.
	void typing_requested(const QString &text);

protected:
	void paintEvent(QPaintEvent *event) override;
	void mousePressEvent(QMouseEvent *event) override;
	void mouseDoubleClickEvent(QMouseEvent *event) override;
	void keyPressEvent(QKeyEvent *event) override;
	void mouseMoveEvent(QMouseEvent *event) override;
	void mouseReleaseEvent(QMouseEvent *event) override;
	void timerEvent(QTimerEvent *event) override;
	void hideEvent(QHideEvent *event) override;

private:
	void step_towards_press();
	bool is_two_sided() const { return minimum() < 0 && maximum() > 0; }
	qreal x_of(int position) const; // of the handle's center
	int position_at(qreal x) const;

	qreal grip_x_ = 0;      // where on the handle the pointer holds it, from its center
	qreal pressed_x_ = 0;   // where the groove is pressed
	QBasicTimer repeat_;    // runs while it is
	bool was_step_ = false; // the last press changed the value by a step
};

} // namespace kalvio
