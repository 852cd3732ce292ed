// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kalvio::engine {

// The program's arguments in UTF-8, its own name first. What main is given has on Windows lost every character outside
// the system's code page.
std::vector<std::string> utf8_arguments(int argc, char **argv);

inline std::filesystem::path path_from_utf8(const std::string &path)
{
	return {std::u8string(path.begin(), path.end())};
}

} // namespace kalvio::engine
