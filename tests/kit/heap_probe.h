// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

// Looks at the heap of an executable from inside: counts allocations, and lets one fail. It stands for malloc and its
// relatives, through which operator new and the host's own allocator go. Under the address sanitizer and on Windows,
// which keep those to themselves, it stands for operator new alone. Under the thread sanitizer it sees nothing.
namespace kalvio::test {

// Allocations of the calling thread so far.
uint64_t heap_allocation_count();

// The calling thread's next allocation of at least this many bytes fails, which operator new reports as std::bad_alloc.
// It must be no allocation of the host's, which ends the process when it gets no memory.
void fail_next_heap_allocation(size_t at_least_bytes);

// The calling thread's allocation number `number` from now on fails, whatever its size; 1 is the next one.
void fail_heap_allocation(uint64_t number);

// True while a failure is still to come.
bool heap_failure_is_pending();
void cancel_heap_failure();

} // namespace kalvio::test
