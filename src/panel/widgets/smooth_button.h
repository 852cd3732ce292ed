// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/widgets/palette.h"

#include <QColor>
#include <QPushButton>
#include <array>

namespace kalvio {

// A button that paints itself, the same under every style of the host: a rounded rectangle with its text centered. It
// takes no focus and never paints its icon. Colors and radius are plain fields; call update() after a change.
class SmoothButton : public QPushButton {
	Q_OBJECT

public:
	explicit SmoothButton(QWidget *parent = nullptr);
	~SmoothButton() override;

	int radius = 8; // of the corners, in pixels
	bool draw_text = true;
	bool gradient_fill = false; // a horizontal gradient in place of the color of the state

	QColor bg_normal = palette::surface;
	QColor bg_hover = palette::translucent_white(28);
	// Fainter than the hovered fill on purpose: what tells a checked button is its border and its text.
	QColor bg_checked = palette::translucent_white(26);
	QColor text_normal = palette::muted_text;
	QColor text_hover = palette::control_text;
	QColor text_checked = palette::white;
	QColor border_normal = palette::translucent_white(28);
	QColor border_hover = palette::translucent_white(40);
	QColor border_checked = palette::translucent_white(70);
	QColor gradient_start;                       // at the left edge
	QColor gradient_end;                         // at the right edge
	std::array<qreal, 2> border_width{1.0, 1.0}; // pixels; [0] unchecked, [1] checked

	// The text as it is painted, in caption_font(): shortened at its end where the button is too narrow for it.
	QString painted_text() const;

	// The button's font, or as much smaller as the text takes to fit, down to 11 pixels.
	QFont caption_font() const;

	// The color that the outline of a caption has on a gradient's `fill`: dark enough for light text on any fill.
	static QColor text_outline(const QColor &fill);

protected:
	void paintEvent(QPaintEvent *event) override;

private:
	void outline_text(QPainter &painter) const;
	bool is_hovered() const;
	QBrush fill(const QRectF &shape) const;
};

} // namespace kalvio
