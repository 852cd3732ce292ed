// SPDX-License-Identifier: GPL-2.0-or-later
#include "process_counts.h"

#include <windows.h>

#include <tlhelp32.h>

namespace kalvio::test {

int open_handles()
{
	DWORD count = 0;
	return GetProcessHandleCount(GetCurrentProcess(), &count) ? static_cast<int>(count) : -1;
}

int running_threads()
{
	const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
	if (snapshot == INVALID_HANDLE_VALUE)
		return -1;
	const DWORD process = GetCurrentProcessId();
	int count = 0;
	THREADENTRY32 entry = {};
	entry.dwSize = sizeof(entry);
	for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
		count += entry.th32OwnerProcessID == process;
	CloseHandle(snapshot);
	return count;
}

} // namespace kalvio::test
