// SPDX-License-Identifier: GPL-2.0-or-later
#include "process_counts.h"

#include <windows.h>

#include <tlhelp32.h>
#include <winternl.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

namespace kalvio::test {

namespace {

constexpr NTSTATUS info_length_mismatch = static_cast<NTSTATUS>(0xC0000004);

} // namespace

// Counted in the list of all handles of the system: GetProcessHandleCount would do on Windows but is always 0 under
// Wine 8.
int open_handles()
{
	std::vector<std::byte> buffer(1 << 20);
	NTSTATUS result = info_length_mismatch;
	while (result == info_length_mismatch) {
		buffer.resize(buffer.size() * 2);
		result = NtQuerySystemInformation(SystemHandleInformation, buffer.data(),
						  static_cast<ULONG>(buffer.size()), nullptr);
	}
	if (result < 0)
		return -1;

	ULONG total = 0;
	std::memcpy(&total, buffer.data(), sizeof(total));
	std::vector<SYSTEM_HANDLE_ENTRY> entries(total);
	std::memcpy(entries.data(), buffer.data() + offsetof(SYSTEM_HANDLE_INFORMATION, Handle),
		    total * sizeof(SYSTEM_HANDLE_ENTRY));
	return static_cast<int>(std::count_if(entries.begin(), entries.end(), [](const SYSTEM_HANDLE_ENTRY &entry) {
		return entry.OwnerPid == GetCurrentProcessId();
	}));
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
