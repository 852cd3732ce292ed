// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <kalvio_engine.h>
#include <obs-data.h>
#include <string>

// How a filter's settings become engine calls. Both operations run under the lock that serializes the engine's calls,
// and take the settings' lock (settings_lock.h) themselves while they read.
namespace kalvio {

// What apply_effect_resources sent last to one engine. The initial values stand for a fresh engine: -1 is no fill mode
// and no strength, so that the first application always acts on the background.
struct ResourceCache {
	std::string filter_id;
	float filter_intensity = -1.0f;
	std::string sticker_id;
	int32_t fill_mode = -1;
	float blur = -1.0f;
	std::string preset;
	std::string image;
};

// Sends every numeric and enumerated parameter, in one fixed order, without scaling, clamping or change test. Nothing
// happens when either is null.
void apply_beauty_params(kl_engine *engine, obs_data_t *settings);

// Sends color filter, sticker and background where they differ from `cache`, since these calls load files, and updates
// the cache. A failed load logs one warning and clears the effect; it is tried again only when its choice changes.
// Nothing happens when engine or settings are null.
void apply_effect_resources(kl_engine *engine, ResourceCache &cache, obs_data_t *settings);

} // namespace kalvio
