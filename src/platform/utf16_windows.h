// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

namespace kalvio {

// UTF-8 as the wide calls of Windows take it. Empty when `utf8` is.
std::wstring to_utf16(const std::string &utf8);

} // namespace kalvio
