// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <deque>
#include <string>

// What the host's front end keeps of the user's work, for tests: its undo history and its saves. It serves
// obs_frontend_add_undo_redo_action and obs_frontend_save, and behaves as those of versions 29.1 to 32 do. An
// executable that contains the double is served by it before the library.
namespace kalvio::test {

class HistoryDouble {
public:
	using Callback = void (*)(const char *data);

	struct Entry {
		std::string name;
		std::string undo_data;
		std::string redo_data;
		Callback undo = nullptr;
		Callback redo = nullptr;
	};

	// Everything as at the host's start.
	void reset() { *this = {}; }

	// What the user does with the main window's actions; without an entry, or while disabled, nothing.
	void undo();
	void redo();

	// The history takes nothing and does nothing, as while a dialog of the host is open.
	void disable() { is_enabled_ = false; }
	void enable();
	// What loading another scene collection does.
	void clear();

	// After three seconds without a repeatable entry the next one stands for itself.
	void pass_time(int milliseconds);

	const std::deque<Entry> &undo_entries() const { return undo_entries_; } // the newest first
	const std::deque<Entry> &redo_entries() const { return redo_entries_; }
	std::string newest() const { return undo_entries_.empty() ? "" : undo_entries_.front().name; }

	// For the functions that are doubled.
	void add(Entry entry, bool is_repeatable);

	int saves = 0;                 // that were asked for
	bool is_saving_allowed = true; // the host takes none while it loads sources
	int saves_while_forbidden = 0;

private:
	std::deque<Entry> undo_entries_;
	std::deque<Entry> redo_entries_;
	bool is_enabled_ = true;
	bool is_last_repeatable_ = false;
	int time_since_repeatable_ms_ = 0;
};

HistoryDouble &history_double();

} // namespace kalvio::test
