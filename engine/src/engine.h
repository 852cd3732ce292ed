// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "effects.h"
#include "frame_memory.h"
#include "frame_times.h"
#include "kalvio_engine.h"
#include "log.h"
#include "pool.h"
#include "settings.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace kalvio::engine {

// Events handed to the host's callback.
enum class Event : int32_t {
	Ready = KL_EVENT_READY,
	ResourceFailed = KL_EVENT_RESOURCE_FAILED,
	FrameBudget = KL_EVENT_FRAME_BUDGET
};

} // namespace kalvio::engine

// The record behind a handle: what lives as long as one engine. Guarded by `busy`: one call at a time.
struct kl_engine {
	explicit kl_engine(std::shared_ptr<kalvio::engine::Log> log);

	// Delivers an event, or keeps it until a callback is set.
	void emit(kalvio::engine::Event event, const std::string &message);
	// Takes in what a frame cost, and once a minute logs it.
	void record(const kalvio::engine::FrameTimes::Times &frame_times, int64_t now_us);
	// Logs a failed load and tells the host.
	int32_t report_failed_load(const char *what, const char *path, int32_t status, const std::string &reason);

	const int number; // counts from 1 in this process, for the log
	const std::shared_ptr<kalvio::engine::Log> log;
	std::atomic_flag busy = ATOMIC_FLAG_INIT;

	std::shared_ptr<kalvio::engine::Pool> pool; // set once; tests put in one of another size
	kalvio::engine::Settings settings;
	kalvio::engine::Effects effects;
	kalvio::engine::FrameMemory memory;

	kalvio::engine::FrameTimes times;
	int64_t (*clock_us)(); // a steady clock; tests put in their own

	kl_event_callback callback = nullptr;
	void *callback_user_data = nullptr;
	bool ready_event_pending = true;
};
