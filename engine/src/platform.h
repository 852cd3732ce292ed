// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>

// What differs between systems: one file each, picked by the build.
namespace kalvio::engine::platform {

struct FileCloser {
	void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Opens a regular file for reading; null when the path is missing, unreadable, or anything but a regular file (a
// folder, a pipe, a device: none of them may block the caller). `size` receives the length in bytes.
File open_regular_file(const char *path_utf8, int64_t &size);

// Opens a file for appending and makes it when missing. Null when that is not possible, and for a file that another
// user owns or that has a second name: what lies in a shared folder may have been put there by someone else.
File open_for_append(const char *path_utf8);

// Cuts a file that is open for appending to no bytes; false when the system refuses.
bool make_empty(std::FILE *file);

// The value of an environment variable, up to this many bytes; empty when it is not set or longer.
constexpr std::size_t longest_environment_value = 127;
std::string environment_value(const char *name);

std::tm local_time(std::time_t time);

} // namespace kalvio::engine::platform
