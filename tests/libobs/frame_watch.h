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
	// `source` outlives the watch. All pictures have one size, which is that of the drawing.
	FrameWatch(obs_source_t *source, std::vector<Picture> allowed);
	~FrameWatch();
	FrameWatch(const FrameWatch &) = delete;
	FrameWatch &operator=(const FrameWatch &) = delete;

	int frames() const { return frames_; }
	// Frames in which nothing at all was drawn.
	int blank_frames() const { return blank_frames_; }
	// Frames that show anything else than an allowed picture or nothing.
	int wrong_frames() const { return wrong_frames_; }

private:
	static void draw(void *watch, uint32_t width, uint32_t height);
	void look();

	obs_source_t *source_;
	const std::vector<Picture> allowed_;
	const Picture blank_;
	std::atomic<int> frames_ = 0;
	std::atomic<int> blank_frames_ = 0;
	std::atomic<int> wrong_frames_ = 0;
};

} // namespace kalvio::test
