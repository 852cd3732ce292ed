// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/strength_slider.h"

#include "panel/widgets/disabled_opacity.h"
#include "panel/widgets/palette.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTimerEvent>
#include <algorithm>

namespace kalvio {
namespace {

// Against the card: groove outline 3.6 : 1, fill 6.9 : 1; fill against the empty groove 7.3 : 1.
constexpr QColor groove_outline = palette::outline;
constexpr QColor groove_color = palette::groove;
constexpr QColor fill_color = palette::accent;
constexpr QColor handle_color = palette::control_text;
constexpr QColor handle_hover_color = palette::white;
constexpr QColor handle_gap_color = palette::card; // keeps the handle apart from fill and groove

constexpr int repeat_delay_ms = 500;
constexpr int repeat_interval_ms = 50;

constexpr int row_height = 22;
constexpr int usual_width = 84;
constexpr qreal handle_size = 14;
constexpr qreal handle_gap = 2;
constexpr qreal groove_height = 6;
constexpr qreal zero_mark_width = 2;
constexpr qreal zero_mark_height = 12;

} // namespace

StrengthSlider::StrengthSlider(QWidget *parent) : QSlider(Qt::Horizontal, parent)
{
	setAttribute(Qt::WA_Hover);
}

StrengthSlider::~StrengthSlider() = default;

QSize StrengthSlider::sizeHint() const
{
	return {usual_width, row_height};
}

QSize StrengthSlider::minimumSizeHint() const
{
	return {static_cast<int>(2 * handle_size), row_height};
}

qreal StrengthSlider::x_of(int position) const
{
	const qreal travel = std::max<qreal>(width() - handle_size, 0);
	return handle_size / 2 + travel * (position - minimum()) / std::max(maximum() - minimum(), 1);
}

int StrengthSlider::position_at(qreal x) const
{
	const qreal travel = std::max<qreal>(width() - handle_size, 1);
	const qreal part = std::clamp((x - handle_size / 2) / travel, 0.0, 1.0);
	return minimum() + qRound(part * (maximum() - minimum()));
}

QRectF StrengthSlider::groove_rect() const
{
	return {0, (height() - groove_height) / 2, static_cast<qreal>(width()), groove_height};
}

QRectF StrengthSlider::fill_rect() const
{
	const QRectF groove = groove_rect();
	const qreal from = is_two_sided() ? x_of(0) : groove.left();
	const qreal to = x_of(sliderPosition());
	if (sliderPosition() == (is_two_sided() ? 0 : minimum()))
		return {};
	return {std::min(from, to), groove.top(), std::abs(to - from), groove.height()};
}

QRectF StrengthSlider::handle_rect() const
{
	return {x_of(sliderPosition()) - handle_size / 2, (height() - handle_size) / 2, handle_size, handle_size};
}

void StrengthSlider::paintEvent(QPaintEvent * /*event*/)
{
	QPainter painter(this);
	painter.setRenderHint(QPainter::Antialiasing);
	if (!isEnabled())
		painter.setOpacity(disabled_opacity);

	const QRectF groove = groove_rect().adjusted(0.5, 0.5, -0.5, -0.5);
	painter.setPen(QPen(groove_outline, 1));
	painter.setBrush(groove_color);
	painter.drawRoundedRect(groove, groove.height() / 2, groove.height() / 2);
	painter.setPen(Qt::NoPen);
	if (is_two_sided()) {
		painter.setBrush(groove_outline);
		painter.drawRect(QRectF(x_of(0) - zero_mark_width / 2, (height() - zero_mark_height) / 2,
					zero_mark_width, zero_mark_height));
	}
	painter.setBrush(fill_color);
	painter.drawRoundedRect(fill_rect(), groove_height / 2, groove_height / 2);

	const QRectF handle = handle_rect();
	painter.setBrush(handle_gap_color);
	painter.drawEllipse(handle.adjusted(-handle_gap, -handle_gap, handle_gap, handle_gap));
	painter.setBrush(isEnabled() && (underMouse() || isSliderDown()) ? handle_hover_color : handle_color);
	painter.drawEllipse(handle);
}

void StrengthSlider::mousePressEvent(QMouseEvent *event)
{
	if (event->button() != Qt::LeftButton || (event->buttons() ^ event->button()) || maximum() == minimum()) {
		event->ignore();
		return;
	}
	event->accept();
	was_step_ = false;
	const QRectF handle = handle_rect();
	const qreal x = event->position().x();
	if (handle.left() <= x && x <= handle.right()) {
		grip_x_ = x - handle.center().x();
		setSliderDown(true);
		update();
		return;
	}
	pressed_x_ = x;
	const int before = value();
	step_towards_press();
	was_step_ = value() != before;
	repeat_.start(repeat_delay_ms, this);
}

void StrengthSlider::mouseDoubleClickEvent(QMouseEvent *event)
{
	if (event->button() != Qt::LeftButton) {
		event->ignore();
		return;
	}
	event->accept();
	emit default_requested(was_step_);
}

void StrengthSlider::keyPressEvent(QKeyEvent *event)
{
	const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
	const int key = event->key();
	const QString text = event->text();
	const bool is_plain = modifiers == Qt::NoModifier;
	if (is_plain && (key == Qt::Key_Delete || key == Qt::Key_Backspace))
		emit default_requested(false);
	else if (is_plain && (key == Qt::Key_Return || key == Qt::Key_Enter))
		emit typing_requested({});
	else if (is_plain && (text == u"-" || (text.size() == 1 && text >= u"0" && text <= u"9")))
		emit typing_requested(text);
	else
		QSlider::keyPressEvent(event);
}

// A page at a time, and not past the pointer while it is held there.
void StrengthSlider::step_towards_press()
{
	const QRectF handle = handle_rect();
	if (pressed_x_ > handle.right())
		triggerAction(SliderPageStepAdd);
	else if (pressed_x_ < handle.left())
		triggerAction(SliderPageStepSub);
	else
		repeat_.stop();
}

void StrengthSlider::timerEvent(QTimerEvent *event)
{
	if (event->timerId() != repeat_.timerId()) {
		QSlider::timerEvent(event);
		return;
	}
	repeat_.start(repeat_interval_ms, this);
	step_towards_press();
}

void StrengthSlider::hideEvent(QHideEvent *event)
{
	repeat_.stop();
	QSlider::hideEvent(event);
}

void StrengthSlider::mouseMoveEvent(QMouseEvent *event)
{
	if (!isSliderDown()) {
		event->ignore();
		return;
	}
	event->accept();
	setSliderPosition(position_at(event->position().x() - grip_x_));
}

void StrengthSlider::mouseReleaseEvent(QMouseEvent *event)
{
	if (event->button() != Qt::LeftButton) {
		event->ignore();
		return;
	}
	event->accept();
	repeat_.stop();
	setSliderDown(false);
	update();
}

} // namespace kalvio
