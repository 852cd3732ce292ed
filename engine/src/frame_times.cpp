// SPDX-License-Identifier: GPL-2.0-or-later
#include "frame_times.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace kalvio::engine {

int FrameTimes::bucket_of(int64_t microseconds)
{
	const double octaves = std::log2(static_cast<double>(std::max<int64_t>(microseconds, 1)));
	return std::min(static_cast<int>(octaves * buckets_per_octave), buckets - 1);
}

int64_t FrameTimes::middle_of(int index)
{
	return std::llround(std::exp2((index + 0.5) / buckets_per_octave));
}

bool FrameTimes::add(const Times &times, int64_t now_us)
{
	if (started_us_ < 0)
		started_us_ = now_us;
	for (size_t stage = 0; stage < stage_count; ++stage)
		++counts_[stage][static_cast<size_t>(bucket_of(times[stage]))];
	++frames_;
	if (now_us - started_us_ < report_interval_us)
		return false;
	started_us_ = now_us;
	return true;
}

FrameTimes::Report FrameTimes::report()
{
	Report result = {frames_, {}, false};
	for (size_t stage = 0; stage < stage_count; ++stage) {
		int seen = 0;
		int index = 0;
		while (index < buckets - 1 &&
		       (seen += static_cast<int>(counts_[stage][static_cast<size_t>(index)])) * 2 < frames_)
			++index;
		result.medians[stage] = middle_of(index);
	}
	result.over_budget = result.medians[Whole] > frame_budget_us;
	counts_ = {};
	frames_ = 0;
	return result;
}

std::string FrameTimes::Report::text() const
{
	char line[128];
	std::snprintf(line, sizeof(line), "%d frames, median %.2f ms (measuring %.2f, rows %.2f)", frames,
		      static_cast<double>(medians[Whole]) / 1000, static_cast<double>(medians[Measure]) / 1000,
		      static_cast<double>(medians[Rows]) / 1000);
	return line;
}

} // namespace kalvio::engine
