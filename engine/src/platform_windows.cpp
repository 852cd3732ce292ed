// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform.h"

#include <windows.h>

#include <string>

namespace kalvio::engine::platform {

namespace {

std::wstring widen(const char *text_utf8)
{
	const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text_utf8, -1, nullptr, 0);
	if (length <= 0)
		return {};
	std::wstring wide(static_cast<size_t>(length), L'\0');
	MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text_utf8, -1, wide.data(), length);
	wide.resize(static_cast<size_t>(length) - 1);
	return wide;
}

} // namespace

File open_regular_file(const char *path_utf8, int64_t &size)
{
	const std::wstring path = widen(path_utf8);
	WIN32_FILE_ATTRIBUTE_DATA attributes = {};
	if (path.empty() || !GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &attributes))
		return nullptr;
	if (attributes.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE))
		return nullptr;
	File file(_wfopen(path.c_str(), L"rbN"));
	if (!file || _fseeki64(file.get(), 0, SEEK_END) != 0)
		return nullptr;
	size = _ftelli64(file.get());
	if (size < 0 || _fseeki64(file.get(), 0, SEEK_SET) != 0)
		return nullptr;
	return file;
}

File open_for_append(const char *path_utf8)
{
	const std::wstring path = widen(path_utf8);
	return path.empty() ? nullptr : File(_wfopen(path.c_str(), L"abN"));
}

std::tm local_time(std::time_t time)
{
	std::tm result = {};
	localtime_s(&result, &time);
	return result;
}

} // namespace kalvio::engine::platform
