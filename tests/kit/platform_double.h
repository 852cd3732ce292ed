// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

// A double of platform/platform.h: the folders that it is told, and no browser.
namespace kalvio::test {

void set_module_folder(const std::string &folder);

// With a trailing separator, as the real one gives it.
void set_temporary_folder(const std::string &folder);

// No module folder; the temporary folder is "/tmp/".
void reset_platform();

} // namespace kalvio::test
