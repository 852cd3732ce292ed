// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <vector>

// Two ways of doing the same, timed in turns on one thread, and bars that the result is held to.
namespace kalvio::test {

// Processor time of the calling thread.
inline double thread_seconds()
{
	timespec now = {};
	clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
	return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

inline double median(std::vector<double> values)
{
	const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
	std::nth_element(values.begin(), middle, values.end());
	return *middle;
}

struct Comparison {
	double left_seconds;
	double right_seconds;

	double ratio() const { return left_seconds / right_seconds; }
};

// The median time of one run of either side, out of `samples` samples of `runs` runs, taken in turns.
inline Comparison compare(int samples, int runs, const std::function<void()> &left, const std::function<void()> &right)
{
	const auto sample = [runs](const std::function<void()> &side) {
		const double start = thread_seconds();
		for (int run = 0; run < runs; ++run)
			side();
		return (thread_seconds() - start) / runs;
	};
	std::vector<double> left_times;
	std::vector<double> right_times;
	for (int i = 0; i < samples; ++i) {
		// Neither side is always the one that finds the other's data in the caches.
		if (i % 2) {
			right_times.push_back(sample(right));
			left_times.push_back(sample(left));
		} else {
			left_times.push_back(sample(left));
			right_times.push_back(sample(right));
		}
	}
	return {median(left_times), median(right_times)};
}

// Prints one line; false when the value is above its bar.
inline bool report(const char *what, double value, double bar)
{
	const bool held = value <= bar;
	std::printf("  %-56s %8.3f   bar %.2f %s\n", what, value, bar, held ? "held" : "MISSED");
	return held;
}

// Takes --check out of the arguments; true when it was there.
inline bool take_check_option(int &argc, char **argv)
{
	bool check = false;
	const auto is_check = [&check](const char *argument) {
		const bool matches = std::strcmp(argument, "--check") == 0;
		check |= matches;
		return matches;
	};
	argc = static_cast<int>(std::remove_if(argv + 1, argv + argc, is_check) - argv);
	return check;
}

} // namespace kalvio::test
