// SPDX-License-Identifier: GPL-2.0-or-later
#include "frame_gap.h"

#include <algorithm>
#include <obs.h>
#include <util/platform.h>
#include <utility>

namespace kalvio::probe {

FrameGaps::FrameGaps()
{
	obs_add_main_render_callback(note_frame, this);
}

FrameGaps::~FrameGaps()
{
	obs_remove_main_render_callback(note_frame, this);
}

double FrameGaps::take_largest_ms() const
{
	return double(largest_ns_.exchange(0)) / 1e6;
}

void FrameGaps::note_frame(void *gaps, uint32_t, uint32_t)
{
	auto &self = *static_cast<FrameGaps *>(gaps);
	const uint64_t now = os_gettime_ns();
	const uint64_t before = std::exchange(self.last_ns_, now);
	if (before)
		self.largest_ns_ = std::max(self.largest_ns_.load(), now - before);
}

} // namespace kalvio::probe
