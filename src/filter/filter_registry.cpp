// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_registry.h"

#include "filter/source_uuid.h"
#include "host/callback_shim.h"
#include "host/settings_json.h"
#include "params/parameter_schema.h"
#include "params/settings_lock.h"

#include <algorithm>
#include <atomic>
#include <forward_list>
#include <memory>
#include <mutex>
#include <obs.hpp>

namespace kalvio {

namespace {

// libobs frees a filter's reference counts with its last reference, but the filter stays listed until libobs destroys
// it. The weak reference keeps the counts alive, so that obs_source_get_ref can fail safely.
struct Entry {
	obs_source_t *source;
	uint64_t id;
	OBSWeakSourceAutoRelease weak_source;

	// The source that the filter sat on when it was last looked up.
	const obs_source_t *parent_address = nullptr;
	OBSWeakSourceAutoRelease weak_parent = nullptr;
};

// A listed filter at one moment. The host keeps the address of the source that a filter sits on until the filter has
// left it, which may be after the source's reference counts were freed: the address is only compared.
struct HeldFilter {
	uint64_t id;
	const obs_source_t *parent_address;
	OBSSourceAutoRelease parent; // null when there is none or it is going away
	const char *name;            // of the source that the filter sits on, else its own, else ""
};

using HeldFilters = std::vector<HeldFilter>;

struct Registry {
	std::mutex mutex;
	std::vector<Entry> filters;
	uint64_t last_id = 0;
	std::atomic<HeldFilters *> spare = nullptr; // empty; memory that the next listing uses again
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
	// Nothing read must not pass for all at its default: the reader would write the defaults back.
	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	if (!settings)
		return false;
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

// Null unless the filter still sits where it sat when it was last looked up.
OBSSourceAutoRelease reference_known_parent(const Entry &entry, const obs_source_t *parent_address)
{
	const bool is_known = parent_address && parent_address == entry.parent_address;
	return is_known ? obs_weak_source_get_source(entry.weak_parent) : nullptr;
}

// For obs_enum_all_sources, which holds a reference to each source that it shows.
bool hold_if_parent(void *data, obs_source_t *source)
{
	for (HeldFilter &held : *static_cast<HeldFilters *>(data)) {
		if (held.parent_address == source && !held.parent)
			held.parent = obs_source_get_ref(source);
	}
	return true;
}

// Both lists are in the order of their ids.
void remember_parents(std::vector<Entry> &entries, const HeldFilters &filters)
{
	auto entry = entries.begin();
	for (const HeldFilter &held : filters) {
		entry = std::ranges::lower_bound(entry, entries.end(), held.id, {}, &Entry::id);
		if (entry == entries.end())
			return;
		if (entry->id != held.id || !held.parent)
			continue;
		entry->parent_address = held.parent_address;
		entry->weak_parent = obs_source_get_weak_source(held.parent);
	}
}

// All filters at one moment, held together with the sources that they sit on. To be made and destroyed without the
// registry's lock: the last reference to a source destroys it, and its filters then leave the registry. The host's
// sources are searched only where a filter has come to another one since the last listing.
class Listing {
public:
	Listing() : filters_(registry().spare.exchange(nullptr))
	{
		if (!filters_)
			filters_ = std::make_unique<HeldFilters>();
		{
			Registry &list = registry();
			const std::lock_guard lock(list.mutex);
			filters_->reserve(list.filters.size());
			for (const Entry &entry : list.filters)
				hold(entry);
		}
		if (lacks_parents_)
			find_parents();
	}
	~Listing()
	{
		filters_->clear();
		filters_.reset(registry().spare.exchange(filters_.release()));
	}
	Listing(const Listing &) = delete;
	Listing &operator=(const Listing &) = delete;

	const HeldFilters &filters() const { return *filters_; }

private:
	// With the registry's lock: what is listed is not freed, but its name may be gone with the lock.
	void hold(const Entry &entry)
	{
		const obs_source_t *parent_address = obs_filter_get_parent(entry.source);
		OBSSourceAutoRelease parent = reference_known_parent(entry, parent_address);
		lacks_parents_ |= parent_address && !parent;
		const char *name = name_of(parent);
		if (!*name)
			name = own_names_.emplace_front(name_of(entry.source)).c_str();
		filters_->push_back({entry.id, parent_address, std::move(parent), name});
	}

	void find_parents()
	{
		obs_enum_all_sources(Shim<hold_if_parent>::call, filters_.get());
		for (HeldFilter &held : *filters_) {
			if (const char *name = name_of(held.parent); *name)
				held.name = name;
		}
		const std::lock_guard lock(registry().mutex);
		remember_parents(registry().filters, *filters_);
	}

	std::unique_ptr<HeldFilters> filters_;     // from the registry, and back to it
	std::forward_list<std::string> own_names_; // those that are shown
	bool lacks_parents_ = false;
};

} // namespace

OBSSourceAutoRelease reference_filter(uint64_t id)
{
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	const auto entry = std::ranges::find(list.filters, id, &Entry::id);
	return entry == list.filters.end() ? nullptr : obs_source_get_ref(entry->source);
}

OBSSourceAutoRelease reference_parent(uint64_t id)
{
	const Listing listing;
	const auto held = std::ranges::find(listing.filters(), id, &HeldFilter::id);
	const bool has_parent = held != listing.filters().end() && held->parent;
	return has_parent ? obs_source_get_ref(held->parent) : nullptr;
}

uint64_t find_filter_on(const obs_source_t *source)
{
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	const auto entry = std::ranges::find_if(list.filters, [source](const Entry &listed) {
		return source && obs_filter_get_parent(listed.source) == source;
	});
	return entry == list.filters.end() ? 0 : entry->id;
}

uint64_t register_filter(obs_source_t *source)
{
	if (!source)
		return 0;
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	const auto entry = std::ranges::find(list.filters, source, &Entry::source);
	if (entry != list.filters.end())
		return entry->id;
	list.filters.push_back({source, ++list.last_id, obs_source_get_weak_source(source)});
	return list.last_id;
}

void unregister_filter(obs_source_t *source)
{
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	std::erase_if(list.filters, [source](const Entry &entry) { return entry.source == source; });
}

std::vector<std::string> registered_filter_names()
{
	const Listing listing;
	std::vector<std::string> names;
	names.reserve(listing.filters().size());
	for (const HeldFilter &held : listing.filters())
		names.emplace_back(held.name);
	return names;
}

std::vector<uint64_t> registered_filter_ids()
{
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	std::vector<uint64_t> ids(list.filters.size());
	std::ranges::transform(list.filters, ids.begin(), &Entry::id);
	return ids;
}

void list_registered_filters(std::vector<RegisteredFilter> &filters)
{
	const Listing listing;
	filters.resize(listing.filters().size());
	for (size_t index = 0; index < filters.size(); ++index) {
		filters[index].id = listing.filters()[index].id;
		filters[index].name = listing.filters()[index].name;
	}
}

bool are_registered_filters(const std::vector<RegisteredFilter> &filters)
{
	const Listing listing;
	return std::ranges::equal(listing.filters(), filters,
				  [](const HeldFilter &held, const RegisteredFilter &known) {
					  return held.id == known.id && known.name == held.name;
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

std::optional<std::string> filter_settings_json(uint64_t id)
{
	const OBSSourceAutoRelease filter = reference_filter(id);
	if (!filter)
		return {};
	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	const SettingsLock lock;
	return settings_json(settings);
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
