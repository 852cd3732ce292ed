// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/panel_model.h"

#include "host/callback_shim.h"
#include "panel/model/ui_preferences.h"
#include "panel/text/translations.h"

#include <algorithm>
#include <obs.hpp>
#include <optional>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace kalvio {

namespace {

using Filters = std::vector<RegisteredFilter>;

// Adds " (2)", " (3)", ... to names that are taken. Numbers only grow, so each name is tried from where its last
// namesake ended and the whole stays linear for a thousand sources of one name.
std::vector<std::string> unique_names(const Filters &filters)
{
	std::vector<std::string> names;
	names.reserve(filters.size());
	std::unordered_set<std::string> taken;
	std::unordered_map<std::string_view, int> next_number;
	for (const RegisteredFilter &filter : filters) {
		std::string name = filter.name;
		if (taken.contains(name)) {
			int &number = next_number.try_emplace(filter.name, 2).first->second;
			do
				name = filter.name + " (" + std::to_string(number++) + ")";
			while (taken.contains(name));
		}
		taken.insert(name);
		names.push_back(std::move(name));
	}
	return names;
}

bool have_same_ids(const Filters &left, const Filters &right)
{
	return std::ranges::equal(left, right, {}, &RegisteredFilter::id, &RegisteredFilter::id);
}

// Ids only grow along the list.
bool have_common_id(const Filters &left, const Filters &right)
{
	return std::ranges::any_of(left, [&right](const RegisteredFilter &filter) {
		return std::ranges::binary_search(right, filter.id, {}, &RegisteredFilter::id);
	});
}

int clamp_index(int index, size_t count)
{
	return count == 0 ? 0 : std::clamp(index, 0, static_cast<int>(count) - 1);
}

int shown_index(const PanelModel &state)
{
	return ui_preferences().apply_global ? 0 : state.selected_index;
}

// Where the panel's filters are now is decided by their ids, never by their number or names: what took the place of
// another may bear its name and have values of its own.

// Values that wait for one filter reach that filter before the list under them changes, and no other.
void settle_single_push()
{
	if (!ui_preferences().apply_global)
		push_pending();
}

// Loads, or leaves to be pushed, what the change from `before` to the current list asks for. True when values were
// loaded.
bool follow_list(PanelModel &state, const Filters &before)
{
	const bool is_new_list =
		state.filters_loading || !state.values_loaded || !have_common_id(before, state.filters);
	const bool has_grown = before.size() < state.filters.size();
	if (is_new_list) {
		state.pending_push = false;
		state.values_loaded = false;
	} else if (ui_preferences().apply_global && has_grown) {
		state.pending_push = true;
	}
	return !state.filters.empty() && !state.pending_push && sync_from_filter(shown_index(state));
}

// The first steps of a poll: list, names, and the values of a list that changed.
void follow_registry(PanelModel &state)
{
	state.selected_index = clamp_index(state.selected_index, state.filters.size());
	if (are_registered_filters(state.filters)) {
		if (!state.values_loaded)
			follow_list(state, state.filters);
		return;
	}

	Filters current;
	list_registered_filters(current);
	const bool is_other_list = !have_same_ids(state.filters, current);
	if (is_other_list)
		settle_single_push();
	std::swap(state.filters, current);
	state.names = unique_names(state.filters);
	state.changed = true;
	state.selected_index = clamp_index(state.selected_index, state.filters.size());
	if (is_other_list || !state.values_loaded)
		follow_list(state, current);
}

// False when the filters that the panel knew have all been replaced since the last poll. `ids` are those of now.
bool has_known_filter(const PanelModel &state, const std::vector<uint64_t> &ids)
{
	return std::ranges::any_of(state.filters, [&ids](const RegisteredFilter &filter) {
		return std::ranges::binary_search(ids, filter.id);
	});
}

bool is_same(const UpdateStatus &left, const UpdateStatus &right)
{
	const auto fields = [](const UpdateStatus &status) {
		return std::tie(status.forced, status.soft, status.latest, status.notes);
	};
	return fields(left) == fields(right);
}

void follow_update_service(PanelModel &state)
{
	start_update_check_if_due();
	UpdateStatus status = update_status();
	if (is_same(status, state.update))
		return;
	state.update = std::move(status);
	state.changed = true;
}

// The filters that a push writes.
std::vector<uint64_t> push_targets(const PanelModel &state)
{
	if (ui_preferences().apply_global) {
		std::vector<uint64_t> ids = registered_filter_ids();
		return has_known_filter(state, ids) ? ids : std::vector<uint64_t>();
	}
	const auto selected = static_cast<size_t>(state.selected_index);
	if (selected >= state.filters.size())
		return {};
	return {state.filters[selected].id};
}

PanelSelection selection_of(const PanelModel &state, bool apply_global, int index)
{
	const auto position = static_cast<size_t>(index);
	const uint64_t id = index >= 0 && position < state.filters.size() ? state.filters[position].id : 0;
	return {apply_global, id, filter_uuid(id)};
}

// A filter that is not in the list, or not yet, leaves the choice as it is.
void follow_selection(PanelModel &state, const PanelSelection &selection)
{
	ui_preferences().apply_global = selection.apply_global;
	ui_preferences().dirty = true;
	const auto chosen = std::ranges::find(state.filters, selection.filter_id, &RegisteredFilter::id);
	if (chosen != state.filters.end())
		state.selected_index = static_cast<int>(chosen - state.filters.begin());
}

// The user undoes or redoes a change: the controls follow it at once, and what they still wanted to write is void.
void undo_or_redo(const char *data)
{
	PanelModel &state = panel_model();
	if (state.filters_loading)
		return;
	const std::optional<RestoredChange> restored = restore_change(data);
	if (!restored)
		return;
	state.pending_push = false;
	forget_change(state.change);
	if (restored->selection)
		follow_selection(state, *restored->selection);
	request_save(state.save);
	sync_from_filter(shown_index(state));
	state.changed = true;
	if (state.refresh)
		state.refresh();
}

// After a write that was recorded: while a control is held the change goes on.
void end_change(PanelModel &state, const std::optional<PanelSelection> &selection = {})
{
	if (finish_change(state.change, Shim<undo_or_redo>::call, selection))
		request_save(state.save);
}

void save_preferences_if_dirty()
{
	UiPreferences &preferences = ui_preferences();
	if (!std::exchange(preferences.dirty, false))
		return;
	save_ui_prefs();
}

// An engine is made when a filter first needs one, with whatever data is there by then.
void follow_engine(PanelModel &state)
{
	const int32_t capabilities = latest_engine_capabilities();
	if (std::exchange(state.capabilities, capabilities) != capabilities)
		state.changed = true;
}

} // namespace

PanelModel &panel_model()
{
	static PanelModel &instance = *new PanelModel;
	return instance;
}

void poll_targets()
{
	PanelModel &state = panel_model();
	follow_registry(state);
	state.status_text = translate(state.filters.empty() ? "obs.noFilter" : "console.live");
	follow_update_service(state);
	follow_engine(state);
	save_preferences_if_dirty();
	push_pending();
	if (!state.filters_loading)
		poll_save(state.save, state.change.is_held);
}

bool take_changed()
{
	return std::exchange(panel_model().changed, false);
}

void begin_loading_filters()
{
	PanelModel &state = panel_model();
	state.pending_label = {}; // too late for an entry of its own
	push_pending();
	forget_change(state.change);
	state.save = {};
	state.filters_loading = true;
	state.values_loaded = false;
}

void end_loading_filters()
{
	PanelModel &state = panel_model();
	state.filters_loading = false;
	state.values_loaded = false;
	follow_registry(state);
}

bool sync_from_filter(int index)
{
	PanelModel &state = panel_model();
	state.values_loaded = false;
	if (index < 0 || static_cast<size_t>(index) >= state.filters.size())
		return false;
	const OBSDataAutoRelease settings = obs_data_create();
	register_defaults(settings);
	if (!read_filter_settings(state.filters[static_cast<size_t>(index)].id, settings))
		return false;
	read_parameters(settings, state.parameters);
	state.values_loaded = true;
	state.changed = true;
	return true;
}

void push_pending()
{
	PanelModel &state = panel_model();
	const ChangeLabel label = std::exchange(state.pending_label, {});
	if (!std::exchange(state.pending_push, false) || state.filters_loading || !state.values_loaded)
		return;
	const std::vector<uint64_t> targets = push_targets(state);
	if (targets.empty())
		return;
	ChangeRecord &change = state.change;
	if (!change.is_held)
		change.label = label;
	// What nobody does by hand while a control is held is no part of its change.
	if (!change.is_held || label.caption_key)
		record_before(change, targets);
	const OBSDataAutoRelease settings = obs_data_create();
	write_parameters(state.parameters, settings);
	if (ui_preferences().apply_global)
		update_all_filters(settings);
	else
		update_filter(targets.front(), settings);
	if (change.is_held)
		return;
	std::optional<PanelSelection> selection;
	if (change.selection_before)
		selection = selection_of(state, ui_preferences().apply_global, state.selected_index);
	end_change(state, selection);
}

void pushParameters(const ChangeLabel &label)
{
	push_later(label);
	push_pending();
}

void push_later(const ChangeLabel &label)
{
	panel_model().pending_push = true;
	panel_model().pending_label = label;
}

void hold_control(const ChangeLabel &label)
{
	PanelModel &state = panel_model();
	push_pending();
	release_control();
	state.change.label = label;
	state.change.is_held = true;
}

void release_control()
{
	PanelModel &state = panel_model();
	if (!state.change.is_held)
		return;
	end_change(state);
	state.change.is_held = false;
}

void save_changes_now()
{
	PanelModel &state = panel_model();
	if (!state.filters_loading && !state.change.is_held)
		save_now(state.save);
}

void select_target(bool previous_apply_global, int previous_index)
{
	PanelModel &state = panel_model();
	UiPreferences &preferences = ui_preferences();
	if (preferences.apply_global != previous_apply_global) {
		preferences.dirty = true;
		if (preferences.apply_global) {
			state.change.selection_before = selection_of(state, previous_apply_global, previous_index);
			pushParameters({.caption_key = "obs.allSources"});
			state.change.selection_before.reset();
		} else {
			state.pending_push = false;
			sync_from_filter(state.selected_index);
		}
	} else if (!preferences.apply_global && state.selected_index != previous_index) {
		state.pending_push = false;
		sync_from_filter(state.selected_index);
	}
	save_preferences_if_dirty();
}

void select_filter_on(const obs_source_t *source)
{
	PanelModel &state = panel_model();
	if (state.filters_loading)
		return;
	const uint64_t id = find_filter_on(source);
	const auto found = std::ranges::find(state.filters, id, &RegisteredFilter::id);
	if (found == state.filters.end())
		return;
	settle_single_push();
	UiPreferences &preferences = ui_preferences();
	const bool previous_apply_global = std::exchange(preferences.apply_global, false);
	const int previous_index = std::exchange(state.selected_index, static_cast<int>(found - state.filters.begin()));
	select_target(previous_apply_global, previous_index);
}

void follow_switched_effects()
{
	PanelModel &state = panel_model();
	const auto shown = static_cast<size_t>(shown_index(state));
	if (state.pending_push || !state.values_loaded || shown >= state.filters.size())
		return;
	const OBSDataAutoRelease settings = obs_data_create();
	register_defaults(settings);
	if (!read_filter_settings(state.filters[shown].id, settings))
		return;
	state.parameters.enabled = obs_data_get_bool(settings, "enabled");
	request_save(state.save);
	state.changed = true;
	if (state.refresh)
		state.refresh();
}

void reset_all_parameters()
{
	ParameterSet &parameters = panel_model().parameters;
	const bool enabled = parameters.enabled;
	parameters = ParameterSet();
	parameters.enabled = enabled;
	pushParameters({.caption_key = "console.reset"});
}

bool controls_enabled()
{
	const PanelModel &state = panel_model();
	return !state.filters.empty() && !state.update.forced;
}

} // namespace kalvio
