// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/keyboard.h"

#include "panel/widgets/hold_button.h"
#include "panel/widgets/smooth_button.h"
#include "panel/widgets/toggle.h"

#include <QButtonGroup>
#include <QKeyEvent>

namespace kalvio {
namespace {

bool activates(const QKeyEvent &event)
{
	if (event.isAutoRepeat() || (event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
		return false;
	return event.key() == Qt::Key_Space || event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter ||
	       event.key() == Qt::Key_Select;
}

void activate(QObject &control)
{
	if (auto *button = qobject_cast<QAbstractButton *>(&control))
		button->click();
	else if (auto *toggle = qobject_cast<Toggle *>(&control))
		toggle->toggle_by_user();
}

class KeyActivation : public QObject {
public:
	using QObject::QObject;

	bool eventFilter(QObject *watched, QEvent *event) override
	{
		if (event->type() != QEvent::KeyPress || !activates(*static_cast<QKeyEvent *>(event)))
			return false;
		if (static_cast<QWidget *>(watched)->isEnabled())
			activate(*watched);
		return true;
	}
};

// Tab stops at the chosen button of a group, or at its first when none is.
void place_tab_stop(const QButtonGroup &group)
{
	const QList<QAbstractButton *> buttons = group.buttons();
	const QAbstractButton *stop = group.checkedButton() ? group.checkedButton() : buttons.value(0);
	for (QAbstractButton *button : buttons)
		button->setFocusPolicy(button == stop ? Qt::TabFocus : Qt::NoFocus);
}

} // namespace

void make_operable_by_keyboard(QWidget &root)
{
	auto *activation = new KeyActivation(&root); // which owns it
	for (auto *button : root.findChildren<QAbstractButton *>()) {
		// Reached by Tab only, so that a click leaves the focus where it is.
		if (qobject_cast<SmoothButton *>(button))
			button->setFocusPolicy(Qt::TabFocus);
		// Held by Space as by the mouse, which is what a button does by itself.
		if (!qobject_cast<HoldButton *>(button))
			button->installEventFilter(activation);
	}
	for (auto *toggle : root.findChildren<Toggle *>()) {
		toggle->setFocusPolicy(Qt::TabFocus);
		toggle->installEventFilter(activation);
	}
	// NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): `activation` belongs to `root`
	for (auto *group : root.findChildren<QButtonGroup *>()) {
		for (QAbstractButton *button : group->buttons())
			button->setAutoExclusive(true); // what it is to screen readers: one of several
		place_tab_stop(*group);
		QObject::connect(group, &QButtonGroup::buttonToggled, group, [group] { place_tab_stop(*group); });
	}
}

} // namespace kalvio
