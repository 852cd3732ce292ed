// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/undo_history.h"

#include "filter/filter_registry.h"
#include "panel/text/translations.h"

#include <algorithm>
#include <obs.hpp>
#include <utility>

namespace kalvio {

namespace {

// The data of an entry is an object with these keys. Filters that have the same settings share one object of
// "settings": with all sources driven that is most of them.
constexpr const char *data_key = "kalvio_change";
constexpr int data_version = 1;

bool is_uuid_letter(char letter)
{
	return (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'f') ||
	       (letter >= 'A' && letter <= 'F') || letter == '-';
}

// The host's names are written into JSON as they are.
std::string plain_uuid(std::string uuid)
{
	return std::ranges::all_of(uuid, is_uuid_letter) ? uuid : std::string();
}

// False when the filter is gone, or has a value that cannot be written down.
bool read_state(uint64_t id, FilterState &state)
{
	std::optional<std::string> settings = filter_settings_json(id);
	if (!settings)
		return false;
	state = {id, plain_uuid(filter_uuid(id)), std::move(*settings)};
	return true;
}

bool has_state(const std::vector<FilterState> &states, uint64_t id)
{
	return std::ranges::find(states, id, &FilterState::id) != states.end();
}

// The same filters now. Those that are gone since are left out of both.
std::vector<FilterState> read_after(std::vector<FilterState> &before)
{
	std::vector<FilterState> after;
	after.reserve(before.size());
	std::erase_if(before, [&after](const FilterState &known) {
		FilterState state;
		if (!read_state(known.id, state))
			return true;
		after.push_back(std::move(state));
		return false;
	});
	return after;
}

std::string filter_reference(uint64_t id, const std::string &uuid)
{
	return R"("id":)" + std::to_string(id) + R"(,"uuid":")" + uuid + '"';
}

std::string selection_json(const PanelSelection &selection)
{
	return std::string("{\"all\":") + (selection.apply_global ? "true," : "false,") +
	       filter_reference(selection.filter_id, selection.filter_uuid) + "}";
}

std::string change_json(const std::vector<FilterState> &states, const std::optional<PanelSelection> &selection)
{
	std::vector<const std::string *> settings;
	std::string filters_json;
	std::string settings_json;
	for (const FilterState &state : states) {
		auto shared = std::ranges::find_if(
			settings, [&state](const std::string *known) { return *known == state.settings; });
		if (shared == settings.end()) {
			settings_json += (settings.empty() ? "" : ",") + state.settings;
			shared = settings.insert(settings.end(), &state.settings);
		}
		filters_json += std::string(filters_json.empty() ? "{" : ",{") +
				filter_reference(state.id, state.uuid) +
				",\"settings\":" + std::to_string(shared - settings.begin()) + "}";
	}
	std::string json = std::string("{\"") + data_key + "\":" + std::to_string(data_version) + ",\"filters\":[" +
			   filters_json + "],\"settings\":[" + settings_json + "]";
	if (selection)
		json += ",\"selection\":" + selection_json(*selection);
	return json + "}";
}

// The host joins steps by their name alone. Two that do not follow one from the other must stay apart: the joined
// entry would undo the first and redo the last.
bool may_join(const ChangeRecord &record, const std::string &name, const std::string &undo_data)
{
	return record.last_step_name != name || record.last_step_redo_data == undo_data;
}

void add_entry(ChangeRecord &record, UndoCallback restore, const std::string &undo_data, const std::string &redo_data)
{
	const std::string name = change_name(record.label);
	const bool is_step = record.label.is_step && !record.is_held;
	const bool is_repeatable = is_step && may_join(record, name, undo_data);
	add_frontend_undo(name.c_str(), restore, undo_data.c_str(), redo_data.c_str(), is_repeatable);
	record.last_step_name = is_step ? name : std::string();
	record.last_step_redo_data = is_step ? redo_data : std::string();
}

struct FilterReset {
	uint64_t id;
	OBSDataAutoRelease settings;
};

uint64_t find_referenced_filter(obs_data_t *reference)
{
	const long long id = obs_data_get_int(reference, "id");
	return find_filter(obs_data_get_string(reference, "uuid"), id > 0 ? static_cast<uint64_t>(id) : 0);
}

// The number of the filter's settings among those of the data; -1 where there is none.
long long settings_index(obs_data_t *filter)
{
	obs_data_item_t *item = obs_data_item_byname(filter, "settings");
	const bool is_number = item && obs_data_item_gettype(item) == OBS_DATA_NUMBER;
	const long long index = is_number ? obs_data_item_get_int(item) : -1;
	obs_data_item_release(&item);
	return index;
}

// False unless every filter of the data names one of its settings.
bool read_resets(obs_data_t *data, std::vector<FilterReset> &resets)
{
	const OBSDataArrayAutoRelease filters = obs_data_get_array(data, "filters");
	const OBSDataArrayAutoRelease settings = obs_data_get_array(data, "settings");
	if (!filters || !settings)
		return false;
	const auto settings_count = static_cast<long long>(obs_data_array_count(settings));
	for (size_t i = 0; i < obs_data_array_count(filters); ++i) {
		const OBSDataAutoRelease filter = obs_data_array_item(filters, i);
		const long long index = settings_index(filter);
		if (index < 0 || index >= settings_count)
			return false;
		resets.push_back(
			{find_referenced_filter(filter), obs_data_array_item(settings, static_cast<size_t>(index))});
	}
	return true;
}

std::optional<PanelSelection> read_selection(obs_data_t *data)
{
	const OBSDataAutoRelease selection = obs_data_get_obj(data, "selection");
	if (!selection)
		return {};
	return PanelSelection{obs_data_get_bool(selection, "all"), find_referenced_filter(selection),
			      obs_data_get_string(selection, "uuid")};
}

} // namespace

std::string change_name(const ChangeLabel &label)
{
	std::string name = "Kalvio: ";
	if (label.section_key)
		name += std::string(translate(label.section_key)) + ": ";
	return name + translate(label.caption_key);
}

void record_before(ChangeRecord &record, std::span<const uint64_t> ids)
{
	for (const uint64_t id : ids) {
		FilterState state;
		if (!has_state(record.before, id) && read_state(id, state))
			record.before.push_back(std::move(state));
	}
}

bool finish_change(ChangeRecord &record, UndoCallback restore, const std::optional<PanelSelection> &selection_after)
{
	std::vector<FilterState> before = std::exchange(record.before, {});
	const std::optional<PanelSelection> selection_before = std::exchange(record.selection_before, {});
	const std::vector<FilterState> after = read_after(before);
	if (before.empty())
		return false;
	const std::string undo_data = change_json(before, selection_before);
	const std::string redo_data = change_json(after, selection_after);
	if (undo_data == redo_data)
		return false;
	if (record.label.caption_key)
		add_entry(record, restore, undo_data, redo_data);
	return true;
}

void forget_change(ChangeRecord &record)
{
	record.before.clear();
	record.selection_before.reset();
	record.last_step_name.clear();
	record.last_step_redo_data.clear();
}

std::optional<RestoredChange> restore_change(const char *data)
{
	const OBSDataAutoRelease change = data ? obs_data_create_from_json(data) : nullptr;
	std::vector<FilterReset> resets;
	if (!change || obs_data_get_int(change, data_key) != data_version || !read_resets(change, resets))
		return {};
	for (const FilterReset &reset : resets)
		reset_filter_settings(reset.id, reset.settings);
	return RestoredChange{read_selection(change)};
}

} // namespace kalvio
