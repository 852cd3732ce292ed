// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>

// What differs between systems: one file each, picked by the build.
namespace kalvio::engine::platform {

struct FileCloser {
	void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Opens a regular file for reading; null when the path is missing, unreadable, or anything but a regular file (a
// folder, a pipe, a device: none of them may block the caller). `size` receives the length in bytes.
File open_regular_file(const char *path_utf8, int64_t &size);

// Opens a file for appending and makes it when missing; null when that is not possible.
File open_for_append(const char *path_utf8);

std::tm local_time(std::time_t time);

} // namespace kalvio::engine::platform
