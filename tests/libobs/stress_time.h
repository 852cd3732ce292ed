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

} // namespace kalvio::test
