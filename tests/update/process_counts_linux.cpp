// SPDX-License-Identifier: GPL-2.0-or-later
#include "process_counts.h"

#include <filesystem>
#include <iterator>

namespace kalvio::test {

namespace {

int entries(const char *folder)
{
	return static_cast<int>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

} // namespace

int open_handles()
{
	return entries("/proc/self/fd");
}

int running_threads()
{
	return entries("/proc/self/task");
}

} // namespace kalvio::test
