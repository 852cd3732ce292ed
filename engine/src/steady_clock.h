// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <chrono>
#include <cstdint>

namespace kalvio::engine {

// Microseconds of the clock that never goes back. Its zero means nothing. Any thread.
inline int64_t steady_clock_us()
{
	using namespace std::chrono;
	return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace kalvio::engine
