// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string_view>

// Functions of libcurl that fail on demand. The program defines them and so is asked before the library; each goes on
// to the library unless a test lets it fail.
namespace kalvio::test {

constexpr int every_time = -1;

// Every call of `function` fails, or the first `times` of them after `passed` that succeed. A function of any other
// name than those in the .cpp file ends the process.
void make_curl_fail(std::string_view function, int times = every_time, int passed = 0);
void reset_curl_faults();

// Calls of that function since the last reset, failed ones included.
int curl_calls(std::string_view function);

// What was made and not closed since the last reset: easy and multi handles, addresses and lists.
int open_curl_objects();

} // namespace kalvio::test
