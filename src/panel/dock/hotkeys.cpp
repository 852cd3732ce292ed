// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock/hotkeys.h"

#include "filter/effects_hotkeys.h"
#include "filter/original_view.h"
#include "host/callback_shim.h"
#include "host/config_files.h"
#include "host/json_file.h"
#include "panel/dock/ui_thread.h"
#include "panel/looks/apply_look.h"

#include <array>
#include <cstdint>
#include <iterator>
#include <map>
#include <obs-module.h>
#include <obs.hpp>
#include <string>
#include <tuple>
#include <util/platform.h>

namespace kalvio {

namespace {

constexpr const char *file_name = "hotkeys.json";
constexpr std::uintmax_t largest_file_bytes = 1024 * 1024;

// The names are those of the host's list and the keys of the file.
constexpr const char *effects_on = "Kalvio.AllEffectsOn";
constexpr const char *effects_off = "Kalvio.AllEffectsOff";

struct Hotkeys {
	obs_hotkey_pair_id effects = OBS_INVALID_HOTKEY_PAIR_ID;
	std::array<obs_hotkey_id, 3> singles{}; // by single_keys; set with is_started
	std::string saved;                      // what the file holds
	std::string unsaved;                    // what could not be written; tried again when it changes and at the end
	std::map<uint64_t, obs_hotkey_pair_id> of_filters;
	bool is_started = false;
};

Hotkeys &hotkeys()
{
	static Hotkeys &instance = *new Hotkeys;
	return instance;
}

bool switch_all_on(void *, obs_hotkey_pair_id, obs_hotkey_t *, bool is_pressed)
{
	return is_pressed && switch_effects(0, true);
}

bool switch_all_off(void *, obs_hotkey_pair_id, obs_hotkey_t *, bool is_pressed)
{
	return is_pressed && switch_effects(0, false);
}

void hold_original(void *, obs_hotkey_id, obs_hotkey_t *, bool is_pressed)
{
	show_original(OriginalRequester::Hotkey, {.all = is_pressed, .ids = {}});
}

void apply_next_look()
{
	apply_neighboring_look(1);
}

void apply_previous_look()
{
	apply_neighboring_look(-1);
}

void next_look(void *, obs_hotkey_id, obs_hotkey_t *, bool is_pressed)
{
	if (is_pressed)
		run_on_ui_thread(Shim<apply_next_look>::call);
}

void previous_look(void *, obs_hotkey_id, obs_hotkey_t *, bool is_pressed)
{
	if (is_pressed)
		run_on_ui_thread(Shim<apply_previous_look>::call);
}

struct SingleKey {
	const char *name;
	obs_hotkey_func func;
};

constexpr SingleKey single_keys[] = {
	{"Kalvio.ShowOriginal", Shim<hold_original>::call},
	{"Kalvio.NextLook", Shim<next_look>::call},
	{"Kalvio.PreviousLook", Shim<previous_look>::call},
};
static_assert(std::size(single_keys) == std::tuple_size_v<decltype(Hotkeys::singles)>);

void set_bindings(obs_data_t *file, const char *name, obs_data_array_t *bindings)
{
	if (bindings)
		obs_data_set_array(file, name, bindings);
}

// Keys of others are kept.
void write_bindings(obs_data_t *file)
{
	const Hotkeys &keys = hotkeys();
	obs_data_array_t *on = nullptr;
	obs_data_array_t *off = nullptr;
	obs_hotkey_pair_save(keys.effects, &on, &off);
	const OBSDataArrayAutoRelease owned_on = on;
	const OBSDataArrayAutoRelease owned_off = off;
	set_bindings(file, effects_on, owned_on);
	set_bindings(file, effects_off, owned_off);
	for (size_t i = 0; i < std::size(single_keys); ++i) {
		const OBSDataArrayAutoRelease bindings = obs_hotkey_save(keys.singles[i]);
		set_bindings(file, single_keys[i].name, bindings);
	}
}

std::string bindings_now()
{
	const OBSDataAutoRelease bindings = obs_data_create();
	write_bindings(bindings);
	const char *json = obs_data_get_json(bindings);
	return json ? json : std::string();
}

void load_bindings(obs_data_t *file)
{
	const OBSDataArrayAutoRelease on = obs_data_get_array(file, effects_on);
	const OBSDataArrayAutoRelease off = obs_data_get_array(file, effects_off);
	obs_hotkey_pair_load(hotkeys().effects, on, off);
	for (size_t i = 0; i < std::size(single_keys); ++i) {
		const OBSDataArrayAutoRelease bindings = obs_data_get_array(file, single_keys[i].name);
		obs_hotkey_load(hotkeys().singles[i], bindings);
	}
}

} // namespace

void start_hotkeys()
{
	Hotkeys &keys = hotkeys();
	keys.effects = obs_hotkey_pair_register_frontend(effects_on, obs_module_text(effects_on), effects_off,
							 obs_module_text(effects_off), Shim<switch_all_on>::call,
							 Shim<switch_all_off>::call, nullptr, nullptr);
	for (size_t i = 0; i < std::size(single_keys); ++i) {
		const auto &[name, func] = single_keys[i];
		keys.singles[i] = obs_hotkey_register_frontend(name, obs_module_text(name), func, nullptr);
	}
	keys.is_started = true;
	if (const OBSDataAutoRelease file = read_json_file(module_config_file(file_name), largest_file_bytes))
		load_bindings(file);
	keys.saved = bindings_now();
}

void follow_filters_with_hotkeys(const std::vector<RegisteredFilter> &filters)
{
	Hotkeys &keys = hotkeys();
	if (!keys.is_started)
		return;
	std::map<uint64_t, obs_hotkey_pair_id> current;
	for (const RegisteredFilter &filter : filters) {
		const auto known = keys.of_filters.extract(filter.id);
		obs_hotkey_pair_id pair = known ? known.mapped() : OBS_INVALID_HOTKEY_PAIR_ID;
		// One without a source may get it later.
		if (pair == OBS_INVALID_HOTKEY_PAIR_ID)
			pair = register_effects_hotkeys(filter.id);
		current.emplace(filter.id, pair);
	}
	for (const auto &[id, pair] : keys.of_filters)
		obs_hotkey_pair_unregister(pair);
	keys.of_filters = std::move(current);
}

void save_changed_hotkeys()
{
	Hotkeys &keys = hotkeys();
	std::string now = keys.is_started ? bindings_now() : keys.saved;
	const std::string folder = module_config_file("");
	if (now == keys.saved || now == keys.unsaved || folder.empty())
		return;
	os_mkdirs(folder.c_str());
	const std::string path = module_config_file(file_name);
	OBSDataAutoRelease file = read_json_file(path, largest_file_bytes);
	if (!file)
		file = obs_data_create();
	write_bindings(file);
	if (save_json_file(file, path, largest_file_bytes))
		keys.saved = std::move(now);
	else
		keys.unsaved = std::move(now);
}

void stop_hotkeys()
{
	Hotkeys &keys = hotkeys();
	keys.unsaved.clear();
	save_changed_hotkeys();
	if (keys.is_started) {
		follow_filters_with_hotkeys({});
		obs_hotkey_pair_unregister(keys.effects);
		for (const obs_hotkey_id id : keys.singles)
			obs_hotkey_unregister(id);
	}
	keys = {};
	show_original(OriginalRequester::Hotkey, {});
}

} // namespace kalvio
