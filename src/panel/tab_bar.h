// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QWidget>
#include <functional>
#include <vector>

class QLabel;

namespace kalvio {

class FormBuilder;
class SmoothButton;
class TabDot;

// The row of tabs; a tab's number is that of its page.
class TabBar : public QWidget {
public:
	// `chosen` takes the number of a tab that the user clicked.
	TabBar(FormBuilder &form, std::function<void(int)> chosen, QWidget *parent);

	// Gives each tab the width of its caption; called when the panel's style sheet reaches the tabs.
	void fit_captions();

	int count() const { return static_cast<int>(tabs_.size()); }
	// Numbers without a tab change nothing.
	void show_current(int index);
	QString caption(int index) const;
	void set_tabs_enabled(bool enabled);
	// A dot on tab `index` says that something on its page is not at its default; screen readers are told too.
	void mark_changed(int index, bool is_changed);

private:
	struct Tab {
		SmoothButton *button;
		QLabel *glyph;
		QLabel *caption;
		TabDot *dot;
	};

	std::vector<Tab> tabs_;
};

} // namespace kalvio
