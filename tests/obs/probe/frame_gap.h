// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <atomic>
#include <cstdint>

namespace kalvio::probe {

// The time between frames that OBS draws, from now to the end of this object. Main thread.
class FrameGaps {
public:
	FrameGaps();
	~FrameGaps();
	FrameGaps(const FrameGaps &) = delete;
	FrameGaps &operator=(const FrameGaps &) = delete;

	// The largest gap since the last look, in milliseconds.
	double take_largest_ms() const;

private:
	static void note_frame(void *gaps, uint32_t width, uint32_t height);

	mutable std::atomic<uint64_t> largest_ns_ = 0;
	uint64_t last_ns_ = 0; // of the graphics thread
};

} // namespace kalvio::probe
