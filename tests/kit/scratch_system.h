// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>

// What scratch.cpp takes from the system.
namespace kalvio::test {

// Makes a new, empty folder. Throws std::system_error.
std::filesystem::path make_scratch_folder();

void set_environment(const std::string &name, const std::optional<std::string> &value);

} // namespace kalvio::test
