// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "filter/engine_capabilities.h"
#include "filter/filter_registry.h"
#include "panel/model/save_request.h"
#include "panel/model/undo_history.h"
#include "params/parameter_schema.h"
#include "update/update_check.h"

#include <functional>
#include <string>
#include <vector>

// Which filters the panel drives, and how its parameters travel to and from them. User-interface thread; knows no
// widget.
//
// The panel always writes the whole set, so the one thing that must never happen is that it writes before it has read:
// a filter that comes with settings of its own (host start, another scene collection) is read first, and values that
// were meant for one filter never go to another that has taken its place.
namespace kalvio {

struct PanelModel {
	ParameterSet parameters;                 // what the controls show and edit; outlives every control
	std::vector<RegisteredFilter> filters;   // as of the last poll
	std::vector<std::string> names;          // one a filter, made unique; "" for a nameless one
	std::string followed_source;             // the last one that was selected in the host's Sources dock
	int selected_index = 0;                  // position in `names`; ignored while all are driven
	bool pending_push = false;               // the parameters must be written to the targets
	ChangeLabel pending_label;               // of what waits
	ChangeRecord change;                     // what is being written, for the host's undo history
	SaveRequest save;                        // what is written and not yet saved by the host
	bool changed = true;                     // the controls must be refreshed
	bool values_loaded = false;              // the parameters come from one of `filters`
	bool filters_loading = false;            // between begin_loading_filters and end_loading_filters
	UpdateStatus update;                     // as of the last poll
	int32_t capabilities = all_capabilities; // of the engine, a sum of kl_capability; as of the last poll
	std::string status_text;                 // translated
	std::function<void()> refresh;           // brings the controls in line with `changed`; empty without a panel
};

// The one record of the process; never destroyed. Whether all filters are driven is ui_preferences().apply_global.
PanelModel &panel_model();

// Brings the record up to date with the registry and the update service, loads or pushes values where the list of
// filters changed, saves preferences that changed, writes what is pending, and has the host save in its time.
void poll_targets();

// Reads and clears `changed`.
bool take_changed();

// The host is about to load filters with their saved settings, or has done so. In between nothing is written, and what
// the panel shows afterwards was read from the filters. What is pending is written before the old filters go, and the
// host saves it with them.
void begin_loading_filters();
void end_loading_filters();

// Loads the parameters from filter `index` of the last poll and sets `changed`. False when it is gone: the parameters
// stay as they are and are written nowhere until a filter has been loaded.
bool sync_from_filter(int index);

// Writes the whole set to the target filter, or to all, if a push is pending. The one place that writes: what has a
// label becomes an entry of the host's undo history, at once or when the control is let go.
void push_pending();

// What every control does after it wrote its field: sets the flag and pushes at once.
void pushParameters(const ChangeLabel &label = {});

// For a control that pushes with the next poll: sets the flag alone.
void push_later(const ChangeLabel &label);

// The user takes hold of a control and lets it go: what is written in between is one change, and is saved after it.
void hold_control(const ChangeLabel &label);
void release_control();

// Has the host save at once what it would save a little later; not while a control is held or filters are loaded.
void save_changes_now();

// Follows a change of `apply_global` or `selected_index` by the user from the values given.
void select_target(bool previous_apply_global, int previous_index);

// The user selected this source in the host: if a filter sits on it, the panel drives the first such filter, as if it
// had been chosen in the panel. Not while filters are loaded.
void select_filter_on(const obs_source_t *source);

// Somebody else switched the effects of filters on or off: the live toggle shows what the shown filter has, and the
// next write of the whole set leaves it so. A change of the toggle that waits to be written wins.
void follow_switched_effects();

// Every effect parameter back to its default, "enabled" excepted, and pushed.
void reset_all_parameters();

// False without a filter and while a forced update pauses the effects.
bool controls_enabled();

} // namespace kalvio
