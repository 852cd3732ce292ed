// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/smooth_button.h"

#include "panel/widgets/disabled_opacity.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QTextLayout>

namespace kalvio {
namespace {

// Black, and translucent, so that a swatch keeps its color around its caption.
constexpr QColor outline_color = palette::translucent_black(178);
constexpr qreal outline_width = 1.5; // pixels beyond the letters
constexpr int smallest_caption = 11; // pixels
constexpr int text_margin = 2;       // pixels that a text too long for the button keeps from each edge

const QColor &by_state(bool is_checked, bool is_hovered, const QColor &checked, const QColor &hover,
		       const QColor &normal)
{
	if (is_checked)
		return checked;
	return is_hovered ? hover : normal;
}

} // namespace

SmoothButton::SmoothButton(QWidget *parent) : QPushButton(parent)
{
	setAttribute(Qt::WA_TranslucentBackground);
	setAttribute(Qt::WA_Hover);
	setAutoFillBackground(false);
	setFlat(true);
	setFocusPolicy(Qt::NoFocus);
}

SmoothButton::~SmoothButton() = default;

QFont SmoothButton::caption_font() const
{
	QFont fitting = font();
	const int room = width() - 2 * text_margin;
	for (int pixels = fontInfo().pixelSize() - 1;
	     pixels >= smallest_caption && QFontMetrics(fitting).horizontalAdvance(text()) > room; --pixels)
		fitting.setPixelSize(pixels);
	return fitting;
}

QString SmoothButton::painted_text() const
{
	const QFontMetrics metrics(caption_font());
	const int room = width() - 2 * text_margin;
	return metrics.horizontalAdvance(text()) <= room ? text() : metrics.elidedText(text(), Qt::ElideRight, room);
}

bool SmoothButton::is_hovered() const
{
	return isEnabled() && underMouse();
}

QBrush SmoothButton::fill(const QRectF &shape) const
{
	if (gradient_fill) {
		QLinearGradient gradient(shape.topLeft(), shape.topRight());
		gradient.setColorAt(0, gradient_start);
		gradient.setColorAt(1, gradient_end);
		return gradient;
	}
	const QColor &color = by_state(isChecked(), is_hovered(), bg_checked, bg_hover, bg_normal);
	return color.alpha() > 0 ? QBrush(color) : QBrush(Qt::NoBrush);
}

QColor SmoothButton::text_outline(const QColor &fill)
{
	const qreal rest = 1 - outline_color.alphaF();
	return QColor::fromRgbF(static_cast<float>(fill.redF() * rest), static_cast<float>(fill.greenF() * rest),
				static_cast<float>(fill.blueF() * rest));
}

void SmoothButton::outline_text(QPainter &painter) const
{
	// Laid out as the painter lays out the caption: glyphs of another font make its line higher than the own
	// font's.
	const QString shown = painted_text();
	QTextLayout layout(shown, painter.font());
	layout.beginLayout();
	const QTextLine line = layout.createLine();
	layout.endLayout();
	QPainterPath path;
	path.addText((width() - line.naturalTextWidth()) / 2, (height() - line.height()) / 2 + line.ascent(),
		     painter.font(), shown);
	painter.strokePath(path, QPen(outline_color, 2 * outline_width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

void SmoothButton::paintEvent(QPaintEvent * /*event*/)
{
	QPainter painter(this);
	painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
	if (!isEnabled())
		painter.setOpacity(disabled_opacity);

	const qreal pen_width = border_width[isChecked() ? 1 : 0];
	const qreal inset = pen_width > 0 ? pen_width / 2 : 0;
	const QRectF shape = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
	const QColor &border = by_state(isChecked(), is_hovered(), border_checked, border_hover, border_normal);
	const bool has_border = pen_width > 0 && border.alpha() > 0;
	painter.setPen(has_border ? QPen(border, pen_width, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin)
				  : QPen(Qt::NoPen));
	painter.setBrush(fill(shape));
	painter.drawRoundedRect(shape, radius, radius);

	if (!draw_text)
		return;
	painter.setFont(caption_font());
	if (gradient_fill)
		outline_text(painter);
	painter.setPen(by_state(isChecked(), is_hovered(), text_checked, text_hover, text_normal));
	painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, painted_text());
}

} // namespace kalvio
