// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace kalvio::engine {

// What an engine's frames cost, stage by stage, told once a minute at most: medians, so that one slow frame does not
// colour them.
class FrameTimes {
public:
	enum Stage { Measure, Rows, Whole, stage_count };

	// A thirtieth of a second: beyond it a 30 frames a second source cannot be kept up with.
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
	// Times fall into classes an eighth of an octave wide: a fixed record for any number of frames.
	static constexpr int classes_an_octave = 8;
	static constexpr int classes = 24 * classes_an_octave;

	static int class_of(int64_t microseconds);
	static int64_t middle_of(int index);

	std::array<std::array<uint32_t, classes>, stage_count> counts_ = {};
	int frames_ = 0;
	int64_t started_us_ = -1;
};

} // namespace kalvio::engine
