// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/search_index.h"

#include <QWidget>
#include <functional>
#include <vector>

class QLineEdit;
class QListWidget;

namespace kalvio {

class FormBuilder;

// A field over all settings, with a list of what it finds; hidden until it is opened. The arrow keys choose in the
// list, Enter takes what is chosen, Escape closes.
class SearchBar : public QWidget {
public:
	// `chosen` takes what the user has picked; the bar is closed by then.
	SearchBar(FormBuilder &form, std::function<void(const SearchEntry &)> chosen, QWidget *parent);

	// Shows the empty field with the keyboard's focus, to search in these entries.
	void open(std::vector<SearchEntry> entries);
	void close_search();

protected:
	// The keys of the field.
	bool eventFilter(QObject *watched, QEvent *event) override;

private:
	void show_found();
	void choose(int row);
	void move_by(int rows);

	std::function<void(const SearchEntry &)> chosen_;
	std::vector<SearchEntry> entries_;
	std::vector<SearchEntry> found_; // by the list's row
	QLineEdit *field_;
	QListWidget *list_;
};

} // namespace kalvio
