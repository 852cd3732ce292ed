// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "probe_case.h"
#include "report.h"

#include <QByteArray>
#include <obs-hotkey.h>
#include <string_view>

// The hot keys of the console and of each filter in OBS's own list: bound there, pressed, and kept for the next start.
namespace kalvio::probe {

namespace {

struct BoundKey {
	const char *name;
	obs_key_t key;
};

// The filter's are followed by its UUID.
constexpr BoundKey bound_keys[] = {
	{"Kalvio.AllEffectsOn", OBS_KEY_F6}, {"Kalvio.AllEffectsOff", OBS_KEY_F6}, {"Kalvio.ShowOriginal", OBS_KEY_F7},
	{"Kalvio.EffectsOn.", OBS_KEY_F8},   {"Kalvio.EffectsOff.", OBS_KEY_F8},
};

struct FoundHotkey {
	std::string_view name;
	obs_hotkey_id id = OBS_INVALID_HOTKEY_ID;
	QByteArray full_name;
};

bool look_at(void *data, obs_hotkey_id id, obs_hotkey_t *key)
{
	auto &found = *static_cast<FoundHotkey *>(data);
	const std::string_view name = obs_hotkey_get_name(key);
	const bool is_it = found.name.ends_with('.') ? name.starts_with(found.name) : name == found.name;
	if (is_it) {
		found.id = id;
		found.full_name = obs_hotkey_get_name(key);
	}
	return !is_it;
}

FoundHotkey find_hotkey(const char *name)
{
	FoundHotkey found{name, OBS_INVALID_HOTKEY_ID, {}};
	obs_enum_hotkeys(look_at, &found);
	return found;
}

struct BindingSearch {
	obs_hotkey_id id;
	obs_key_t key = OBS_KEY_NONE;
};

obs_key_t key_of(obs_hotkey_id id)
{
	BindingSearch search{id};
	obs_enum_hotkey_bindings(
		[](void *data, size_t, obs_hotkey_binding_t *binding) {
			auto &wanted = *static_cast<BindingSearch *>(data);
			if (obs_hotkey_binding_get_hotkey_id(binding) == wanted.id)
				wanted.key = obs_hotkey_binding_get_key_combination(binding).key;
			return true;
		},
		&search);
	return search.key;
}

void press(obs_key_t key, bool is_pressed)
{
	obs_hotkey_inject_event({0, key}, is_pressed);
}

void click(obs_key_t key)
{
	press(key, true);
	wait_until([] { return false; }, 200);
	press(key, false);
	wait_until([] { return false; }, 200);
}

void check_keys_work()
{
	const OBSSourceAutoRelease source = scene_source();
	check_filtered(source, "at first");
	for (const obs_key_t key : {OBS_KEY_F6, OBS_KEY_F8}) {
		click(key);
		check_unfiltered(source, QString("after key %1").arg(key - OBS_KEY_F1 + 1));
		click(key);
		check_filtered(source, "after the same key once more");
	}
	// Not by a key: OBS looks every 25 ms which keys are held, and finds that this one is not.
	const obs_hotkey_id original = find_hotkey("Kalvio.ShowOriginal").id;
	obs_hotkey_trigger_routed_callback(original, true);
	check_no_frames_are_processed();
	obs_hotkey_trigger_routed_callback(original, false);
	check_frames_are_processed();
}

void hotkeys_are_bound_and_work()
{
	check(wait_until([] { return find_hotkey("Kalvio.EffectsOn.").id != OBS_INVALID_HOTKEY_ID; }),
	      "the filter has its hot keys");
	for (const BoundKey &bound : bound_keys) {
		const FoundHotkey found = find_hotkey(bound.name);
		check(found.id != OBS_INVALID_HOTKEY_ID, "OBS lists the hot key", found.full_name);
		obs_key_combination_t combination{0, bound.key};
		obs_hotkey_load_bindings(found.id, &combination, 1);
	}
	check_keys_work();
}

void hotkeys_are_there_after_restart()
{
	for (const BoundKey &bound : bound_keys) {
		const FoundHotkey found = find_hotkey(bound.name);
		check(key_of(found.id) == bound.key, "the key is bound as before", found.full_name);
	}
	check_keys_work();
}

constexpr ProbeCase cases[] = {
	{"HotkeysAreBoundAndWork", hotkeys_are_bound_and_work},
	{"HotkeysAreThereAfterRestart", hotkeys_are_there_after_restart},
};

} // namespace

std::span<const ProbeCase> hotkey_cases()
{
	return cases;
}

} // namespace kalvio::probe
