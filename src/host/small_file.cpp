// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/small_file.h"

#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

namespace kalvio {

bool is_small_file(const char *path, std::uintmax_t largest_bytes)
try {
	const std::filesystem::path file(std::u8string(path, path + std::strlen(path)));
	return std::filesystem::is_regular_file(file) && std::filesystem::file_size(file) <= largest_bytes;
} catch (const std::system_error &) {
	return false; // no such file, no right to look, no UTF-8
}

} // namespace kalvio
