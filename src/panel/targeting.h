// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "params/parameter_schema.h"
#include "update/update_check.h"

#include <string>
#include <vector>

// Which filters the panel drives, and how its parameters travel to and from them. User-interface thread; knows no
// widget.
namespace kalvio {

inline constexpr int never_polled = -1;

struct Targeting {
	ParameterSet parameters;        // what the controls show and edit; outlives every control
	std::vector<std::string> names; // the registered filters, made unique; "" for a nameless one
	int selected_index = 0;         // position in `names`; ignored while all are driven
	int previous_count = never_polled;
	bool pending_push = false; // the parameters must be written to the targets
	bool changed = false;      // the controls must be refreshed
	bool values_loaded = false;
	UpdateStatus update;     // as of the last poll
	std::string status_text; // translated
	std::string names_signature;
	std::string status_signature;
};

// The one record of the process; never destroyed. Whether all filters are driven is ui_preferences().apply_global.
Targeting &targeting();

// Brings the record up to date with the registry and the update service, loads or pushes values where the list of
// filters changed, saves preferences that changed, and writes what is pending.
void poll_targets();

// Reads and clears `changed`.
bool take_changed();

// Loads the parameters from filter `index` and sets `changed`. False, and nothing changed, when it is gone.
bool sync_from_filter(int index);

// Writes the whole set to the target filter, or to all, if a push is pending.
void push_pending();

// What every control does after it wrote its field: sets the flag and pushes at once.
void push_change();

// Follows a change of `apply_global` or `selected_index` by the user from the values given.
void select_target(bool previous_apply_global, int previous_index);

// Every effect parameter back to its default, "enabled" excepted, and pushed.
void reset_all_parameters();

// False without a filter and while a forced update pauses the effects.
bool controls_enabled();

} // namespace kalvio
