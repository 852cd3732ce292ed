// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "matte_trials.h"

namespace kalvio::engine::testing {

// How far a blurred background is from one that is blurred with the known matte, where there is background alone.
struct BlurErrors {
	double mean_levels = 0;
	double within_a_level_percent = 0;
};
BlurErrors blur_errors(MatteTrials &trials, uint32_t seed);

// The table of how well people are cut out, in Markdown on the standard output, with the bar of each figure; false
// when one misses. `watcher` sees every person.
bool print_mattes(MatteTrials &trials, int people, const MatteWatcher &watcher = {});

} // namespace kalvio::engine::testing
