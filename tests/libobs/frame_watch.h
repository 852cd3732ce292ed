// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/picture.h"

#include <atomic>
#include <cstdint>
#include <obs.h>
#include <vector>

namespace kalvio::test {

// Draws a source in every frame that the host composes and compares what it shows with the pictures that it may show.
// The counts are for any thread.
class FrameWatch {
public:
	// `source` outlives the watch. All pictures have one size, which is that of the drawing. `lost` are those of a
	// frame into which something has not been drawn; one with nothing in it always is.
	FrameWatch(obs_source_t *source, std::vector<Picture> allowed, std::vector<Picture> lost);
	~FrameWatch();
	FrameWatch(const FrameWatch &) = delete;
	FrameWatch &operator=(const FrameWatch &) = delete;

	int frames() const { return frames_; }
	int lost_frames() const { return lost_frames_; }
	// Frames that show neither an allowed picture nor a lost one.
	int wrong_frames() const { return wrong_frames_; }

private:
	static void draw(void *watch, uint32_t width, uint32_t height);
	void look();

	obs_source_t *source_;
	const std::vector<Picture> allowed_;
	const std::vector<Picture> lost_;
	std::atomic<int> frames_ = 0;
	std::atomic<int> lost_frames_ = 0;
	std::atomic<int> wrong_frames_ = 0;
};

} // namespace kalvio::test
