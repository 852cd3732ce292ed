// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "face_trials.h"

namespace kalvio::engine::testing {

// The table of what becomes of made faces under each condition, in Markdown on the standard output.
void print_condition_head(int faces);
// One row of it; false when a figure misses its bar.
bool print_condition(FaceTrials &trials, FaceCondition condition, int faces, const TrialWatcher &watcher = {});

} // namespace kalvio::engine::testing
