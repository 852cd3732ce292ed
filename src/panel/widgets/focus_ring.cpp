// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/focus_ring.h"

#include "panel/widgets/palette.h"

#include <QEvent>
#include <QFocusEvent>
#include <QPainter>
#include <QPointer>
#include <QScrollArea>

namespace kalvio {
namespace {

constexpr QColor ring_color = palette::accent;
constexpr int ring_gap = 3; // between the control and the outer edge of the ring
constexpr qreal ring_width = 2;
constexpr qreal ring_radius = 8;

// The ring itself: over the controls, and nothing to mouse, focus and screen readers.
class FocusRing : public QWidget {
public:
	explicit FocusRing(QWidget *parent) : QWidget(parent)
	{
		setAttribute(Qt::WA_TransparentForMouseEvents);
		setFocusPolicy(Qt::NoFocus);
		hide();
	}

protected:
	void paintEvent(QPaintEvent * /*event*/) override
	{
		QPainter painter(this);
		painter.setRenderHint(QPainter::Antialiasing);
		painter.setPen(QPen(ring_color, ring_width));
		const qreal inset = ring_width / 2;
		painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), ring_radius,
					ring_radius);
	}
};

bool is_keyboard_reason(Qt::FocusReason reason)
{
	return reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason;
}

class FocusFollower : public QObject {
public:
	FocusFollower(QWidget &root, std::function<bool()> is_refreshing)
		: QObject(&root), root_(root), is_refreshing_(std::move(is_refreshing)), ring_(new FocusRing(&root))
	{
		for (auto *widget : root.findChildren<QWidget *>())
			widget->installEventFilter(this);
	}

	bool eventFilter(QObject *watched, QEvent *event) override
	{
		auto *widget = static_cast<QWidget *>(watched);
		switch (event->type()) {
		case QEvent::FocusIn:
			focus_came(*widget, static_cast<QFocusEvent *>(event)->reason());
			break;
		case QEvent::FocusOut:
			target_ = nullptr;
			ring_->hide();
			break;
		case QEvent::Move:
		case QEvent::Resize:
		case QEvent::Show:
		case QEvent::Hide:
			if (target_ && (widget == target_ || widget->isAncestorOf(target_)))
				place();
			break;
		default:
			break;
		}
		return false;
	}

private:
	void focus_came(QWidget &widget, Qt::FocusReason reason)
	{
		if (is_keyboard_reason(reason) && !is_refreshing_())
			by_keyboard_ = true;
		else if (reason == Qt::MouseFocusReason)
			by_keyboard_ = false;
		if (!by_keyboard_)
			return;
		target_ = &widget;
		QScrollArea *area = scroll_area_of(widget);
		if (area)
			area->ensureWidgetVisible(&widget, 0, 2 * ring_gap);
		// Inside the page, so that the ring scrolls with the control and is cut where the page is.
		ring_->setParent(area ? area->widget() : &root_);
		place();
	}

	QScrollArea *scroll_area_of(const QWidget &widget) const
	{
		for (QWidget *parent = widget.parentWidget(); parent && parent != &root_;
		     parent = parent->parentWidget()) {
			if (auto *area = qobject_cast<QScrollArea *>(parent))
				return area;
		}
		return nullptr;
	}

	void place()
	{
		QWidget *canvas = ring_->parentWidget();
		const QPoint corner = target_->mapTo(canvas, QPoint(0, 0));
		const QRect around = QRect(corner, target_->size()).adjusted(-ring_gap, -ring_gap, ring_gap, ring_gap);
		ring_->setGeometry(around & canvas->rect());
		ring_->raise();
		ring_->setVisible(target_->isVisible());
	}

	QWidget &root_;
	std::function<bool()> is_refreshing_;
	QPointer<FocusRing> ring_; // child of the page that has the focus
	QPointer<QWidget> target_;
	bool by_keyboard_ = false;
};

} // namespace

void show_keyboard_focus(QWidget &root, std::function<bool()> is_refreshing)
{
	new FocusFollower(root, std::move(is_refreshing));
}

} // namespace kalvio
