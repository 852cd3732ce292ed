// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/heap_probe.h"

#include "kit/heap_probe_state.h"

namespace kalvio::test {

constinit thread_local HeapProbeState heap_probe_state = {};

uint64_t heap_allocation_count()
{
	return heap_probe_state.allocations;
}

void fail_next_heap_allocation(size_t at_least_bytes)
{
	heap_probe_state.failing_bytes = at_least_bytes;
}

void fail_heap_allocation(uint64_t number)
{
	heap_probe_state.failing_number = heap_probe_state.allocations + number;
}

bool heap_failure_is_pending()
{
	return heap_probe_state.failing_bytes != 0 || heap_probe_state.failing_number != 0;
}

void cancel_heap_failure()
{
	heap_probe_state.failing_bytes = 0;
	heap_probe_state.failing_number = 0;
}

} // namespace kalvio::test
