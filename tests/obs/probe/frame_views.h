// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <obs.hpp>

namespace kalvio::probe {

// Counts, frame by frame, how often OBS draws a source and how many frames the engine is given meanwhile. A filter on
// the source that draws nothing of its own counts the views. Made and destroyed on the main thread.
class FrameViews {
public:
	explicit FrameViews(obs_source_t *source);
	~FrameViews();
	FrameViews(const FrameViews &) = delete;
	FrameViews &operator=(const FrameViews &) = delete;

	// The frames that were looked at so far, and the most that any of them had. Any thread.
	uint32_t frames() const { return frames_; }
	uint32_t most_views() const { return most_views_; }
	uint64_t most_engine_calls() const { return most_engine_calls_; }

private:
	static void begin_frame(void *views, float seconds);
	void finish_frame();

	obs_source_t *source_;
	OBSSourceAutoRelease counter_;
	std::atomic<uint32_t> views_ = 0; // of the frame that is being drawn
	std::atomic<uint32_t> frames_ = 0;
	std::atomic<uint32_t> most_views_ = 0;
	std::atomic<uint64_t> most_engine_calls_ = 0;
	uint64_t engine_calls_before_ = 0; // graphics thread only
};

} // namespace kalvio::probe
