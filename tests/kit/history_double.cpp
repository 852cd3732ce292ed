// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/history_double.h"

#include <obs-frontend-api.h>
#include <utility>

namespace kalvio::test {

namespace {

constexpr size_t largest_history = 5000;
constexpr int repeat_interval_ms = 3000;

} // namespace

void HistoryDouble::add(Entry entry, bool is_repeatable)
{
	if (!is_enabled_)
		return;
	while (undo_entries_.size() >= largest_history)
		undo_entries_.pop_back();
	if (is_repeatable)
		time_since_repeatable_ms_ = 0;
	if (is_last_repeatable_ && is_repeatable && entry.name == undo_entries_.front().name) {
		undo_entries_.front().redo = entry.redo;
		undo_entries_.front().redo_data = std::move(entry.redo_data);
		return;
	}
	is_last_repeatable_ = is_repeatable;
	undo_entries_.push_front(std::move(entry));
	redo_entries_.clear();
}

// The host calls back before it moves the entry, and with a copy of the data.
void HistoryDouble::undo()
{
	if (undo_entries_.empty() || !is_enabled_)
		return;
	is_last_repeatable_ = false;
	const Entry entry = undo_entries_.front();
	entry.undo(std::string(entry.undo_data).c_str());
	redo_entries_.push_front(entry);
	undo_entries_.pop_front();
}

void HistoryDouble::redo()
{
	if (redo_entries_.empty() || !is_enabled_)
		return;
	is_last_repeatable_ = false;
	const Entry entry = redo_entries_.front();
	entry.redo(std::string(entry.redo_data).c_str());
	undo_entries_.push_front(entry);
	redo_entries_.pop_front();
}

void HistoryDouble::enable()
{
	is_enabled_ = true;
	is_last_repeatable_ = false;
}

void HistoryDouble::clear()
{
	undo_entries_.clear();
	redo_entries_.clear();
	is_last_repeatable_ = false;
}

void HistoryDouble::pass_time(int milliseconds)
{
	time_since_repeatable_ms_ += milliseconds;
	if (time_since_repeatable_ms_ >= repeat_interval_ms)
		is_last_repeatable_ = false;
}

HistoryDouble &history_double()
{
	static HistoryDouble &instance = *new HistoryDouble;
	return instance;
}

} // namespace kalvio::test

using kalvio::test::history_double;
using kalvio::test::HistoryDouble;

// The header of an older host lacks it.
extern "C" {
EXPORT void obs_frontend_add_undo_redo_action(const char *name, HistoryDouble::Callback undo,
					      HistoryDouble::Callback redo, const char *undo_data,
					      const char *redo_data, bool repeatable);
}

void obs_frontend_add_undo_redo_action(const char *name, HistoryDouble::Callback undo, HistoryDouble::Callback redo,
				       const char *undo_data, const char *redo_data, bool repeatable)
{
	history_double().add({name, undo_data, redo_data, undo, redo}, repeatable);
}

void obs_frontend_save(void)
{
	HistoryDouble &history = history_double();
	++history.saves;
	history.saves_while_forbidden += !history.is_saving_allowed;
}
