// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "filter/frame_resources.h"
#include "params/apply_parameters.h"

#include <atomic>
#include <cstdint>
#include <kalvio_engine.h>
#include <memory>
#include <mutex>
#include <obs.hpp>
#include <string>
#include <vector>

namespace kalvio {

struct EngineDeleter {
	void operator()(kl_engine *engine) const { kl_engine_destroy(engine); }
};

using EngineHandle = std::unique_ptr<kl_engine, EngineDeleter>;

// One filter on one source. Owned by the host through the `data` pointer of the callbacks; made by create, freed by
// destroy. The mutex keeps update and render apart; create and destroy run while nobody else knows the instance.
struct FilterInstance {
	obs_source_t *source = nullptr; // the filter's own source, not referenced
	uint64_t id = 0;                // in the registry
	// Keeps the host's count of the filter's references until the instance is gone, which waits for the graphics
	// thread: another filter that draws this one may have looked it up before the last reference went.
	OBSWeakSourceAutoRelease weak_source;

	EngineHandle engine; // null while there is none; see engine_session.h
	std::mutex mutex;
	bool enabled = true;                                  // copied from the setting whenever settings are applied
	std::atomic<obs_source_t *> watched_parent = nullptr; // see frame_guard.h; cleared under the mutex
	std::string resource_path;

	FrameResources gpu;
	std::vector<uint8_t> input_pixels;
	std::vector<uint8_t> output_pixels;
	bool processing_logged = false;
	uint32_t failure_count = 0; // failed frames logged so far; never reset

	ResourceCache resource_cache;
};

} // namespace kalvio
