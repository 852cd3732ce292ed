// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/model/frontend_undo.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

// What the user does in the panel, as entries of the host's undo history. An entry holds the settings of the filters
// concerned before and after, as JSON. User-interface thread; knows no widget.
namespace kalvio {

// What a change is called in the host's Edit menu. Keys of translate() with static storage.
struct ChangeLabel {
	const char *caption_key = nullptr; // null: nobody did it by hand, and there is no entry
	const char *section_key = nullptr; // what the caption belongs to, where it does not say so itself
	bool is_step = false;              // one step of a run on one control: keys, the wheel
};

// "Kalvio: ", the section if there is one, the caption, in the current language.
std::string change_name(const ChangeLabel &label);

// What the panel drives.
struct PanelSelection {
	bool apply_global = false;
	uint64_t filter_id = 0; // of the one filter that is chosen; 0: none
	std::string filter_uuid;
};

// A filter at one moment.
struct FilterState {
	uint64_t id = 0;
	std::string uuid;     // "" where the host has none
	std::string settings; // JSON, without what only has its default
};

// The change that is being made: from before its first write to after its last. While a control is held, all writes
// are one change.
struct ChangeRecord {
	ChangeLabel label;
	bool is_held = false;
	std::vector<FilterState> before; // empty: nothing was written yet
	std::optional<PanelSelection> selection_before;

	// Of the last entry, if it was a step of a run.
	std::string last_step_name;
	std::string last_step_redo_data;
};

// Before the filters `ids` are written: keeps their settings, unless the change has them already.
void record_before(ChangeRecord &record, std::span<const uint64_t> ids);

// After the last write: adds an entry if the change has a label and made a difference. `selection_after` goes with
// `selection_before`. Returns whether there was a difference.
bool finish_change(ChangeRecord &record, UndoCallback restore,
		   const std::optional<PanelSelection> &selection_after = {});

// What was recorded is no longer the state before the next write. A control that is held stays so.
void forget_change(ChangeRecord &record);

// What an entry's data asks of the panel.
struct RestoredChange {
	std::optional<PanelSelection> selection;
};

// Gives every filter of the data that is still there, or there again, exactly the settings that it had. Null, damaged
// and foreign data changes nothing and gives no result.
std::optional<RestoredChange> restore_change(const char *data);

} // namespace kalvio
