// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QAction>
#include <QDockWidget>
#include <QMainWindow>
#include <memory>
#include <obs-frontend-api.h>
#include <string>
#include <utility>
#include <vector>

// The host's front end for tests: a plain main window behind the front end's functions, which behave as those of
// versions 30 to 32 do. An executable that contains the double is served by it before the library.
namespace kalvio::test {

class FrontendDouble {
public:
	FrontendDouble();  // with a main window that is shown
	~FrontendDouble(); // one at a time
	FrontendDouble(const FrontendDouble &) = delete;
	FrontendDouble &operator=(const FrontendDouble &) = delete;

	QMainWindow *window() { return window_.get(); }
	// As at the host's end: the window goes with its docks, and every later call is counted.
	void delete_window() { window_.reset(); }
	// The front end has another kind of main window, or none (null).
	void set_foreign_window(QWidget *widget);

	void send(obs_frontend_event event);
	// What the host does with all docks when the user locks and unlocks them.
	void lock_docks(bool locked);

	QDockWidget *dock() const; // null unless there is one with the panel's id
	QAction *tools_entry() { return tools_entries_.empty() ? nullptr : tools_entries_.back().get(); }

	bool refuses_docks = false;
	std::string locale = "en-US";

	size_t callback_count() const { return callbacks_.size(); }
	int docks_added = 0;
	int docks_removed = 0;
	std::string dock_title;
	std::vector<std::string> tools_titles;
	int calls_without_window = 0;

private:
	friend struct FrontendAccess;
	using Callback = std::pair<obs_frontend_event_cb, void *>;

	std::unique_ptr<QMainWindow> window_;
	bool has_foreign_window_ = false;
	QWidget *foreign_window_ = nullptr;
	std::vector<Callback> callbacks_;
	std::vector<std::unique_ptr<QAction>> tools_entries_;
};

} // namespace kalvio::test
