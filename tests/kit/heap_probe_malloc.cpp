// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/heap_probe_state.h"

#include <cerrno>
#include <cstdlib>

// malloc and its relatives with the probe before them. The C library offers its own under these second names.
using kalvio::test::heap_allocation_fails;

extern "C" {

void *__libc_malloc(size_t bytes);
void *__libc_calloc(size_t count, size_t bytes);
void *__libc_realloc(void *pointer, size_t bytes);
void *__libc_memalign(size_t alignment, size_t bytes);

[[gnu::visibility("default")]] void *malloc(size_t bytes)
{
	return heap_allocation_fails(bytes) ? nullptr : __libc_malloc(bytes);
}

[[gnu::visibility("default")]] void *calloc(size_t count, size_t bytes)
{
	return heap_allocation_fails(count * bytes) ? nullptr : __libc_calloc(count, bytes);
}

[[gnu::visibility("default")]] void *realloc(void *pointer, size_t bytes)
{
	return heap_allocation_fails(bytes) ? nullptr : __libc_realloc(pointer, bytes);
}

[[gnu::visibility("default")]] void *memalign(size_t alignment, size_t bytes)
{
	return heap_allocation_fails(bytes) ? nullptr : __libc_memalign(alignment, bytes);
}

[[gnu::visibility("default")]] void *aligned_alloc(size_t alignment, size_t bytes)
{
	return memalign(alignment, bytes);
}

[[gnu::visibility("default")]] int posix_memalign(void **pointer, size_t alignment, size_t bytes)
{
	*pointer = memalign(alignment, bytes);
	return *pointer ? 0 : ENOMEM;
}

} // extern "C"
