// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/accessible_controls.h"

#include "panel/widgets/smooth_button.h"
#include "panel/widgets/toggle.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace kalvio {
namespace {

constexpr const char *tab_property = "accessibleTab";

class AccessibleToggle : public QAccessibleWidget {
public:
	explicit AccessibleToggle(Toggle *toggle) : QAccessibleWidget(toggle, QAccessible::CheckBox), toggle_(toggle) {}

	QAccessible::State state() const override
	{
		QAccessible::State state = QAccessibleWidget::state();
		state.checkable = true;
		state.checked = toggle_->checked;
		return state;
	}

	QStringList actionNames() const override
	{
		QStringList names = QAccessibleWidget::actionNames();
		if (toggle_->isEnabled())
			names.prepend(toggleAction());
		return names;
	}

	void doAction(const QString &name) override
	{
		if (name != toggleAction())
			QAccessibleWidget::doAction(name);
		else if (toggle_->isEnabled())
			toggle_->toggle_by_user();
	}

private:
	Toggle *toggle_;
};

class AccessibleTab : public QAccessibleWidget {
public:
	explicit AccessibleTab(SmoothButton *button) : QAccessibleWidget(button, QAccessible::PageTab), button_(button)
	{
	}

	QAccessible::State state() const override
	{
		QAccessible::State state = QAccessibleWidget::state();
		state.selectable = true;
		state.selected = button_->isChecked();
		return state;
	}

	QStringList actionNames() const override
	{
		QStringList names = QAccessibleWidget::actionNames();
		if (button_->isEnabled())
			names.prepend(pressAction());
		return names;
	}

	void doAction(const QString &name) override
	{
		if (name != pressAction())
			QAccessibleWidget::doAction(name);
		else if (button_->isEnabled())
			button_->click();
	}

private:
	SmoothButton *button_;
};

QAccessibleInterface *make_accessible(const QString & /*class_name*/, QObject *object)
{
	if (auto *toggle = qobject_cast<Toggle *>(object))
		return new AccessibleToggle(toggle);
	auto *button = qobject_cast<SmoothButton *>(object);
	return button && button->property(tab_property).toBool() ? new AccessibleTab(button) : nullptr;
}

} // namespace

void install_accessible_controls()
{
	// The application keeps it to its end: the host does not unmap the module.
	static const bool is_installed = [] {
		QAccessible::installFactory(make_accessible);
		return true;
	}();
	static_cast<void>(is_installed);
}

void mark_as_tab(QWidget &button)
{
	button.setProperty(tab_property, true);
}

} // namespace kalvio
