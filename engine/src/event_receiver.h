// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kalvio_engine.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace kalvio::engine {

// Events handed to the host's callback.
enum class Event : int32_t {
	Ready = KL_EVENT_READY,
	ResourceFailed = KL_EVENT_RESOURCE_FAILED,
	FrameBudget = KL_EVENT_FRAME_BUDGET
};

// Hands one engine's events to the host's callback. Any thread, also after the engine is gone: loads that it left
// behind share it. A callback runs under the lock, so that none runs any more once `set` or `close` has returned.
class EventReceiver {
public:
	// Sets or, with null, removes the callback; the first one learns that the engine is ready.
	void set(kl_event_callback callback, void *user_data);

	// Without a callback the event is lost.
	void emit(Event event, const std::string &message);

	// What occurred before there could be a callback; the first one learns it.
	void keep(Event event, const std::string &message);

	// No event is delivered afterwards.
	void close();

	// Keeps events back as long as it is held. The lock may be taken again on the same thread.
	[[nodiscard]] std::unique_lock<std::recursive_mutex> lock() { return std::unique_lock(mutex_); }

private:
	// Recursive, so that a callback that calls the engine against the rules is no deadlock.
	std::recursive_mutex mutex_;
	kl_event_callback callback_ = nullptr;
	void *user_data_ = nullptr;
	bool ready_is_due_ = true;
	std::vector<std::pair<Event, std::string>> kept_;
};

} // namespace kalvio::engine
