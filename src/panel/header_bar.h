// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QWidget>
#include <functional>
#include <string>
#include <vector>

class QPushButton;

namespace kalvio {

class CheckBox;
class FormBuilder;
class SourceSelector;

struct HeaderActions {
	std::function<void()> refresh_panel;
	std::function<void()> toggle_settings;
};

// The live toggle, the choice of the filter to drive, reset and settings.
class HeaderBar : public QWidget {
public:
	HeaderBar(FormBuilder &form, HeaderActions actions, QWidget *parent);

	// Gives the row its one height; called when the panel's style sheet reaches it.
	void fit_height();

	void refresh();
	void show_settings_open(bool open);

	// As if the user had chosen this one of panel_model().names; nothing when there is none.
	void choose_source(int index);

private:
	void refresh_selector();
	void selector_changed(int item);

	FormBuilder &form_;
	HeaderActions actions_;
	CheckBox *live_toggle_;
	SourceSelector *selector_;
	QPushButton *reset_button_;
	QPushButton *settings_button_;
	std::vector<std::string> shown_names_; // what the selector is filled with
	bool is_filled_ = false;
};

} // namespace kalvio
