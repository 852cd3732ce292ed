// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

namespace kalvio {

// The path of a file in the module's configuration folder, and of the folder itself for "". Neither need exist. Empty
// when OBS has no such folder. Any thread; throws nothing but std::bad_alloc.
std::string module_config_file(const char *name);

} // namespace kalvio
