// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <mutex>
#include <obs.h>

namespace kalvio {

struct FilterInstance;

// One frame of a filter: holds the instance's mutex, and keeps the filter on its source until the frame ends.
//
// The host removes a filter from its source on any thread, also while the filter draws: it takes the filter out of the
// source's list, sends the source's signal "filter_remove", and then sets the filter's parent to null.
// obs_source_skip_video_filter reads that parent without a test. So the first frame on a source connects the instance
// to the signal, and the signal waits for the frame. It also waits when another filter is removed from the same source:
// filters of ours that are drawn inside this frame need no connection of their own, and make none, since the thread
// that removes a filter holds the signal's lock while it waits for this frame.
//
// Graphics thread.
class FrameGuard {
public:
	explicit FrameGuard(FilterInstance &instance);
	~FrameGuard();
	FrameGuard(const FrameGuard &) = delete;
	FrameGuard &operator=(const FrameGuard &) = delete;

	// False when the filter sits on no source or is being removed from it: then there is nothing to draw, and
	// obs_source_skip_video_filter must not be called.
	bool has_source() const { return has_source_; }

	// True when this frame is drawn inside another one of the same filter. The host changes the order of a source's
	// filters while it draws them: what this filter has just asked for its picture may ask this filter back. Only
	// obs_source_skip_video_filter is safe then.
	bool is_inside_own_frame() const { return is_inside_own_frame_; }

private:
	static bool is_drawing_on(const obs_source_t *source);
	static bool is_drawing(const FilterInstance &instance);
	static void watch(FilterInstance &instance, obs_source_t *parent);
	static void filter_removed(void *data, calldata_t *call);

	const FilterInstance *instance_;
	const obs_source_t *parent_;
	const FrameGuard *outer_; // the frame on the same thread in which this one is drawn
	std::unique_lock<std::mutex> lock_;
	bool is_inside_own_frame_ = false;
	bool has_source_ = false;
};

} // namespace kalvio
