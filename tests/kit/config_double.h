// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

// The module's configuration folder, in place of the host's.
namespace kalvio::test {

// Without a trailing separator; "": the host has none.
void set_config_folder(std::string folder);

} // namespace kalvio::test
