// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <obs.h>

// Hot keys that switch effects on and off, which is the setting "enabled". In OBS's list a pair of keys: bound to one
// key they take turns.
//
// They are keys of the source that the filter sits on: a filter that OBS has loaded is a private source, which can have
// none. OBS keeps their bindings with that source, under names with the filter's UUID.
namespace kalvio {

// For the filter with this id. The result is for obs_hotkey_pair_unregister, also after the filter or its source is
// gone; OBS_INVALID_HOTKEY_PAIR_ID when the filter is gone or sits on no source.
obs_hotkey_pair_id register_effects_hotkeys(uint64_t id);

// Switches the effects of filter `id`, or of every filter for 0. False when all of them are so already, or there is
// none. Any thread.
bool switch_effects(uint64_t id, bool is_on);

} // namespace kalvio
