// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/looks/look_store.h"

#include <QWidget>
#include <functional>
#include <string>
#include <vector>

class QButtonGroup;
class QLabel;
class QLineEdit;
class QPushButton;
class QVBoxLayout;

namespace kalvio {

class FormBuilder;

// The looks to choose from, and what can be done with the user's own. A click applies a look; the last one of the
// user's that was clicked is the one that is renamed, deleted and exported.
class LooksPage : public QWidget {
public:
	LooksPage(FormBuilder &form, std::function<void()> go_back, QWidget *parent);
	~LooksPage() override;

	// Reads the user's looks anew; when the page comes to the front.
	void reload();
	void refresh(bool is_usable);

private:
	void add_built_in(QVBoxLayout *layout);
	void add_own(QVBoxLayout *layout);
	void add_actions(QVBoxLayout *layout);
	void fill_own();
	void choose(const StoredLook &look);
	void report(LookResult result, const char *done_key);
	void save();
	void rename();
	void delete_chosen();
	void export_chosen();
	void import();

	FormBuilder &form_;
	std::vector<StoredLook> built_in_;
	std::vector<StoredLook> own_;
	std::string chosen_; // of the user's, by name; "": none
	QButtonGroup *built_in_group_ = nullptr;
	QButtonGroup *own_group_ = nullptr; // belongs to own_tiles_
	QVBoxLayout *own_layout_ = nullptr;
	QWidget *own_tiles_ = nullptr; // made anew with each change of the list
	QWidget *content_ = nullptr;   // all but the way back
	QLineEdit *name_ = nullptr;
	QLabel *none_ = nullptr;
	QLabel *message_ = nullptr;
	QPushButton *rename_ = nullptr;
	QPushButton *delete_ = nullptr;
	QPushButton *export_ = nullptr;
	bool is_delete_asked_ = false; // the next click deletes
};

} // namespace kalvio
