// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/call_journal.h"

#include <functional>
#include <kalvio_engine.h>
#include <map>
#include <string>
#include <vector>

// An engine for tests behind the kl_* boundary. It processes nothing; it writes every call into the call journal, fails
// where a test says so, and notices what no caller may do. An executable that contains it (and exports its names, when
// the caller is a module that is loaded later) is served before any engine library.
namespace kalvio::test {

// What kl_process_rgba leaves in the output buffer when it succeeds.
enum class EngineOutput { Copy, Invert, Nothing };

// What the engine does instead of succeeding. Set it while no call is in progress.
struct EngineScript {
	static constexpr int always = -1;

	int failing_creations = 0; // this many kl_engine_create calls return null; `always`: all
	int32_t process_status = KL_OK;
	// Status of single frames, by their number since the reset, from 0; beats process_status.
	std::map<uint64_t, int32_t> process_status_of_frame = {};
	std::map<std::string, int32_t> loader_status = {}; // of the four loaders, by path
	int32_t setter_status = KL_OK;                     // of everything whose result callers ignore
	EngineOutput output = EngineOutput::Copy;

	// Called inside kl_engine_create, kl_process_rgba and the four loaders, without a lock of the engine's held.
	std::function<void()> during_create = {};
	std::function<void(kl_engine *)> during_process = {};
	std::function<void(const char *loader, const char *path)> during_load = {};

	// Setters and frames return at once with KL_OK: no record, no check, no lock. For benchmarks.
	bool idle = false;
};

// Forgets script, frame count and findings. Engines that are still alive become invalid.
void reset_recording_engine();

void set_engine_script(EngineScript script);

int live_engine_count();

// What callers did wrong, in words: calls on a null, unknown or destroyed engine, overlapping calls on one engine,
// frames whose buffers are null or overlap. Empty when all is well.
std::vector<std::string> engine_misuse();

// The pixels that the last frame was called with, stride and all.
std::vector<uint8_t> last_engine_input();

// Calls the callback that the engine was given; false when it has none.
bool emit_engine_event(const kl_engine *engine, int32_t code, const char *message);

// The user data that the callback was registered with.
void *engine_event_user_data(const kl_engine *engine);

} // namespace kalvio::test
