// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <obs.hpp>
#include <optional>
#include <string>
#include <vector>

// The live filters of the process, in order of creation; the panel finds them here. A position belongs to whatever
// filter has moved there, an id to one filter only. The list has a mutex of its own, which is never held while a filter
// is updated or its settings are read, and never together with another lock. It is never destroyed: the host may free
// filters after the module's unload. Any thread.
namespace kalvio {

// Appends `source` unless it is null or listed already; it is not referenced. Returns its id, 0 for null.
uint64_t register_filter(obs_source_t *source);

// Removes every occurrence; later entries move up.
void unregister_filter(obs_source_t *source);

// One entry per filter: the name of the source it sits on, else its own name, else "".
std::vector<std::string> registered_filter_names();

// The ids alone.
std::vector<uint64_t> registered_filter_ids();

struct RegisteredFilter {
	uint64_t id = 0;  // never given to another filter; 0 to none
	std::string name; // as above

	bool operator==(const RegisteredFilter &) const = default;
};

// The whole list at one moment, into `filters`, whose memory is used again.
void list_registered_filters(std::vector<RegisteredFilter> &filters);

// True while that list is exactly `filters`; copies no text.
bool are_registered_filters(const std::vector<RegisteredFilter> &filters);

// Merges `settings` into the filter's settings and lets it apply them. Null settings, an index out of range and a
// filter that is going away are ignored.
void update_filter_at(int index, obs_data_t *settings);

// Copies the filter's settings over `dest`. False, and `dest` untouched, when it is null, the index is out of range or
// the filter is going away.
bool read_filter_settings_at(int index, obs_data_t *dest);

// The same for the filter with this id, wherever it stands by now. Ids that are gone are ignored, or false.
void update_filter(uint64_t id, obs_data_t *settings);
bool read_filter_settings(uint64_t id, obs_data_t *dest);

// The settings that the filter has of its own, without those that only have their default, as JSON. Nothing when the id
// is gone or a value cannot be written.
std::optional<std::string> filter_settings_json(uint64_t id);

// A strong reference to the filter with this id; null when it is gone or going away.
OBSSourceAutoRelease reference_filter(uint64_t id);

// A strong reference to the source that this filter sits on; null when there is none or it is going away.
OBSSourceAutoRelease reference_parent(uint64_t id);

// The id of the first filter that sits on this source, which the caller holds; 0 without one.
uint64_t find_filter_on(const obs_source_t *source);

// update_filter_at for every filter, in order.
void update_all_filters(obs_data_t *settings);

// The host's name for the filter with this id, which it bears again after the host has removed it and brought it back.
// "" when the id is gone or the host has no such names.
std::string filter_uuid(uint64_t id);

// The id of the live filter that the host calls `uuid`, else `id` while that is alive, else 0.
uint64_t find_filter(const std::string &uuid, uint64_t id);

// Makes `settings` all that the filter has, in their order, and lets it apply them; what they lack has its default.
// Null settings and ids that are gone are ignored.
void reset_filter_settings(uint64_t id, obs_data_t *settings);

} // namespace kalvio
