// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/wheel_guard.h"

#include <QAbstractSlider>
#include <QComboBox>
#include <QEvent>
#include <QScrollBar>

namespace kalvio {
namespace {

class WheelGuard : public QObject {
public:
	explicit WheelGuard(QWidget &root) : QObject(&root)
	{
		// The focus that a wheel gives would let the next turn through.
		for (auto *slider : root.findChildren<QAbstractSlider *>()) {
			if (!qobject_cast<QScrollBar *>(slider))
				watch(*slider);
		}
		for (auto *selector : root.findChildren<QComboBox *>())
			watch(*selector);
	}

	bool eventFilter(QObject *watched, QEvent *event) override
	{
		switch (event->type()) {
		case QEvent::MouseButtonPress:
			pressed_ = watched;
			break;
		case QEvent::Leave:
			pressed_ = nullptr;
			break;
		case QEvent::Wheel:
			if (watched == pressed_)
				break;
			event->ignore();
			return true;
		default:
			break;
		}
		return false;
	}

private:
	void watch(QWidget &control)
	{
		control.setFocusPolicy(Qt::StrongFocus);
		control.installEventFilter(this);
	}

	const QObject *pressed_ = nullptr; // the control under the pointer, since a press on it; only compared
};

} // namespace

void guard_wheel(QWidget &root)
{
	new WheelGuard(root);
}

} // namespace kalvio
