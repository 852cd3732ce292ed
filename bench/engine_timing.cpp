// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_timing.h"

#include <algorithm>
#include <chrono>
#include <ctime>

namespace kalvio::bench {

namespace {

double processor_milliseconds()
{
	timespec now = {};
	clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
	return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

double wall_milliseconds()
{
	using namespace std::chrono;
	return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

double milliseconds(const std::function<void()> &run, int threads)
{
	double (*const clock)() = threads == 1 ? processor_milliseconds : wall_milliseconds;
	const double start = clock();
	run();
	return clock() - start;
}

double median(std::vector<double> values)
{
	const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
	std::nth_element(values.begin(), middle, values.end());
	return *middle;
}

std::vector<double> times_in_turns(const std::vector<std::function<void()>> &runs, int threads, double seconds)
{
	constexpr size_t least_rounds = 5;
	constexpr size_t most_rounds = 51;
	constexpr int counted_runs = 2;
	for (const auto &run : runs)
		run();
	std::vector<std::vector<double>> times(runs.size());
	double total = 0;
	for (size_t round = 0; round < least_rounds || (round < most_rounds && total < 1000 * seconds); ++round) {
		for (size_t index = 0; index < runs.size(); ++index) {
			runs[index]();
			for (int run = 0; run < counted_runs; ++run) {
				times[index].push_back(milliseconds(runs[index], threads));
				total += times[index].back();
			}
		}
	}
	std::vector<double> medians;
	medians.reserve(times.size());
	for (std::vector<double> &list : times)
		medians.push_back(median(std::move(list)));
	return medians;
}

} // namespace kalvio::bench
