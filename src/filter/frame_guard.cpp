// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/frame_guard.h"

#include "filter/filter_instance.h"
#include "host/callback_shim.h"

namespace kalvio {

namespace {

constexpr const char *removal_signal = "filter_remove";

thread_local const FrameGuard *innermost_frame = nullptr;

// Looks into the source's list, which the host changes before it sends the signal.
bool is_filter_of(obs_source_t *source, obs_source_t *filter)
{
	struct Search {
		const obs_source_t *filter;
		bool found;
	} search = {filter, false};
	const auto compare = [](obs_source_t *, obs_source_t *listed, void *parameter) {
		auto &running = *static_cast<Search *>(parameter);
		running.found = running.found || listed == running.filter;
	};
	obs_source_enum_filters(source, compare, &search);
	return search.found;
}

} // namespace

FrameGuard::FrameGuard(FilterInstance &instance)
	: instance_(&instance), parent_(obs_filter_get_parent(instance.source)), outer_(innermost_frame),
	  is_inside_own_frame_(is_drawing(instance))
{
	const bool is_nested = parent_ && is_drawing_on(parent_);
	if (parent_ && !is_nested)
		watch(instance, const_cast<obs_source_t *>(parent_));
	if (!is_inside_own_frame_)
		lock_ = std::unique_lock(instance.mutex);
	has_source_ = parent_ && (is_nested || instance.watched_parent == parent_);
	innermost_frame = this;
}

FrameGuard::~FrameGuard()
{
	innermost_frame = outer_;
}

bool FrameGuard::is_drawing_on(const obs_source_t *source)
{
	for (const FrameGuard *frame = innermost_frame; frame; frame = frame->outer_) {
		if (frame->has_source_ && frame->parent_ == source)
			return true;
	}
	return false;
}

bool FrameGuard::is_drawing(const FilterInstance &instance)
{
	for (const FrameGuard *frame = innermost_frame; frame; frame = frame->outer_) {
		if (frame->instance_ == &instance)
			return true;
	}
	return false;
}

// Without the instance's mutex: the thread that removes a filter takes the signal's lock first and that mutex second.
void FrameGuard::watch(FilterInstance &instance, obs_source_t *parent)
{
	if (instance.watched_parent == parent)
		return;
	// The order matters. A removal that begins after the look into the list finds the connection and clears the
	// pointer again; of one that has begun before, the filter is in the list no more.
	signal_handler_t *signals = obs_source_get_signal_handler(parent);
	instance.watched_parent = parent;
	if (signals) // what cannot be watched is drawn all the same
		signal_handler_connect(signals, removal_signal, Shim<filter_removed>::call, &instance);
	if (is_filter_of(parent, instance.source))
		return;
	signal_handler_disconnect(signals, removal_signal, Shim<filter_removed>::call, &instance);
	instance.watched_parent = nullptr;
}

// On the thread that removes a filter from the source. When that is the thread that draws on the source, it has the
// mutex already.
void FrameGuard::filter_removed(void *data, calldata_t *call)
{
	auto &instance = *static_cast<FilterInstance *>(data);
	std::unique_lock lock(instance.mutex, std::defer_lock);
	if (!is_drawing_on(static_cast<const obs_source_t *>(calldata_ptr(call, "source"))))
		lock.lock();
	if (calldata_ptr(call, "filter") != instance.source)
		return;
	instance.watched_parent = nullptr;
	instance.gpu.result = nullptr;
	signal_handler_remove_current();
}

} // namespace kalvio
