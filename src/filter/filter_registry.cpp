// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_registry.h"

#include "params/settings_lock.h"

#include <algorithm>
#include <mutex>
#include <obs.hpp>

namespace kalvio {

namespace {

// The host's count of a filter's references goes with the last one, but the filter stays listed until the host gets
// round to destroying it. The weak reference keeps the count, so that obs_source_get_ref can still read it and refuse.
struct Entry {
	obs_source_t *source;
	uint64_t id;
	OBSWeakSourceAutoRelease weak_source;
};

struct Registry {
	std::mutex mutex;
	std::vector<Entry> filters;
	uint64_t last_id = 0;
};

Registry &registry()
{
	static Registry &instance = *new Registry;
	return instance;
}

// A strong reference to the filter at `index`; null when there is none or it is going away.
OBSSourceAutoRelease reference_filter_at(int index)
{
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	if (index < 0 || static_cast<size_t>(index) >= list.filters.size())
		return nullptr;
	return obs_source_get_ref(list.filters[static_cast<size_t>(index)].source);
}

OBSSourceAutoRelease reference_filter(uint64_t id)
{
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	const auto entry = std::ranges::find(list.filters, id, &Entry::id);
	return entry == list.filters.end() ? nullptr : obs_source_get_ref(entry->source);
}

void update(obs_source_t *filter, obs_data_t *settings)
{
	if (!filter)
		return;
	const SettingsLock lock;
	obs_source_update(filter, settings);
}

bool read_settings(obs_source_t *filter, obs_data_t *dest)
{
	if (!filter)
		return false;
	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	const SettingsLock lock;
	obs_data_apply(dest, settings);
	return true;
}

// "" for what is null or has none.
const char *name_of(obs_source_t *source)
{
	const char *name = source ? obs_source_get_name(source) : nullptr;
	return name ? name : "";
}

// References that are released when the registry is unlocked again: the last one to a source destroys it, and its
// filters then leave the registry.
using References = std::vector<OBSSourceAutoRelease>;

// The name of the source that the filter sits on, else its own. Another thread may remove the filter from that source
// and free it: `held` keeps it. The text belongs to the host; good for as long as the registry is locked.
const char *display_name(obs_source_t *filter, References &held)
{
	obs_source_t *parent = obs_filter_get_parent(filter);
	held.emplace_back(parent ? obs_source_get_ref(parent) : nullptr);
	const char *name = name_of(held.back());
	return *name ? name : name_of(filter);
}

} // namespace

void register_filter(obs_source_t *source)
{
	if (!source)
		return;
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	if (std::ranges::find(list.filters, source, &Entry::source) == list.filters.end())
		list.filters.push_back({source, ++list.last_id, obs_source_get_weak_source(source)});
}

void unregister_filter(obs_source_t *source)
{
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	std::erase_if(list.filters, [source](const Entry &entry) { return entry.source == source; });
}

std::vector<std::string> registered_filter_names()
{
	References held;
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	std::vector<std::string> names;
	names.reserve(list.filters.size());
	for (const Entry &entry : list.filters)
		names.emplace_back(display_name(entry.source, held));
	return names;
}

void list_registered_filters(std::vector<RegisteredFilter> &filters)
{
	References held;
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	filters.resize(list.filters.size());
	for (size_t index = 0; index < filters.size(); ++index) {
		filters[index].id = list.filters[index].id;
		filters[index].name = display_name(list.filters[index].source, held);
	}
}

bool are_registered_filters(const std::vector<RegisteredFilter> &filters)
{
	References held;
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	return std::ranges::equal(list.filters, filters, [&held](const Entry &entry, const RegisteredFilter &known) {
		return entry.id == known.id && known.name == display_name(entry.source, held);
	});
}

void update_filter_at(int index, obs_data_t *settings)
{
	if (settings)
		update(reference_filter_at(index), settings);
}

bool read_filter_settings_at(int index, obs_data_t *dest)
{
	return dest && read_settings(reference_filter_at(index), dest);
}

void update_filter(uint64_t id, obs_data_t *settings)
{
	if (settings)
		update(reference_filter(id), settings);
}

bool read_filter_settings(uint64_t id, obs_data_t *dest)
{
	return dest && read_settings(reference_filter(id), dest);
}

void update_all_filters(obs_data_t *settings)
{
	if (!settings)
		return;

	std::vector<OBSSourceAutoRelease> filters;
	{
		Registry &list = registry();
		const std::lock_guard lock(list.mutex);
		filters.reserve(list.filters.size());
		for (const Entry &entry : list.filters) {
			OBSSourceAutoRelease filter = obs_source_get_ref(entry.source);
			if (filter)
				filters.push_back(std::move(filter));
		}
	}
	// Each reference goes right after its update, in order.
	for (OBSSourceAutoRelease &filter : filters) {
		update(filter, settings);
		filter = nullptr;
	}
}

} // namespace kalvio
