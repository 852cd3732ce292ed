// SPDX-License-Identifier: GPL-2.0-or-later
#include "condition_table.h"

#include <cstdio>

namespace kalvio::engine::testing {

namespace {

// What a condition is held to, in percent. The lines' errors are held on the base set alone: made faces are not people,
// and nets fit photographs better.
struct ConditionBar {
	double found = 0;
	double eyes = 1e9;
	double lips = 1e9;
	double iris = 1e9;
};

// In the order of FaceCondition.
constexpr ConditionBar bars[face_condition_count] = {
	{97, 3.5, 5, 3}, {90}, {}, {93}, {93}, {}, {97}, {88}, {97}, {97}, {},
};

} // namespace

void print_condition_head(int faces)
{
	std::printf("%d made faces of each condition; errors of lines in percent of the face's size\n\n", faces);
	std::printf(
		"| condition | found %% | after frames | eyes | lips | iris | brows | jaw | confidence of eyes, brows, "
		"nose, lips, outline | bars |\n|---|---|---|---|---|---|---|---|---|---|\n");
}

bool print_condition(FaceTrials &trials, FaceCondition condition, int faces, const TrialWatcher &watcher)
{
	const ConditionResult result = trials.try_condition(condition, faces, watcher);
	const ConditionBar &bar = bars[size_t(condition)];
	const FaceErrors &errors = result.errors;
	const bool met = result.found_percent() >= bar.found && errors.eyes <= bar.eyes && errors.lips <= bar.lips &&
			 errors.iris <= bar.iris;
	std::printf("| %s | %.1f | %.1f | %.1f | %.1f | %.1f | %.1f | %.1f |", name_of(condition),
		    result.found_percent(), result.mean_frames, errors.eyes, errors.lips, errors.iris, errors.brows,
		    errors.jaw);
	for (const float confidence : result.confidence)
		std::printf(" %.2f", static_cast<double>(confidence));
	std::printf(" | %s |\n", met ? "met" : "MISSED");
	std::fflush(stdout);
	return met;
}

} // namespace kalvio::engine::testing
