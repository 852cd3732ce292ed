// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

namespace kalvio::test {

// Plain data that needs no construction: it is used by the first allocation of a thread.
struct HeapProbeState {
	uint64_t allocations;
	size_t failing_bytes;    // 0: none fails for its size
	uint64_t failing_number; // of `allocations`; 0: none fails for its number
};

extern constinit thread_local HeapProbeState heap_probe_state;

// Counts one allocation; true when it has to fail.
inline bool heap_allocation_fails(size_t bytes)
{
	HeapProbeState &state = heap_probe_state;
	++state.allocations;
	if (state.failing_number != 0 && state.allocations == state.failing_number) {
		state.failing_number = 0;
		return true;
	}
	if (state.failing_bytes == 0 || bytes < state.failing_bytes)
		return false;
	state.failing_bytes = 0;
	return true;
}

} // namespace kalvio::test
