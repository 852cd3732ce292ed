// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/heap_probe_state.h"

#include <cstdlib>
#include <new>

// operator new with the probe before it, for builds in which malloc is out of reach: a sanitizer has it, or a system's
// DLL.
void *operator new(size_t bytes)
{
	void *memory = kalvio::test::heap_allocation_fails(bytes) ? nullptr : std::malloc(bytes ? bytes : 1);
	if (!memory)
		throw std::bad_alloc();
	return memory;
}

void *operator new[](size_t bytes)
{
	return operator new(bytes);
}

void operator delete(void *memory) noexcept
{
	std::free(memory);
}

void operator delete[](void *memory) noexcept
{
	std::free(memory);
}

void operator delete(void *memory, size_t) noexcept
{
	std::free(memory);
}

void operator delete[](void *memory, size_t) noexcept
{
	std::free(memory);
}
