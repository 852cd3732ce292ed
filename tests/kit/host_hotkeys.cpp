// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/host_hotkeys.h"

#include <map>
#include <mutex>
#include <obs.hpp>
#include <utility>

// The hot keys of the host double: registered, bound, pressed, kept.
namespace kalvio::test {
namespace {

struct Hotkey {
	std::string name;
	std::string owner; // of a source; "" for the front end's
	std::function<bool(bool)> press;
	OBSDataArrayAutoRelease bindings;
};

struct Hotkeys {
	std::recursive_mutex mutex; // as in the host: held while a callback runs
	std::map<size_t, Hotkey> keys;
	size_t last_id = 0;
	bool are_refused = false;
};

Hotkeys &hotkeys()
{
	static Hotkeys &instance = *new Hotkeys;
	return instance;
}

size_t add(const char *name, const std::string &owner, std::function<bool(bool)> press)
{
	Hotkeys &state = hotkeys();
	const std::lock_guard lock(state.mutex);
	if (state.are_refused)
		return OBS_INVALID_HOTKEY_ID;
	state.keys[++state.last_id] = {name, owner, std::move(press), obs_data_array_create()};
	return state.last_id;
}

// A pair has the id of its first key, and the next one.
size_t add_pair(const std::string &owner, const char *name0, const char *name1, obs_hotkey_active_func func0,
		obs_hotkey_active_func func1, void *data0, void *data1)
{
	const size_t first =
		add(name0, owner, [func0, data0](bool is_pressed) { return func0(data0, 0, nullptr, is_pressed); });
	add(name1, owner, [func1, data1](bool is_pressed) { return func1(data1, 0, nullptr, is_pressed); });
	return first;
}

void remove(size_t id)
{
	const std::lock_guard lock(hotkeys().mutex);
	hotkeys().keys.erase(id);
}

Hotkey *find(const std::string &name, const std::string &owner)
{
	for (auto &[id, key] : hotkeys().keys)
		if (key.name == name && key.owner == owner)
			return &key;
	return nullptr;
}

Hotkey *find(size_t id)
{
	const auto entry = hotkeys().keys.find(id);
	return entry == hotkeys().keys.end() ? nullptr : &entry->second;
}

// A copy of one's own, as the host hands it out.
obs_data_array_t *saved(size_t id)
{
	const Hotkey *key = find(id);
	if (!key)
		return nullptr;
	obs_data_array_t *copy = obs_data_array_create();
	obs_data_array_push_back_array(copy, key->bindings);
	return copy;
}

void load(size_t id, obs_data_array_t *bindings)
{
	Hotkey *key = find(id);
	if (!key)
		return;
	key->bindings = obs_data_array_create();
	obs_data_array_push_back_array(key->bindings, bindings);
}

} // namespace

void refuse_hotkeys(bool refuse)
{
	const std::lock_guard lock(hotkeys().mutex);
	hotkeys().are_refused = refuse;
}

bool has_hotkey(const std::string &name, const std::string &owner)
{
	const std::lock_guard lock(hotkeys().mutex);
	return find(name, owner) != nullptr;
}

bool press_hotkey(const std::string &name, bool is_pressed, const std::string &owner)
{
	const std::lock_guard lock(hotkeys().mutex);
	const Hotkey *key = find(name, owner);
	return key && key->press(is_pressed);
}

void bind_hotkey(const std::string &name, const std::string &key_name)
{
	const std::lock_guard lock(hotkeys().mutex);
	const OBSDataAutoRelease binding = obs_data_create();
	obs_data_set_string(binding, "key", key_name.c_str());
	Hotkey *key = find(name, {});
	key->bindings = obs_data_array_create();
	obs_data_array_push_back(key->bindings, binding);
}

std::string bound_key(const std::string &name)
{
	const std::lock_guard lock(hotkeys().mutex);
	const Hotkey *key = find(name, {});
	const OBSDataAutoRelease binding = key ? obs_data_array_item(key->bindings, 0) : nullptr;
	return binding ? obs_data_get_string(binding, "key") : std::string();
}

} // namespace kalvio::test

using namespace kalvio::test;

obs_hotkey_pair_id obs_hotkey_pair_register_source(obs_source_t *source, const char *name0, const char *, // NOLINT
						   const char *name1, const char *, obs_hotkey_active_func func0,
						   obs_hotkey_active_func func1, void *data0, void *data1)
{
	const FakeSource *fake = FakeSource::from(source);
	return add_pair(fake ? fake->name : "unknown source", name0, name1, func0, func1, data0, data1);
}

obs_hotkey_pair_id obs_hotkey_pair_register_frontend(const char *name0, const char *, const char *name1, const char *,
						     obs_hotkey_active_func func0, obs_hotkey_active_func func1,
						     void *data0, void *data1)
{
	return add_pair({}, name0, name1, func0, func1, data0, data1);
}

obs_hotkey_id obs_hotkey_register_frontend(const char *name, const char *, obs_hotkey_func func, void *data)
{
	return add(name, {}, [func, data](bool is_pressed) {
		func(data, 0, nullptr, is_pressed);
		return true;
	});
}

void obs_hotkey_unregister(obs_hotkey_id id)
{
	remove(id);
}

void obs_hotkey_pair_unregister(obs_hotkey_pair_id id)
{
	remove(id);
	remove(id + 1);
}

obs_data_array_t *obs_hotkey_save(obs_hotkey_id id)
{
	return saved(id);
}

void obs_hotkey_load(obs_hotkey_id id, obs_data_array_t *data)
{
	load(id, data);
}

void obs_hotkey_pair_save(obs_hotkey_pair_id id, obs_data_array_t **data0, obs_data_array_t **data1)
{
	*data0 = saved(id);
	*data1 = saved(id + 1);
}

void obs_hotkey_pair_load(obs_hotkey_pair_id id, obs_data_array_t *data0, obs_data_array_t *data1)
{
	load(id, data0);
	load(id + 1, data1);
}
