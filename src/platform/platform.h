// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>
#include <string_view>

// What differs between the systems: one file per system implements this header. Text is UTF-8. All functions may be
// called from any thread and throw nothing but std::bad_alloc.
namespace kalvio {

// "\\" on Windows, "/" elsewhere.
extern const std::string_view path_separator;

// The folder of the file that holds this code (the module), without a trailing separator; empty when the system does
// not tell it or its path does not fit.
std::string module_folder();

// The user's folder for temporary files, with a trailing separator; empty when it is unknown or its path is too long.
std::string temporary_folder();

// Hands `url` to the desktop's default browser and returns at once. False when `url` is no web address
// (platform/web_address.h), or when nothing took it.
bool open_url(const std::string &url);

} // namespace kalvio
