// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/windows_faults.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <process.h>
#include <type_traits>
#include <windows.h>

#include <shellapi.h> // needs windows.h before it
#include <winhttp.h>

namespace kalvio::test {

namespace {

struct Fault {
	std::string_view function;
	void *replacement;
	std::atomic<void *> original = nullptr;
	std::atomic<int> calls_to_pass = 0;
	std::atomic<int> failures_left = 0;
	std::atomic<WindowsResult> result = 0;
	std::atomic<int> calls = 0;

	// Counts a call and tells whether it has to fail.
	bool strikes()
	{
		calls++;
		return !takes_one(calls_to_pass) && takes_one(failures_left);
	}

	// From what is left, unless nothing is or it is for every time. Threads call at once.
	static bool takes_one(std::atomic<int> &left)
	{
		int seen = left;
		while (seen > 0 && !left.compare_exchange_weak(seen, seen - 1)) {
		}
		return seen != 0;
	}
};

std::atomic<int> web_handles = 0;

enum : size_t {
	begin_thread,
	get_module_handle,
	shell_execute,
	to_multi_byte,
	to_wide_char,
	web_close,
	web_connect,
	web_open,
	web_open_request,
	web_set_option,
	web_set_timeouts,
	fault_count
};
std::array<Fault, fault_count> &faults();

template <class Result>
Result result_of(WindowsResult number)
{
	if constexpr (std::is_pointer_v<Result>)
		return reinterpret_cast<Result>(number);
	else
		return static_cast<Result>(number);
}

// 64-bit Windows has one calling convention.
template <size_t fault, class Result, class... Arguments>
struct Replacement {
	using Function = Result(Arguments...);

	static Result call(Arguments... arguments)
	{
		Fault &state = faults()[fault];
		const Result result = state.strikes()
					      ? result_of<Result>(state.result)
					      : reinterpret_cast<Function *>(state.original.load())(arguments...);
		if constexpr (std::is_same_v<Result, HINTERNET>)
			web_handles += result ? 1 : 0;
		if constexpr (fault == web_close)
			web_handles--;
		return result;
	}
};

template <size_t fault, class Result, class... Arguments>
void *replacement(Result(WINAPI *)(Arguments...))
{
	return reinterpret_cast<void *>(&Replacement<fault, Result, Arguments...>::call);
}

std::array<Fault, fault_count> &faults()
{
	static std::array<Fault, fault_count> list = {
		Fault{"_beginthreadex", replacement<begin_thread>(_beginthreadex)},
		Fault{"GetModuleHandleExA", replacement<get_module_handle>(GetModuleHandleExA)},
		Fault{"ShellExecuteW", replacement<shell_execute>(ShellExecuteW)},
		Fault{"WideCharToMultiByte", replacement<to_multi_byte>(WideCharToMultiByte)},
		Fault{"MultiByteToWideChar", replacement<to_wide_char>(MultiByteToWideChar)},
		Fault{"WinHttpCloseHandle", replacement<web_close>(WinHttpCloseHandle)},
		Fault{"WinHttpConnect", replacement<web_connect>(WinHttpConnect)},
		Fault{"WinHttpOpen", replacement<web_open>(WinHttpOpen)},
		Fault{"WinHttpOpenRequest", replacement<web_open_request>(WinHttpOpenRequest)},
		Fault{"WinHttpSetOption", replacement<web_set_option>(WinHttpSetOption)},
		Fault{"WinHttpSetTimeouts", replacement<web_set_timeouts>(WinHttpSetTimeouts)},
	};
	return list;
}

Fault &fault_of(std::string_view function)
{
	for (Fault &fault : faults()) {
		if (fault.function == function)
			return fault;
	}
	std::abort();
}

void replace(std::string_view function, ULONGLONG &place)
{
	for (Fault &fault : faults()) {
		if (fault.function != function || place == reinterpret_cast<ULONGLONG>(fault.replacement))
			continue;
		fault.original = reinterpret_cast<void *>(place);
		DWORD protection = 0;
		if (!VirtualProtect(&place, sizeof(place), PAGE_READWRITE, &protection))
			std::abort();
		place = reinterpret_cast<ULONGLONG>(fault.replacement);
		VirtualProtect(&place, sizeof(place), protection, &protection);
	}
}

} // namespace

// What is imported is a list per library; of each there are the names and, at the same place of a second list, the
// addresses that the loader has found.
void watch_windows_calls_of(const wchar_t *library)
{
	auto *const base = reinterpret_cast<BYTE *>(GetModuleHandleW(library));
	if (!base)
		std::abort();
	const auto &start = *reinterpret_cast<const IMAGE_DOS_HEADER *>(base);
	const auto &headers = *reinterpret_cast<const IMAGE_NT_HEADERS *>(base + start.e_lfanew);
	const DWORD imports = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
	const auto *from = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR *>(base + imports);
	for (; from->Name != 0; ++from) {
		const auto *name = reinterpret_cast<const IMAGE_THUNK_DATA *>(base + from->OriginalFirstThunk);
		auto *place = reinterpret_cast<IMAGE_THUNK_DATA *>(base + from->FirstThunk);
		for (; name->u1.AddressOfData != 0; ++name, ++place) {
			if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal))
				continue;
			const BYTE *entry = base + name->u1.AddressOfData;
			replace(reinterpret_cast<const IMAGE_IMPORT_BY_NAME *>(entry)->Name, place->u1.Function);
		}
	}
}

void make_windows_fail(std::string_view function, int times, int passed, WindowsResult result)
{
	Fault &fault = fault_of(function);
	fault.result = result;
	fault.calls_to_pass = passed;
	fault.failures_left = times;
}

void reset_windows_faults()
{
	for (Fault &fault : faults()) {
		fault.calls_to_pass = 0;
		fault.failures_left = 0;
		fault.calls = 0;
	}
	web_handles = 0;
}

int windows_calls(std::string_view function)
{
	return fault_of(function).calls;
}

int open_web_handles()
{
	return web_handles;
}

} // namespace kalvio::test
