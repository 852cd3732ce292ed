// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/platform.h"

#include "platform/utf16_windows.h"
#include "platform/web_address.h"

#include <windows.h>

#include <shellapi.h> // needs windows.h before it

namespace kalvio {

const std::string_view path_separator = "\\";

namespace {

constexpr DWORD path_capacity = 260; // in UTF-16 units for the W calls, in bytes for the A call; with the terminator

std::string to_utf8(const wchar_t *text, int length)
{
	const int size = WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
	if (size <= 0)
		return {};
	std::string utf8(static_cast<size_t>(size), '\0');
	const int written = WideCharToMultiByte(CP_UTF8, 0, text, length, utf8.data(), size, nullptr, nullptr);
	return written == size ? utf8 : std::string();
}

} // namespace

std::string module_folder()
{
	// Any function of this file will do: it is linked into the module.
	const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
	HMODULE module = nullptr;
	if (!GetModuleHandleExA(flags, reinterpret_cast<LPCSTR>(&module_folder), &module))
		return {};

	// A path that does not fit comes back cut to the capacity; half a path is no path.
	wchar_t buffer[path_capacity] = {};
	const DWORD length = GetModuleFileNameW(module, buffer, path_capacity);
	if (length == 0 || length >= path_capacity)
		return {};

	const std::string path = to_utf8(buffer, static_cast<int>(length));
	const size_t slash = path.find_last_of("\\/");
	return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string temporary_folder()
{
	// The result ends in a separator. A length of the capacity or more is the length that would have been needed.
	char narrow[path_capacity] = {};
	DWORD length = GetTempPathA(path_capacity, narrow);
	if (length == 0 || length >= path_capacity)
		return {};

	// That has "?" or a look-alike for each character outside the user's code page, and names no folder then.
	wchar_t buffer[path_capacity] = {};
	length = GetTempPathW(path_capacity, buffer);
	return length < path_capacity ? to_utf8(buffer, static_cast<int>(length)) : std::string();
}

bool open_url(const std::string &url)
{
	if (!is_web_address(url))
		return false;
	const std::wstring address = to_utf16(url);
	if (address.empty())
		return false;
	// The result is no handle but a number; above 32 is success.
	const HINSTANCE result = ShellExecuteW(nullptr, L"open", address.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
	return reinterpret_cast<INT_PTR>(result) > 32;
}

} // namespace kalvio
