// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <functional>
#include <vector>

namespace kalvio::bench {

// Milliseconds of one run. For one thread the processor time of the process: it does not count what other programs take
// from a busy machine. For more the time on the wall: that is what threads are for.
double milliseconds(const std::function<void()> &run, int threads);

double median(std::vector<double> values);

// The median times of several runs that are measured in turns, so that whatever the machine does in between meets all
// of them. A turn is three runs, of which the first brings the frame into the caches and does not count. After a run
// each to warm up come rounds for about `seconds` of work, at least 5 and at most 51.
std::vector<double> times_in_turns(const std::vector<std::function<void()>> &runs, int threads, double seconds = 1);

} // namespace kalvio::bench
