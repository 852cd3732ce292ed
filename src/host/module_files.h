// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

namespace kalvio {

// The full path of an existing file in the module's data folder, or the empty string. Any thread; throws nothing but
// std::bad_alloc.
std::string resolve_module_file(const char *relative_path);

} // namespace kalvio
