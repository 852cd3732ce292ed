// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

// Looks at the heap of an executable from inside: counts allocations, and lets one fail. It stands for malloc and its
// relatives, through which operator new and the host's own allocator go; under a sanitizer and on Windows, which keep
// those to themselves, for operator new alone.
namespace kalvio::test {

// Allocations of the calling thread so far.
uint64_t heap_allocation_count();

// The calling thread's next allocation of at least this many bytes fails, which operator new reports as std::bad_alloc.
// It must be no allocation of the host's, which ends the process when it gets no memory.
void fail_next_heap_allocation(size_t at_least_bytes);

// True while a failure is still to come.
bool heap_failure_is_pending();
void cancel_heap_failure();

} // namespace kalvio::test
