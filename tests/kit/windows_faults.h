// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

// Functions of Windows that fail on demand. A program or a library calls those of others through its table of imports;
// there each of them is replaced by one that goes on to Windows unless a test lets it fail.
namespace kalvio::test {

constexpr int every_time = -1;

// From now on to the end of the process: calls of this loaded library, or without a name of the program.
void watch_windows_calls_of(const wchar_t *library = nullptr);

// What a function gives when it fails; most give zero.
using WindowsResult = std::intptr_t;

// Every call of `function` fails, or the first `times` of them after `passed` that succeed. A function of any other
// name than those in the .cpp file ends the process.
void make_windows_fail(std::string_view function, int times = every_time, int passed = 0, WindowsResult result = 0);
void reset_windows_faults();

// Calls of that function since the last reset, failed ones included.
int windows_calls(std::string_view function);

// WinHTTP's handles that were opened and not closed since the last reset.
int open_web_handles();

} // namespace kalvio::test
