// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_registry.h"

#include <algorithm>
#include <mutex>
#include <obs.hpp>

namespace kalvio {

namespace {

struct Registry {
	std::mutex mutex;
	std::vector<obs_source_t *> filters;
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
	return obs_source_get_ref(list.filters[static_cast<size_t>(index)]);
}

bool is_named(obs_source_t *source)
{
	const char *name = source ? obs_source_get_name(source) : nullptr;
	return name && *name;
}

std::string display_name(obs_source_t *filter)
{
	obs_source_t *parent = obs_filter_get_parent(filter);
	if (is_named(parent))
		return obs_source_get_name(parent);
	return is_named(filter) ? obs_source_get_name(filter) : std::string();
}

} // namespace

void register_filter(obs_source_t *source)
{
	if (!source)
		return;
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	if (std::ranges::find(list.filters, source) == list.filters.end())
		list.filters.push_back(source);
}

void unregister_filter(obs_source_t *source)
{
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	std::erase(list.filters, source);
}

std::vector<std::string> registered_filter_names()
{
	Registry &list = registry();
	const std::lock_guard lock(list.mutex);
	std::vector<std::string> names;
	names.reserve(list.filters.size());
	std::ranges::transform(list.filters, std::back_inserter(names), display_name);
	return names;
}

void update_filter_at(int index, obs_data_t *settings)
{
	if (!settings)
		return;
	const OBSSourceAutoRelease filter = reference_filter_at(index);
	if (filter)
		obs_source_update(filter, settings);
}

bool read_filter_settings_at(int index, obs_data_t *dest)
{
	if (!dest)
		return false;
	const OBSSourceAutoRelease filter = reference_filter_at(index);
	if (!filter)
		return false;
	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	obs_data_apply(dest, settings);
	return true;
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
		for (obs_source_t *listed : list.filters) {
			OBSSourceAutoRelease filter = obs_source_get_ref(listed);
			if (filter)
				filters.push_back(std::move(filter));
		}
	}
	// Each reference goes right after its update, in order.
	for (OBSSourceAutoRelease &filter : filters) {
		obs_source_update(filter, settings);
		filter = nullptr;
	}
}

} // namespace kalvio
