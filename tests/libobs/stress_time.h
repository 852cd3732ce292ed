// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <chrono>
#include <cstdlib>

namespace kalvio::test {

// How long a test that looks for races goes on: 2 s, or as many as KALVIO_STRESS_SECONDS says.
inline std::chrono::seconds stress_time()
{
	const char *seconds = std::getenv("KALVIO_STRESS_SECONDS");
	return std::chrono::seconds(seconds && *seconds ? std::atoi(seconds) : 2);
}

// How many filters a test that looks for races removes: as many as KALVIO_STRESS_REMOVALS says. 0 without it: as many
// as stress_time() allows.
inline int stress_removals()
{
	const char *removals = std::getenv("KALVIO_STRESS_REMOVALS");
	return removals ? std::atoi(removals) : 0;
}

} // namespace kalvio::test
