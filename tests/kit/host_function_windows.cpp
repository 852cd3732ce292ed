// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/host_function.h"

#include <windows.h>

void (*kalvio::test::host_function(const char *name))()
{
	return reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleW(L"obs.dll"), name));
}
