// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

// What has passed the boundary between module and engine in this process. A small library, put in front of the engine
// by LD_PRELOAD, counts there and hands every call on unchanged: the numbers are those of the very file that users
// load.
namespace kalvio::probe {

struct FrameCount {
	uint64_t processed = 0;    // kl_process_rgba calls that returned 0
	uint64_t failed = 0;       // calls that returned anything else
	uint64_t engine_ns = 0;    // time spent inside those calls, all threads together
	uint64_t engines = 0;      // engines that exist now
	uint64_t engines_ever = 0; // engines created since the start
};

} // namespace kalvio::probe

extern "C" void kalvio_probe_frame_count(kalvio::probe::FrameCount *count);

// How many of the looked-at pixels (one of 16) of a processed frame differ from the one before by more than a person
// overlooks. `frame` is the value of `processed` after it; 0 for one that is not among the last 256.
extern "C" uint64_t kalvio_probe_changed_pixels(uint64_t frame);
