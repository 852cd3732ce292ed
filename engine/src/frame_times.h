// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace kalvio::engine {

// Median times of an engine's frames per stage, reported at most once per minute. Medians, so that a single slow frame
// does not show.
class FrameTimes {
public:
	enum Stage { Measure, Rows, Whole, stage_count };

	// Above it, a source of 30 frames per second loses frames.
	static constexpr int64_t frame_budget_us = 33333;
	static constexpr int64_t report_interval_us = 60'000'000;

	using Times = std::array<int64_t, stage_count>; // microseconds

	// Adds a frame that ended at `now_us` (any steady clock). True when a report is due; then `report` tells, and
	// the next minute begins.
	bool add(const Times &times, int64_t now_us);

	struct Report {
		int frames;
		Times medians;
		bool over_budget; // the median frame took longer than the budget

		std::string text() const;
	};
	Report report();

private:
	// Times fall into buckets an eighth of an octave wide: a fixed record for any number of frames.
	static constexpr int buckets_per_octave = 8;
	static constexpr int buckets = 24 * buckets_per_octave;

	static int bucket_of(int64_t microseconds);
	static int64_t middle_of(int index);

	std::array<std::array<uint32_t, buckets>, stage_count> counts_ = {};
	int frames_ = 0;
	int64_t started_us_ = -1;
};

} // namespace kalvio::engine
