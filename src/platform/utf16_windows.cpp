// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/utf16_windows.h"

#include <windows.h>

namespace kalvio {

std::wstring to_utf16(const std::string &utf8)
{
	const int length = static_cast<int>(utf8.size());
	const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0);
	if (size <= 0)
		return {};
	std::wstring utf16(static_cast<size_t>(size), L'\0');
	const int written = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, utf16.data(), size);
	return written == size ? utf16 : std::wstring();
}

} // namespace kalvio
