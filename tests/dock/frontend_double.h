// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QAction>
#include <QDockWidget>
#include <QMainWindow>
#include <functional>
#include <memory>
#include <obs-frontend-api.h>
#include <string>
#include <utility>
#include <vector>

// The host's front end for tests: a plain main window behind the front end's functions, which behave as those of
// versions 30 to 32 do, with the events of each in their order. Undo history and saves are those of the history double.
// An executable that contains the double is served by it before the library.
namespace kalvio::test {

class FrontendDouble {
public:
	FrontendDouble();  // with a main window that is shown
	~FrontendDouble(); // one at a time
	FrontendDouble(const FrontendDouble &) = delete;
	FrontendDouble &operator=(const FrontendDouble &) = delete;

	QMainWindow *window() { return window_.get(); }
	// As at the host's end, after EXIT: the window goes with its docks.
	void delete_window() { window_.reset(); }
	// The front end has another kind of main window, or none (null).
	void set_foreign_window(QWidget *widget);

	// Sends an event unless the host keeps it to itself: while it loads sources it sends CLEANUP and EXIT alone.
	// With CLEANUP goes the undo history; after EXIT no function is served any more.
	void send(obs_frontend_event event);

	// Sends it to whoever is still registered, whatever the host's state.
	void send_to_all(obs_frontend_event event);

	// What the host does, with all its events. `load_sources` runs where sources go and come; nothing is saved
	// then.
	using Loading = std::function<void()>;
	void load_first_collection(const Loading &load_sources = {});
	void finish_loading();
	void switch_collection(const Loading &load_sources = {});
	void duplicate_collection_in_30();
	void duplicate_collection_from_31_on(const Loading &load_sources = {});
	void close();
	// What the host does with all docks when the user locks and unlocks them.
	void lock_docks(bool locked);

	QDockWidget *dock() const; // null unless there is one with the panel's id
	QAction *tools_entry() { return tools_entries_.empty() ? nullptr : tools_entries_.back().get(); }

	// What the Sources dock lists, from the bottom up: the items of the scene on air and of the one in the preview.
	struct Item {
		obs_source_t *source;
		bool is_selected = false;
		std::vector<Item> group = {}; // what lies in it, if it is a group
	};
	std::vector<Item> program_items;
	std::vector<Item> preview_items;
	bool is_studio_mode = false;

	bool refuses_docks = false;
	bool refuses_menu_entries = false;
	bool has_no_scene = false;
	std::function<void(const std::string &function)> on_call; // at the beginning of each function that is served
	std::string locale = "en-US";

	size_t callback_count() const { return callbacks_.size(); }
	int docks_added = 0;
	int docks_removed = 0;
	std::string dock_title;
	std::vector<std::string> tools_titles;
	int calls_without_window = 0;
	std::vector<std::string> calls_after_end; // what the host's library complains about, in order

private:
	friend struct FrontendAccess;
	using Callback = std::pair<obs_frontend_event_cb, void *>;

	void clear_and_load(const Loading &load_sources);

	std::unique_ptr<QMainWindow> window_;
	bool is_over_ = false;
	bool are_docks_locked_ = false;
	int saving_disabled_ = 0;
	bool has_foreign_window_ = false;
	QWidget *foreign_window_ = nullptr;
	std::vector<Callback> callbacks_;
	std::vector<std::unique_ptr<QAction>> tools_entries_;
};

} // namespace kalvio::test
