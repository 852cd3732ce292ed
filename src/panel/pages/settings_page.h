// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QWidget>
#include <functional>

class QLabel;
class QVBoxLayout;

namespace kalvio {

class FormBuilder;
class Switch;
struct UiPreferences;

// The panel's own choices, and who made it.
class SettingsPage : public QWidget {
public:
	SettingsPage(FormBuilder &form, std::function<void()> go_back, QWidget *parent);

	void refresh();

private:
	void add_choices(QVBoxLayout *layout);
	Switch *add_switch(QVBoxLayout *layout, const char *key, bool UiPreferences::*choice);
	void add_about(QVBoxLayout *layout);

	FormBuilder &form_;
	Switch *open_on_startup_ = nullptr;
	Switch *follow_sources_ = nullptr;
	QLabel *version_ = nullptr;
};

} // namespace kalvio
