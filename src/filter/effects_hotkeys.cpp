// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/effects_hotkeys.h"

#include "filter/filter_registry.h"
#include "filter/panel_hooks.h"
#include "host/callback_shim.h"
#include "params/parameter_schema.h"

#include <algorithm>
#include <obs-module.h>
#include <obs.hpp>
#include <string>
#include <vector>

namespace kalvio {

namespace {

constexpr const char *enabled_key = "enabled";

// Of the host's list and of the locale files.
constexpr const char *on_key = "Kalvio.EffectsOn";
constexpr const char *off_key = "Kalvio.EffectsOff";

// Ids are small numbers, and travel as the data of the callback: the host may call for a filter that is going away.
void *as_data(uint64_t id)
{
	// NOLINTNEXTLINE(performance-no-int-to-ptr): nobody follows it
	return reinterpret_cast<void *>(static_cast<uintptr_t>(id));
}

uint64_t as_id(void *data)
{
	return reinterpret_cast<uintptr_t>(data);
}

bool has_other_state(uint64_t id, bool is_on)
{
	const OBSDataAutoRelease settings = obs_data_create();
	register_defaults(settings);
	return read_filter_settings(id, settings) && obs_data_get_bool(settings, enabled_key) != is_on;
}

std::vector<uint64_t> filters_to_switch(uint64_t id, bool is_on)
{
	std::vector<RegisteredFilter> filters;
	list_registered_filters(filters);
	std::vector<uint64_t> ids;
	for (const RegisteredFilter &filter : filters)
		if ((id == 0 || filter.id == id) && has_other_state(filter.id, is_on))
			ids.push_back(filter.id);
	return ids;
}

bool switch_on(void *data, obs_hotkey_pair_id, obs_hotkey_t *, bool is_pressed)
{
	return is_pressed && switch_effects(as_id(data), true);
}

bool switch_off(void *data, obs_hotkey_pair_id, obs_hotkey_t *, bool is_pressed)
{
	return is_pressed && switch_effects(as_id(data), false);
}

} // namespace

obs_hotkey_pair_id register_effects_hotkeys(uint64_t id)
{
	const OBSSourceAutoRelease filter = reference_filter(id);
	const OBSSourceAutoRelease source = reference_parent(id);
	if (!filter || !source)
		return OBS_INVALID_HOTKEY_PAIR_ID;
	const char *name = obs_source_get_name(filter);
	const std::string suffix = "." + filter_uuid(id);
	const std::string prefix = name ? std::string(name) + ": " : std::string();
	return obs_hotkey_pair_register_source(source, (on_key + suffix).c_str(),
					       (prefix + obs_module_text(on_key)).c_str(), (off_key + suffix).c_str(),
					       (prefix + obs_module_text(off_key)).c_str(), Shim<switch_on>::call,
					       Shim<switch_off>::call, as_data(id), as_data(id));
}

bool switch_effects(uint64_t id, bool is_on)
{
	const std::vector<uint64_t> ids = filters_to_switch(id, is_on);
	if (ids.empty())
		return false;
	const OBSDataAutoRelease settings = obs_data_create();
	obs_data_set_bool(settings, enabled_key, is_on);
	for (const uint64_t switched : ids)
		update_filter(switched, settings);
	panel_hooks.effects_switched();
	return true;
}

} // namespace kalvio
