// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_registry.h"

#include "filter/source_uuid.h"
#include "params/parameter_schema.h"
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
	std::vector<OBSSourceAutoRelease> spare; // empty; memory that the next listing uses again
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
// filters then leave the registry. Make it before the registry is locked.
class References {
public:
	References()
	{
		const std::lock_guard lock(registry().mutex);
		sources_.swap(registry().spare);
	}
	~References()
	{
		sources_.clear();
		const std::lock_guard lock(registry().mutex);
		sources_.swap(registry().spare);
	}
	References(const References &) = delete;
	References &operator=(const References &) = delete;

	// Null when `source` is null or going away.
	obs_source_t *hold(obs_source_t *source)
	{
		return sources_.emplace_back(source ? obs_source_get_ref(source) : nullptr);
	}

private:
	std::vector<OBSSourceAutoRelease> sources_;
};

// The name of the source that the filter sits on, else its own. Another thread may remove the filter from that source
// and free it: `held` keeps it. The text belongs to the host; good for as long as the registry is locked.
const char *display_name(obs_source_t *filter, References &held)
{
	const char *name = name_of(held.hold(obs_filter_get_parent(filter)));
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

namespace {

std::string uuid_of(const obs_source_t *filter)
{
	const char *uuid = filter ? source_uuid(filter) : nullptr;
	return uuid ? uuid : "";
}

struct ReferencedFilter {
	OBSSourceAutoRelease filter;
	uint64_t id;
};

// To be released without the lock: the last reference may take the filter out of the list.
std::vector<ReferencedFilter> reference_filters()
{
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	std::vector<ReferencedFilter> filters;
	filters.reserve(list.filters.size());
	for (const Entry &entry : list.filters)
		filters.push_back({obs_source_get_ref(entry.source), entry.id});
	return filters;
}

// The newest first: one that the host has removed may still be listed when its successor of the same name is.
uint64_t find_filter_by_uuid(const std::string &uuid)
{
	const std::vector<ReferencedFilter> filters = reference_filters();
	const auto found = std::find_if(filters.rbegin(), filters.rend(), [&uuid](const ReferencedFilter &entry) {
		return uuid_of(entry.filter) == uuid;
	});
	return found == filters.rend() ? 0 : found->id;
}

void erase_items(obs_data_t *settings)
{
	while (obs_data_item_t *item = obs_data_first(settings)) {
		const std::string name = obs_data_item_get_name(item);
		obs_data_item_release(&item);
		obs_data_erase(settings, name.c_str());
	}
}

} // namespace

std::string filter_uuid(uint64_t id)
{
	return uuid_of(reference_filter(id));
}

uint64_t find_filter(const std::string &uuid, uint64_t id)
{
	if (const uint64_t found = uuid.empty() ? 0 : find_filter_by_uuid(uuid))
		return found;
	return reference_filter(id) ? id : 0;
}

void reset_filter_settings(uint64_t id, obs_data_t *settings)
{
	const OBSSourceAutoRelease filter = settings ? reference_filter(id) : nullptr;
	if (!filter)
		return;
	// The host's reset keeps the items, and with them the order in which they last outgrew their memory. Without
	// items it takes the order of `settings`; the defaults, which belong to the items, come first.
	const OBSDataAutoRelease current = obs_source_get_settings(filter);
	const SettingsLock lock;
	erase_items(current);
	register_defaults(current);
	obs_source_reset_settings(filter, settings);
}

} // namespace kalvio
